#include "lens.h"

#include <gtest/gtest.h>

namespace {

using simcam::Lens;
using simcam::LensDescription;

LensDescription Rigid() {
  LensDescription lens;
  lens.travelFrom = 0;
  lens.travelTo = 1000;
  lens.codesPerMs = 10;
  lens.settlingMs = 8;
  lens.hysteresisCodes = 0;
  return lens;
}

TEST(LensMotion, KeepsItsSpeedAndItsTravel) {
  Lens lens(Rigid(), 500);
  EXPECT_TRUE(lens.IsSettled(0));
  lens.MoveTo(800, 100);
  EXPECT_DOUBLE_EQ(lens.Position(100), 500);
  EXPECT_DOUBLE_EQ(lens.Position(110), 600);
  EXPECT_FALSE(lens.IsSettled(110));
  EXPECT_DOUBLE_EQ(lens.DriverCode(130), 800);  // 300 codes in 30 ms
  EXPECT_FALSE(lens.IsSettled(137));
  EXPECT_TRUE(lens.IsSettled(138));
  EXPECT_DOUBLE_EQ(lens.Position(138), 800);
  lens.MoveTo(5000, 200);
  EXPECT_DOUBLE_EQ(lens.Position(400), 1000);
}

TEST(LensMotion, SwingsAtTheEndOfAMove) {
  Lens lens(Rigid(), 500);
  lens.MoveTo(600, 0);
  double furthest = 0;
  for (double time = 10; time < 18; time += 0.25)
    furthest = std::max(furthest, lens.Position(time));
  EXPECT_GT(furthest, 600.5);
  EXPECT_LT(furthest, 604);
}

TEST(LensMotion, HasPlayWhenItTurns) {
  LensDescription description = Rigid();
  description.hysteresisCodes = 6;
  description.settlingMs = 0;
  Lens lens(description, 500);
  lens.MoveTo(600, 0);
  EXPECT_DOUBLE_EQ(lens.Position(20), 597);
  lens.MoveTo(598, 30);
  EXPECT_DOUBLE_EQ(lens.Position(40), 597);  // the play takes up the first codes
  lens.MoveTo(500, 50);
  EXPECT_DOUBLE_EQ(lens.Position(70), 503);
}

}  // namespace

#include "scores.h"

#include <gtest/gtest.h>

#include <cmath>

#include "adaptive_file.h"
#include "camera.h"
#include "plot.h"
#include "text.h"
#include "window_samples.h"

namespace {

using namespace simcam;

TEST(FocusScores, CountFramesUntilItStaysInFocus) {
  using Case = std::tuple<std::vector<double>, std::optional<int>, double>;
  const Case cases[] = {
      {{20, 5, 0.5, 0.2}, 2, 0},
      {{20, 0.5, -3, 0.9, 1.0}, 3, 3},  // through focus and back: counts from the return
      {{-20, -0.5, 2.5, 0.5}, 3, 2.5},
      {{0.4, -0.1}, 0, 0.1},
      {{20, 0.5, 1.01}, std::nullopt, 0},
  };
  for (const auto& [phases, framesToFocus, overshoot] : cases) {
    const FocusScores scores = ScoreFocus(phases, std::nullopt);
    EXPECT_EQ(scores.framesToFocus, framesToFocus);
    EXPECT_DOUBLE_EQ(scores.overshootSteps, overshoot);
    EXPECT_DOUBLE_EQ(scores.finalTruePhasePx, phases.back());
  }
}

TEST(FocusScores, ShareFramesFromTheHeldOneOn) {
  const std::vector<double> phases = {9, 3.5, 0.5, -1.5, 0.2, 3};
  const FocusScores held = ScoreFocus(phases, 2);
  EXPECT_DOUBLE_EQ(held.within1Step, 0.5);
  EXPECT_DOUBLE_EQ(held.within2Steps, 0.75);
  EXPECT_DOUBLE_EQ(held.within4Steps, 1);
  EXPECT_DOUBLE_EQ(ScoreFocus(phases, std::nullopt).within4Steps, 5.0 / 6);
}

TEST(ErrorScores, FollowTheirDefinitions) {
  // Errors 1, -1, 3, -1.
  const ErrorScores scores = ScoreErrors({{0, 1, true}, {1, 0, true}, {2, 5, false}, {3, 2, true}});
  EXPECT_DOUBLE_EQ(scores.bias, 0.5);
  EXPECT_DOUBLE_EQ(scores.meanAbs, 1.5);
  EXPECT_DOUBLE_EQ(scores.rms, std::sqrt(3.0));
  EXPECT_DOUBLE_EQ(scores.worst, 3);
  EXPECT_DOUBLE_EQ(scores.confidentShare, 0.75);
  // Around the means 1.5 and 2: (-1.5)(-1) + (-0.5)(-2) + 0.5 * 3 + 1.5 * 0 over 5.
  EXPECT_NEAR(scores.slope, 4.0 / 5, 1e-12);
  EXPECT_EQ(ScoreErrors({}).points, 0);
}

TEST(LineInterrupts, StartWhenTheRoiIsComplete) {
  using Lines = std::vector<uint32_t>;
  EXPECT_EQ(LineInterrupts(3000, 0.65, 1), Lines({3000}));
  EXPECT_EQ(LineInterrupts(3000, 0.65, 2), Lines({1951, 3000}));
  EXPECT_EQ(LineInterrupts(3000, 0.5, 4), Lines({1501, 2000, 2500, 3000}));
  EXPECT_EQ(LineInterrupts(3000, 1, 3), Lines({3000}));
}

TEST(ResultWindow, SharesCellsWithItsNeighboursWhenOverlapped) {
  const PDLibWindow roi{0.25f, 0.25f, 0.75f, 0.75f};
  const PDLibWindow middle = ResultWindow(roi, 3, 3, true, 4);
  EXPECT_FLOAT_EQ(middle.startX, 0.375f);  // four cells of an eighth; the second and third
  EXPECT_FLOAT_EQ(middle.endX, 0.625f);
  const PDLibWindow last = ResultWindow(roi, 2, 1, false, 1);
  EXPECT_FLOAT_EQ(last.startX, 0.5f);
  EXPECT_FLOAT_EQ(last.endY, 0.75f);
  EXPECT_FLOAT_EQ(ResultWindow(roi, 1, 1, true, 0).endX, 0.75f);
}

TEST(AdaptiveFile, TakesTheLowerMiddleOfAnEvenCount) {
  const AdaptiveHistory history = {40, 10, 30, 20, 50};
  using Case = std::tuple<int, int>;
  for (const auto& [filterSize, median] :
       {Case{1, 40}, Case{2, 10}, Case{3, 30}, Case{4, 20}, Case{5, 30}, Case{0, 40}, Case{9, 30}})
    EXPECT_EQ(Median(history, filterSize), median) << filterSize;
}

TEST(Text, IsTheSameEverywhere) {
  EXPECT_EQ(Fixed(-0.004, 2), "0.00");
  EXPECT_EQ(Fixed(1234.5, 1), "1234.5");
  EXPECT_EQ(Short(0.35), "0.35");
  EXPECT_EQ(Short(-20), "-20");
  EXPECT_EQ(DataUri("a/b", "Man"), "data:a/b;base64,TWFu");
  EXPECT_EQ(DataUri("a/b", "Ma"), "data:a/b;base64,TWE=");
  EXPECT_EQ(DataUri("a/b", "M"), "data:a/b;base64,TQ==");
  EXPECT_EQ(Ticks(-3, 21, 6), std::vector<double>({0, 5, 10, 15, 20}));
}

}  // namespace

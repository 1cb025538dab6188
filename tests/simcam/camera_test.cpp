// The camera with the library behind it.
#include "camera.h"

#include <gtest/gtest.h>

#include <cmath>

#include "errors.h"
#include "focus_run.h"
#include "window_limits.h"

namespace {

using namespace simcam;

CameraSettings QuickSettings() {
  CameraSettings settings;
  settings.roi = {0.44f, 0.44f, 0.56f, 0.56f};
  settings.columns = 1;
  settings.rows = 1;
  return settings;
}

SensorDescription Quick(const std::string& name) {
  SensorDescription sensor = LoadSensor(name);
  sensor.tuning.peripheralWindows = false;
  return sensor;
}

class ShippedSensor : public testing::TestWithParam<const char*> {};

// Sign and size of a measurement agree with the truth, to a tenth of a sample step, whichever way
// the sensor is read out. Whole sample steps have no error of the fit.
TEST_P(ShippedSensor, MeasuresTheTruth) {
  const DataFolder folder("");
  const PdLibrary library(PDLIB_LIBRARY);
  const SensorDescription sensor = Quick(GetParam());
  const double allowed = 0.1 * std::max(sensor.SampleStepPx(), sensor.IsDual() ? 2 : 4);
  Camera camera(library, sensor, QuickSettings());
  for (double phase : {-16.0, 0.0, 32.0}) {
    const FrameResult result = camera.Shoot(phase, static_cast<int>(500 - 12 * phase));
    ASSERT_TRUE(result.isProcessed);
    EXPECT_EQ(result.output.processingResult, kResultStarted);
    EXPECT_NEAR(static_cast<double>(result.output.defocusInfo[0].phaseDiff), phase, allowed);
    EXPECT_NEAR(result.output.defocusInfo[0].defocus, phase * sensor.lens.codesPerPx,
                sensor.lens.codesPerPx * allowed + 1);
    EXPECT_GT(result.output.defocusInfo[0].confidence, 300u);
  }
  EXPECT_FALSE(camera.Session().UsesHardware());
}

INSTANTIATE_TEST_SUITE_P(All, ShippedSensor,
                         testing::Values("s16", "s32-2col", "s16-mirror", "s16-flip",
                                         "s16-mirror-flip", "in-frame", "two-processors", "dual",
                                         "dual-packed", "dual-8bit", "dual-mirror",
                                         "dual-mirror-flip", "dual-hdr", "dual-offset",
                                         "dual-vertical"));

TEST(ShippedSensors, AreAllTested) {
  EXPECT_EQ(EmbeddedSensors().size(), 15u);
}

TEST(WindowLimits, AreThoseOfTheSearchRange) {
  const struct {
    const char* sensor;
    float width, height;  // of the ROI, in the middle of the image
    uint32_t windows;     // each way
    const char* reason;   // "" where all is well
  } cases[] = {
      // 5 and 6 blocks of 4 samples for shifts of -11 to 11 samples.
      {"s16", 0.015f, 0.1f, 1, "20 samples along a line, expected at least 23"},
      {"s16", 0.02f, 0.1f, 1, ""},
      // 16 blocks in 4 cells; 19, of which the last cell has 7.
      {"s16", 0.06f, 0.1f, 3, "16 samples along a line, expected at least 23: a ROI that is 0.096"},
      {"s16", 0.07f, 0.1f, 3, ""},
      // 3 rows of blocks in 4 cells; a large ROI of which one row of nine is read.
      {"s16", 0.3f, 0.01f, 3, "0 rows of PD blocks, expected at least 1"},
      {"s16", 0.9f, 0.9f, 13, ""},
      {"s16", 0.9f, 0.9f, 18, "8 rows of PD blocks"},
      // 98 and 114 sites for shifts of -44 to 44 sites, and 16 more.
      {"dual", 0.03f, 0.1f, 1, "98 samples along a line, expected at least 105"},
      {"dual", 0.035f, 0.1f, 1, ""},
      {"dual", 0.3f, 0.015f, 3, "4 lines, expected at least 7"},
  };
  for (const auto& c : cases) {
    CameraSettings settings;
    settings.roi = {0.5f - c.width / 2, 0.5f - c.height / 2, 0.5f + c.width / 2,
                    0.5f + c.height / 2};
    settings.columns = settings.rows = c.windows;
    const std::string reason = WhyTooSmall(LoadSensor(c.sensor), settings);
    EXPECT_NE(reason.find(c.reason), std::string::npos) << reason;
    EXPECT_EQ(reason.empty(), *c.reason == '\0') << c.sensor << ", " << c.width << ": " << reason;
  }
}

std::vector<double> Phases(const FocusResult& result) {
  std::vector<double> phases;
  for (const FocusFrame& frame : result.frames)
    phases.push_back(static_cast<double>(frame.roi.phaseDiff));
  return phases;
}

// Two cameras that take turns, with several calls a frame, each measure what they measure alone.
TEST(TwoCameras, DoNotDisturbEachOther) {
  const DataFolder folder("");
  const PdLibrary library(PDLIB_LIBRARY);
  FocusSettings focus;
  focus.frames = 8;
  focus.curveWindow = 0;
  CameraSettings first = QuickSettings();
  first.callsPerFrame = 3;
  CameraSettings second = QuickSettings();
  second.cameraId = 1;
  second.seed = 9;
  const auto alone = [&](const char* sensor, const CameraSettings& settings) {
    FocusRun run(library, Quick(sensor), settings, focus);
    while (!run.IsDone()) run.Step();
    return Phases(run.Result());
  };
  const auto expectedFirst = alone("s16", first);
  const auto expectedSecond = alone("s16-mirror", second);

  FocusRun one(library, Quick("s16"), first, focus);
  FocusRun two(library, Quick("s16-mirror"), second, focus);
  while (!one.IsDone()) {
    one.Step();
    two.Step();
  }
  EXPECT_EQ(Phases(one.Result()), expectedFirst);
  EXPECT_EQ(Phases(two.Result()), expectedSecond);
}

// Nothing to see in the ROI: the windows around it lead the lens.
TEST(Autofocus, FollowsTheWindowsAroundAnEmptyRoi) {
  SensorDescription sensor = LoadSensor("s16");
  Autofocus autofocus(sensor);
  FrameResult result;
  result.isProcessed = true;
  result.hasSumWindow = true;
  result.output.horizontalWindowCount = result.output.verticalWindowCount = 1;
  result.output.isPeripheralValid = 1;
  result.output.peripheralInfo[5] = {-60, 400, -5, 0, 0};
  const auto decision = autofocus.Decide(result, 500, true);
  EXPECT_EQ(decision.action, FocusAction::kMove);
  EXPECT_DOUBLE_EQ(decision.targetCode, 440);
}

TEST(Autofocus, SearchesUpAndDownWhenNothingIsCertain) {
  const SensorDescription sensor = LoadSensor("s16");
  Autofocus autofocus(sensor);
  FrameResult failed;
  EXPECT_EQ(autofocus.Decide(failed, 700, false).action, FocusAction::kWait);
  const auto down = autofocus.Decide(failed, 700, true);
  EXPECT_EQ(down.action, FocusAction::kSearch);
  EXPECT_LT(down.targetCode, 700);
  EXPECT_GT(autofocus.Decide(failed, 0, true).targetCode, 0);  // turns at the end of the travel
}

TEST(PdLibraryFile, IsRefusedWhenItIsNone) {
  EXPECT_THROW(PdLibrary("/nosuch/library.so"), DeviceError);
  EXPECT_THROW(PdLibrary("liborvo.so"), DeviceError);
}

}  // namespace

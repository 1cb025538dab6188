// From call to call and frame to frame: what a frame keeps, skips, reports and leaves alone.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>

#include "orvo/log.h"
#include "orvo/osutils.h"
#include "sparse/pdlib_sparse_wrapper.h"
#include "sparse_context.h"
#include "support/flow_run.h"
#include "support/temp_folder.h"

using test::ConfiguredContext;
using FlowRun = test::SparseRun;
using test::LogCapture;
using test::SameResults;
using test::SparseCamera;

namespace {

// The ROI of the camera covers lines 76 to 307 of 384.
constexpr uint32_t kRoiBottom = 307;

TEST(Calls, PartialCallMeasuresTheRowsThatHaveArrived) {
  LogCapture log(2);
  FlowRun run;
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.call(200), kPDStatusOk);
  // (200 - 76) / (307 - 76) of four rows
  EXPECT_TRUE(
      log.has("PD_LINE_INFO verticalWindowCount 2, num_of_lines 200 horizontalWindowCount 4 "
              "original_window_number_ver 3 original_window_number_hor 3 "
              "start_line_of_roi 76, end_line_of_roi 307 ratio 0.536797"));
}

// The lens position of a frame is that of its first call, its buffer that of each call.
TEST(Calls, LaterCallsBringTheirOwnBuffer) {
  FlowRun run;
  run.camera.tuning.enablePeripheralWindows = 1;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  run.camera.tuning.postProcess.temporalFilterStaticWeight = 0.25f;
  run.camera.param.lensPosition = 5;
  run.camera.exposeShifted(12);
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.call(kRoiBottom), kPDStatusOk);
  const std::vector<uint8_t> first = std::move(run.camera.frame);
  run.camera.exposeShifted(-8);
  run.camera.param.lensPosition = 9;
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_NEAR(run.result(4).phaseDiff, -12, 0.4);
  EXPECT_NEAR(run.output.peripheralInfo[6].phaseDiff, 8, 0.4);
  run.output = {};
  ASSERT_EQ(run.frame(), kPDStatusOk);  // the lens moved from 5 to 9
  EXPECT_NEAR(run.result(4).phaseDiff, 8, 0.4);
}

std::vector<int> PeripheralWindowsOf(const LogCapture& log) {
  std::vector<int> windows;
  for (const std::string& line : log.texts()) {
    int window;
    if (std::sscanf(line.c_str(), "Processing peripheral %d", &window) == 1)
      windows.push_back(window);
  }
  return windows;
}

TEST(Peripheral, WindowsRunAsTheirLinesArriveAndTheCentreFails) {
  const struct {
    float threshold;  // 1023 is never exceeded
    std::vector<uint32_t> calls;
    std::vector<int> windows;
    uint16_t valid;
  } cases[] = {
      {1023, {384}, {0, 1, 2, 3, 4, 5, 6, 7}, 1},
      {1023, {kRoiBottom, 384}, {0, 1, 2, 3, 4, 5, 6, 7}, 1},
      {1023, {10, 384}, {0, 5, 6, 7}, 1},  // the first call sees one window's lines
      {1023, {200, 384}, {}, 0},           // no result, no failure
      {250, {384}, {}, 0},
  };
  for (const auto& c : cases) {
    FlowRun run;
    run.camera.tuning.enablePeripheralWindows = 1;
    run.camera.tuning.correlation.defocusConfidenceThreshold = c.threshold;
    run.camera.exposeShifted(12);
    ASSERT_EQ(run.init(), kPDStatusOk);
    LogCapture log(2);
    for (const uint32_t lines : c.calls) ASSERT_EQ(run.call(lines), kPDStatusOk);
    EXPECT_EQ(PeripheralWindowsOf(log), c.windows);
    EXPECT_EQ(run.output.isPeripheralValid, c.valid);
    for (const int window : c.windows) {
      EXPECT_NEAR(run.output.peripheralInfo[window].phaseDiff, -12, 0.4) << window;
    }
  }
}

bool Remembers(pd_grid_t& grid) {
  return std::any_of(grid.begin(), grid.end(), [](pd_grid_arg_t& window) {
    return std::any_of(window.sad_filtered.begin(), window.sad_filtered.end(),
                       [](int32_t sad) { return sad != 0; });
  });
}

TEST(Peripheral, FiltersRestartOnceTheCentreOfTheDefaultRoiIsBack) {
  for (const uint32_t roiType : {0u, 1u}) {
    SparseCamera camera;
    camera.setWindows(3, 3, roiType);
    camera.tuning.enablePeripheralWindows = 1;
    const auto context = ConfiguredContext(camera);
    context->tuning.correlation.defocusConfidenceThreshold = 1023;
    pd_incremental_processing(context.get(), 384);
    EXPECT_TRUE(Remembers(context->peripheralGrid));
    context->output = {};
    context->tuning.correlation.defocusConfidenceThreshold = 250;
    pd_incremental_processing(context.get(), 384);
    EXPECT_EQ(Remembers(context->peripheralGrid), roiType != 0);
  }
}

TEST(TemporalFilter, WeighsTheNewFrameByLensMovement) {
  SparseCamera camera;
  camera.setWindows(1, 1, 1);
  camera.tuning.postProcess.temporalFilterStaticWeight = 0.25f;
  camera.tuning.postProcess.temporalFilterDynamicWeight = 0.75f;
  const auto context = ConfiguredContext(camera);
  std::vector<int32_t> state(static_cast<size_t>(context->sad_len));
  const struct {
    int shift;
    int16_t lens;
    float weight;
  } frames[] = {{0, 0, 0.25f}, {12, 0, 0.25f}, {-16, 7, 0.75f}, {4, 0, 0.25f}};
  for (const auto& frame : frames) {
    camera.exposeShifted(frame.shift);
    context->pdBuffer = camera.param.PDBuffer;
    context->lensPosition = frame.lens;
    context->output = {};
    pd_incremental_processing(context.get(), 384);
    for (size_t k = 0; k < state.size(); ++k) {
      const int32_t fresh = context->centerGrid[0].sad[k];
      state[k] = static_cast<int32_t>(static_cast<float>(state[k]) * (1 - frame.weight)) +
                 static_cast<int32_t>(static_cast<float>(fresh) * frame.weight);
      EXPECT_EQ(context->centerGrid[0].sad_filtered[k], state[k]) << k;
    }
  }
}

TEST(SkipControl, PatternOverTwelveStillFrames) {
  const struct {
    int threshold, rate;
    float fps;
    const char* pattern;  // s: skipped
  } cases[] = {
      {3, 15, 30, "rrrsrsrsrsrs"},    {3, 10, 30, "rrrssrssrssr"}, {1000, 1, 30, "rrrrrrrrrrrr"},
      {0, 15, 30, "ssrsrsrsrsrs"},  // the sum starts at 0: the first call already skips
      {2, 10, 5, "rrrrrrrrrrrr"},   // 5 counts as 10, and so does 10.9
      {2, 10, 10.9f, "rrrrrrrrrrrr"}, {2, 15, 60, "rrsrsrsrsrsr"},  // 60 counts as 30
      {2, 0, 30, "rrssssssssss"},
  };
  for (const auto& c : cases) {
    auto context = std::make_unique<pdaf_context_t>();
    context->sensor.imageHeight = 100;
    context->tuning.skipControl = {c.threshold, c.rate};
    PDLibParam param{};
    param.fps = c.fps;
    std::string pattern;
    for (int i = 0; i < 12; ++i) {
      pattern += PdlibSkipControlProcess(context.get(), &param, 100) != 0 ? 's' : 'r';
    }
    EXPECT_EQ(pattern, c.pattern) << c.threshold << " " << c.rate << " " << c.fps;
  }
}

TEST(SkipControl, LensMovementStartsOverAndPartialCallsCountButDoNotAdvance) {
  auto context = std::make_unique<pdaf_context_t>();
  context->sensor.imageHeight = 100;
  context->tuning.skipControl = {2, 10};
  PDLibParam param{};
  param.fps = 30;
  const auto skips = [&](uint32_t lines) {
    return PdlibSkipControlProcess(context.get(), &param, lines) != 0;
  };
  EXPECT_FALSE(skips(50));
  EXPECT_FALSE(skips(50));  // the second still call reaches the threshold
  for (int i = 0; i < 9; ++i) EXPECT_FALSE(skips(50));
  EXPECT_FALSE(skips(100));
  for (int i = 0; i < 9; ++i) EXPECT_TRUE(skips(50));  // a third of a frame stays a third
  param.lensPosition = 1;
  EXPECT_FALSE(skips(50));
  EXPECT_EQ(context->staticCount, 0);
  param.lensPosition = 65536;  // the low 16 bits stand still
  EXPECT_FALSE(skips(50));
  EXPECT_EQ(context->staticCount, 1);
}

TEST(SkipControl, SkippedFrameRepeatsTheLastResult) {
  LogCapture log(1);
  FlowRun run;
  run.camera.tuning.skipControl = {2, 15};
  run.camera.exposeShifted(8);
  ASSERT_EQ(run.init(), kPDStatusOk);
  for (int i = 0; i < 2; ++i) ASSERT_EQ(run.frame(), kPDStatusOk);
  const PDLibOutputData measured = run.output;
  run.output = {};
  run.camera.exposeShifted(-8);
  log.restart();
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_TRUE(SameResults(run.output, measured));
  const auto lines = log.texts();
  ASSERT_EQ(lines.size(), 3u);  // the dump's line first
  EXPECT_EQ(lines[1].rfind("Idx: 2 curPos: 0, prevPos: 0 staticCnt: 3, staticCntThres: 2, fps: "
                           "30.000000, targetFps: 30, accumRatio: 0.500000, skipResult: ",
                           0),
            0u)
      << lines[1];
  EXPECT_EQ(lines[2].rfind("frame_idx: 2, ", 0), 0u);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_FALSE(SameResults(run.output, measured));
}

// A skipped call brings the last result back while the grids of the new window are missing.
TEST(SkipControl, RepeatedResultBehindAFailedWindowChange) {
  LogCapture log;
  FlowRun run;
  run.camera.tuning.enablePeripheralWindows = 1;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  run.camera.tuning.skipControl = {2, 10};
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  ASSERT_EQ(run.output.processingResult, kResultLowConfidence);
  run.camera.setWindows(2, 2);
  {
    const test::FailedAt failed(5);
    ASSERT_EQ(run.frame(), kPDStatusFlowFailed);
  }
  ASSERT_EQ(run.call(350), kPDStatusOk);  // skipped
  run.camera.param.lensPosition = 50;
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_EQ(run.output.horizontalWindowCount, 2u);
  EXPECT_EQ(run.output.isPeripheralValid, 1);
}

TEST(FrameLog, LinesOfAFrameInOrderBehindTheirPrefix) {
  FlowRun run;
  run.camera.setWindows(1, 1);
  run.camera.tuning.enablePeripheralWindows = 1;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  run.camera.param.lensPosition = 300;
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  LogCapture log(2);
  ASSERT_EQ(run.frame(), kPDStatusOk);

  const PDLibDefocusInfo& first = run.result(0);
  char report[200];
  std::snprintf(report, sizeof(report),
                "frame_idx: 1, phaseDiff %.2f, defocus_um: %.1f conf_level %u cur_lens_pos 300 "
                "processingResult 2 isPeripheralValid 1",
                static_cast<double>(first.phaseDiff), first.defocus * 0.5, first.confidence);
  std::vector<std::string> expected = {
      "Dump Flag is 0",
      "Skip LCR processing as LCR flag: 0 or p_input_raw buffer: (nil)",
      "PD_LINE_INFO verticalWindowCount 1, num_of_lines 384 horizontalWindowCount 1 "
      "original_window_number_ver 1 original_window_number_hor 1 start_line_of_roi 76, "
      "end_line_of_roi 307 ratio 1.333333",
      "Current subsample ratio: 1.000000",
      "PD_LINE_INFO Peripheral verticalWindowCount 1, num_of_lines 384 horizontalWindowCount 1 "
      "original_window_number_ver 1 original_window_number_hor 1 start_line_of_roi 76, "
      "end_line_of_roi 307 ratio 1.333333",
      "Current subsample ratio: 1.000000"};
  for (int i = 0; i < 8; ++i) expected.push_back("Processing peripheral " + std::to_string(i));
  expected.push_back(report);
  EXPECT_EQ(log.texts(), expected);

  const std::string process = std::to_string(Orvo::OsUtils::GetProcessID()) + " " +
                              std::to_string(Orvo::OsUtils::GetThreadID());
  const std::regex prefix("^\\[( INFO| VERB)\\] " + process +
                          " \\[STATS_AF\\] [A-Za-z_]+\\.cpp:[0-9]+ [A-Za-z_]+\\(\\) .*");
  for (const auto& line : Orvo::Host::CapturedLog()) {
    EXPECT_TRUE(std::regex_match(line.text, prefix)) << line.text;
    EXPECT_EQ(line.group, uint32_t{Orvo::Log::kGroupStatsAF});
  }
}

TEST(FrameLog, DecisionOnLcr) {
  const uint8_t lcrBuffer[1] = {};
  SparseCamera camera;
  camera.tuning.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode(1);
  camera.tuning.correlation.lcrSearchRange = {-8, 8};
  camera.param.lcrBuffer = lcrBuffer;
  const auto context = ConfiguredContext(camera);
  context->skipLCRInMonitorAndSmallPD = 1;
  const struct {
    int staticCount;
    float phase;
    bool skipped;
  } frames[] = {{0, 0, true},  // the first frame
                {0, 0, false}, {5, 0, false}, {6, 0, true}, {6, -1.0f, false}, {7, 0.9f, true}};
  for (const auto& frame : frames) {
    LogCapture log(2);
    context->staticCount = frame.staticCount;
    context->output = {};
    context->output.defocusInfo[0].phaseDiff = frame.phase;
    pd_process_center_window(context.get(), 384, &context->output);
    EXPECT_EQ(context->skipLcr, frame.skipped);
    EXPECT_EQ(log.has("Dynamic skip LCR processing"), frame.skipped);
  }
}

TEST(FlatField, StatisticsOfAFlatFrame) {
  namespace fs = std::filesystem;
  const struct {
    const char* what;
    std::function<int(bool, int, int)> codes;
    bool passes;
  } cases[] = {
      {"flat", [](bool, int, int) { return 500; }, true},
      {"a gradient of 4 %", [](bool, int x, int) { return 500 + x % 16; }, true},
      {"left column 20 % brighter",
       [](bool left, int x, int) { return left && x % 16 == 5 ? 600 : 500; }, false},
      {"right column 20 % brighter",
       [](bool left, int x, int) { return !left && x % 16 == 5 ? 600 : 500; }, false},
      {"one side 30 % darker", [](bool left, int, int) { return left ? 350 : 500; }, false},
      {"noise of 10 %", [](bool, int x, int y) { return (x / 16 + y) % 2 != 0 ? 450 : 550; },
       false},
      {"dark", [](bool, int, int) { return 0; }, false},
  };
  const test::TempFolder root;
  const fs::path folder = root.path() / "var/cache/camera";
  fs::create_directories(folder);
  Orvo::Host::SetRootFolder(root.path().string());
  for (const auto& c : cases) {
    for (const bool merges : {false, true}) {
      LogCapture log(1);
      PDLIB_TEST_MODE = 1;
      FlowRun run;
      if (merges) run.camera.addExtension("EnableOptimizedSparseParsing");
      run.camera.expose(c.codes);
      ASSERT_EQ(run.init(), kPDStatusOk);
      ASSERT_EQ(run.frame(), kPDStatusOk);
      EXPECT_TRUE(log.has("Test mode, statistics of PD-pattern pixels on a flat image.\n"));
      EXPECT_EQ(log.has("PD stats test pass.\n"), c.passes) << c.what << merges;
      EXPECT_EQ(log.has("PD stats test failure.\n"), !c.passes) << c.what << merges;
      EXPECT_EQ(log.has("PD stats test failure"), !c.passes);
      EXPECT_EQ(run.output.processingResult, kResultNone);  // nothing is measured
      // 37 by 16 blocks from (12, 4) on, with 8 pixels of the right side in 4 columns each.
      const fs::path dump = folder / "roi_dump_296x16_right.raw";
      std::ifstream file(dump, std::ios::binary);
      const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
      ASSERT_EQ(bytes.size(), 296u * 16 * 2) << c.what;
      for (int i = 0; i < 296 * 16; ++i) {
        uint16_t sample;
        std::memcpy(&sample, &bytes[static_cast<size_t>(2 * i)], 2);
        const int x = 16 * (12 + i % 296 / 8) + 1 + i % 8 / 2 * 4;
        ASSERT_EQ(sample, c.codes(false, x, 4 + i / 296)) << c.what << merges << " " << i;
      }
      fs::remove(dump);
    }
  }
  Orvo::Host::SetRootFolder("");
}

}  // namespace

// The way of frames through the flow: several calls each, window changes, memory, bad input.
#include <algorithm>
#include <cmath>
#include <limits>

#include "dense/dual_flow.h"
#include "kernels/kernel_inputs.h"

using test::DualCamera;
using FlowRun = test::DualRun;
using test::LogCapture;
using test::OpenFlow;
using test::SameResults;

namespace {

template <size_t kCount>
int Sure(const PDLibDefocusInfo (&infos)[kCount]) {
  return static_cast<int>(std::count_if(std::begin(infos), std::end(infos),
                                        [](const auto& info) { return info.confidence != 0; }));
}

// ---- Calls of a frame: the ROI has lines 60 to 180 of 240

TEST(Calls, PartOfTheRoiGivesItsRows) {
  for (const auto& [lines, rows] : {std::pair{61u, 0u}, {89u, 0u}, {90u, 1u}, {179u, 3u}}) {
    OpenFlow inside;
    ASSERT_EQ(inside.open(), 0);
    inside.context.pdBuffer = inside.camera.frame.data();
    DPDGetPDCenterWindow(&inside.context, lines, &inside.context.output);
    for (uint32_t cell = 0; cell < 16; ++cell)
      EXPECT_EQ(inside.context.pCenterCorrelationGrids[cell].p_sad[0] != 0, cell / 4 < rows)
          << lines;
  }
}

TEST(Calls, PeripheralWindowsFollowTheLines) {
  LogCapture log(1);
  FlowRun run;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1024;  // never met
  ASSERT_EQ(run.init(), 0);
  for (int frame = 0; frame < 2; ++frame) {
    for (const auto& [lines, windows] :
         {std::pair{10u, 1}, {179u, 1}, {180u, 5}, {239u, 5}, {240u, 8}}) {
      ASSERT_EQ(run.call(lines), 0);
      EXPECT_EQ(Sure(run.output.peripheralInfo), windows) << frame << " " << lines;
      EXPECT_EQ(run.output.processingResult, kResultLowConfidence);
      EXPECT_EQ(run.output.isPeripheralValid, 1);
    }
  }
  EXPECT_EQ(log.count("Warning: written PD buffer ratio negative -0.416667, number of written PD "
                      "lines 10"),
            2);  // from the centre of each frame alone
}

TEST(Calls, LowConfidenceOfOtherRois) {
  for (const auto& [roiType, enabled, result] :
       {std::tuple{0u, 1, kResultLowConfidence}, std::tuple{0u, 0, kResultLowConfidence},
        std::tuple{1u, 1, kResultStarted}, std::tuple{1u, 0, kResultLowConfidence}}) {
    FlowRun run;
    run.camera.tuning.correlation.defocusConfidenceThreshold = 1024;
    run.camera.tuning.enablePeripheralWindows = enabled;
    run.camera.setWindows(3, 3, roiType);
    ASSERT_EQ(run.init(), 0);
    ASSERT_EQ(run.frame(), 0);
    EXPECT_EQ(run.output.processingResult, result) << roiType << enabled;
    EXPECT_EQ(run.output.isPeripheralValid, roiType == 0 && enabled == 1 ? 1 : 0);
    EXPECT_EQ(run.output.verticalWindowCount, 3u);
  }
}

TEST(Calls, SureCentreForgetsThePeripheralCurves) {
  OpenFlow flow;
  ASSERT_EQ(flow.open(), 0);
  flow.context.pdBuffer = flow.camera.frame.data();
  for (float threshold : {1024.0F, 150.0F}) {
    flow.context.tuning.correlation.defocusConfidenceThreshold = threshold;
    flow.context.output = {};
    DPDIncrementalProcessing(&flow.context, flow.camera.imageHeight());
    for (const dpd_grid_arg_t& cell : flow.context.p_dpd_peripheral_window.cells) {
      EXPECT_EQ(std::all_of(cell.p_sad_filtered, cell.p_sad_filtered + 24,
                            [](int64_t value) { return value == 0; }),
                threshold == 150.0F);
    }
  }
}

TEST(Calls, LineOfResultsTellsTheWholeOrTheFirstWindow) {
  for (uint32_t roiType : {0u, 1u}) {
    LogCapture log(1);
    FlowRun run;
    run.camera.setWindows(3, 3, roiType);
    run.camera.exposeShifted(3);
    run.camera.param.lensPosition = 321;
    ASSERT_EQ(run.init(), 0);
    for (int frame = 0; frame < 2; ++frame) {
      ASSERT_EQ(run.frame(), 0);
      const PDLibDefocusInfo& told = run.output.defocusInfo[roiType == 0 ? 9 : 0];
      char line[256];
      std::snprintf(
          line, sizeof line,
          "frame_idx: %d, phaseDiff %.2f, defocus_um: %.1f conf_level %u cur_lens_pos 321 "
          "processingResult 1 isPeripheralValid 0",
          frame, static_cast<double>(told.phaseDiff), told.defocus * 0.5, told.confidence);
      EXPECT_TRUE(log.has(line)) << line;
    }
  }
}

TEST(Calls, TestModeMeasuresNothing) {
  LogCapture log;
  PDLIB_TEST_MODE = 1;
  FlowRun run;
  ASSERT_EQ(run.init(), 0);
  std::memset(static_cast<void*>(&run.output), 0x5A, sizeof run.output);
  const PDLibOutputData before = run.output;
  const auto allocations = Orvo::Host::Allocations().allocations;
  ASSERT_EQ(run.frame(), 0);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"this version has no test of dual-PD data"});
  EXPECT_EQ(std::memcmp(&run.output, &before, sizeof before), 0);
  EXPECT_EQ(Orvo::Host::Allocations().allocations, allocations);  // no grid either
}

TEST(Calls, LuxLevel) {
  dpd_context_t context{};
  const auto level = [&context](int gain, float fps, float integrationTime) {
    context.gain = gain;
    context.fps = fps;
    context.integrationTime = integrationTime;
    return DPDGetLuxLevel(context);
  };
  EXPECT_EQ(level(8, 25, 0.04F), 0);
  EXPECT_EQ(level(1, -1, 0), 0);
  EXPECT_EQ(level(1, NAN, 0), 0);
  EXPECT_EQ(level(7, 25, 0.04F), 1);
  EXPECT_EQ(level(8, 25, 0.03F), 1);
  EXPECT_EQ(level(8, 25, 0.02F), 2);
}

// ---- Window changes

TEST(WindowChange, LearningConfiguresWhatItServes) {
  for (const auto& [roiType, offset] : {std::pair{0u, 0.0F}, {2u, 0.0F}, {1u, 0.75F}}) {
    OpenFlow flow;
    flow.camera.setWindows(2, 2, roiType);
    flow.camera.tuning.adaptiveK.enable = 1;
    flow.camera.setOffsets(0.75F);
    ASSERT_EQ(flow.open(), 0);
    flow.context.pdBuffer = flow.camera.frame.data();
    DPDIncrementalProcessing(&flow.context, flow.camera.imageHeight());
    for (int w = 0; w < 5; ++w) {
      const PDLibDefocusInfo& info = flow.context.output.defocusInfo[w];
      const auto& cell = flow.context.pCenterPostProcessGrids[static_cast<size_t>(w)];
      EXPECT_EQ(cell.pd_offset, offset);
      const int dcc = adaptive_k_get_interpolated_DCC(&flow.context.adaptiveK, info.phaseDiff, w);
      EXPECT_EQ(dcc != 0, roiType != 1) << w;
      EXPECT_EQ(info.defocus, static_cast<int>(static_cast<float>(dcc) * info.phaseDiff));
    }
  }
}

TEST(WindowChange, UnflippedOffsetMapOnlyLosesTheOffset) {
  LogCapture log;
  FlowRun run;
  run.camera.native().orientation = kOrientationMirror;
  run.camera.setOffsets(0.75F);
  ASSERT_EQ(run.init(), 0);
  const test::FailedAt failed(4);  // behind the cells and windows
  EXPECT_EQ(run.frame(), 0);
  EXPECT_EQ(log.count("pd offset map left/right flip error"), 1);
  EXPECT_EQ(Sure(run.output.defocusInfo), 10);
}

// ---- Bad input

template <class Value>
Value AnyOf(kernel_test::Random& random, std::initializer_list<Value> values) {
  return values.begin()[random.Next() % values.size()];
}

// Whatever may stand in the records: no access outside the frame, nothing undefined, results within
// their bounds.
void RunAnything(uint32_t seed, bool vertical, uint32_t* measured) {
  kernel_test::Random random(seed);
  OpenFlow inside;  // tells how large the frame must be
  DualCamera& camera = inside.camera;
  inside.context.isVertical = vertical;
  const uint32_t width = AnyOf(random, {1u, 2u, 2u, 2u, 3u, 4u, 1u << 24});
  if (vertical || seed % 3 == 0) {
    const uint32_t type = AnyOf(random, {0u, 2u, 3u, 4u, 7u});
    camera.setBlock(width, AnyOf(random, {1u, 2u, 3u, 4u, 6u}),
                    {type, AnyOf(random, {1u, 2u, 3u}), 3});
  }
  camera.setFormat(AnyOf(random, {0u, 1u, 2u, 2u, 2u, 3u, 4u}));
  if (width > 4) camera.buffer().isp1BufferStride = 4000;
  camera.buffer().ispBufferHeight = AnyOf(random, {9u, 120u, 240u, 720u});
  camera.native().orientation = PDAFOrientation(random.Next() % 4);
  camera.native().cropRegion = AnyOf<PDLibCropRegion>(
      random, {{}, {48, 24, 240, 120}, {-9, 0, 1, 1}, {0, 0, UINT32_MAX, UINT32_MAX}});
  camera.native().verticalDownscaleFactor = AnyOf(random, {2.0F, 1.0F, 0.0F, 2.5F, NAN});
  camera.init.pixelOrderType = PDAFPixelOrderType(random.Next() % 3);
  camera.init.isHdrModeEnabled = random.Next() % 2;
  camera.init.pixelDepth = AnyOf(random, {10u, 8u, 1u, 16u, 0u, 999u});
  const auto range = AnyOf<afpdlibelements::tessarinePDRange>(
      random, {{-32, 16}, {0, 1}, {-2000, 2000}, {INT32_MIN, INT32_MAX}, {40, 90}, {-90, -40}});
  camera.tuning.correlation.searchRange = camera.tuning.correlationVertical.searchRange = range;
  camera.tuning.postProcess.enableGridOverlap = static_cast<int>(random.Next() % 2);
  camera.tuning.postProcess.confIntegralWidth = AnyOf(random, {32, 9, 0, -7, INT32_MAX, INT32_MIN});
  camera.tuning.postProcess.biasVectorStrength = AnyOf(random, {0.0F, 1.0F, NAN});
  camera.tuning.postProcess.temporalFilterStaticWeight = AnyOf(random, {0.5F, 3e38F, -1.0F, NAN});
  camera.tuning.correlation.PDRangeControl = AnyOf(random, {0.1F, 1e30F, NAN});
  camera.tuning.correlation.defocusConfidenceThreshold = AnyOf(random, {0.0F, 1024.0F});
  camera.tuning.singleWindowProcessingLevel = {test::ProcessingMode(AnyOf(random, {0, 1, 3, 4, 5})),
                                               100, AnyOf(random, {100, 0, 700, -3})};
  camera.tuning.adaptiveK.enable = static_cast<int>(random.Next() % 2);
  for (auto* path : {&camera.tuning.preProcess, &camera.tuning.preProcessVertical})
    path->filterTrigger.filterSet[2].verticalMode = AnyOf(random, {1, 2, 2, 4, 8, 16, 7});
  PDLibOffsetMap& map = camera.calibration.PD_OffsetMap;
  map.isAvailable = 1;
  map.width = camera.calibration.DCC_param.MapWidth = AnyOf<uint16_t>(random, {8, 8, 1, 0, 65535});
  map.height = camera.calibration.DCC_param.MapHeight = AnyOf<uint16_t>(random, {6, 6, 1, 65535});
  camera.calibration.DCC_param.Q_factor = AnyOf<uint16_t>(random, {0, 4, 16, 31, 65535});
  camera.addExtension("PdOffsetRatios", {1, -3e9F, 2, 50, 2, 50, 3, 3e9F});
  camera.addExtension("SADRepeatPatternPrevent", {AnyOf(random, {4.0F, 0.0F, NAN}), 0.1F, 0.5F, 0});
  camera.addExtension("VerticalLayoutExt", {AnyOf(random, {0.0F, 4.0F, -1e20F})});
  const auto counts = AnyOf<std::pair<uint32_t, uint32_t>>(
      random, {{1, 1}, {1, 1}, {3, 3}, {2, 5}, {14, 14}, {1, 199}, {199, 1}});
  camera.setWindows(counts.first, counts.second, random.Next() % 11);
  const auto roi = AnyOf<PDLibWindow>(random, {{0.25F, 0.25F, 0.75F, 0.75F},
                                               {0.1F, 0.3F, 0.8F, 0.9F},
                                               {0, 0, 1, 1},
                                               {0.5F, 0.5F, 0.51F, 0.52F},
                                               {1, 1, 1, 1},
                                               {0.9F, 0, 1, 1},
                                               {0, 0.9F, 1, 1}});
  camera.setRoi(roi.startX, roi.startY, roi.endX, roi.endY);
  camera.param.gain = AnyOf(random, {1.0F, 1e20F, NAN});
  camera.param.fps = AnyOf(random, {30.0F, 0.0F, 1e30F, NAN});
  camera.param.offsetLensPosition = AnyOf(random, {0, 50, INT32_MIN, INT32_MAX});
  const int status = inside.init();
  const std::unique_ptr<IPDLIBFlow> flow(vertical ? CreateVerticalDPDFlow() : CreateDPDFlow());
  ASSERT_EQ(flow->Init(&camera.init, &camera.tuning), status);
  if (status != 0) return;
  // Nothing behind the last byte that is asked for.
  std::vector<uint8_t> frame(std::max<size_t>(inside.context.requiredBufferBytes, 1));
  for (uint8_t& byte : frame) byte = static_cast<uint8_t>(random.Next());
  camera.param.PDBuffer = frame.data();
  camera.param.PDBufferSize = static_cast<int64_t>(frame.size());
  PDLibOutputData output = {};
  for (uint32_t lines : {10u, 100u, 240u, 240u}) {
    const int result = flow->Process(&camera.param, lines, &output);
    ASSERT_TRUE(result == 0 || result == kPDStatusFlowFailed) << seed;
    for (const PDLibDefocusInfo& info : output.defocusInfo) ASSERT_LE(info.confidence, 1024u);
    if (Sure(output.defocusInfo) > 0) ++*measured;
  }
}

TEST(BadInput, AnyRecordIsSurvived) {
  constexpr uint32_t kSeeds = 1500;
  LogCapture log;
  uint32_t measured = 0;
  for (uint32_t seed = 0; seed < kSeeds; ++seed) {
    log.restart();
    RunAnything(seed, seed % 2 == 1, &measured);
  }
  EXPECT_GT(measured, kSeeds / 8);  // not only refusals
}

}  // namespace

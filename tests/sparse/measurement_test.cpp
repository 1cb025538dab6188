// One frame through the flow: a texture seen with a known shift must be measured as that shift.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "sparse/pdlib_sparse_wrapper.h"
#include "sparse_context.h"
#include "support/flow_run.h"

using test::ConfiguredContext;
using FlowRun = test::SparseRun;
using test::FourColumns;
using test::LogCapture;
using test::SparseCamera;

namespace {

// A sample is 4 pixels wide; whole samples are found to a small part of one, whatever the balance
// and the clean-up did to the texture.
constexpr float kTolerance = 0.4f;

struct SensorCase {
  const char* name;
  void (*change)(SparseCamera&);
};

// Buffer types 4 and 6 stand for 1, 5 and 7 for 0.
void ServeBothAxes(SparseCamera& camera) {
  PDLibBlockPattern& native = camera.init.nativePatternInfo.blockPattern;
  PDLibBlockPattern& buffer = camera.init.bufferDataInfo.isp1BlockPattern;
  for (uint32_t i = 0; i < camera.pixels.size(); ++i) {
    const uint32_t type = (camera.pixels[i].left ? 4 : 5) + i / 2 % 2 * 2;
    buffer.pixelCoordinate[i].type = PDAFPixelShieldInformation(type);
    native.pixelCoordinate[i].type = PDAFPixelShieldInformation(type);
  }
}

const SensorCase kSensors[] = {
    {"plain", [](SparseCamera&) {}},
    {"one window, no overlap", [](SparseCamera& c) { c.setWindows(1, 1); }},
    {"custom ROI", [](SparseCamera& c) { c.setWindows(4, 2, 7); }},
    {"one pixel a sample", [](SparseCamera& c) { c.setPixels(FourColumns(1)); }},
    {"optimized", [](SparseCamera& c) { c.addExtension("EnableOptimizedSparseParsing"); }},
    {"band pass", [](SparseCamera& c) { c.addExtension("EnableSparsePDAFIIRFilter"); }},
    {"two processors", [](SparseCamera& c) { c.addSecondProcessor(25, 32); }},
    {"inside the frame",
     [](SparseCamera& c) { c.init.bufferDataInfo.sensorType = kSensorSparseInFrame; }},
    {"pixels for both axes", ServeBothAxes},
    {"no smoothing", [](SparseCamera& c) { c.preProcess().boxFilterLength = 0; }},
    {"long smoothing", [](SparseCamera& c) { c.preProcess().boxFilterLength = 4; }},
    {"every fourth row",
     [](SparseCamera& c) { c.tuning.singleWindowProcessingLevel.dynamicLevel = 25; }},
    {"bias", [](SparseCamera& c) { c.tuning.postProcess.biasVectorStrength = 0.1f; }},
};

TEST(Measurement, KnownShiftIsFoundInEveryWindow) {
  for (const SensorCase& sensor : kSensors) {
    for (const int shift : {-20, -4, 0, 8, 28}) {
      SCOPED_TRACE(std::string(sensor.name) + ", shift " + std::to_string(shift));
      FlowRun run;
      sensor.change(run.camera);
      run.camera.exposeShifted(shift);
      ASSERT_EQ(run.init(), kPDStatusOk);
      ASSERT_EQ(run.frame(), kPDStatusOk);
      const PDLibWindowConfig& config = run.camera.param.windowConfig;
      const size_t windows = config.horizontalWindowCount * config.verticalWindowCount;
      const size_t results = windows + (config.roiType == kRoiDefault ? 1 : 0);
      for (size_t i = 0; i < results; ++i) {
        EXPECT_NEAR(run.result(i).phaseDiff, static_cast<float>(-shift), kTolerance) << i;
        EXPECT_GT(run.result(i).confidence, 500u) << i;
      }
      EXPECT_EQ(run.result(results).confidence, 0u);  // nothing is written behind them
      EXPECT_EQ(run.output.processingResult, kResultStarted);
      EXPECT_EQ(run.output.horizontalWindowCount, config.horizontalWindowCount);
      EXPECT_EQ(run.output.verticalWindowCount, config.verticalWindowCount);
    }
  }
}

TEST(Measurement, OffsetIsAddedBeforeTheMirrorTurnsTheSign) {
  const struct {
    uint32_t orientation;
    float offset;
    float phase;  // of a shift of 12 pixels
  } cases[] = {{0, 0, -12},      {2, 0, -12},     {1, 0, 12},     {3, 0, 12},
               {0, 2.5f, -9.5f}, {1, 2.5f, 9.5f}, {1, -10.0f, 12}};
  for (const auto& c : cases) {
    FlowRun run;
    run.camera.init.nativePatternInfo.orientation = PDAFOrientation(c.orientation);
    run.camera.init.nativePatternInfo.PDOffsetCorrection = c.offset;
    run.camera.exposeShifted(12);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_NEAR(run.result(4).phaseDiff, c.phase, kTolerance);
  }
}

TEST(Measurement, DefocusIsThePhaseTimesTheCoefficient) {
  const struct {
    int16_t dcc;
    uint16_t q;
    float factor;
  } cases[] = {{2048, 10, 2.0f}, {-2048, 10, 2.0f}, {2048, 4, 128.0f}, {3, 1, 1.5f}};
  for (const auto& c : cases) {
    FlowRun run;
    std::fill_n(run.camera.calibration.DCC_map, kDccMapEntries, c.dcc);
    run.camera.calibration.DCC_param.Q_factor = c.q;
    run.camera.exposeShifted(12);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(run.result(4).defocus, std::trunc(run.result(4).phaseDiff * c.factor));
    EXPECT_NE(run.result(4).defocus, 0);
  }
}

// The grid's own vectors are taken by the steps, then summed in place in the order of the results,
// with a row step of the row count; by columns each window sums the four cells that it covers.
TEST(Measurement, OverlappingCellsAreSummedByTheStatedIndices) {
  const struct {
    uint32_t columns, rows;
    bool byColumns, isTold;
  } cases[] = {{2, 2, false, false}, {3, 1, false, false}, {1, 3, false, true}, {4, 2, false, true},
               {2, 4, false, true},  {4, 2, true, false},  {2, 4, true, false}};
  for (const auto& c : cases) {
    LogCapture log(1);
    SparseCamera camera;
    camera.addExtension("OverlapSumByColumns", {c.byColumns ? 1.0f : 2.0f});
    camera.setWindows(c.columns, c.rows);
    camera.exposeShifted(8);
    const auto expected = ConfiguredContext(camera);
    expected->subsampleRatio = 1.0f;
    const uint32_t gridColumns = c.columns + 1;
    const uint32_t gridRows = c.rows + 1;
    std::vector<std::vector<int64_t>> sad;
    for (uint32_t row = 0; row < gridRows; ++row) {
      const auto first = static_cast<uint16_t>(row * gridColumns);
      const auto end = static_cast<uint16_t>(first + gridColumns);
      pdaf_window_process_optimized(expected.get(), first, end);
      calculate_sad_vector(expected.get(), first, end);
      for (uint32_t i = first; i < end; ++i) {
        auto& vector = expected->centerGrid[i].sad;
        sad.emplace_back(vector.begin(), vector.end());
      }
    }
    const std::string size = std::to_string(c.columns) + " x " + std::to_string(c.rows);
    EXPECT_EQ(log.has(size + " overlapping windows sum entries of other places than their own, set "
                             "OverlapSumByColumns to sum their own"),
              c.isTold);
    const auto unsummed = sad;
    const std::vector<int64_t> nothing(sad[0].size());
    std::vector<int64_t> total = nothing;
    for (uint32_t row = 0; row < c.rows; ++row) {
      for (uint32_t column = 0; column < c.columns; ++column) {
        const uint32_t a = row * (c.byColumns ? gridColumns : gridRows) + column;
        std::vector<int64_t> sum = nothing;
        for (const uint32_t source : {a, a + 1, a + gridColumns, a + gridColumns + 1}) {
          const auto& cells = c.byColumns ? unsummed : sad;
          const auto& cell = source < sad.size() ? cells[source] : nothing;
          for (size_t k = 0; k < sum.size(); ++k) sum[k] += cell[k];
        }
        for (size_t k = 0; k < sum.size(); ++k) total[k] += sum[k];
        sad[row * c.columns + column] = sum;
      }
    }
    sad[c.columns * c.rows] = total;

    const auto context = ConfiguredContext(camera);
    pd_process_center_window(context.get(), static_cast<uint16_t>(camera.imageHeight()),
                             &context->output);
    for (size_t i = 0; i <= c.columns * c.rows; ++i) {
      auto& vector = context->centerGrid[i].sad;
      EXPECT_EQ(std::vector<int64_t>(vector.begin(), vector.end()), sad[i])
          << size << ", result " << i;
    }
  }
}

TEST(Measurement, LengthsOfTheFiltersThatDoNotExist) {
  struct Case {
    const char* line;
    void (*change)(SparseCamera&);
    int64_t lines;  // one per row of windows
  };
  const Case cases[] = {
      {"Box filter length is NOT supported! Use 1x2 box filter.",
       [](SparseCamera& c) { c.preProcess().boxFilterLength = 3; }, 4},
      {"Unsupported binning count 3",
       [](SparseCamera& c) {
         c.addExtension("verticalBinningControl");
         auto& sets = c.preProcess().filterTrigger.filterSet;
         sets[0].AECTrigger.gain_start = 8;  // the gain of 5.9 counts as 5
         sets[1].AECTrigger.gain_start = 5;
         sets[0].verticalMode = 2;
         sets[1].verticalMode = 3;
         sets[2].verticalMode = 4;
         c.param.gain = 5.9f;
       },
       4},
      {"PDLIB: all pd pixel values after black level correction is 0",
       [](SparseCamera& c) { c.expose([](bool, int, int) { return 0; }); }, 4},
      {"PDLIB: all pd pixel values after black level correction is 0",
       [](SparseCamera& c) { c.expose([](bool left, int, int) { return left ? 500 : 0; }); }, 4},
  };
  for (const Case& c : cases) {
    LogCapture log;
    FlowRun run;
    c.change(run.camera);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(log.count(c.line), c.lines);
  }
}

TEST(Measurement, UnknownFilterLengthSmoothesAsTwo) {
  PDLibOutputData outputs[2];
  for (const int length : {2, 3}) {
    LogCapture log;
    FlowRun run;
    run.camera.preProcess().boxFilterLength = length;
    run.camera.exposeShifted(6);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    outputs[length - 2] = run.output;
  }
  EXPECT_TRUE(test::SameResults(outputs[0], outputs[1]));
}

TEST(Measurement, ChannelsWithoutSignalAreNotTrusted) {
  LogCapture log;
  FlowRun run;
  run.camera.expose([](bool, int, int) { return -1; });
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_EQ(run.output.processingResult, kResultLowConfidence);
  for (size_t i = 0; i < 10; ++i) EXPECT_EQ(run.result(i).confidence, 0u);
  run.camera.exposeShifted(8);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_NEAR(run.result(4).phaseDiff, -8, kTolerance);
}

TEST(Measurement, ShareOfRowsByProcessingMode) {
  const struct {
    int centre;
    uint32_t mode;
    float roi;  // side of the window
    int staticCount;
    double ratio;  // dynamic level 60, static level 20
  } cases[] = {
      {1, 0, 0.3f, 5, 0.6},   {1, 0, 0.3f, 6, 0.2},  {1, 0, 0.6f, 0, 0.25 * 0.6},
      {1, 1, 0.6f, 0, 0.125}, {1, 2, 0.6f, 9, 0.25}, {1, 3, 1.0f, 0, 0.09},
      {1, 4, 1.0f, 0, 0.6},   {1, 4, 1.0f, 6, 0.2},  {1, 5, 0.6f, 0, 0.25 * 0.6},
      {1, 77, 0.6f, 0, 0.25}, {0, 0, 0.6f, 0, 0.15}, {0, 0, 0.6f, 6, 0.05},
      {0, 1, 0.1f, 0, 0.125}, {0, 2, 0.1f, 0, 0.25}, {0, 4, 0.1f, 6, 0.2},
  };
  for (const auto& c : cases) {
    auto context = std::make_unique<pdaf_context_t>();
    context->window.w = context->window.h = c.roi;
    context->staticCount = c.staticCount;
    const auto mode = afpdlibelements::tessarinePDProcessingMode(c.mode);
    auto& level = c.centre != 0 ? context->tuning.singleWindowProcessingLevel
                                : context->tuning.PeripheralProcessing;
    level = {mode, 60, 20};
    EXPECT_NEAR(pd_process_get_subsample_ratio(*context, c.centre), c.ratio, 1e-6)
        << "mode " << c.mode << " roi " << c.roi;
  }
}

}  // namespace

// What Init works out from the tuning: search range, bias, extension parameters, fallback.
#include <gtest/gtest.h>

#include <cmath>

#include "frame/pdlib_flow.h"
#include "frame/pdlib_utils_curve.h"
#include "sparse_context.h"
#include "support/flow_run.h"
#include "support/pd_tuning.h"

using test::FourColumns;
using test::InitialisedContext;
using test::LogCapture;
using test::SparseCamera;

namespace {

TEST(SparseSetup, SearchRangeInSamples) {
  const struct {
    uint32_t blockWidth;
    int samples;  // columns of the block
    float factor;
    int from, to, unit, offset, end, length;
  } cases[] = {
      {16, 2, 1.0f, -48, 16, 8, 2, -6, 9},   {16, 4, 1.0f, -48, 48, 4, 12, -12, 25},
      {16, 3, 1.0f, -10, 10, 5, 2, -2, 5},   {16, 4, 2.0f, -10, 10, 2, 5, -5, 11},
      {16, 4, 3.0f, 3, 10, 1, 10, 3, 8},      // 4 / 3 is cut to 1
      {16, 4, 10.0f, -4, 4, 1, 4, -4, 9},     // never below 1
      {64, 1, 1.0f, -100, 40, 32, 1, -3, 5},  // never above 32
      {16, 4, 0.5f, -15, -9, 8, -1, -1, 1},   // both ends are cut toward 0
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    std::vector<test::PdPixel> pixels;
    for (int i = 0; i < c.samples; ++i) {
      const uint32_t x = static_cast<uint32_t>(3 * i);
      pixels.push_back({x, 0, true, x, 0});
      pixels.push_back({x, 1, false, x, 1});
    }
    camera.setPixels(pixels);
    camera.init.nativePatternInfo.blockPattern.blockDimension.width = c.blockWidth;
    camera.tuning.correlation.searchRange = {c.from, c.to};
    camera.addExtension("xCFA_factor", {c.factor});
    LogCapture log;
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->pd_unit, c.unit);
    EXPECT_EQ(context->shift_offset, c.offset);
    EXPECT_EQ(context->shift_end, c.end);
    EXPECT_EQ(context->sad_len, c.length);
    EXPECT_EQ(context->confHalfWidth, 16 / c.unit);
  }
}

// Strengths that are sums of powers of two: (s d d / 4096 + 1 - s) 4096 = s d d + 4096 (1 - s).
TEST(SparseSetup, BiasGrowsWithTheSquareOfTheShift) {
  const struct {
    float strength;
    std::vector<uint16_t> weights;  // of the shifts 16, 8, 0, -8, -16, -24, -32, -40, -48
  } cases[] = {
      {0.0f, std::vector<uint16_t>(9, 4096)},
      {0.25f, {3136, 3088, 3072, 3088, 3136, 3216, 3328, 3472, 3648}},
      {1.0f, {256, 64, 0, 64, 256, 576, 1024, 1600, 2304}},
      {2.0f, {256, 64, 0, 64, 256, 576, 1024, 1600, 2304}},  // counts as 1
      {-1.0f, std::vector<uint16_t>(9, 4096)},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    camera.setPixels(
        {{0, 0, true, 0, 0}, {0, 1, false, 0, 1}, {8, 0, true, 8, 0}, {8, 1, false, 8, 1}});
    camera.tuning.correlation.searchRange = {-48, 16};
    camera.tuning.postProcess.biasVectorStrength = c.strength;
    auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(std::vector<uint16_t>(context->biasVector.begin(), context->biasVector.end()),
              c.weights)
        << c.strength;
  }
  pdlib::OwnedArray<uint16_t> wide;
  ASSERT_TRUE(build_bias_vector(&wide, 1, 300, 4, 1.0f));
  EXPECT_EQ(wide[0], 300 * 300 - 65536);  // entries have 16 bits
}

TEST(SparseSetup, OtherValuesAreLimited) {
  SparseCamera camera;
  const auto bounded = [&camera](int threshold, uint32_t depth, float offset) {
    camera.tuning.preProcess.antiAliasFilterThreshold = threshold;
    camera.init.pixelDepth = depth;
    camera.init.nativePatternInfo.PDOffsetCorrection = offset;
    return InitialisedContext(camera);
  };
  const auto low = bounded(-5, 0, -10.0f);
  EXPECT_EQ(low->bpcThreshold, 0);
  EXPECT_EQ(low->pixelDepth, 10u);
  EXPECT_EQ(low->sensor.pdOffset, 0.0f);
  const auto high = bounded(5000, 17, 9.75f);
  EXPECT_EQ(high->bpcThreshold, 1023);
  EXPECT_EQ(high->pixelDepth, 10u);
  EXPECT_EQ(high->sensor.pdOffset, 9.75f);
  EXPECT_EQ(bounded(7, 16, NAN)->pixelDepth, 16u);
}

struct Extension {
  const char* name;
  std::vector<float> values;
  int32_t enabled = 1;
};

test::Context WithExtensions(const std::vector<Extension>& extensions) {
  SparseCamera camera;
  for (const Extension& e : extensions) camera.addExtension(e.name, e.values, e.enabled);
  return InitialisedContext(camera);
}

TEST(SparseSetup, ExtensionParameters) {
  const auto set = WithExtensions({{"skipLCRInMonitorAndSmallPD", {1.9f}},
                                   {"skipLCRPDThreshold", {2.5f}},
                                   {"verticalBinningControl", {-3.7f}},
                                   {"EnableSparsePDAFIIRFilter", {258.0f}},
                                   {"minimumMeanSADLevel", {70.9f}},
                                   {"LCRParsingMode", {1.0f}},
                                   {"EnableOptimizedSparseParsing", {0.9f}}});
  EXPECT_EQ(set->skipLCRInMonitorAndSmallPD, 1);
  EXPECT_EQ(set->skipLCRPDThreshold, 2.5f);
  EXPECT_EQ(set->verticalBinningControl, -3);
  EXPECT_EQ(set->iirEnabled, 2);  // 8 bits
  EXPECT_EQ(set->minMeanSADLevel, 70);
  EXPECT_EQ(set->LCRParsingMode, 1);
  EXPECT_FALSE(set->optimizedParsing);  // 0.9 is cut to 0

  SparseCamera camera;  // entries that the count doesn't reach, and a count without entries
  camera.addExtension("LCRParsingMode", {5});
  camera.tuning.extensionParamCount = 0;
  EXPECT_EQ(InitialisedContext(camera)->LCRParsingMode, 0);
  camera.tuning.extensionParam = nullptr;
  camera.tuning.extensionParamCount = 1;
  EXPECT_EQ(InitialisedContext(camera)->LCRParsingMode, 0);

  EXPECT_EQ(WithExtensions({{"LCRParsingModeOfTomorrow", {5}}})->LCRParsingMode, 5);
  EXPECT_EQ(WithExtensions({{"LCRParsingMod", {5}}})->LCRParsingMode, 0);
  EXPECT_EQ(WithExtensions({{"lcrparsingmode", {5}}})->LCRParsingMode, 0);
  EXPECT_EQ(WithExtensions({{"LCRParsingMode", {5}, 2}})->LCRParsingMode, 0);
  EXPECT_EQ(WithExtensions({{"LCRParsingMode", {5}, 0}})->LCRParsingMode, 0);
  EXPECT_EQ(WithExtensions({{"LCRParsingMode", {}}})->LCRParsingMode, 0);
  EXPECT_EQ(WithExtensions({{"LCRParsingMode", {5}}, {"LCRParsingMode", {6}}})->LCRParsingMode, 6);
}

TEST(SparseSetup, TuningWithoutSearchRangeIsReplaced) {
  LogCapture log;
  SparseCamera camera;
  camera.tuning = {};
  camera.tuning.enablePeripheralWindows = 1;
  const auto context = InitialisedContext(camera);
  ASSERT_NE(context, nullptr);
  EXPECT_TRUE(log.has("Tuning is invalid\n"));
  EXPECT_EQ(test::DescribeSet(context->tuning),
            ".preProcess.boxFilterLength=2\n"
            ".preProcess.antiAliasFilterThreshold=100\n"
            ".preProcess.lcrFilterTrigger.filterSet[0].AECTrigger.gain_start=1.000000\n"
            ".preProcess.lcrFilterTrigger.filterSet[0].boxFilterLength=2\n"
            ".preProcess.lcrFilterTrigger.filterSet[1].AECTrigger.gain_start=4.000000\n"
            ".preProcess.lcrFilterTrigger.filterSet[1].boxFilterLength=2\n"
            ".preProcess.lcrFilterTrigger.filterSet[2].AECTrigger.gain_start=16.000000\n"
            ".preProcess.lcrFilterTrigger.filterSet[2].boxFilterLength=2\n"
            ".preProcess.lcrMaxBinningNum=4\n"
            ".correlation.minimumConfidenceLevel=250.000000\n"
            ".correlation.defocusConfidenceThreshold=250.000000\n"
            ".correlation.searchRange.from=-48\n"
            ".correlation.searchRange.to=16\n"
            ".correlation.lcrSearchRange.from=-8\n"
            ".correlation.lcrSearchRange.to=8\n"
            ".postProcess.biasVectorStrength=0.100000\n"
            ".postProcess.temporalFilterStaticWeight=0.500000\n"
            ".postProcess.temporalFilterDynamicWeight=1.000000\n"
            ".postProcess.enableGridOverlap=1\n"
            ".postProcess.confIntegralWidth=24\n"
            ".singleWindowProcessingLevel.dynamicLevel=100\n"
            ".singleWindowProcessingLevel.staticLevel=100\n"
            ".skipControl.staticFrameCountThres=8\n"
            ".skipControl.maxFrameRate=30\n");
  EXPECT_EQ(context->confScale, 250);
  EXPECT_EQ(context->bpcThreshold, 100);
  EXPECT_EQ(context->biasStrength, 0.1f);
  EXPECT_EQ(context->shift_offset, 16 / 4);
  EXPECT_EQ(context->shift_end, -48 / 4);
}

TEST(SparseSetup, OptimizedParsingNeedsColumnsThatMerge) {
  const struct {
    const char* what;
    uint32_t rowsPerColumn;
    void (*change)(SparseCamera&);
    uint32_t factor;  // 0: stays off
  } cases[] = {
      {"one pixel a sample", 1, nullptr, 1},
      {"two pixels a sample", 2, nullptr, 2},
      {"three pixels a sample", 3, nullptr, 0},
      {"four pixels a sample", 4, nullptr, 4},
      {"two processors", 2, [](SparseCamera& c) { c.addSecondProcessor(30, 32); }, 0},
      {"LCR", 2,
       [](SparseCamera& c) {
         c.tuning.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode(1);
         c.tuning.correlation.lcrSearchRange = {-8, 8};
       },
       0},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    camera.setPixels(FourColumns(c.rowsPerColumn));
    if (c.change != nullptr) c.change(camera);
    camera.addExtension("EnableOptimizedSparseParsing");
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr) << c.what;
    EXPECT_EQ(context->optimizedParsing, c.factor != 0) << c.what;
    EXPECT_EQ(context->parsingMergeFactor, c.factor) << c.what;
  }
}

TEST(SparseSetup, LcrVectorsFollowTheirOwnRange) {
  LogCapture log;
  SparseCamera camera;
  camera.tuning.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode(1);
  camera.tuning.correlation.lcrSearchRange = {-6, 8};
  const auto with = InitialisedContext(camera);
  EXPECT_TRUE(with->lcrEnabled);
  EXPECT_EQ(with->lcr_sad_len, 15);
  EXPECT_EQ(with->lcrBiasVector.size(), 15u);
  PDLIB_LCR_DISABLE = 1;
  EXPECT_FALSE(InitialisedContext(camera)->lcrEnabled);
}

TEST(SparseSetup, NarrowSearchRangeIsReportedAndAccepted) {
  LogCapture log;
  SparseCamera camera;
  camera.tuning.correlation.searchRange = {-8, 8};
  camera.tuning.postProcess.confIntegralWidth = 16;
  EXPECT_NE(InitialisedContext(camera), nullptr);
  EXPECT_TRUE(log.texts().empty());
  camera.tuning.postProcess.confIntegralWidth = 17;
  EXPECT_NE(InitialisedContext(camera), nullptr);
  const std::vector<std::string> expected = {
      "\nset_pd_context_init_info: error: PD search range is smaller than required for reliable "
      "confidence estimation. ",
      "Increase PD search range |far - near| to at least 17\n"};
  EXPECT_EQ(log.texts(), expected);
}

TEST(SparseSetup, CropAndOrientationOfTheSensor) {
  const struct {
    const char* what;
    PDLibCropRegion crop;
    uint32_t originalWidth, orientation;
    int result;
  } cases[] = {
      {"whole", {0, 0, 960, 384}, 960, 0, 0},
      {"inside", {100, 50, 860, 300}, 960, 3, 0},
      {"reaches past the frame", {900, 300, 960, 384}, 960, 1, 0},  // only its corner has to fit
      {"no width", {0, 0, 0, 384}, 960, 0, 1},
      {"too wide", {0, 0, 961, 384}, 960, 0, 1},
      {"starts left of the frame", {-1, 0, 10, 10}, 960, 0, 1},
      {"starts behind the frame", {960, 0, 10, 10}, 960, 0, 1},
      {"the current size stands in", {0, 0, 960, 384}, 0, 2, 0},
      {"no such orientation", {0, 0, 960, 384}, 960, 4, 1},
  };
  for (const auto& c : cases) {
    LogCapture log;
    SparseCamera camera;
    PDLibSensorNativeInfo& native = camera.init.nativePatternInfo;
    native.cropRegion = c.crop;
    native.originalImageWidth = c.originalWidth;
    native.orientation = PDAFOrientation(c.orientation);
    sensor_logic_t sensor = {};
    EXPECT_EQ(init_sensor_info(&sensor, native), c.result) << c.what;
    EXPECT_EQ(sensor.blockWidth, 16u) << c.what;  // filled in either case
    EXPECT_EQ(sensor.mirror, (c.orientation & 1) != 0 && c.orientation < 4) << c.what;
    EXPECT_EQ(sensor.flip, (c.orientation & 2) != 0 && c.orientation < 4) << c.what;
  }
  LogCapture log;
  sensor_logic_t sensor = {};
  EXPECT_EQ(init_sensor_info(&sensor, PDLibSensorNativeInfo{}), 1);
  EXPECT_TRUE(log.has("init_sensor_info: pdaf init failed due to invalid crop region input\n"));
  EXPECT_TRUE(log.has("init_sensor_info: pdaf init failed due to invalid ori image dimension\n"));
}

TEST(SparseSetup, FlowHandsOutItsTuning) {
  LogCapture log;
  test::SparseRun run;
  void* tuning = nullptr;
  EXPECT_EQ(run.flow->GetTuningData(&tuning), kPDStatusBadInput);  // before Init
  ASSERT_EQ(run.init(), kPDStatusOk);
  EXPECT_EQ(run.flow->GetTuningData(nullptr), kPDStatusBadInput);
  EXPECT_EQ(log.texts(), std::vector<std::string>(2, "null pointer"));
  EXPECT_EQ(run.flow->GetTuningData(&tuning), kPDStatusOk);
  EXPECT_EQ(std::memcmp(tuning, &run.camera.tuning, 1024), 0);
}

TEST(SparseSetup, InvertedOrEmptyRangeFailsSilently) {
  for (const afpdlibelements::tessarinePDRange range :
       {afpdlibelements::tessarinePDRange{8, 8}, afpdlibelements::tessarinePDRange{9, 8}}) {
    LogCapture log(2);
    test::SparseRun run;
    run.camera.tuning.correlation.searchRange = range;
    EXPECT_EQ(run.init(), kPDStatusFlowFailed);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"set init info error"});
  }
}

}  // namespace

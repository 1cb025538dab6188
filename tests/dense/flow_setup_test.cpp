// What a flow prepares: limits and bias, maps and their look-ups, blocks, and the grids of a
// window.
#include <sstream>

#include "dense/dual_flow.h"
#include "support/pd_tuning.h"

using test::DualCamera;
using test::LogCapture;
using test::OpenFlow;

namespace {

using Change = std::function<void(DualCamera&)>;
const Change kNoChange = [](DualCamera&) {};

TEST(Limits, WholeQuotientsCutTowardZeroAfterTheHalf) {
  struct Case {
    int from, to;
    float factor;
    bool hdr;
    int near, far, shifts, step;
  };
  for (const Case& c : {
           Case{-32, 16, 2, false, -15, 8, 24, 2},
           Case{-32, 16, 0, false, -15, 8, 24, 2},    // no factor counts as 2
           Case{-32, 16, 3.9F, false, -9, 5, 15, 3},  // -32 / 3 is -10
           Case{-7, 9, 1, false, -6, 9, 16, 1}, Case{0, 2, 2, false, 0, 1, 2, 2},
           Case{-2000, 2000, 2, false, -128, 127, 256, 2},  // as far as 8 bits go
           Case{-32, 16, 2, true, -8, 4, 24, 4},            // curves keep their length
       }) {
    OpenFlow flow;
    flow.camera.tuning.correlation.searchRange = {c.from, c.to};
    flow.camera.native().horizontalDownscaleFactor = c.factor;
    flow.camera.init.isHdrModeEnabled = c.hdr ? 1 : 0;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    const dpd_sad_request_t& request = flow.context.sadRequest;
    EXPECT_EQ(request.near_limit, c.near) << c.from;
    EXPECT_EQ(request.far_limit, c.far) << c.from;
    EXPECT_EQ(request.sad_count, c.shifts) << c.from;
    EXPECT_EQ(request.sad_step, c.step) << c.from;
    EXPECT_EQ(flow.context.bias.size(), static_cast<size_t>(c.shifts));
  }
}

TEST(Limits, VerticalOnesAreQuotientsWithAFraction) {
  OpenFlow flow;
  flow.context.isVertical = true;
  flow.camera.setBlock(2, 1, {2, 3});
  flow.camera.native().verticalDownscaleFactor = 2.5F;
  flow.camera.tuning.correlationVertical.searchRange = {-30, 17};  // -12 and 6.8
  ASSERT_EQ(flow.init(), kPDStatusOk);
  EXPECT_EQ(flow.context.sadRequest.near_limit, -11);
  EXPECT_EQ(flow.context.sadRequest.far_limit, 7);
  EXPECT_EQ(flow.context.sadRequest.sad_count, 19);
  EXPECT_EQ(flow.context.sadRequest.sad_step, 2);
}

TEST(Limits, ExchangedSidesTurnRangeAndGainsRound) {
  struct Case {
    uint32_t order;
    uint32_t orientation;
    bool exchanged;
  };
  for (const Case& c : {Case{0, 0, false}, Case{1, 0, false}, Case{2, 0, true}, Case{2, 2, true},
                        Case{0, 1, false}, Case{1, 1, true}, Case{2, 1, false}, Case{1, 3, true}}) {
    OpenFlow flow;
    flow.camera.init.pixelOrderType = PDAFPixelOrderType(c.order);
    flow.camera.native().orientation = PDAFOrientation(c.orientation);
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(flow.context.sadRequest.near_limit, c.exchanged ? -7 : -15) << c.order;
    EXPECT_EQ(flow.context.sadRequest.far_limit, c.exchanged ? 16 : 8) << c.order;
    const bool flipped = c.orientation >= 2;  // the maps' last row comes first
    EXPECT_EQ(flow.context.leftDenseGain[0],
              c.exchanged ? (flipped ? 1036 : 1060) : (flipped ? 1048 : 1000));
    EXPECT_EQ(flow.context.rightDenseGain[0],
              c.exchanged ? (flipped ? 1048 : 1000) : (flipped ? 1036 : 1060));
    const bool mirrored = c.orientation % 2 == 1;
    EXPECT_EQ(std::abs(flow.context.calibration.DCC_map[0]),
              16 * ((flipped ? 40 : 0) + (mirrored ? 7 : 0)));
  }
}

// The parabola 4096 * (s * x * x / 4096 + 1 - s) around shift 0, x = 16, 14, .. -30 pixels.
TEST(Bias, ParabolaAroundNoShift) {
  for (const auto& [strength, at16, at0, atLast] :
       {std::tuple{0.0F, 4096, 4096, 4096}, std::tuple{-3.0F, 4096, 4096, 4096},
        std::tuple{0.5F, 2048 + 128, 2048, 2048 + 450}, std::tuple{7.0F, 256, 0, 900}}) {
    OpenFlow flow;
    flow.camera.tuning.postProcess.biasVectorStrength = strength;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(flow.context.bias[0], at16);
    EXPECT_EQ(flow.context.bias[8], at0);
    EXPECT_EQ(flow.context.bias[23], atLast);
  }
}

TEST(Tuning, FallbackAndNarrowRange) {
  LogCapture log;
  OpenFlow flow;
  ASSERT_EQ(InitDPDContext(&flow.context, flow.camera.init, nullptr), kPDStatusOk);
  EXPECT_TRUE(log.has("Tuning is invalid"));
  EXPECT_EQ(test::DescribeSet(flow.context.tuning),
            ".preProcess.HDR.longThreshold=450\n"
            ".preProcess.filterTrigger.filterSet[0].AECTrigger.gain_start=8.000000\n"
            ".preProcess.filterTrigger.filterSet[0].verticalMode=8\n"
            ".preProcess.filterTrigger.filterSet[0].horizontalMode=1\n"
            ".preProcess.filterTrigger.filterSet[1].AECTrigger.gain_start=4.000000\n"
            ".preProcess.filterTrigger.filterSet[1].verticalMode=4\n"
            ".preProcess.filterTrigger.filterSet[1].horizontalMode=1\n"
            ".preProcess.filterTrigger.filterSet[2].AECTrigger.gain_start=1.000000\n"
            ".preProcess.filterTrigger.filterSet[2].verticalMode=4\n"
            ".preProcess.filterTrigger.filterSet[2].horizontalMode=1\n"
            ".correlation.defocusConfidenceThreshold=150.000000\n"
            ".correlation.PDRangeControl=0.100000\n"
            ".correlation.searchRange.from=-32\n"
            ".correlation.searchRange.to=16\n"
            ".postProcess.temporalFilterStaticWeight=1.000000\n"
            ".postProcess.temporalFilterDynamicWeight=1.000000\n"
            ".postProcess.enableGridOverlap=1\n"
            ".postProcess.confIntegralWidth=32\n"
            ".adaptiveK.timeoutFrameCntThres=32\n"
            ".adaptiveK.filterSize=3\n"
            ".adaptiveK.state0StableCntThres=3\n"
            ".adaptiveK.state1StableCntThres=6\n"
            ".adaptiveK.minimumLensPosDelta=100\n"
            ".adaptiveK.state0ConfThres=200\n"
            ".adaptiveK.state1ConfThres=450\n"
            ".adaptiveK.state0PhaseDiffThres=6.000000\n"
            ".adaptiveK.state1PhaseDiffThres=1.000000\n"
            ".adaptiveK.tolNearTargetUpperBound=1.900000\n"
            ".adaptiveK.tolNearTargetLowerBound=0.400000\n"
            ".adaptiveK.tolFarTargetUpperBound=1.900000\n"
            ".adaptiveK.tolFarTargetLowerBound=0.400000\n"
            ".enablePeripheralWindows=1\n"
            ".singleWindowProcessingLevel.processingMode=2\n"
            ".singleWindowProcessingLevel.dynamicLevel=100\n"
            ".PeripheralProcessing.processingMode=1\n"
            ".PeripheralProcessing.dynamicLevel=100\n");
  EXPECT_FALSE(log.has("Increase PD search range |far-near| to at least 32"));
  OpenFlow narrow;
  narrow.camera.tuning.postProcess.confIntegralWidth = 49;
  ASSERT_EQ(narrow.init(), kPDStatusOk);
  EXPECT_TRUE(log.has("Increase PD search range |far-near| to at least 49"));
}

TEST(Tuning, ExtensionsUpToTheFirstFaultyOne) {
  LogCapture log;
  struct Case {
    std::vector<float> ratios;
    int pairs;
    bool layoutRead;
    const char* line;
  };
  for (const Case& c :
       {Case{{2, 100, 3, 200}, 2, true, ""},
        Case{{2, 100, 3}, 0, false, "error: pd offset ratio params incorrect"},
        Case{std::vector<float>(18, 1.0F), 9, true, ""},
        Case{std::vector<float>(20, 1.0F), 0, false, "error: too many pd offset ratios"}}) {
    OpenFlow flow;
    flow.camera.addExtension("SADRepeatPatternPrevent", {7.9F, 0.5F, 0.25F, 0.75F}, 0);
    flow.camera.addExtension("PdOffsetRatios", c.ratios);
    flow.camera.addExtension("VerticalLayoutExt", {6.9F, -1, 65537, 3, 9});
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(flow.context.offsetRatios.PdOffsetRatios, c.pairs);
    EXPECT_EQ(flow.context.offsetRatios.enabled, c.layoutRead);
    EXPECT_EQ(flow.context.verticalLayout.enabled, c.layoutRead);
    EXPECT_EQ(flow.context.verticalLayout.VerticalLayoutExt[0], c.layoutRead ? 6 : 0);
    EXPECT_EQ(flow.context.verticalLayout.VerticalLayoutExt[2], c.layoutRead ? 1 : 0);
    EXPECT_EQ(flow.context.repeatPattern.enabled, 0);
    EXPECT_TRUE(*c.line == '\0' || log.has(c.line)) << c.line;
  }
}

TEST(Setup, SensorsRefusedWithALineAndTheLastOneTaken) {
  for (const auto& [change, line] : std::initializer_list<std::pair<Change, const char*>>{
           {[](DualCamera& c) { c.native().orientation = PDAFOrientation(4); },
            "Invalid sensor orientation 4"},
           {[](DualCamera& c) { c.tuning.correlation.searchRange.from = 16; },
            "FAIL near_lim is greater than far_lim."},
           {[](DualCamera& c) { c.calibration.MapWidth = 240; },
            "pdaf cal: gain maps of 240 by 4 entries, expected 1 to 475"},
           {[](DualCamera& c) { c.buffer().isp1BufferWidth = 10; },
            "Error, please check gainm parameter settings"},
           {[](DualCamera& c) { c.buffer().isp1BufferWidth = 1; },
            "Invalid PD frame of 0 x 120 sites with 972 bytes a line, expected 1 to 65535"},
           {[](DualCamera& c) { c.buffer().isp1BufferStride = 959; },
            "Invalid PD stride of 959 bytes, 240 sites a line need 960"},
           {[](DualCamera& c) { c.buffer().isp1BufferStride = 65536; },
            "Invalid PD frame of 240 x 120 sites with 65536 bytes a line, expected 1 to 65535"},
           {[](DualCamera& c) { c.buffer().isp1BufferStride = 65535; }, ""},
           {[](DualCamera& c) { c.native().horizontalDownscaleFactor = 0.5F; },
            "Invalid downscale factors 0.500000 x 2.000000, expected 1 to 255"},
           {[](DualCamera& c) { c.setBlock(2, 0, {0}); }, "Invalid PD block of 2 x 0"}}) {
    LogCapture log;
    OpenFlow flow;
    change(flow.camera);
    const bool taken = *line == '\0';
    EXPECT_EQ(flow.init(), taken ? kPDStatusOk : kPDStatusBadInput) << line;
    EXPECT_TRUE(taken ? log.texts().empty() : log.has(line)) << line << "\n"
                                                             << testing::PrintToString(log.texts());
  }
}

// Entries of all maps by column and row. The middle half begins at entry (1, 0.75) of 5 by 4, and
// at (1.75, 1.25) of 8 by 6.
TEST(Calibration, MapsAreCroppedFlippedAndTakenByDirection) {
  const auto fill = [](auto* map, int columns, int rows, int first, int byColumn, int byRow) {
    for (int i = 0; i < columns * rows; ++i) {
      map[i] = static_cast<std::remove_reference_t<decltype(*map)>>(first + i % columns * byColumn +
                                                                    i / columns * byRow);
    }
  };
  struct Case {
    bool vertical, cropped;
    uint32_t orientation;
    int first, second, dcc;  // at the top left
    int size = 8;            // columns of the table
  };
  for (const Case& c : {
           Case{false, false, 0, 1000, 3000, 0},
           Case{false, true, 0, 1115, 3115, 1425},
           Case{false, true, 1, 1195, 3195, 1775},
           Case{false, true, 2, 1265, 3265, 3925},
           Case{false, true, 3, 1345, 3345, 4275},
           Case{true, false, 0, 7000, 5000, 0},  // lower samples come first
           Case{true, false, 1, 7160, 5160, 700},
           Case{true, false, 2, 7300, 5300, 5000},
           Case{true, true, 3, 7345, 5345, 4275},
           // Of 4 by 5 entries, of 400 and 500, number (0.75, 1). Other sizes than the usual one
           // are not flipped, and a single column is not cropped.
           Case{false, true, 3, 1345, 3345, 475, 4},
           Case{false, true, 0, 1115, 3115, 0, 1},
       }) {
    OpenFlow flow;
    flow.context.isVertical = c.vertical;
    if (c.vertical) flow.camera.setBlock(2, 1, {2, 3});
    flow.camera.native().orientation = PDAFOrientation(c.orientation);
    flow.camera.native().originalImageWidth = 960;
    flow.camera.native().originalImageHeight = 480;
    if (c.cropped) flow.camera.native().cropRegion = {240, 120, 480, 240};
    _pdaf_cal_param_t& calibration = flow.camera.calibration;
    fill(calibration.Left_GainMap, 5, 4, 1000, 40, 100);
    fill(calibration.Right_GainMap, 5, 4, 3000, 40, 100);
    fill(calibration.Up_GainMap, 5, 4, 5000, 40, 100);
    fill(calibration.Down_GainMap, 5, 4, 7000, 40, 100);
    for (auto* map : {calibration.DCC_map, calibration.DCC_map_vertical})
      fill(map, 8, 6, 0, 100, 1000);
    calibration.DCC_param.MapWidth = static_cast<uint16_t>(c.size);
    calibration.DCC_param.MapHeight = c.size == 8 ? 6 : 5;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(flow.context.leftDenseGain[0], c.first) << c.vertical << c.cropped << c.orientation;
    EXPECT_EQ(flow.context.rightDenseGain[0], c.second);
    const _pdaf_cal_param_t& made = flow.context.calibration;
    EXPECT_EQ((c.vertical ? made.DCC_map_vertical : made.DCC_map)[0], c.dcc);
    EXPECT_EQ((c.vertical ? made.DCC_map : made.DCC_map_vertical)[0], 0);
  }
}

TEST(Calibration, CropsThatAreNone) {
  struct Case {
    PDLibCropRegion crop;  // of 1000 by 1000
    bool counts;
  };
  for (const Case& c :
       {Case{{0, 0, 990, 990}, true}, Case{{0, 0, 991, 990}, false}, Case{{0, 0, 990, 991}, false},
        Case{{0, 0, 10, 10}, true}, Case{{0, 0, 9, 10}, false}, Case{{0, 0, 10, 9}, false},
        Case{{-1, 0, 500, 500}, false}, Case{{0, -1, 500, 500}, false},
        Case{{250, 250, 750, 750}, true}, Case{{251, 250, 750, 750}, false},
        Case{{250, 251, 750, 750}, false}, Case{{0, 0, 0, 500}, false}}) {
    LogCapture log(1);
    OpenFlow flow;
    flow.camera.native().originalImageWidth = flow.camera.native().originalImageHeight = 1000;
    flow.camera.native().cropRegion = c.crop;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(log.has("Crop GMap, DCC Map"), c.counts) << c.crop.x << " " << c.crop.width;
    EXPECT_EQ(log.has("No crop GMap, DCC Map"), !c.counts);
  }
}

TEST(Setup, PixelDepthOutsideItsRangeIsTen) {
  for (const auto& [given, taken] :
       {std::pair{0u, 10}, {1u, 1}, {16u, 16}, {17u, 10}, {264u, 10}}) {
    OpenFlow flow;
    flow.camera.init.pixelDepth = given;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(flow.context.line.pixel_depth, taken);
  }
}

// The entries are 16 times their index, with alternating sign, and four fractional bits.
TEST(KValue, MeanMagnitudeAroundTheMiddle) {
  OpenFlow flow;
  ASSERT_EQ(flow.init(), kPDStatusOk);
  struct Case {
    int startX, endX, startY, endY, value;
  };
  for (const Case& c : {
           Case{60, 179, 30, 89, 23},     // 0.486 * 8 = 3.9; 0.482 * 6 = 2.9: 19, 20, 27, 28
           Case{0, 2, 0, 2, 4},           // left of a hundredth: 0, 1, 8, 9
           Case{0, 6, 0, 3, 4},           // 3 / 240 - 0.01 = 0.0025
           Case{230, 239, 110, 119, 42},  // 6 * 8 + 4 below the end: 38, 39, 46, 47
           Case{170, 239, 0, 2, 10},      // 0.84 * 8 = 6.7 is not below 6
       }) {
    EXPECT_EQ(DPDInterpolateKValue(flow.context, c.startX, c.endX, c.startY, c.endY, 240, 120),
              c.value)
        << c.startX;
  }
}

TEST(KValue, OtherTablesHaveTheirFirstEntry) {
  LogCapture log;
  for (const auto& [width, height] : {std::pair{7, 6}, {8, 5}, {0, 0}, {65535, 65535}}) {
    OpenFlow flow;
    flow.camera.calibration.DCC_param = {0, 3, static_cast<uint16_t>(width),
                                         static_cast<uint16_t>(height)};
    flow.camera.calibration.DCC_map[0] = -100;
    flow.camera.native().orientation = kOrientationMirrorAndFlip;
    ASSERT_EQ(flow.init(), kPDStatusOk);
    EXPECT_EQ(DPDInterpolateKValue(flow.context, 60, 179, 30, 89, 240, 120), -12);
    // A table too large to be cropped is left as it is.
    flow.camera.native().cropRegion = {48, 24, 240, 120};
    ASSERT_EQ(flow.init(), kPDStatusOk);
  }
  EXPECT_TRUE(log.has("pdaf cal: DCC map of 65535 by 65535 entries, expected 200 at most"));
}

// Entries are half their index.
void SetOffsets(DualCamera& camera, int width, int height) {
  PDLibOffsetMap& map = camera.calibration.PD_OffsetMap;
  map.isAvailable = 1;
  map.width = camera.calibration.DCC_param.MapWidth = static_cast<uint16_t>(width);
  map.height = camera.calibration.DCC_param.MapHeight = static_cast<uint16_t>(height);
  for (int i = 0; i < kDccMapEntries; ++i) map.map[i] = 0.5F * static_cast<float>(i);
}

TEST(Offset, MeanOfFourAndOfFlippedMapsByTurns) {
  LogCapture log;
  struct Case {
    int width, height;
    uint32_t orientation;
    float offsets[3];  // of three look-ups at the top left
    const char* line;
  };
  for (const Case& c : {
           Case{8, 6, 0, {2.25F, 2.25F, 2.25F}, ""},    // 0, 1, 8, 9
           Case{8, 6, 1, {5.25F, 2.25F, 5.25F}, ""},    // 7, 6, 15, 14
           Case{8, 6, 2, {18.25F, 2.25F, 18.25F}, ""},  // 40, 41, 32, 33
           Case{8, 6, 3, {21.25F, 2.25F, 21.25F}, ""},  // 47, 46, 39, 38
           Case{3, 2, 0, {1, 1, 1}, ""},                // 0, 1, 3, 4
           Case{1, 1, 3, {0.5F, 0.5F, 0.5F}, ""},       // 0, 1, 1, 2
           Case{21, 10, 0, {5.5F, 5.5F, 5.5F}, ""},     // 0, 1, 21, 22 of 210
           Case{250, 1, 0, {0, 0, 0}, ""},              // entry 251 isn't there
           Case{21, 10, 1, {0, 0, 0}, "pd offset map left/right flip error"},
           Case{65535, 65535, 2, {0, 0, 0}, "pd offset map up/down flip error"},
           Case{0, 0, 3, {0.25F, 0.25F, 0.25F}, ""},  // 0, 1, 0, 1
       }) {
    OpenFlow flow;
    SetOffsets(flow.camera, c.width, c.height);
    flow.camera.native().orientation = PDAFOrientation(c.orientation);
    ASSERT_EQ(flow.init(), kPDStatusOk);
    for (float expected : c.offsets)
      EXPECT_EQ(InterpolateOffset(&flow.context, 0, 2, 0, 2, 240, 120), expected) << c.width;
    EXPECT_TRUE(*c.line == '\0' || log.has(c.line)) << c.line;
  }
  OpenFlow flow;
  SetOffsets(flow.camera, 8, 6);
  flow.camera.calibration.PD_OffsetMap.height = 5;
  ASSERT_EQ(flow.init(), kPDStatusOk);
  EXPECT_EQ(InterpolateOffset(&flow.context, 200, 239, 0, 2, 240, 120), 0.0F);
  EXPECT_TRUE(log.has("inconsistency between PDOffsetMap(8x5) and DccMap(8x6)"));
  EXPECT_EQ(InterpolateOffset(&flow.context, 200, 239, 0, 2, 0, 120), 0.0F);
  EXPECT_TRUE(log.has("params error, ROIWidth(0) and ROIHeight(120) should not be zero "));
}

TEST(Offset, RatioGoesBySteps) {
  struct Case {
    dpd_offset_ratios_t table;
    int lens;
    float offset;  // of 3
  };
  const dpd_offset_ratios_t table = {true, 3, {2, 3, 5}, {100, 200, 300}};
  for (const Case& c :
       {Case{table, 99, 3}, Case{table, 100, 6}, Case{table, 199, 6}, Case{table, 200, 9},
        Case{table, 299, 9}, Case{table, 300, 3}, Case{table, INT32_MIN, 3},
        Case{table, INT32_MAX, 3}, Case{{false, 3, {2, 3, 5}, {100, 200, 300}}, 150, 3},
        Case{{true, 3, {2, 2, 5}, {100, 200, 300}}, 150, 3},
        Case{{true, 3, {2, 3, 5}, {100, 100, 300}}, 100, 9},
        Case{{true, 2, {2, 3}, {100, 100}}, 100, 3},
        Case{{true, 2, {2, 3}, {INT32_MIN, INT32_MAX}}, 0, 6}, Case{{true, 1, {2}, {100}}, 100, 3},
        Case{{true, 0, {}, {}}, 0, 3},
        // Not rising: the whole-number quotient (150 - 50) / (60 - 50) is 10.
        Case{{true, 4, {2, 3, 5, 9}, {100, 50, 60, 200}}, 55, 3},
        Case{{true, 4, {2, 3, 5, 1}, {0, 50, 60, 200}}, 150, 15}})
    EXPECT_EQ(refineOffset(c.table, 3, c.lens), c.offset) << c.lens;
}

// ---- Grids

// The named boxes as they are: c for correlation cells, w for result windows, p for peripheral
// ones, with index, columns and rows.
std::string Boxes(dpd_context_t& context, const std::string& names) {
  std::istringstream in(names);
  std::ostringstream out;
  for (std::string box; in >> box;) {
    const std::string name = box.substr(0, box.find(':'));
    const dpd_grid_t& grid = name[0] == 'c'   ? context.pCenterCorrelationGrids
                             : name[0] == 'w' ? context.pCenterPostProcessGrids
                                              : context.p_dpd_peripheral_window;
    const dpd_grid_arg_t& cell = grid.cells[std::stoul(name.substr(1))];
    out << (out.tellp() > 0 ? " " : "") << name << ":" << cell.start_x << "-" << cell.end_x << ","
        << cell.start_y << "-" << cell.end_y;
  }
  return out.str();
}

Change Roi(uint32_t columns, uint32_t rows, const PDLibWindow& roi,
           const Change& more = kNoChange) {
  return [=](DualCamera& c) {
    c.tuning.postProcess.enableGridOverlap = 0;
    c.setWindows(columns, rows);
    c.param.windowConfig.window = roi;
    more(c);
  };
}
Change OfType(uint32_t type) {
  return [type](DualCamera& c) { c.setWindows(1, 1, type); };
}

TEST(Grid, CellsAndWindows) {
  const Change packed = [](DualCamera& c) { c.setFormat(kBufferFormat1); };
  const Change interleaved = [](DualCamera& c) { c.init.isHdrModeEnabled = 1; };
  const Change overlap = [](DualCamera& c) { c.tuning.postProcess.enableGridOverlap = 1; };
  struct Case {
    Change change;
    size_t cells;
    const char* boxes;
  };
  for (const Case& c : {
           // 120 by 60 sites from (60, 30) in 4 by 4 cells; the last row ends one line early.
           Case{kNoChange, 16,
                "c0:60-89,30-44 c7:150-179,45-59 c15:150-179,75-88 w0:60-119,30-59 "
                "w5:120-179,45-74 w9:60-179,30-88 p0:0-59,0-29 p4:180-239,30-89 p6:60-179,90-119"},
           Case{OfType(0), 1, "c0:60-179,30-88 w0:60-179,30-88 w1:60-179,30-88"},
           // 125 columns in 2, 60 rows in 7: starts at multiples of 8.57, heights of 8; the rest of
           // 4 rows goes to the last one. Left of a ROI at the edge lies the whole image.
           Case{Roi(2, 7, {0, 0, 125.0F / 240, 0.5F}), 14,
                "c0:0-61,0-7 c1:62-124,0-7 c4:0-61,17-24 c13:62-124,51-61 w13:62-124,51-61 "
                "w14:0-124,0-61 p0:0-239,0-119 p7:125-239,60-119"},
           // 124 columns in 3: 41 a cell, even 40, and a rest of 1; from column 51, even 50.
           Case{Roi(3, 1, {51.0F / 240, 0, 175.0F / 240, 0.5F}, packed), 3,
                "c0:50-89,0-58 c2:130-170,0-58 p1:50-173,0-119 p2:174-239,0-119"},
           // 127 by 64 in 2 by 3: 63, even 62, rest 1, even 0; 21, rest 1, even 0.
           Case{Roi(2, 3, {51.0F / 240, 0.25F, 178.0F / 240, 94.0F / 120}, interleaved), 6,
                "c0:50-111,30-50 c3:112-173,51-71 c5:112-173,73-92 p1:51-177,0-29"},
           // 20 columns a cell: with 24 shifts behind them columns from 217 on have no room.
           Case{Roi(11, 1, {0, 0, 1, 1}, overlap), 24,
                "c9:180-199,0-59 c10:176-240,0-59 c11:220-239,0-59 c22:176-240,60-118 "
                "w10:176-239,0-118"},
           // Cells of 23 from column 33: the one that ends at 216 has just room for 24 shifts.
           Case{Roi(9, 1, {33.0F / 240, 0, 1, 0.5F}), 9, "c7:194-216,0-58 c8:217-239,0-58"},
           Case{OfType(3), 1, "c0:0-119,30-88"},
           Case{OfType(4), 1, "c0:60-179,30-88"},
           Case{OfType(5), 1, "c0:60-239,30-88"},
           Case{OfType(6), 1, "c0:0-119,30-88"},
           Case{OfType(7), 1, "c0:60-239,30-88"},
           Case{OfType(8), 1, "c0:0-119,30-88"},
           Case{OfType(10), 1, "c0:60-239,30-88"},
       }) {
    OpenFlow flow;
    c.change(flow.camera);
    ASSERT_EQ(flow.open(), kPDStatusOk) << c.boxes;
    EXPECT_EQ(flow.context.pCenterCorrelationGrids.cells.size(), c.cells) << c.boxes;
    EXPECT_EQ(flow.context.p_dpd_peripheral_window.cells.empty(),
              flow.camera.param.windowConfig.roiType != kRoiDefault);
    EXPECT_EQ(Boxes(flow.context, c.boxes), c.boxes);
  }
}

TEST(Grid, RoiBeyondTheFrameIsRefused) {
  const std::string ending =
      " coordinate of cropped resolution cannot be less than the end x coordinate of ROI from the "
      "original resolution, Please check sensor settings ";
  LogCapture log;
  OpenFlow narrow;
  narrow.camera.setRoi(0, 0, 0, 1);  // ends left of the image, in 16 bits
  EXPECT_EQ(narrow.open(), 1);
  EXPECT_TRUE(log.has("end x" + ending + "240 65535"));
  OpenFlow high;  // 50 rows of 2 lines; the last one takes the 20 lines that remain
  high.camera.tuning.postProcess.enableGridOverlap = 0;
  high.camera.setWindows(1, 50);
  high.camera.setRoi(0, 0, 1, 1);
  EXPECT_EQ(high.open(), 1);
  EXPECT_TRUE(
      log.has("end y coordinate of cropped resolution cannot be less than the end y "
              "coordinate of ROI from the original resolution, Please check sensor settings "
              "120 138"));
  EXPECT_EQ(log.count("mem allocation error"), 2);
  EXPECT_TRUE(high.context.pCenterCorrelationGrids.cells.empty());
}

}  // namespace

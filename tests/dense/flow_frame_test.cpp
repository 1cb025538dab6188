// The measurement of a frame: line jobs, whole frames against plain arithmetic, repeating texture,
// and the vertical layout.
#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "dense/dual_flow.h"
#include "support/sparse_camera.h"

using test::DualCamera;
using FlowRun = test::DualRun;
using test::LogCapture;
using test::OpenFlow;
using test::Texture;

namespace {

using Change = std::function<void(DualCamera&)>;

// ---- Line jobs

dpd_line_arg_t JobOf(OpenFlow& flow) {
  return DPDPrepareLineArg(&flow.context, 0, flow.context.columns);
}

TEST(LineJob, FilterSetByTruncatedGain) {
  const std::map<float, int> bins = {{-5.0F, 2}, {0.0F, 2}, {3.9F, 2},
                                     {4.0F, 4},  {7.9F, 4}, {8.0F, 8}};
  for (const auto& [gain, bin] : bins) {
    OpenFlow flow;
    flow.camera.param.gain = gain;
    ASSERT_EQ(flow.open(), 0);
    EXPECT_EQ(JobOf(flow).request.bin_lines, bin) << gain;
    EXPECT_EQ(JobOf(flow).p_filter, &flow.context.filters[1]) << gain;
  }
}

// In mode 5, 8192 by 6144 pixels are 4 times 12 megapixels, and a quarter of the image 2.2504
// reference areas: 8 * 4 * 2.2504 = 72.01 at a level of 100 % and 30 frames a second.
TEST(LineJob, IntervalOfEachMode) {
  struct Case {
    int mode, level;
    float fps;
    int interval;
    uint32_t width = 8192;
  };
  for (const Case& c :
       {Case{0, 0, 30, 8},    Case{1, 0, 30, 16},  Case{2, 0, 30, 8},    Case{3, 0, 30, 4},
        Case{6, 0, 30, 8},    Case{-1, 0, 30, 8},  Case{4, 100, 30, 8},  Case{4, 50, 30, 16},
        Case{4, 30, 30, 24},  Case{4, 1, 30, 800}, Case{4, 101, 30, 1},  Case{4, 0, 30, 8},
        Case{4, 801, 30, 8},  Case{4, -50, 30, 8}, Case{5, 100, 30, 72}, Case{5, 100, 60, 144},
        Case{5, 33, 30, 216}, Case{5, 0, 30, 72},  Case{5, 800, 30, 1},  Case{5, 100, 30, 1, 480},
        Case{5, 100, NAN, 1}}) {
    for (bool moves : {false, true}) {
      OpenFlow flow;
      auto& level = flow.camera.tuning.singleWindowProcessingLevel;
      level.processingMode = test::ProcessingMode(c.mode);
      (moves ? level.dynamicLevel : level.staticLevel) = c.level;
      flow.camera.param.lensPosition = moves ? 77 : 0;
      flow.camera.param.fps = c.fps;
      flow.camera.native().currentImageWidth = c.width;
      flow.camera.native().currentImageHeight = 6144;
      ASSERT_EQ(flow.open(), 0);
      JobOf(flow);
      EXPECT_EQ(flow.context.sadRequest.vertical_interval, c.interval) << c.mode << " " << c.level;
      flow.context.isPeripheralMode = true;
      EXPECT_EQ(DPDPrepareLineArg(&flow.context, 0, 1).request.bin_lines, 4);
      EXPECT_EQ(flow.context.sadRequest.vertical_interval, 128);
    }
  }
}

TEST(LineJob, FirstPairedRowsOfABlock) {
  struct Case {
    std::vector<uint32_t> types;  // rows of two
    uint32_t height;
    int bin;
    int interval;
  };
  for (const Case& c : {Case{{0, 1}, 1, 2, 4}, Case{{0, 1, 1, 0}, 2, 2, 4},
                        Case{{0, 1, 2, 3}, 2, 1, 2}, Case{{4, 5, 0, 1, 2, 3, 0, 1}, 4, 2, 4},
                        Case{{0, 1, 0, 1, 0, 1, 3, 2}, 4, 3, 4}, Case{{3, 2, 0, 1}, 2, 2, 4},
                        Case{{0, 1}, 65536, 4, 1}}) {  // more rows than 16 bits count: every line
    LogCapture log(1);
    OpenFlow flow;
    flow.camera.setBlock(2, c.height, c.types);
    ASSERT_EQ(flow.open(), 0);
    EXPECT_EQ(JobOf(flow).request.bin_lines, c.bin) << c.height;
    EXPECT_EQ(flow.context.sadRequest.vertical_interval, c.interval) << c.height;
    EXPECT_EQ(log.has("Warning: Input Pixel didn't have Left / Right pixels to begin"),
              c.types[0] == 3);
  }
}

TEST(LineJob, IllegalBinAddsNothing) {
  for (int bin : {0, 3, 5, 32, -1, 65540}) {
    LogCapture log;
    FlowRun run;
    run.camera.tuning.preProcess.filterTrigger.filterSet[2].verticalMode = bin;
    ASSERT_EQ(run.init(), 0);
    ASSERT_EQ(run.frame(), 0);
    const bool legal = (bin & 0xFFFF) == 4;
    EXPECT_EQ(log.count("ERROR of Lines!!!!"), legal ? 0 : 4) << bin;  // a line a row of cells
    EXPECT_EQ(run.output.defocusInfo[0].confidence != 0, legal) << bin;
  }
}

TEST(LineJob, ExtendedLayoutMovesTheFrame) {
  OpenFlow flow;
  flow.context.isVertical = true;
  flow.camera.setBlock(2, 1, {2, 3});
  flow.camera.addExtension("VerticalLayoutExt", {6});
  ASSERT_EQ(flow.open(), 0);
  flow.context.pdBuffer = flow.camera.frame.data();
  EXPECT_EQ(JobOf(flow).p_pd_buffer, flow.camera.frame.data() + 12);
  EXPECT_EQ(flow.context.requiredBufferBytes, flow.camera.frame.size() + 12);
}

// ---- Whole frames

using Codes = std::function<int(int sample, int x, int y)>;

// The definition of a measurement, step by step, over the cells of a flow's grid.
class PlainFlow {
 public:
  PlainFlow(const OpenFlow& flow, int bin, int interval)
      : context_(flow.context), camera_(flow.camera), bin_(bin), interval_(interval) {
    const auto& request = context_.sadRequest;
    near_ = request.near_limit;
    far_ = request.far_limit;
    shifts_ = std::abs(far_ - near_) + 1;
    hdr_ = camera_.init.isHdrModeEnabled == 1 ? 1 : 0;
    filtered_.resize(context_.pCenterPostProcessGrids.cells.size(), Curve(request.sad_count));
  }

  void measure(const Codes& codes, float weight, PDLibDefocusInfo* results) {
    cells_.assign(context_.pCenterCorrelationGrids.cells.size(),
                  Curve(context_.sadRequest.sad_count));
    for (uint32_t row = 0; row < context_.rows; ++row) addRow(row, codes);
    const uint32_t across = context_.window.horizontalWindowCount;
    const uint32_t windows = across * context_.window.verticalWindowCount;
    for (uint32_t w = 0; w < windows; ++w) {
      Curve sum(cells_[0].size());
      for (uint32_t down = 0; down <= context_.overlap; ++down)
        for (uint32_t right = 0; right <= context_.overlap; ++right)
          add(cells_[(w / across + down) * context_.columns + w % across + right], &sum);
      results[w] = result(w, sum, weight);
    }
    Curve whole(cells_[0].size());
    for (const Curve& cell : cells_) add(cell, &whole);
    results[windows] = result(windows, whole, weight);
  }

 private:
  using Curve = std::vector<int64_t>;
  using Line = std::vector<uint16_t>;

  const dpd_grid_arg_t& cell(uint32_t index) const {
    return context_.pCenterCorrelationGrids.cells[index];
  }
  static void add(const Curve& from, Curve* to) {
    for (size_t k = 0; k < from.size(); ++k) (*to)[k] += from[k];
  }

  void addRow(uint32_t row, const Codes& codes) {
    const dpd_grid_arg_t& first = cell(row * context_.columns);
    const dpd_grid_arg_t& last = cell((row + 1) * context_.columns - 1);
    const int end = last.end_x + shifts_ > 240 ? last.end_x : last.end_x + shifts_;
    for (int y = first.start_y; y + bin_ < last.end_y; y += interval_) {
      const Line left = filtered(samples(0, y, first.start_x, end, codes));
      const Line right = filtered(samples(1, y, first.start_x, end, codes));
      const int width = first.end_x - first.start_x;
      for (uint32_t c = 0; c < context_.columns; ++c) {
        const dpd_grid_arg_t& target = cell(row * context_.columns + c);
        addSad(left, right, static_cast<int>(c) * width / (1 + hdr_),
               (target.end_x - target.start_x) / (1 + hdr_), &cells_[row * context_.columns + c]);
      }
    }
  }

  Line samples(int sample, int y, int start, int end, const Codes& codes) const {
    const bool exchanged = context_.isMirrored;
    const auto* map = (sample == 0) != exchanged ? camera_.calibration.Left_GainMap
                                                 : camera_.calibration.Right_GainMap;
    const int mapRow = static_cast<int>(std::floor(y * static_cast<double>(3.0F / 119.0F) + 0.5));
    const int shift = static_cast<int>(std::lround(std::log2(bin_))) - 4 + 10;
    Line line;
    for (int x = start; x < end; x += 1 + hdr_) {
      int sum = 0;
      for (int b = 0; b < bin_; ++b) sum += codes(sample, x, y + b);
      line.push_back(static_cast<uint16_t>(sum * map[mapRow * 5] >> shift));
    }
    line.resize(static_cast<size_t>(end - start) / (1 + hdr_));
    return line;
  }

  static Line filtered(const Line& in) {
    const float a1 = -1.8732F, a2 = 0.8837F, b0 = 0.0582F, b2 = -0.0582F;
    float z1 = b2 * in[0];
    float z2 = z1;
    Line out;
    for (const float x : in) {
      const float y = std::fma(b0, x, z1);
      z1 = std::fma(0.0F, x, -(a1 * y)) + z2;
      z2 = std::fma(b2, x, -(a2 * y));
      const double rounded = std::trunc(y + (y < 0 ? -0.5 : 0.5));
      out.push_back(static_cast<uint16_t>(std::clamp(rounded, -32768.0, 32767.0) + 32768));
    }
    out.resize(1024);  // what lies behind a line
    return out;
  }

  void addSad(const Line& left, const Line& right, int offset, int length, Curve* curve) const {
    const int count = std::max(length - shifts_, 0) + 1;
    for (int k = 0; k < shifts_; ++k) {
      for (int j = 0; j < count; ++j) {
        const int l = left[static_cast<size_t>(offset + std::max(-far_, 0) + k + j)];
        const int r = right[static_cast<size_t>(offset + std::max(far_, 0) + j)];
        (*curve)[static_cast<size_t>(k)] += std::abs(l - r);
      }
    }
  }

  PDLibDefocusInfo result(uint32_t window, Curve& sad, float weight) {
    Curve& kept = filtered_[window];
    const float strength = camera_.tuning.postProcess.biasVectorStrength;
    for (int i = 0; i < static_cast<int>(sad.size()); ++i) {
      const auto at = static_cast<size_t>(i);
      const float x = static_cast<float>(2 * (far_ - i));
      const auto bias =
          static_cast<int64_t>((strength * x * x / 4096.0F + (1.0F - strength)) * 4096.0F);
      sad[at] = bias * sad[at] >> 12;
      kept[at] = static_cast<int64_t>(static_cast<float>(kept[at]) * (1 - weight)) +
                 static_cast<int64_t>(static_cast<float>(sad[at]) * weight);
    }
    const int last = shifts_ - 1;
    const auto begin = sad.begin();
    const int best = static_cast<int>(std::min_element(begin, begin + shifts_) - begin);
    const int64_t least = begin[best];
    float pd = static_cast<float>(best);
    if (best > 0 && best < last) {
      const float before = static_cast<float>(kept[static_cast<size_t>(best - 1)]);
      const float after = static_cast<float>(kept[static_cast<size_t>(best + 1)]);
      const float bend =
          2 * (before + after) - 4 * static_cast<float>(kept[static_cast<size_t>(best)]);
      if (bend != 0) pd += (before - after) / bend;
    }
    const int step = 2 * (1 + hdr_);
    pd = static_cast<float>(step) * (pd - static_cast<float>(far_));

    const int width = camera_.tuning.postProcess.confIntegralWidth / 2;
    const int half = width / 2;
    int start = std::max(last - width, 0);
    int count = shifts_ - start;
    if (best < half) {
      start = 0;
      count = std::min(last, width) + 1;
    } else if (best + half < shifts_) {
      start = best - half;
      count = std::min(best + half, last) + 1 - start;
    }
    const int64_t sum = std::accumulate(begin + start, begin + start + count, int64_t{0});
    const auto limit = static_cast<int64_t>(static_cast<float>(least) * (0.1F + 1.0F));
    int low = 0;
    int high = last;
    while (begin[low] > limit) ++low;
    while (begin[high] > limit) --high;

    const int dcc = context_.pCenterPostProcessGrids.cells[window].dcc;
    PDLibDefocusInfo info = {};
    info.phaseDiff =
        camera_.init.nativePatternInfo.PDOffsetCorrection - (context_.isMirrored ? -pd : pd);
    info.defocus = static_cast<int32_t>(static_cast<float>(dcc) * info.phaseDiff);
    info.rangeLow = static_cast<int16_t>(-(step * (low - std::abs(far_)) * dcc));
    info.rangeHigh = static_cast<int16_t>(-(step * (high - std::abs(far_)) * dcc));
    info.confidence = sum < 1 ? 0 : static_cast<uint32_t>(1024 - count * least * 1024 / sum);
    return info;
  }

  const dpd_context_t& context_;
  const DualCamera& camera_;
  int bin_, interval_, near_, far_, shifts_, hdr_;
  std::vector<Curve> cells_;
  std::vector<Curve> filtered_;
};

struct FrameCase {
  const char* name;
  int bin;
  int interval;
  float pixelsPerSite;  // of the truth, with its sign; 0: some cells lie aside of their samples
  Change change;
};

std::string Text(const PDLibDefocusInfo& info) {
  char text[128];
  std::snprintf(text, sizeof text, "%a, defocus %d of %d to %d, confidence %u",
                static_cast<double>(info.phaseDiff), info.defocus, info.rangeLow, info.rangeHigh,
                info.confidence);
  return text;
}

// Three frames: the lens moves to the first one and to the third one.
void ExpectPlainResults(const FrameCase& c) {
  OpenFlow inside;  // for the grid
  FlowRun run;
  for (DualCamera* camera : {&inside.camera, &run.camera}) {
    camera->tuning.postProcess.temporalFilterStaticWeight = 0.25F;
    c.change(*camera);
  }
  ASSERT_EQ(inside.open(), 0) << c.name;
  ASSERT_EQ(run.init(), 0) << c.name;
  PlainFlow plain(inside, c.bin, c.interval);
  const auto& config = run.camera.param.windowConfig;
  const uint32_t count = config.horizontalWindowCount * config.verticalWindowCount + 1;
  const int toBytes = run.camera.buffer().bufferFormat == 0 ? 2 : 0;
  for (const auto& [shift, lens, weight] :
       {std::tuple{3, 100, 1.0F}, std::tuple{-6, 100, 0.25F}, std::tuple{-2, 90, 1.0F}}) {
    const Codes codes = [shift = shift, toBytes](int sample, int x, int y) {
      return Texture(x + sample * shift, y / 8) >> toBytes;
    };
    // An expected record as large as the flow's, so that nothing else is written.
    PDLibOutputData expected = {};
    plain.measure(codes, weight, expected.defocusInfo);
    run.camera.exposeShifted(shift);
    run.camera.param.lensPosition = lens;
    ASSERT_EQ(run.frame(), 0);
    uint32_t sure = 0;
    for (uint32_t w = 0; w < kMaxWindows; ++w) {
      const PDLibDefocusInfo& is = run.output.defocusInfo[w];
      const PDLibDefocusInfo& should = expected.defocusInfo[w];
      EXPECT_EQ(Text(is), Text(should)) << c.name << " " << shift << " " << w;
      if (w < count && is.confidence > 150) ++sure;
    }
    EXPECT_GT(sure, 0u) << c.name;
    if (weight != 1.0F || c.pixelsPerSite == 0.0F) continue;
    EXPECT_NEAR(
        run.output.defocusInfo[count - 1].phaseDiff,
        run.camera.native().PDOffsetCorrection + c.pixelsPerSite * static_cast<float>(shift), 1.0F)
        << c.name;
  }
}

TEST(Frame, MatchesPlainArithmetic) {
  for (const FrameCase& c : {
           FrameCase{"words", 2, 4, -2, [](DualCamera&) {}},
           FrameCase{"bytes", 4, 8, -2,
                     [](DualCamera& camera) {
                       camera.setFormat(0);
                       camera.setWindows(2, 3);
                       camera.param.gain = 4;
                       camera.tuning.postProcess.enableGridOverlap = 0;
                       camera.tuning.postProcess.biasVectorStrength = 0.3F;
                       camera.tuning.singleWindowProcessingLevel.processingMode =
                           test::ProcessingMode(0);
                     }},
           FrameCase{"packed", 8, 4, 2,
                     [](DualCamera& camera) {
                       camera.setFormat(kBufferFormat1);
                       camera.param.gain = 8;
                       camera.native().PDOffsetCorrection = 1.5F;
                       camera.init.pixelOrderType = PDAFPixelOrderType(2);
                       camera.tuning.postProcess.confIntegralWidth = 13;
                       camera.setRoi(0.2F, 0.2F, 0.9F, 1);
                     }},
           FrameCase{"interleaved", 2, 4, -2,
                     [](DualCamera& camera) {
                       camera.init.isHdrModeEnabled = 1;
                       camera.setWindows(2, 1);
                       camera.setRoi(0.1F, 0, 0.95F, 1);
                     }},
           FrameCase{"to the edges", 2, 4, 0,
                     [](DualCamera& camera) {
                       camera.setWindows(11, 1);
                       camera.setRoi(0, 0, 1, 1);
                     }},
           FrameCase{"one window", 2, 4, -2, [](DualCamera& camera) { camera.setWindows(1, 1); }},
       }) {
    ExpectPlainResults(c);
  }
}

TEST(Frame, RepeatingStripesAreUnsure) {
  for (bool stripes : {false, true}) {
    for (bool guarded : {false, true}) {
      LogCapture log(1);
      FlowRun run;
      run.camera.tuning.enablePeripheralWindows = 0;
      run.camera.setWindows(1, 1);
      // Four turns count in full; their distances are within half of the mean one.
      if (guarded) run.camera.addExtension("SADRepeatPatternPrevent", {4, 0.1F, 0.5F, 0.75F});
      if (stripes) {
        run.camera.expose(
            [](int sample, int x, int) { return (x + sample * 2) % 8 < 4 ? 300 : 700; });
      }
      ASSERT_EQ(run.init(), 0);
      ASSERT_EQ(run.frame(), 0);
      const bool dropped = stripes && guarded;
      EXPECT_EQ(log.has("Repeat pattern detected, set confidence to zero"), dropped);
      if (dropped) {
        EXPECT_EQ(run.output.defocusInfo[0].confidence, 0u);
        EXPECT_EQ(run.output.processingResult, kResultLowConfidence);
      } else {
        EXPECT_GT(run.output.defocusInfo[0].confidence, 500u);
      }
    }
  }
}

TEST(Frame, OffsetMapReplacesTheSensorsOffset) {
  FlowRun run;
  run.camera.native().PDOffsetCorrection = 5;
  run.camera.exposeShifted(3);
  ASSERT_EQ(run.init(), 0);
  ASSERT_EQ(run.frame(), 0);
  const float pd = 5 - run.output.defocusInfo[4].phaseDiff;
  run.camera.setOffsets(0.75F);
  run.camera.addExtension("PdOffsetRatios", {2, 100, 4, 200, 1, 300});
  for (const auto& [lens, offset] : {std::pair{50, 0.75F}, {150, 1.5F}, {200, 3.0F}}) {
    run.camera.param.offsetLensPosition = lens;
    ASSERT_EQ(run.init(), 0);
    ASSERT_EQ(run.frame(), 0);
    EXPECT_EQ(run.output.defocusInfo[4].phaseDiff, -(offset + pd));
  }
}

// ---- Vertical layout

// Upper and lower samples side by side in a row, or in rows of their own.
void ExposeColumns(DualCamera& camera, bool inRows, int shift) {
  camera.exposeWords([=](uint32_t column, uint32_t row) {
    const bool lower = (inRows ? row : column) % 2 == 1;
    const int y = static_cast<int>(inRows ? row / 2 : row);
    return Texture(lower ? y + shift : y, static_cast<int>(column / 16));
  });
}

TEST(Vertical, BothFamiliesOfTheFill) {
  for (bool inRows : {false, true}) {
    for (bool flipped : {false, true}) {
      FlowRun run(CreateVerticalDPDFlow());
      if (inRows) {
        run.camera.setBlock(2, 2, {4, 4, 4, 4});
      } else {
        run.camera.setBlock(2, 1, {2, 3});
      }
      run.camera.setWindows(1, 1);
      run.camera.setRoi(0.1F, 0, 0.9F, 1);
      run.camera.native().orientation = flipped ? kOrientationFlip : kOrientationDefault;
      ASSERT_EQ(run.init(), 0);
      for (int shift : {4, -3, 0}) {
        ExposeColumns(run.camera, inRows, shift);
        ASSERT_EQ(run.frame(), 0);
        const PDLibDefocusInfo& result = run.output.defocusInfo[0];
        // A flip exchanges the samples.
        EXPECT_NEAR(result.phaseDiff, (flipped ? 2.0F : -2.0F) * static_cast<float>(shift), 1.0F)
            << inRows << flipped << shift;
        EXPECT_GT(result.confidence, 500u);
        EXPECT_EQ(result.defocus, static_cast<int>(20 * result.phaseDiff));  // 320 / 16
      }
    }
  }
}

// Columns left of the ROI and rows above it, and what lies right of it.
TEST(Vertical, WhatLiesOutsideTheRoiDoesNotCount) {
  PDLibOutputData outputs[2];
  for (int noise : {0, 1}) {
    FlowRun run(CreateVerticalDPDFlow());
    run.camera.setBlock(2, 1, {2, 3});
    run.camera.setRoi(0.3F, 0.1F, 0.7F, 0.5F);  // sites 72 to 167, 12 to 59
    run.camera.exposeWords([noise](uint32_t column, uint32_t row) {
      const uint32_t x = column / 2;
      const bool outside = x < 72 || x > 167 || row < 12;
      return Texture(static_cast<int>(row + column % 2 * 4), static_cast<int>(x / 16)) +
             (outside ? noise * static_cast<int>(x * row % 97) : 0);
    });
    ASSERT_EQ(run.init(), 0);
    ASSERT_EQ(run.frame(), 0);
    EXPECT_GT(run.result(9).confidence, 300u);
    outputs[noise] = run.output;
  }
  EXPECT_EQ(
      std::memcmp(outputs[0].defocusInfo, outputs[1].defocusInfo, 10 * sizeof(PDLibDefocusInfo)),
      0);
}

// The curves of a column are cleared from the row of its own number on.
TEST(Vertical, UpperRightCellsKeepTheirSums) {
  OpenFlow flow;
  flow.context.isVertical = true;
  flow.camera.setBlock(2, 1, {2, 3});
  flow.camera.setWindows(2, 2);
  flow.camera.setRoi(0, 0, 1, 1);
  flow.camera.tuning.postProcess.enableGridOverlap = 0;
  ExposeColumns(flow.camera, false, 4);
  ASSERT_EQ(flow.open(), 0);
  flow.context.pdBuffer = flow.camera.frame.data();
  std::vector<int64_t> first;
  for (int frame = 1; frame <= 3; ++frame) {
    flow.context.output = {};
    DPDGetPDCenterWindow(&flow.context, flow.camera.imageHeight(), &flow.context.output);
    for (uint32_t index = 0; index < 4; ++index) {
      const int64_t total = flow.context.pCenterCorrelationGrids[index].p_sad[0];
      if (frame == 1) first.push_back(total);
      EXPECT_GT(total, 0);
      EXPECT_EQ(total, first[index] * (index == 1 ? frame : 1)) << frame << " " << index;
    }
  }
}

TEST(Vertical, WithoutVerticalPixelsItIsHorizontal) {
  LogCapture log(1);
  FlowRun fallback(CreateVerticalDPDFlow());
  FlowRun horizontal;
  for (FlowRun* run : {&fallback, &horizontal}) {
    run->camera.setBlock(2, 1, {0, 1});
    run->camera.exposeShifted(3);
    ASSERT_EQ(run->init(), 0);
    ASSERT_EQ(run->frame(), 0);
  }
  EXPECT_TRUE(test::SameResults(fallback.output, horizontal.output));
  EXPECT_NEAR(horizontal.output.defocusInfo[9].phaseDiff, -6, 1);
  EXPECT_EQ(log.count("No vertical pixel exist, return horizontal result"), 1);
}

}  // namespace

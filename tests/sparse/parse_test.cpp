// From the PD buffer to samples: what the parsers make of blocks, rows and processors.
#include <gtest/gtest.h>

#include <cstring>

#include "sparse/pdlib_sparse_utils_parse.h"
#include "sparse_context.h"

using test::ConfiguredContext;
using test::FourColumns;
using test::SparseCamera;
using test::Texture;

namespace {

using Samples = std::vector<uint16_t>;

struct Parsed {
  Samples left, right;
};

Parsed Parse(pdaf_context_t* context, uint32_t x0, uint32_t x1, uint32_t y0, uint32_t y1) {
  context->leftSamples.clear_values();
  context->rightSamples.clear_values();
  const auto parse =
      context->optimizedParsing ? pd_core_parse_pd_pixel_optimized : pd_core_parse_pd_pixel;
  parse(context, context->leftSamples.data(), context->rightSamples.data(), x0, x1, y0, y1);
  const auto count = (x1 - x0) * context->unique_num_L_pixel * (y1 - y0);
  return {Samples(context->leftSamples.begin(), context->leftSamples.begin() + count),
          Samples(context->rightSamples.begin(), context->rightSamples.begin() + count)};
}

// What both views of the texture give: pixels of one column are added up.
Samples Expected(int pixelsPerSample, int ahead, uint32_t x0, uint32_t x1,
                 const std::vector<int>& blockRows) {
  Samples samples;
  for (const int row : blockRows) {
    for (uint32_t n = 4 * x0; n < 4 * x1; ++n) {
      const int x = static_cast<int>(4 * n + 1);
      samples.push_back(static_cast<uint16_t>(pixelsPerSample * Texture(x + ahead, row)));
    }
  }
  return samples;
}

TEST(Parsers, GatherFoldAndCorrectARectangle) {
  const struct {
    const char* what;
    uint32_t rowsPerColumn;
    bool optimized;
    PDAFType sensorType;
    PDAFBufferDataFormat format;
  } cases[] = {
      {"plain", 2, false, kSensorSparse2, kBufferUnpacked16},
      {"one pixel a sample", 1, false, kSensorSparse1, kBufferUnpacked16},
      {"inside the frame", 2, false, kSensorSparseInFrame, kBufferUnpacked16},
      {"optimized, factor 1", 1, true, kSensorSparse2, kBufferUnpacked16},
      {"optimized, factor 2", 2, true, kSensorSparseInFrame, kBufferUnpacked16},
  };
  for (const auto& c : cases) {
    SparseCamera camera(20, 6);
    camera.tuning.correlation.searchRange = {-16, 16};
    camera.setPixels(FourColumns(c.rowsPerColumn));
    PDLibDataBufferInfo& buffer = camera.init.bufferDataInfo;
    buffer.sensorType = c.sensorType;
    if (c.sensorType == kSensorSparseInFrame) {
      buffer.isp1BlockPattern.horizontalPDOffset = 6;
      buffer.isp1BlockPattern.verticalPDOffset = 3;
      buffer.isp1BufferStride += 20;
      buffer.ispBufferHeight += 3;
    }
    camera.exposeShifted(8);
    auto context = test::InitialisedContext(camera);
    context->optimizedParsing = c.optimized;
    context->parsingMergeFactor = c.rowsPerColumn;
    ASSERT_EQ(configure_pd_context_info(context.get(), camera.param), 0);
    context->subsampleRatio = 1.0f;
    const int folded = static_cast<int>(c.rowsPerColumn);
    const Parsed all = Parse(context.get(), 3, 17, 1, 4);
    EXPECT_EQ(all.left, Expected(folded, 0, 3, 17, {1, 2, 3})) << c.what;
    EXPECT_EQ(all.right, Expected(folded, 8, 3, 17, {1, 2, 3})) << c.what;

    context->subsampleRatio = 0.75f;  // the sum reaches 1 at 1.5, 1.25 and 1, then at 1.5 again
    const Samples some = Expected(folded, 0, 0, 20, {1, 2, 3, 5});
    Samples parsed = Parse(context.get(), 0, 20, 0, 6).left;
    parsed.resize(some.size());
    EXPECT_EQ(parsed, some) << c.what;
  }
}

TEST(Parsers, BlackLevelGainAndDepth) {
  const struct {
    int code;  // above the black level of 64
    uint16_t gain;
    uint32_t depth;
    uint16_t plain;      // (code * gain) >> (depth - 2), at most 65535
    uint16_t optimized;  // (code * gain) >> 8
  } cases[] = {
      {-64, 256, 10, 0, 0},       {0, 256, 10, 0, 0},      {1, 256, 10, 1, 1},
      {100, 384, 10, 150, 150},   {100, 384, 12, 37, 150}, {100, 384, 2, 38400, 150},
      {100, 384, 1, 19200, 150},  // the shift is the distance from 2
      {900, 500, 2, 65535, 1757},
  };
  for (const auto& c : cases) {
    SparseCamera camera(12, 4);
    camera.tuning.correlation.searchRange = {-8, 8};
    camera.setPixels(FourColumns(1));
    camera.init.pixelDepth = c.depth;
    for (auto* map : {camera.calibration.Left_GainMap, camera.calibration.Right_GainMap}) {
      std::fill_n(map, kGainMapEntries, c.gain);
    }
    camera.expose([&c](bool, int, int) { return c.code; });
    for (const bool optimized : {false, true}) {
      auto context = test::InitialisedContext(camera);
      context->optimizedParsing = optimized;
      context->parsingMergeFactor = 1;
      ASSERT_EQ(configure_pd_context_info(context.get(), camera.param), 0);
      context->subsampleRatio = 1.0f;
      const uint16_t wanted = optimized ? c.optimized : c.plain;
      EXPECT_EQ(Parse(context.get(), 2, 9, 1, 3).right, Samples(7 * 4 * 2, wanted)) << c.code;
      EXPECT_EQ(context->rightSum, 7.0f * 4 * 2 * wanted);
    }
  }
}

TEST(Parsers, EachBlockHasItsOwnGain) {
  SparseCamera camera(5, 4);
  camera.tuning.correlation.searchRange = {-8, 8};
  camera.setPixels(FourColumns(1));
  camera.calibration.MapWidth = 5;
  camera.calibration.MapHeight = 4;
  for (uint16_t i = 0; i < 20; ++i) {
    camera.calibration.Left_GainMap[i] = static_cast<uint16_t>(256 * (1 + i));
  }
  camera.calibration.VersionNum = 4;
  camera.expose([](bool, int, int) { return 10; });
  for (const bool optimized : {false, true}) {
    auto context = test::InitialisedContext(camera);
    context->optimizedParsing = optimized;
    context->parsingMergeFactor = 1;
    ASSERT_EQ(configure_pd_context_info(context.get(), camera.param), 0);
    context->subsampleRatio = 1.0f;
    const Samples samples = Parse(context.get(), 2, 5, 1, 4).left;
    for (uint32_t i = 0; i < 3 * 3 * 4; ++i) {
      const uint32_t column = 2 + i / 4 % 3;
      const uint32_t row = 1 + i / 12;
      EXPECT_EQ(samples[i], 10 * (1 + row * 5 + column)) << i;
    }
  }
}

TEST(Parsers, TwoProcessorsMakeOneRow) {
  SparseCamera camera(20, 4);
  camera.tuning.correlation.searchRange = {-16, 16};
  camera.addSecondProcessor(8, 32);
  camera.exposeShifted(12);
  const auto context = ConfiguredContext(camera);
  context->subsampleRatio = 1.0f;
  const struct { uint32_t x0, x1; } cases[] = {{0, 20}, {0, 8}, {8, 20}, {7, 9}, {11, 20}, {2, 5}};
  for (const auto& c : cases) {
    const Parsed parsed = Parse(context.get(), c.x0, c.x1, 1, 3);
    EXPECT_EQ(parsed.left, Expected(2, 0, c.x0, c.x1, {1, 2})) << c.x0;
    EXPECT_EQ(parsed.right, Expected(2, 12, c.x0, c.x1, {1, 2})) << c.x0;
  }
}

TEST(Parsers, OneBlockGoesBehindWhatIsCounted) {
  SparseCamera camera(12, 4);
  camera.tuning.correlation.searchRange = {-8, 8};
  const auto context = ConfiguredContext(camera);
  uint16_t left[8] = {};
  uint16_t right[8] = {};
  for (const int block : {5, 6}) {
    pd_core_parse_pd_pixel_in_a_block_16bpp(context.get(), camera.frame.data(), left, right,
                                            16 * block, block, 0);
  }
  EXPECT_EQ(Samples(left, left + 8), Expected(2, 0, 5, 7, {0}));
  EXPECT_EQ(context->leftCount, 8u);
}

TEST(Parsers, MergingMixesTheSidesAtFactorFour) {
  const Samples left = {1, 2, 4, 8, 16, 32, 64, 128};
  const Samples right = {1000, 2000, 3000, 4000, 5000, 6000, 7000, 8000};
  const struct {
    uint32_t factor;
    Samples left, right;
  } cases[] = {
      {1, left, right},
      {2, {3, 12, 48, 192}, {3000, 7000, 11000, 15000}},
      {4, {15, 240}, {1000 + 2000 + 4 + 8, 5000 + 6000 + 64 + 128}},
  };
  for (const auto& c : cases) {
    Samples l = left;
    Samples r = right;
    merge_samples(l.data(), r.data(), c.left.size(), c.factor);
    l.resize(c.left.size());
    r.resize(c.left.size());
    EXPECT_EQ(l, c.left) << c.factor;
    EXPECT_EQ(r, c.right) << c.factor;
  }
}

TEST(Parsers, PackedLinesStartInsideAGroup) {
  // Two lines of five groups of six 10-bit pixels; pixel p of line y holds 100 y + p.
  constexpr uint32_t kStride = 40;
  std::vector<uint8_t> packed(2 * kStride);
  for (uint32_t y = 0; y < 2; ++y) {
    for (uint32_t pixel = 0; pixel < 30; ++pixel) {
      uint64_t group = 0;
      std::memcpy(&group, &packed[y * kStride + pixel / 6 * 8], 8);
      group |= uint64_t{100 * y + pixel} << 10 * (pixel % 6);
      std::memcpy(&packed[y * kStride + pixel / 6 * 8], &group, 8);
    }
  }
  auto context = std::make_unique<pdaf_context_t>();
  context->bufferDataInfo.isp1BufferStride = 24;
  context->bufferDataInfo.isp2BufferStride = 16;
  PDLibBlockPattern pattern{};
  pattern.blockDimension = {4, 2};
  pattern.horizontalPDOffset = 2;
  Samples samples(2 * kStride, 0xffff);
  process_zyn10_to_uint16(context.get(), packed.data(), samples.data(), pattern, 2, 4);
  EXPECT_EQ(context->zynRemainder, 4u);  // 2 + 2 * 4 = 10 = 6 + 4
  for (uint32_t i = 0; i < 4 + 2 * 4; ++i) {
    EXPECT_EQ(samples[i], 6 + i);
    EXPECT_EQ(samples[kStride + i], 106 + i);
  }
  EXPECT_EQ(samples[12], 0xffff);
}

}  // namespace

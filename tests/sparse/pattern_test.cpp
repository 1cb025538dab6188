// From the pattern of a PD block to the tables of offsets, samples and gains.
#include <gtest/gtest.h>

#include "frame/pdlib_flow.h"
#include "sparse/pdlib_sparse_utils_pattern.h"
#include "sparse_context.h"
#include "support/log_capture.h"

using test::InitialisedContext;
using test::PdPixel;
using test::SparseCamera;

namespace {

using Numbers = std::vector<uint32_t>;

template <class Entry>
Numbers Take(const Entry* entries, int count) {
  return Numbers(entries, entries + count);
}

// Followed with pencil and paper: the middle element is the pivot, equal elements change places.
TEST(PixelSort, OrderOfEqualColumnsIsThatOfTheExchanges) {
  const struct {
    Numbers x, ranks;
  } cases[] = {
      {{7}, {0}},
      {{5, 5}, {1, 0}},
      {{3, 3, 3}, {2, 1, 0}},
      {{4, 4, 4, 4}, {2, 3, 0, 1}},
      {{8, 0, 8, 0}, {3, 1, 0, 2}},
      {{0, 4, 8, 12, 0, 4, 8, 12}, {4, 0, 5, 1, 2, 6, 7, 3}},
  };
  for (const auto& c : cases) {
    pdaf_pix_info_t pixels[8] = {};
    const int count = static_cast<int>(c.x.size());
    for (int i = 0; i < count; ++i) {
      pixels[i].x = c.x[static_cast<size_t>(i)];
      pixels[i].index = static_cast<uint32_t>(i);
    }
    pixel_sort_x(pixels, 0, count - 1);
    Numbers ranks;
    for (int i = 0; i < count; ++i) ranks.push_back(pixels[i].index);
    EXPECT_EQ(ranks, c.ranks);
  }
}

PDLibBlockPattern Pattern(std::initializer_list<PDLibPixelCoordinate> pixels) {
  PDLibBlockPattern pattern{};
  for (const auto& pixel : pixels) pattern.pixelCoordinate[pattern.pixelCount++] = pixel;
  return pattern;
}

TEST(PixelSort, NativeTypesAreCrossedWithBufferTypesByRank) {
  const auto other = kShieldVertical3;
  const PDLibBlockPattern native = Pattern({{12, 1, kShieldHorizontal1},
                                            {7, 5, kShieldHorizontal0},
                                            {4, 9, other},
                                            {2, 3, kShieldHorizontal0}});
  const PDLibBlockPattern buffer = Pattern({{100, 0, kShieldHorizontal0},
                                            {101, 1, kShieldHorizontal1},
                                            {102, 2, kShieldHorizontal0},
                                            {103, 3, kShieldHorizontal1}});
  pdaf_pix_info_t left[2];
  pdaf_pix_info_t right[2];
  ASSERT_EQ(sort_pd_pixel(native, buffer, left, right), 0);
  const struct {
    const pdaf_pix_info_t& pixel;
    Numbers place;  // buffer x, y, native x, y
  } cases[] = {
      {left[0], {103, 3, 2, 3}},
      {left[1], {101, 1, 7, 5}},
      {right[0], {102, 2, 4, 9}},
      {right[1], {100, 0, 12, 1}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ((Numbers{c.pixel.x, c.pixel.y, c.pixel.nativeX, c.pixel.nativeY}), c.place);
  }
}

TEST(PixelTables, PixelsOfOneColumnFoldIntoOneSample) {
  SparseCamera camera;
  camera.setPixels({{0, 0, true, 0, 0},
                    {0, 0, false, 1, 0},
                    {0, 8, true, 2, 0},
                    {4, 0, false, 3, 0},
                    {4, 4, true, 4, 0},
                    {4, 4, false, 5, 0},
                    {8, 0, true, 6, 0},
                    {4, 8, false, 7, 0}});
  const auto context = InitialisedContext(camera);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(Take(context->leftLast, 4), (Numbers{0, 1, 1, 1}));
  EXPECT_EQ(Take(context->rightLast, 4), (Numbers{1, 0, 0, 1}));
  EXPECT_EQ(context->unique_num_L_pixel, 3);
  EXPECT_EQ(context->unique_num_R_pixel, 2);
  EXPECT_EQ(Take(context->uniqueColumn, 3), (Numbers{0, 4, 8}));

  std::vector<PdPixel> all;  // as many as a pattern holds
  for (uint32_t i = 0; i < kMaxPatternPixels; ++i)
    all.push_back({i / 16, i % 16, i % 2 == 0, i / 16, i % 16});
  camera.setPixels(all);
  EXPECT_NE(InitialisedContext(camera), nullptr);
}

TEST(PixelTables, OffsetsCountPixelsOfTheBuffer) {
  const struct {
    PDAFBufferDataFormat format;
    uint32_t left;  // of (3, 2) at a stride of 2000 bytes
    uint32_t right;
  } cases[] = {
      {kBufferUnpacked16, (2000 * 2 + 2 * 3) / 2, (2000 * 5 + 2 * 6) / 2},
      {kBufferFormat0, 2000 * 2 + 3, 2000 * 5 + 6},
      {kBufferFormat1, 2000 * 2 + 3, 2000 * 5 + 6},
      {kBufferFormat3, 2000 * 2 + 3, 2000 * 5 + 6},
      {kBufferFormat4, 2000 * 2 + 3, 2000 * 5 + 6},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    camera.setPixels({{3, 2, true, 3, 2}, {6, 5, false, 6, 5}});
    camera.init.bufferDataInfo.isp1BufferStride = 2000;
    camera.init.bufferDataInfo.bufferFormat = c.format;
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr) << c.format;
    EXPECT_EQ(context->leftOffset[0], c.left) << c.format;
    EXPECT_EQ(context->rightOffset[0], c.right) << c.format;
  }
}

TEST(PixelTables, OnlyPixelsInsideTheFrameStartBehindAnOffset) {
  const struct {
    PDAFType sensorType;
    uint32_t overlap;
    uint64_t offset;
    uint32_t pixelOffset;  // of (1, 1)
  } cases[] = {
      {kSensorSparse1, 0, 0, 1001},
      {kSensorSparse2, 0, 0, 1001},
      {kSensorSparseInFrame, 0, 2 * 10 + 4 * 2000, 1001},
      {kSensorSparseInFrame, 32, 2 * 10 + 4 * 3800, 1901},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    camera.setPixels({{1, 1, true, 1, 1}, {2, 1, false, 2, 1}});
    PDLibDataBufferInfo& buffer = camera.init.bufferDataInfo;
    camera.init.nativePatternInfo.blockPattern.horizontalPDOffset = 16;
    buffer.isp1BlockPattern.horizontalPDOffset = 10;
    buffer.isp1BlockPattern.verticalPDOffset = 4;
    buffer.isp2BlockPattern = buffer.isp1BlockPattern;
    buffer.isp2BlockPattern.horizontalPDOffset = 5;
    buffer.isp2BlockPattern.verticalPDOffset = 6;
    buffer.isp1BufferStride = 2000;
    buffer.isp2BufferStride = 1800;
    buffer.isp2ImageOffset = 480;
    buffer.imageOverlap = c.overlap;
    buffer.sensorType = c.sensorType;
    buffer.ispBufferHeight += 16;
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->bufferOffset, c.offset);
    EXPECT_EQ(context->leftOffset[0], c.pixelOffset);
    if (c.overlap == 0) continue;
    EXPECT_EQ(context->isp2BufferOffset, 2000u + 6 * 3800 + 2 * 5);
    EXPECT_EQ(context->isp2FirstBlock, (32u + 480 - 16) / 16);
  }
}

TEST(PixelTables, GainsAreSampledEverySixteenPixelsAtMost) {
  const struct {
    PDLibBlockDimension block;
    uint32_t stepX, stepY;
    uint32_t index;  // of the pixel at (20, 17), or (5, 3) in small blocks, with 10 blocks a row
  } cases[] = {
      {{32, 32}, 2, 2, 1 + 2 * 10 * 1}, {{24, 24}, 1, 1, 0},  // one gain every 24 pixels
      {{48, 32}, 3, 2, 1 + 3 * 10},                           // 16 pixels apart in both directions
      {{64, 32}, 4, 2, 1 + 4 * 10 * 1}, {{8, 8}, 1, 1, 0},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    const PdPixel left =
        c.block.width < 16 ? PdPixel{5, 3, true, 5, 3} : PdPixel{20, 17, true, 5, 3};
    camera.setPixels({left, {0, 0, false, 0, 0}});
    camera.init.nativePatternInfo.blockPattern.blockDimension = c.block;
    camera.setBlockCounts(10, 6);
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->gainStepX, c.stepX);
    EXPECT_EQ(context->gainStepY, c.stepY);
    EXPECT_EQ(context->gainMapStepBlock, c.stepX);
    EXPECT_EQ(context->gainMapStepRow, 10 * c.stepX * c.stepY);
    EXPECT_EQ(context->gainIndex[0], c.index);
  }
}

TEST(PixelTables, UnevenColumnsAreWeightedByTheirDistances) {
  const struct {
    Numbers columns;  // in blocks of 16
    int direction, weight;
  } cases[] = {
      {{5}, 0, 256},
      {{0, 8}, 0, 256},
      {{0, 4, 8, 12}, 0, 256},
      {{0, 4}, 1, (4 << 8) / 12},  // the next column is the first one of the next block
      {{2, 14}, -1, 4 * 256 / 12},
      {{0, 3, 8}, 1, (3 << 8) / 5},
      {{0, 6, 8, 14}, -1, 2 * 256 / 6},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    std::vector<PdPixel> pixels;
    for (const uint32_t x : c.columns) {
      pixels.push_back({x, 0, true, x, 0});
      pixels.push_back({x, 1, false, x, 1});
    }
    camera.setPixels(pixels);
    const auto context = InitialisedContext(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->resampleDirection, c.direction);
    EXPECT_EQ(context->resampleWeight, c.weight);
  }
}

TEST(PixelTables, UnusablePatternsAreRefusedWithALine) {
  const struct {
    const char* what;
    void (*damage)(SparseCamera&);
  } cases[] = {
      {"one polarity",
       [](SparseCamera& c) {
         for (auto& pixel : c.pixels) pixel.left = true;
         c.setPixels(c.pixels);
       }},
      {"none of the buffer's types known",
       [](SparseCamera& c) {
         for (auto& pixel : c.init.bufferDataInfo.isp1BlockPattern.pixelCoordinate)
           pixel.type = kShieldVertical2;
       }},
      {"no pixels", [](SparseCamera& c) { c.setPixels({}); }},
      {"more pixels than a table holds",
       [](SparseCamera& c) { c.init.bufferDataInfo.isp1BlockPattern.pixelCount = 257; }},
      {"negative pixel count",
       [](SparseCamera& c) { c.init.nativePatternInfo.blockPattern.pixelCount = -1; }},
      {"native pixel outside its block",
       [](SparseCamera& c) {
         c.init.nativePatternInfo.blockPattern.pixelCoordinate[3].x = 0x7fffffff;
       }},
      {"buffer pixel behind the buffer",
       [](SparseCamera& c) {
         c.init.bufferDataInfo.isp1BlockPattern.pixelCoordinate[3].y = 65535;
       }},
      // The offset of this pixel is 2^32 and some bytes: cut to 32 bits it would look harmless.
      {"offset beyond 32 bits",
       [](SparseCamera& c) {
         c.init.bufferDataInfo.isp1BufferStride = 1 << 17;
         c.init.bufferDataInfo.isp1BlockPattern.pixelCoordinate[3].y = 1 << 15;
         c.init.bufferDataInfo.bufferFormat = kBufferFormat0;
       }},
      {"unknown format",
       [](SparseCamera& c) { c.init.bufferDataInfo.bufferFormat = PDAFBufferDataFormat(5); }},
  };
  for (const auto& c : cases) {
    test::LogCapture log;
    SparseCamera camera;
    c.damage(camera);
    EXPECT_EQ(InitialisedContext(camera), nullptr) << c.what;
    EXPECT_FALSE(log.texts().empty()) << c.what;
  }
}

}  // namespace

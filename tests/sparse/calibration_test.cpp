// From the calibration record to the maps of a context, and the map helpers behind it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "frame/pdlib_utils_map.h"
#include "kernels/kernel_inputs.h"
#include "sparse/pdlib_sparse_utils_calibration.h"
#include "sparse_context.h"
#include "support/log_capture.h"

using test::InitialisedContext;
using test::LogCapture;
using test::SparseCamera;

namespace {

using Map = std::vector<uint16_t>;

template <class Array>
Map Values(Array& array, size_t count) {
  return Map(array.begin(), array.begin() + static_cast<ptrdiff_t>(count));
}

TEST(Maps, ResizeBlendsBetweenCorners) {
  const struct {
    Map source;
    int width, height;
    Map wanted;
    int newWidth, newHeight;
  } cases[] = {
      {{0, 100, 200, 300}, 2, 2, {0, 50, 100, 100, 150, 200, 200, 250, 300}, 3, 3},
      {{0, 10}, 2, 1, {0, 3, 6, 10}, 4, 1},  // 3.33 and 6.67 are cut
      {{0, 10}, 2, 1, {0, 0}, 1, 2},         // a single column repeats the first
      {{7}, 1, 1, {7, 7, 7, 7, 7, 7}, 3, 2},
      {{1, 2, 3, 4, 5, 6}, 3, 2, {1, 3, 4, 6}, 2, 2},
      {{65535, 0}, 1, 2, {65535, 49151, 32767, 16383, 0}, 1, 5},
  };
  for (const auto& c : cases) {
    Map plain(c.wanted.size());
    Map optimized(c.wanted.size());
    imresize_bilinear(c.source.data(), c.width, c.height, plain.data(), c.newWidth, c.newHeight);
    imresize_bilinear_optimized(c.source.data(), c.width, c.height, optimized.data(), c.newWidth,
                                c.newHeight);
    EXPECT_EQ(plain, c.wanted);
    EXPECT_EQ(optimized, c.wanted);
  }
  const uint16_t corners[] = {0, 100, 200, 300};
  EXPECT_EQ(bilinear_fast(corners, 2, 2, 0.25f, 0.5f), 125u);
  EXPECT_EQ(bilinear_fast(corners, 2, 2, 9.0f, -3.0f), 100u);  // outside counts as the edge
}

TEST(Maps, CropStretchesARectangle) {
  const Map ramp = {0, 100, 200, 300, 400};
  const struct {
    MapCrop crop;
    Map wanted;
  } cases[] = {
      {{0.25f, 0, 0.5f, 1}, {100, 150, 200, 250, 300}},
      {{0.5f, 0, 1.0f, 1}, {200, 300, 400, 400, 400}},  // behind the edge the edge repeats
      {{0.5f, 0, 0.01f, 1}, {200, 201, 202, 203, 204}},
      {{0.99f, 0, 0.01f, 1}, {396, 397, 398, 399, 400}},
      {{0.5f, 0, 0.005f, 1}, ramp},  // too small: the whole map
      {{0.5f, 0, 1, 0.005f}, ramp},
      {{0.995f, 0, 0.5f, 1}, ramp},
      {{-0.1f, 0, 0.5f, 1}, ramp},
      {{0.25f, NAN, 0.5f, 1}, ramp},
  };
  for (const auto& c : cases) {
    // A row of five, and with the axes exchanged a column.
    const MapCrop turned = {c.crop.y, c.crop.x, c.crop.h, c.crop.w};
    const kernel_test::Guarded<uint16_t> row(5), column(5);
    imcrop_bilinear(ramp.data(), 5, 1, c.crop, row.data(), 5, 1);
    imcrop_bilinear(ramp.data(), 1, 5, turned, column.data(), 1, 5);
    EXPECT_EQ(row.values(), c.wanted);
    EXPECT_EQ(column.values(), c.wanted);
  }
  const int16_t fall[] = {0, -15, -30, -45};
  const kernel_test::Guarded<int16_t> out(6);
  imcrop_bilinear(fall, 2, 2, {0, 0, 1, 1}, out.data(), 3, 2);
  EXPECT_EQ(out.values(), (std::vector<int16_t>{0, -7, -15, -30, -37, -45}));  // toward 0
}

template <class Value>
void ExpectFlips(int (*leftRight)(Value*, int, int), int (*upDown)(Value*, int, int)) {
  std::vector<Value> map = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(leftRight(map.data(), 3, 2), 0);
  EXPECT_EQ(map, (std::vector<Value>{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(upDown(map.data(), 3, 2), 0);
  EXPECT_EQ(map, (std::vector<Value>{6, 5, 4, 3, 2, 1}));
  Orvo::Host::FailAllocation(0);
  EXPECT_EQ(leftRight(map.data(), 3, 2), 1);
  Orvo::Host::FailAllocation(0);
  EXPECT_EQ(upDown(map.data(), 3, 2), 1);
  EXPECT_EQ(map[0], Value(6));
}

TEST(Maps, FlipsOfAllThreeKinds) {
  ExpectFlips<uint16_t>(fliplr_uint16, flipud_uint16);
  ExpectFlips<int16_t>(fliplr_int16, flipud_int16);
  ExpectFlips<float>(fliplr_float, flipud_float);
}

TEST(Calibration, VersionBitsSwapTheSidesAndSetTheFraction) {
  const struct {
    uint16_t version, fractionBits;
    uint16_t leftGain;  // Left_GainMap holds 300, Right_GainMap 500
    uint16_t q;
    const char* line;
  } cases[] = {
      {0, 0, 500, 10, "pdaf cal: version number 0"},
      {3, 8, 500, 8, "pdaf cal: version number 3"},
      {4, 12, 300, 12, "pdaf cal: version number 4"},
      {128, 1, 300, 1, "pdaf cal: version number 128"},
      {0x300, 10, 500, 10, "pdaf cal: version number 0"},  // bits 8 and 9 mean nothing
      {0x400 | 5, 10, 300, 6, "pdaf cal: version number 5"},
      {0x400 | 2, 3, 500, 6, "pdaf cal: 10th bit of version number set high. using dcc_q_format=6"},
      {4, 31, 300, 10, nullptr},  // no shift of 31 bits
  };
  for (const auto& c : cases) {
    LogCapture log(1);
    SparseCamera camera;
    camera.calibration.VersionNum = c.version;
    camera.calibration.DCC_param.Q_factor = c.fractionBits;
    std::fill_n(camera.calibration.Left_GainMap, kGainMapEntries, uint16_t{300});
    std::fill_n(camera.calibration.Right_GainMap, kGainMapEntries, uint16_t{500});
    const auto context = InitialisedContext(camera);
    ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
    EXPECT_EQ(context->dcc_q_format, c.q) << c.version;
    EXPECT_EQ(context->leftGain[100], c.leftGain) << c.version;
    EXPECT_EQ(context->rightGain[100], 800 - c.leftGain) << c.version;
    EXPECT_TRUE(c.line == nullptr || log.has(c.line));
  }
}

// Five by four blocks, one gain a block, and maps of that size: nothing is resized. Entry (r, c)
// of the left map holds 100 r + 10 c, of the table 1000 r + 100 c.
struct SmallCamera : SparseCamera {
  SmallCamera() : SparseCamera(5, 4) {
    tuning.correlation.searchRange = {-8, 8};
    calibration.VersionNum = 4;
    calibration.MapWidth = 5;
    calibration.MapHeight = 4;
    for (uint16_t i = 0; i < 20; ++i) {
      calibration.Left_GainMap[i] = static_cast<uint16_t>(i / 5 * 100 + i % 5 * 10);
    }
    for (int16_t i = 0; i < 48; ++i) {
      calibration.DCC_map[i] = static_cast<int16_t>(i / 8 * 1000 + i % 8 * 100);
    }
  }
};

TEST(Calibration, MapsFollowTheOrientation) {
  const struct {
    uint32_t orientation;
    uint16_t corner;  // first entry, and its right neighbour
    uint16_t next;
    int16_t dcc;
  } cases[] = {{0, 0, 10, 0}, {1, 40, 30, 700}, {2, 300, 310, 5000}, {3, 340, 330, 5700}};
  for (const auto& c : cases) {
    SmallCamera camera;
    camera.init.nativePatternInfo.orientation = PDAFOrientation(c.orientation);
    const auto context = InitialisedContext(camera);
    ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
    EXPECT_EQ(context->leftGain[0], c.corner);
    EXPECT_EQ(context->leftGain[1], c.next);
    EXPECT_EQ(context->dccMap[0], c.dcc);
  }
}

TEST(Calibration, CroppedModeSeesPartOfTheMaps) {
  SmallCamera camera;
  PDLibSensorNativeInfo& native = camera.init.nativePatternInfo;
  native.originalImageWidth = 2 * native.currentImageWidth;
  native.originalImageHeight = native.currentImageHeight;
  native.cropRegion = {40, 0, 80, 64};  // of 160 by 64: the middle half
  const auto context = InitialisedContext(camera);
  ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
  EXPECT_EQ(Values(context->leftGain, 5), (Map{10, 15, 20, 25, 30}));
  EXPECT_EQ(context->dccMap[0], 175);  // column 0.25 * 7
  EXPECT_EQ(context->dccMap[7], 525);

  camera.calibration.DCC_param.MapWidth = 4;  // not the usual size: stays as calibrated
  const auto other = InitialisedContext(camera);
  ASSERT_EQ(pdaf_calibration_init(other.get()), 0);
  EXPECT_EQ(other->dccMap[0], 0);
}

TEST(Calibration, MapIsExpandedToTheGainsOfABlock) {
  SparseCamera camera(3, 2);
  camera.setPixels(
      {{20, 4, true, 0, 0}, {9, 20, false, 1, 0}, {3, 17, true, 2, 0}, {30, 30, false, 3, 0}});
  camera.init.nativePatternInfo.blockPattern.blockDimension = {32, 32};
  camera.setBlockCounts(3, 2);
  camera.tuning.correlation.searchRange = {-32, 32};
  camera.calibration.VersionNum = 4;
  camera.calibration.MapWidth = 6;  // two gains a block in both directions: nothing is resized
  camera.calibration.MapHeight = 4;
  for (uint16_t i = 0; i < 24; ++i) camera.calibration.Left_GainMap[i] = i;
  auto context = InitialisedContext(camera);
  ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
  EXPECT_EQ(context->gainWidth, 6u);
  EXPECT_EQ(context->gainHeight, 4u);
  EXPECT_EQ(Values(context->leftGain, 24), (Map{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                                12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}));

  // One entry per pixel: left pixels in order of x are (3, 17), in the lower left quarter of a
  // block, and (20, 4), in the upper right one.
  context = InitialisedContext(camera);
  context->optimizedParsing = true;
  ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
  EXPECT_EQ(context->gainWidth, 6u);
  EXPECT_EQ(context->gainHeight, 2u);
  EXPECT_EQ(Values(context->leftGain, 12), (Map{6, 1, 8, 3, 10, 5, 18, 13, 20, 15, 22, 17}));
}

TEST(Calibration, SizesOfTheGainMaps) {
  const struct {
    uint16_t width, height;
    int result;
  } cases[] = {{1, 1, 0},  {25, 19, 0}, {475, 1, 0}, {0, 0, 1},
               {0, 19, 1}, {24, 20, 1}, {476, 1, 1}, {65535, 65535, 1}};
  for (const auto& c : cases) {
    LogCapture log;
    SparseCamera camera;
    camera.calibration.MapWidth = c.width;
    camera.calibration.MapHeight = c.height;
    const auto context = InitialisedContext(camera);
    EXPECT_EQ(pdaf_calibration_init(context.get()), c.result) << c.width << " x " << c.height;
    EXPECT_EQ(log.texts().size(), static_cast<size_t>(c.result));
    EXPECT_TRUE(c.result != 0 || context->leftGain[0] == 256);
  }
}

// 80 by 60 blocks. The window's centre picks four entries, which count alike.
TEST(Dcc, MeanOfTheFourEntriesAroundTheCentre) {
  const struct {
    uint32_t x0, x1, y0, y1;
    int dcc;
  } cases[] = {
      {0, 10, 0, 10, (0 + 100 + 1000 + 1100) / 4},
      {0, 0, 0, 0, (0 + 100 + 1000 + 1100) / 4},
      {0, 80, 0, 60, (2300 + 2400 + 3300 + 3400) / 4},   // 0.49 * 8 = 3.92, 0.49 * 6 = 2.94
      {40, 41, 0, 60, (2300 + 2400 + 3300 + 3400) / 4},  // 40 + (1 >> 1)
      {70, 80, 50, 60, (4600 + 4700 + 5600 + 5700) / 4},
      {60, 62, 40, 42, (4600 + 4700 + 5600 + 5700) / 4},  // 6.02 and 4.04: already the last two
  };
  SparseCamera camera(80, 60);
  for (int16_t i = 0; i < 48; ++i) {
    camera.calibration.DCC_map[i] = static_cast<int16_t>(i / 8 * 1000 + i % 8 * 100);
  }
  const auto context = InitialisedContext(camera);
  ASSERT_EQ(pdaf_calibration_init(context.get()), 0);
  for (const auto& c : cases) {
    EXPECT_EQ(interpolate_dcc(*context, c.x0, c.x1, c.y0, c.y1), c.dcc) << c.x0 << " " << c.y0;
  }
  context->dccMap[0] = -1103;  // -1103 + 0 + 0 + 1100 = -3
  context->dccMap[1] = 0;
  context->dccMap[8] = 0;
  EXPECT_EQ(interpolate_dcc(*context, 0, 0, 0, 0), -1);  // -3 >> 2
  context->calibration.DCC_param.MapHeight = 5;
  EXPECT_EQ(interpolate_dcc(*context, 70, 80, 50, 60), -1103);
  context->sensor.verticalBlockCount = 0;
  LogCapture log;
  EXPECT_EQ(interpolate_dcc(*context, 0, 1, 0, 1), 0);
  EXPECT_TRUE(log.has("block x or block y is 0"));
}

}  // namespace

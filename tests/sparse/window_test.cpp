// From an ROI to the grids of the centre and the peripheral windows.
#include <gtest/gtest.h>

#include <array>

#include "frame/pdlib_utils_window.h"
#include "sparse_context.h"
#include "support/log_capture.h"

using test::ConfiguredContext;
using test::LogCapture;
using test::SparseCamera;

namespace {

using Rectangle = std::array<uint32_t, 4>;  // start x, start y, end x, end y

Rectangle Of(const pd_grid_arg_t& entry) {
  return {entry.start_x, entry.start_y, entry.end_x, entry.end_y};
}

std::vector<Rectangle> All(pd_grid_t& grid) {
  std::vector<Rectangle> all;
  for (const pd_grid_arg_t& entry : grid) all.push_back(Of(entry));
  return all;
}

TEST(WindowGeometry, GridCountsTheLastBlockItTouches) {
  const struct {
    float start, extent;
    int globalOffset, block, first, blocks;
  } cases[] = {
      // an image of 4000 pixels with 249 blocks
      {0.25f, 0.5f, 8, 16, (1000 - 8) / 16, (3000 - 8) / 16 + 1 - (1000 - 8) / 16},
      {0.0f, 1.0f, 8, 16, 0, 249},
      {0.0f, 0.0f, 8, 16, 0, 1},
      {1.0f, 0.0f, 8, 16, 248, 1},
      {0.5f, 0.0f, 0, 16, 125, 1},
      {0.0f, 0.25f, 500, 16, 0, (1000 - 500) / 16 + 1},
      {0.25f, 0.5f, 8, 0, 0, 1},
      // pixels 999.45 and 999.55, before and behind the half; then ends there
      {0.2498625f, 0.0f, 8, 16, 61, 1},
      {0.2498875f, 0.0f, 8, 16, 62, 1},
      {0.0f, 0.2498625f, 8, 16, 0, 62},
      {0.0f, 0.2498875f, 8, 16, 0, 63},
  };
  for (const auto& c : cases) {
    const BlockGeometry blocks = {c.globalOffset, c.globalOffset, c.block, c.block, 249, 249};
    int x = -1;
    int y = -1;
    int width = -1;
    int height = -1;
    get_grid_configure(4000, 4000, c.start, c.start, c.extent, c.extent, blocks, &x, &y, &width,
                       &height);
    EXPECT_EQ(x, c.first) << c.start;
    EXPECT_EQ(y, c.first) << c.start;
    EXPECT_EQ(width, c.blocks) << c.start;
    EXPECT_EQ(height, c.blocks) << c.start;
  }
}

TEST(WindowGeometry, CropKeepsBlocksWhollyInside) {
  const struct {
    int start, extent, first, blocks;
  } cases[] = {
      {96, 64, 6, 4},    // on the borders
      {97, 64, 7, 3},    // the first block is cut
      {96, 63, 6, 3},    // the last one is
      {17, 15, 2, 0},    // none fits
      {0, 4000, 0, 39},  // the end is limited to the last of 40 blocks
      {2147483647, 2147483647, 39, 0},
  };
  for (const auto& c : cases) {
    const BlockGeometry blocks = {0, 0, 16, 16, 40, 40};
    int x = -1;
    int y = -1;
    int width = -1;
    int height = -1;
    get_crop_configure(c.extent, c.extent, c.start, c.start, blocks, &x, &y, &width, &height);
    EXPECT_EQ(x, c.first) << c.start;
    EXPECT_EQ(y, c.first) << c.start;
    EXPECT_EQ(width, c.blocks) << c.start;
    EXPECT_EQ(height, c.blocks) << c.start;
  }
}

TEST(CenterGrid, RemaindersGoToTheLastColumnAndRow) {
  SparseCamera camera(3, 5);
  camera.tuning.correlation.searchRange = {-8, 8};
  camera.tuning.postProcess.enableGridOverlap = 0;
  camera.setRoi(0, 0, 1, 1);
  camera.setWindows(2, 3, 1);
  const auto context = ConfiguredContext(camera);
  EXPECT_EQ(
      All(context->centerGrid),
      (std::vector<Rectangle>{
          {0, 0, 1, 1}, {1, 0, 3, 1}, {0, 1, 1, 2}, {1, 1, 3, 2}, {0, 2, 1, 5}, {1, 2, 3, 5}}));
  EXPECT_FALSE(context->hasSumWindow);
}

TEST(CenterGrid, OverlapAndSumWindowAddEntries) {
  const struct {
    uint32_t columns, rows, roiType;
    int overlap;
    size_t entries;
  } cases[] = {
      {2, 2, 0, 1, 9 + 1}, {2, 2, 1, 1, 9}, {2, 2, 2, 0, 4},
      {1, 1, 0, 1, 1 + 1}, {1, 1, 1, 1, 1}, {3, 1, 0, 7, 8 + 1},
  };
  for (const auto& c : cases) {
    SparseCamera camera;
    camera.tuning.postProcess.enableGridOverlap = c.overlap;
    camera.setWindows(c.columns, c.rows, c.roiType);
    const auto context = ConfiguredContext(camera);
    ASSERT_EQ(context->centerGrid.size(), c.entries);
    EXPECT_EQ(context->hasSumWindow, c.roiType == 0);
    if (c.roiType != 0) continue;
    const Rectangle first = Of(context->centerGrid[0]);
    const Rectangle last = Of(context->centerGrid[c.entries - 2]);
    EXPECT_EQ(Of(context->centerGrid[c.entries - 1]),
              (Rectangle{first[0], first[1], last[2], last[3]}));
  }
}

// 80 by 60 blocks in cells of 26 (the last one 28) by 20; windows of two cells either way.
TEST(CenterGrid, DccOfAResultStandsAtTheIndexOfTheResult) {
  SparseCamera camera(80, 60);
  for (int16_t i = 0; i < 48; ++i) {
    camera.calibration.DCC_map[i] = static_cast<int16_t>(i / 8 * 100 + i % 8 * 10);
  }
  camera.setRoi(0, 0, 1, 1);
  camera.setWindows(2, 2);
  const auto context = ConfiguredContext(camera);
  std::vector<int> dcc;
  for (size_t i = 0; i < 5; ++i) dcc.push_back(context->centerGrid[i].dcc);
  EXPECT_EQ(dcc, (std::vector<int>{(120 + 130 + 220 + 230) / 4,    // centre (26, 20)
                                   (150 + 160 + 250 + 260) / 4,    // (53, 20)
                                   (320 + 330 + 420 + 430) / 4,    // (26, 40)
                                   (350 + 360 + 450 + 460) / 4,    // (53, 40)
                                   (230 + 240 + 330 + 340) / 4}))  // the sum: (40, 30)
  ;
}

TEST(PeripheralGrid, EightRectanglesAroundTheRoi) {
  const struct {
    uint32_t columns;     // of blocks, of 60 rows
    uint32_t imageWidth;  // pixels
    PDLibWindow roi;
    std::vector<Rectangle> wanted;
  } cases[] = {
      {80,
       1280,
       {0.25f, 0.25f, 0.75f, 0.75f},
       {{0, 0, 21, 16},
        {20, 0, 61, 16},
        {60, 0, 80, 16},
        {0, 15, 21, 46},
        {60, 15, 80, 46},
        {0, 45, 21, 60},
        {20, 45, 61, 60},
        {60, 45, 80, 60}}},
      {80,
       1280,
       {0, 0, 1, 1},  // nothing is left around the image, yet no window is empty
       {{0, 0, 1, 1},
        {0, 0, 80, 1},
        {79, 0, 80, 1},
        {0, 0, 1, 60},
        {79, 0, 80, 60},
        {0, 59, 1, 60},
        {0, 59, 80, 60},
        {79, 59, 80, 60}}},
      // The ROI ends at pixel 31.5, that is 32; its start and width add up to a little less.
      {39,
       630,
       {0.01f, 0.25f, 0.05f, 0.75f},
       {{0, 0, 1, 16},
        {0, 0, 2, 16},
        {2, 0, 39, 16},
        {0, 15, 1, 46},
        {2, 15, 39, 46},
        {0, 45, 1, 60},
        {0, 45, 2, 60},
        {2, 45, 39, 60}}},
  };
  for (const auto& c : cases) {
    LogCapture log(1);
    SparseCamera camera(c.columns, 60);
    camera.init.nativePatternInfo.currentImageWidth = c.imageWidth;
    camera.param.windowConfig.window = c.roi;
    const auto context = ConfiguredContext(camera);
    EXPECT_EQ(All(context->peripheralGrid), c.wanted);
    const std::string line = log.texts().back();
    size_t place = 0;
    for (const char* name :
         {"TopLeftWindow", "TopCenterWindow", "TopRightWindow", "LEFT_CORNER_WINDOW",
          "RIGHT_CORNER_WINDOW", "BottomLeftWindow", "BottomCenterWindow", "BottomRightWindow"}) {
      place = line.find(name, place);
      ASSERT_NE(place, std::string::npos) << name << " is not in its place in " << line;
    }
  }
}

}  // namespace

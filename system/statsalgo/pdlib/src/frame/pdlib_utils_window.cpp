#include "frame/pdlib_utils_window.h"

#include "base/numeric.h"
#include "base/pdlib_log.h"

using pdlib::Clamp;
using pdlib::ToInt32;

namespace {

// Rounded pixel position of a fraction: the product is single precision, the addition double.
int pixel_of(int imageSize, float fraction) {
  return ToInt32(static_cast<double>(static_cast<float>(imageSize) * fraction) + 0.5);
}

int rounded_end(int start, int imageSize, float fraction) {
  return ToInt32(static_cast<double>(start) +
                 static_cast<double>(static_cast<float>(imageSize) * fraction) + 0.5);
}

int block_of(int64_t pixel, int globalOffset, int blockSize, int blockCount) {
  const int64_t block = blockSize == 0 ? 0 : (pixel - globalOffset) / blockSize;
  return static_cast<int>(Clamp<int64_t>(block, 0, blockCount - 1));
}

void grid_axis(int imageSize, float start, float extent, int globalOffset, int blockSize,
               int blockCount, int* first, int* count) {
  const int startPixel = pixel_of(imageSize, start);
  const int endPixel = rounded_end(startPixel, imageSize, extent);
  *first = block_of(startPixel, globalOffset, blockSize, blockCount);
  *count = block_of(endPixel, globalOffset, blockSize, blockCount) + 1 - *first;
}

void crop_axis(int extent, int start, int globalOffset, int blockSize, int blockCount, int* first,
               int* count) {
  *first = block_of(int64_t{start} + blockSize - 1, globalOffset, blockSize, blockCount);
  *count = block_of(int64_t{start} + extent, globalOffset, blockSize, blockCount) - *first;
}

}  // namespace

void set_window_configure_info(win_config_t* window, const PDLibWindowConfig& config) {
  window->horizontalWindowCount = config.horizontalWindowCount;
  window->verticalWindowCount = config.verticalWindowCount;
  window->x = config.window.startX;
  window->y = config.window.startY;
  window->w = config.window.endX - config.window.startX;
  window->h = config.window.endY - config.window.startY;
  window->endX = config.window.endX;
  window->endY = config.window.endY;
}

bool window_differs(const win_config_t& window, const PDLibWindowConfig& config) {
  win_config_t fresh = {};
  set_window_configure_info(&fresh, config);
  return window.horizontalWindowCount != fresh.horizontalWindowCount ||
         window.verticalWindowCount != fresh.verticalWindowCount || window.x != fresh.x ||
         window.y != fresh.y || window.w != fresh.w || window.h != fresh.h;
}

bool is_window_valid(const PDLibWindow& window) {
  const auto is_fraction = [](float value) { return value >= 0.0F && value <= 1.0F; };
  return is_fraction(window.startX) && is_fraction(window.startY) && is_fraction(window.endX) &&
         is_fraction(window.endY) && window.startX <= window.endX && window.startY <= window.endY;
}

bool window_count_fits(const PDLibWindowConfig& config) {
  const uint64_t windows =
      static_cast<uint64_t>(config.horizontalWindowCount) * config.verticalWindowCount;
  return windows > 0 && windows <= kMaxWindows;
}

void get_grid_configure(int imageWidth, int imageHeight, float x, float y, float width,
                        float height, const BlockGeometry& blocks, int* blockX, int* blockY,
                        int* blockColumns, int* blockRows) {
  grid_axis(imageWidth, x, width, blocks.globalX, blocks.blockWidth, blocks.horizontalBlockCount,
            blockX, blockColumns);
  grid_axis(imageHeight, y, height, blocks.globalY, blocks.blockHeight, blocks.verticalBlockCount,
            blockY, blockRows);
}

void get_crop_configure(int cropWidth, int cropHeight, int x, int y, const BlockGeometry& blocks,
                        int* blockX, int* blockY, int* blockColumns, int* blockRows) {
  crop_axis(cropWidth, x, blocks.globalX, blocks.blockWidth, blocks.horizontalBlockCount, blockX,
            blockColumns);
  crop_axis(cropHeight, y, blocks.globalY, blocks.blockHeight, blocks.verticalBlockCount, blockY,
            blockRows);
}

PeripheralPlace peripheral_place(uint32_t index) {
  static constexpr PeripheralPlace kPlaces[kPeripheralWindows] = {{0, 0}, {1, 0}, {2, 0}, {0, 1},
                                                                  {2, 1}, {0, 2}, {1, 2}, {2, 2}};
  return kPlaces[index];
}

PeripheralRectangle peripheral_rectangle(const win_config_t& roi, uint32_t index) {
  static constexpr const char* kNames[kPeripheralWindows] = {
      "TopLeftWindow",       "TopCenterWindow",  "TopRightWindow",     "LEFT_CORNER_WINDOW",
      "RIGHT_CORNER_WINDOW", "BottomLeftWindow", "BottomCenterWindow", "BottomRightWindow"};
  const float startX[3] = {0.0F, roi.x, roi.endX};
  const float startY[3] = {0.0F, roi.y, roi.endY};
  const float width[3] = {roi.x, roi.w, 1.0F - roi.endX};
  const float height[3] = {roi.y, roi.h, 1.0F - roi.endY};
  const auto [column, row] = peripheral_place(index);
  return {kNames[index], startX[column], startY[row], width[column], height[row]};
}

float written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines) {
  const float height = static_cast<float>(imageHeight);
  const int top = ToInt32(roi.y * height);
  const int bottom = ToInt32((roi.y + roi.h) * height);
  return (static_cast<float>(lines) - static_cast<float>(top)) / static_cast<float>(bottom - top);
}

float checked_written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines) {
  const float ratio = written_ratio(roi, imageHeight, lines);
  if (!(ratio < 0.0F)) return ratio;
  PDLIB_INFO("Warning: written PD buffer ratio negative %f, number of written PD lines %d",
             static_cast<double>(ratio), static_cast<int>(lines));
  return 0.0F;
}

uint32_t ready_rows(uint32_t rows, float ratio) {
  const bool partial = ratio > 0.0F && ratio < 1.0F;
  return partial ? pdlib::ToUint32(static_cast<float>(rows) * ratio) : rows;
}

bool is_window_usable(const PDLibWindowConfig& config) {
  if (!is_window_valid(config.window)) {
    PDLIB_ERROR(
        "Invalid window [%f %f %f %f], expected fractions of the image with start before end",
        static_cast<double>(config.window.startX), static_cast<double>(config.window.startY),
        static_cast<double>(config.window.endX), static_cast<double>(config.window.endY));
    return false;
  }
  if (window_count_fits(config)) return true;
  PDLIB_ERROR("Invalid window count %u x %u, the results hold %u", config.horizontalWindowCount,
              config.verticalWindowCount, kMaxWindows);
  return false;
}

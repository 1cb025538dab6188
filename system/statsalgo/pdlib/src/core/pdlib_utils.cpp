#include "core/pdlib_utils.h"

#include <cmath>
#include <cstring>

#include "core/numeric.h"
#include "core/pdlib_log.h"

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

constexpr float kMaxPDOffset = 10.0F;  // pixels

}  // namespace

bool read_orientation(PDAFOrientation orientation, bool* mirror, bool* flip) {
  *mirror = orientation == kOrientationMirror || orientation == kOrientationMirrorAndFlip;
  *flip = orientation == kOrientationFlip || orientation == kOrientationMirrorAndFlip;
  if (orientation <= kOrientationMirrorAndFlip) return true;
  PDLIB_ERROR("Invalid sensor orientation %u", orientation);
  return false;
}

float honoured_pd_offset(float offset) {
  return offset > -kMaxPDOffset && offset < kMaxPDOffset ? offset : 0.0F;
}

uint8_t honoured_pixel_depth(uint32_t depth) {
  constexpr uint8_t kDefaultDepth = 10;
  return depth >= 1 && depth <= 16 ? static_cast<uint8_t>(depth) : kDefaultDepth;
}

bool has_usable_gain_maps(const _pdaf_cal_param_t& calibration) {
  const uint32_t entries = uint32_t{calibration.MapWidth} * calibration.MapHeight;
  if (entries > 0 && entries <= uint32_t{kGainMapEntries}) return true;
  PDLIB_ERROR("pdaf cal: gain maps of %u by %u entries, expected 1 to %d", calibration.MapWidth,
              calibration.MapHeight, kGainMapEntries);
  return false;
}

bool build_bias_vector(pdlib::OwnedArray<uint16_t>* vector, int length, int firstShift, int step,
                       float strength) {
  if (!vector->allocate(static_cast<size_t>(length))) return false;
  for (int i = 0; i < length; ++i) {
    const float d = static_cast<int16_t>(firstShift - i * step);
    const float weight = (strength * d * d / 4096.0F + (1.0F - strength)) * 4096.0F;
    (*vector)[static_cast<size_t>(i)] = static_cast<uint16_t>(pdlib::ToUint32(weight));
  }
  return true;
}

void set_window_configure_info(win_config_t* window, const PDLibWindowConfig& config) {
  window->updated = 1;
  window->valid = 1;
  window->horizontalWindowCount = config.horizontalWindowCount;
  window->verticalWindowCount = config.verticalWindowCount;
  window->x = config.window.startX;
  window->y = config.window.startY;
  window->w = config.window.endX - config.window.startX;
  window->h = config.window.endY - config.window.startY;
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
  const uint64_t sumWindow = config.roiType == kRoiDefault ? 1 : 0;
  return windows > 0 && windows + sumWindow <= kMaxWindows;
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
  const float endX = roi.x + roi.w;
  const float endY = roi.y + roi.h;
  const float startX[3] = {0.0F, roi.x, endX};
  const float startY[3] = {0.0F, roi.y, endY};
  const float width[3] = {roi.x, roi.w, 1.0F - endX};
  const float height[3] = {roi.y, roi.h, 1.0F - endY};
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

int first_map_line(double relative, int size) {
  const double position = (relative - 0.01) * size;
  if (!(position > 0) || size < 2) return 0;
  return position < size - 2 ? ToInt32(std::floor(position)) : size - 2;
}

int16_t dcc_lookup(const int16_t* table, double relativeX, double relativeY) {
  const int column = first_map_line(relativeX, kDccColumns);
  const int row = first_map_line(relativeY, kDccRows);
  const int16_t* upper = table + row * kDccColumns + column;
  const int16_t* lower = upper + kDccColumns;
  return static_cast<int16_t>((upper[0] + upper[1] + lower[0] + lower[1]) >> 2);
}

const float* extension_value(const statsglobalelements::statsExtensionParamType& entry) {
  const bool usable = entry.enableFlag == 1 && entry.dataCount != 0 && entry.data != nullptr;
  return usable ? entry.data : nullptr;
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

bool is_buffer_usable(const PDLibParam& param, uint64_t requiredBytes) {
  if (param.PDBuffer == nullptr) {
    PDLIB_ERROR("null PD buffer");
    return false;
  }
  if (param.PDBufferSize >= 0 && static_cast<uint64_t>(param.PDBufferSize) >= requiredBytes)
    return true;
  PDLIB_ERROR("PD buffer of %lld bytes is too small, the PD area needs %llu",
              static_cast<long long>(param.PDBufferSize),
              static_cast<unsigned long long>(requiredBytes));
  return false;
}

float temporal_weight(const afpdlibelements::tessarineTuningPostProcess& weights, bool lensStands) {
  return lensStands ? weights.temporalFilterStaticWeight : weights.temporalFilterDynamicWeight;
}

void log_frame_result(uint32_t frameIndex, const PDLibDefocusInfo& result,
                      float actuatorSensitivity, int lensPosition, const PDLibOutputData& output) {
  PDLIB_INFO(
      "frame_idx: %d, phaseDiff %.2f, defocus_um: %.1f conf_level %d cur_lens_pos %d "
      "processingResult %d isPeripheralValid %d",
      static_cast<int>(frameIndex), static_cast<double>(result.phaseDiff),
      static_cast<double>(static_cast<float>(result.defocus) * actuatorSensitivity),
      static_cast<int>(result.confidence), lensPosition, static_cast<int>(output.processingResult),
      output.isPeripheralValid);
}

void copy_results(const PDLibOutputData& from, PDLibOutputData* to) {
  std::memcpy(static_cast<void*>(to), &from, offsetof(PDLibOutputData, depthMap));
}

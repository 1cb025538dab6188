#include "frame/pdlib_utils_calibration.h"

#include <cmath>

#include "base/numeric.h"
#include "base/pdlib_log.h"

using pdlib::ToInt32;

namespace {

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

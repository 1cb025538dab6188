#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "dense/pdlib_dpd_utils.h"

namespace {

// Where an entry of the widened axis lies between two of the small one.
struct Between {
  int first;
  int second;
  float first_weight;
  float second_weight;
};

// Entries of the small axis per entry of the wide one.
float small_step(int small, int wide) {
  return wide < 2 ? 0.0F : static_cast<float>(small - 1) / static_cast<float>(wide - 1);
}

Between position_between(int index, float step, int small) {
  const float position = static_cast<float>(index) * step;
  const int first = pdlib::Clamp(pdlib::ToInt32(std::floor(position)), 0, small - 1);
  // The last entry has no successor, and none weighs.
  return {first, std::min(first + 1, small - 1), static_cast<float>(first + 1) - position,
          position - static_cast<float>(first)};
}

uint16_t blend(const Between& at, uint16_t first, uint16_t second) {
  const float blended =
      std::fma(static_cast<float>(first), at.first_weight, second * at.second_weight);
  return pdlib::SaturateTo<uint16_t>(static_cast<double>(blended) + 0.5);
}

void widen_rows(const uint16_t* in, int in_width, int height, uint16_t* out, int out_width) {
  const float step = small_step(in_width, out_width);
  for (int column = 0; column < out_width; ++column) {
    const Between at = position_between(column, step, in_width);
    for (ptrdiff_t row = 0; row < height; ++row) {
      const uint16_t* entries = in + row * in_width;
      out[row * out_width + column] = blend(at, entries[at.first], entries[at.second]);
    }
  }
}

void widen_columns(const uint16_t* in, int width, int in_height, uint16_t* out, int out_height) {
  const float step = small_step(in_height, out_height);
  for (int row = 0; row < out_height; ++row) {
    const Between at = position_between(row, step, in_height);
    const uint16_t* first = in + ptrdiff_t{at.first} * width;
    const uint16_t* second = in + ptrdiff_t{at.second} * width;
    for (int column = 0; column < width; ++column)
      *out++ = blend(at, first[column], second[column]);
  }
}

}  // namespace

int dpd_GainMapUpsample(const uint16_t* in, int in_width, int in_height, uint16_t* out,
                        int out_width, int out_height) {
  const bool has_entries = in_width > 0 && in_height > 0;
  if (has_entries && out_width > in_width && out_height == in_height) {
    widen_rows(in, in_width, in_height, out, out_width);
    return 0;
  }
  if (has_entries && out_width == in_width && out_height > in_height) {
    widen_columns(in, in_width, in_height, out, out_height);
    return 0;
  }
  PDLIB_ERROR("Error, please check gainm parameter settings");
  return 1;
}

int dpd_DenseGainmapCreate(int out_width, int out_height, uint16_t* left_out, uint16_t* right_out,
                           int in_width, int in_height, const uint16_t* left_in,
                           const uint16_t* right_in) {
  const int left =
      dpd_GainMapUpsample(left_in, in_width, in_height, left_out, out_width, out_height);
  if (left != 0) return left;
  return dpd_GainMapUpsample(right_in, in_width, in_height, right_out, out_width, out_height);
}

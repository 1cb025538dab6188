#include <algorithm>
#include <limits>

#include "dense/pdlib_dpd_utils.h"
#include "kernels/kernel_table.h"

namespace {

// Shifts that the target correlates in the lanes of its registers.
constexpr int kSadLanes = 32;

// Trial shifts, counted in 16 bits.
int16_t shift_count(int near, int far) {
  const uint32_t distance = far < near ? static_cast<uint32_t>(near) - static_cast<uint32_t>(far)
                                       : static_cast<uint32_t>(far) - static_cast<uint32_t>(near);
  return static_cast<int16_t>(distance + 1);
}

void find_first_minimum(const int* sad, int count, int* min_index, int* min_value) {
  *min_value = std::numeric_limits<int>::max();
  for (int k = 0; k < count; ++k) {
    if (sad[k] >= *min_value) continue;
    *min_value = sad[k];
    *min_index = k;
  }
}

// Of all `shifts`, the first `computed` ones.
void line_sad(const uint16_t* left, const uint16_t* right, int length, int far, int shifts,
              int computed, int* min_index, int* min_value, int* sad) {
  const int samples = std::max(length - shifts, 0) + 1;
  const ptrdiff_t left_start = -std::min<ptrdiff_t>(far, 0);
  const ptrdiff_t right_start = std::max<ptrdiff_t>(far, 0);
  pdlib::Kernels().lineSad(left + left_start, right + right_start, samples, computed, sad);
  find_first_minimum(sad, computed, min_index, min_value);
}

}  // namespace

void dpd_2nd_iir_float(const uint16_t* in, uint16_t* out, int length, const float* a,
                       const float* b) {
  pdlib::Kernels().filterLine(in, out, length, a, b);
}

void dpd_line_IIR_optimized(const uint16_t* left_in, const uint16_t* right_in, uint16_t* left_out,
                            uint16_t* right_out, const float* a, const float* b, int length) {
  pdlib::Kernels().filterLines({left_in, right_in, left_out, right_out}, length, a, b);
}

void dpd_line_sad_optimized(const uint16_t* left, const uint16_t* right, int length, int near,
                            int far, int* min_index, int* min_value, int* sad) {
  const int shifts = shift_count(near, far);
  line_sad(left, right, length, far, shifts, shifts, min_index, min_value, sad);
}

void dpd_line_sad_optimized_neon(const uint16_t* left, const uint16_t* right, int length, int near,
                                 int far, int* min_index, int* min_value, int* sad) {
  const int shifts = shift_count(near, far);
  line_sad(left, right, length, far, shifts, std::min(shifts, kSadLanes), min_index, min_value,
           sad);
}

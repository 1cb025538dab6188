// What the fast forms of the SAD have in common: the way over rows and shifts, and normalisation.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "kernels/pd_core_correlation.h"

namespace pdlib {
namespace {

// Shifts that are summed in one go over a row.
constexpr int kShiftBlock = 64;

// Shifts whose sums stay in registers, in one pass over a row.
constexpr int kPassShifts = 12;

// The shifts of the next pass when this many are left: as few passes as there must be, the last two
// of about one size.
constexpr int NextPass(int shiftsLeft) {
  if (shiftsLeft <= kPassShifts) return shiftsLeft;
  return shiftsLeft < 2 * kPassShifts ? (shiftsLeft + 1) / 2 : kPassShifts;
}

// A row kernel adds to sums[k], k < shifts, the SAD over `positions` of one row under shift k.
using AddRowSads = void (*)(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                            uint32_t* sums);

// The row kernel in plain form, for what is too short for a vector.
inline void AddRowSadsPlain(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                            uint32_t* sums) {
  for (int k = 0; k < shifts; ++k) {
    for (int i = 0; i < positions; ++i) {
      sums[k] += static_cast<uint32_t>(std::abs(left[i + k] - right[i]));
    }
  }
}

template <AddRowSads kAddRow>
void SadByRows(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width,
               int16_t stride, int32_t* out, int16_t shiftOffset, int16_t sadLen) {
  const int positions = std::max(width - sadLen, 0) + 1;
  const int shift = norm_shift(static_cast<uint16_t>(std::max<int16_t>(rows, 0)));
  const bool shiftsEachRow = sadLen > kSadTotalMaxShifts;
  right += std::max<int>(shiftOffset, 0);
  left += std::max<int>(-shiftOffset, 0);
  for (int first = 0; first < sadLen; first += kShiftBlock) {
    const int shifts = std::min(sadLen - first, kShiftBlock);
    uint32_t totals[kShiftBlock] = {};
    uint32_t rowSums[kShiftBlock];
    for (ptrdiff_t row = 0; row < rows; ++row) {
      const uint16_t* rowLeft = left + row * stride + first;
      const uint16_t* rowRight = right + row * stride;
      if (!shiftsEachRow) {
        kAddRow(rowLeft, rowRight, positions, shifts, totals);
        continue;
      }
      std::fill_n(rowSums, shifts, 0u);
      kAddRow(rowLeft, rowRight, positions, shifts, rowSums);
      for (int k = 0; k < shifts; ++k) totals[k] += rowSums[k] >> shift;
    }
    for (int k = 0; k < shifts; ++k) {
      const uint32_t sad =
          shiftsEachRow ? totals[k] : std::min<uint32_t>(totals[k] >> shift, 0x7fffffff);
      out[first + k] = static_cast<int32_t>(sad);
    }
  }
}

// One row, not normalised.
template <AddRowSads kAddRow>
void LineSadByBlocks(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                     int32_t* out) {
  for (int first = 0; first < shifts; first += kShiftBlock) {
    const int count = std::min(shifts - first, kShiftBlock);
    uint32_t sums[kShiftBlock] = {};
    kAddRow(left + first, right, positions, count, sums);
    for (int k = 0; k < count; ++k) out[first + k] = static_cast<int32_t>(sums[k]);
  }
}

}  // namespace
}  // namespace pdlib

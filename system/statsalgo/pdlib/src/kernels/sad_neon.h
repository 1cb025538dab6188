// The SAD of one row on AArch64: the absolute difference of eight samples, then a pairwise widening
// accumulation, for up to twelve shifts in one pass. A vector of left samples serves two shifts,
// eight apart, in two turns: so there are few loads, and the accumulation, which only one of the
// pipes does, sets the pace.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kernels/sad_rows.h"
#include "kernels/vectors.h"

namespace pdlib {
namespace {

// sums[k] += SAD under shift k, k < kShifts.
template <int kShifts>
void AddPassSads(const uint16_t* left, const uint16_t* right, int positions, uint32_t* sums) {
  constexpr int kLanes = U16x8::kLanes;
  uint32x4_t sads[kShifts];
  for (uint32x4_t& sad : sads) sad = vdupq_n_u32(0);
  // left[i + k] on to the next turn, for those k whose shift k + 8 uses the next vector.
  constexpr int kCarried = std::max(kShifts - kLanes, 0);
  uint16x8_t window[kLanes];
  if (positions >= kLanes) {
    for (int k = 0; k < kCarried; ++k) window[k] = vld1q_u16(left + k);
  }
  int i = 0;
  for (; i + kLanes <= positions; i += kLanes) {
    const uint16x8_t r = vld1q_u16(right + i);
    for (int k = 0; k < std::min(kShifts, kLanes); ++k) {
      if (k >= kCarried) window[k] = vld1q_u16(left + i + k);
      sads[k] = vpadalq_u16(sads[k], vabdq_u16(window[k], r));
      if (k >= kCarried) continue;
      window[k] = vld1q_u16(left + i + kLanes + k);
      sads[kLanes + k] = vpadalq_u16(sads[kLanes + k], vabdq_u16(window[k], r));
    }
  }
  if (const int rest = positions - i; rest > 0) {
    // Copied, so that nothing is read past the rows; differences of other lanes are masked out.
    uint16_t lastLeft[kLanes + kPassShifts] = {};
    uint16_t lastRight[kLanes] = {};
    uint16_t lastUsed[kLanes] = {};
    std::copy_n(left + i, rest + kShifts - 1, lastLeft);
    std::copy_n(right + i, rest, lastRight);
    std::fill_n(lastUsed, rest, uint16_t{0xffff});
    const uint16x8_t r = vld1q_u16(lastRight);
    const uint16x8_t used = vld1q_u16(lastUsed);
    for (int k = 0; k < kShifts; ++k) {
      const uint16x8_t difference = vabdq_u16(vld1q_u16(lastLeft + k), r);
      sads[k] = vpadalq_u16(sads[k], vandq_u16(difference, used));
    }
  }
  for (int k = 0; k < kShifts; ++k) sums[k] += vaddvq_u32(sads[k]);
}

template <int... kIndex>
constexpr auto SadPasses(std::integer_sequence<int, kIndex...>) {
  using Pass = void (*)(const uint16_t*, const uint16_t*, int, uint32_t*);
  return std::array<Pass, sizeof...(kIndex)>{AddPassSads<kIndex + 1>...};
}

inline void AddRowSadsByPasses(const uint16_t* left, const uint16_t* right, int positions,
                               int shifts, uint32_t* sums) {
  static constexpr auto kPasses = SadPasses(std::make_integer_sequence<int, kPassShifts>{});
  for (int k = 0, count = 0; k < shifts; k += count) {
    count = NextPass(shifts - k);
    kPasses[static_cast<size_t>(count - 1)](left + k, right, positions, sums + k);
  }
}

}  // namespace
}  // namespace pdlib

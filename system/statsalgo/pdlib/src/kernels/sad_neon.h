// The SAD of one row on AArch64: the absolute difference of eight samples, then a pairwise widening
// accumulation, for eight shifts at a time. Both are the fewest operations that the two vector
// pipes of the target's cores can do it with.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kernels/sad_rows.h"
#include "kernels/vectors.h"

// Where bench/neon_mca.sh finds the inner loop; nothing otherwise.
#ifndef PDLIB_MCA_BEGIN
#define PDLIB_MCA_BEGIN
#define PDLIB_MCA_END
#endif

namespace pdlib {
namespace {

// Shifts whose sums stay in registers.
constexpr int kPassShifts = 8;

// sums[k] += SAD under shift k, k < kShifts.
template <int kShifts>
void AddPassSads(const uint16_t* left, const uint16_t* right, int positions, uint32_t* sums) {
  constexpr int kLanes = U16x8::kLanes;
  uint32x4_t sads[kShifts];
  for (uint32x4_t& sad : sads) sad = vdupq_n_u32(0);
  int i = 0;
  for (; i + kLanes <= positions; i += kLanes) {
    PDLIB_MCA_BEGIN
    const uint16x8_t r = vld1q_u16(right + i);
#pragma GCC unroll 8
    for (int k = 0; k < kShifts; ++k) {
      sads[k] = vpadalq_u16(sads[k], vabdq_u16(vld1q_u16(left + i + k), r));
    }
    PDLIB_MCA_END
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
#pragma GCC unroll 8
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
  for (int k = 0; k < shifts; k += kPassShifts) {
    const int passShifts = std::min(shifts - k, kPassShifts);
    kPasses[passShifts - 1](left + k, right, positions, sums + k);
  }
}

}  // namespace
}  // namespace pdlib

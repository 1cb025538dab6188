// The SAD of one row on x86-64.
//
// |a - b| = a + b - 2 min(a, b). The sums of a and of b cost next to nothing: one pass, and a
// sliding window for the shifts. That leaves three operations a vector. Both rows are first copied
// to a tile in the first-level cache, biased by 0x8000, so that the signed minimum and the signed
// multiply-add order and add them; the tile's padding also ends the need for a tail loop.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kernels/sad_rows.h"
#include "kernels/vectors.h"

namespace pdlib {
namespace {

constexpr int kTilePositions = 1024;
constexpr uint16_t kBias = 0x8000;

constexpr int RoundUp(int count, int multiple) {
  return (count + multiple - 1) / multiple * multiple;
}

// Copies samples [from, count) with the bias and pads them with biased zeros up to `end`. There is
// at least one vector of samples.
template <class V>
void CopyBiased(const uint16_t* samples, int from, int count, int end, uint16_t* tile) {
  const V bias = V::Splat(kBias);
  int i = from;
  for (; i + V::kLanes <= count; i += V::kLanes) (V::Load(samples + i) ^ bias).Store(tile + i);
  for (; i < end; i += V::kLanes) bias.Store(tile + i);
  const int last = count - V::kLanes;
  (V::Load(samples + last) ^ bias).Store(tile + last);
}

// A vector loaded from kLastLanes + kMaxLanes - lanes + count has ones in its last `count` lanes.
constexpr int kMaxLanes = 16;
alignas(64) constexpr uint16_t kLastLanes[2 * kMaxLanes] = {
    0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,
    0,      0,      0,      0,      0,      0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff,
    0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff};

// Adds what both rows contribute by their own sums: the left window slides with the shift.
inline void AddOwnSums(uint32_t leftSum, uint32_t rightSum, const uint16_t* left, int positions,
                       int shifts, uint32_t* sums) {
  uint32_t entering[kShiftBlock];
  for (int k = 0; k + 1 < shifts; ++k) {
    entering[k] = static_cast<uint32_t>(left[positions + k] - left[k]);
  }
  uint32_t both = leftSum + rightSum;
  sums[0] += both;
  for (int k = 1; k < shifts; ++k) {
    both += entering[k - 1];
    sums[k] += both;
  }
}

// sums[k] -= 2 * sum of min(left[i + k], right[i]) over `count` positions, a multiple of the lanes.
template <class V, int kShifts>
void SubtractMinima(const uint16_t* left, const uint16_t* right, int count, uint32_t* sums) {
  using Sums = decltype(AddPairsSigned(V::Splat(0)));
  constexpr int kSums = RoundUp(kShifts, 4);
  Sums minima[kSums];
  for (Sums& sum : minima) sum = Sums::Zero();
  for (int i = 0; i < count; i += V::kLanes) {
    const V r = V::Load(right + i);
#pragma GCC unroll 12
    for (int k = 0; k < kShifts; ++k) {
      minima[k] = minima[k] + AddPairsSigned(MinSigned(V::Load(left + i + k), r));
    }
  }
  uint32_t totals[kSums];
#pragma GCC unroll 3
  for (int k = 0; k < kSums; k += 4) {
    Sums::Totals(minima[k], minima[k + 1], minima[k + 2], minima[k + 3]).Store(totals + k);
  }
  const uint32_t bias = uint32_t{kBias} * static_cast<uint32_t>(count);
  for (int k = 0; k < kShifts; ++k) sums[k] -= 2 * (totals[k] + bias);
}

template <class V, int... kIndex>
constexpr auto MinimaPasses(std::integer_sequence<int, kIndex...>) {
  using Pass = void (*)(const uint16_t*, const uint16_t*, int, uint32_t*);
  return std::array<Pass, sizeof...(kIndex)>{SubtractMinima<V, kIndex + 1>...};
}

// At least one vector of positions.
template <class V>
void AddTileSads(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                 uint32_t* sums) {
  using Sums = decltype(AddPairsSigned(V::Splat(0)));
  static constexpr auto kPasses = MinimaPasses<V>(std::make_integer_sequence<int, kPassShifts>{});
  alignas(64) uint16_t leftTile[kTilePositions + kShiftBlock + V::kLanes];
  alignas(64) uint16_t rightTile[kTilePositions];
  const V bias = V::Splat(kBias);
  Sums leftSums = Sums::Zero();
  Sums rightSums = Sums::Zero();
  int i = 0;
#pragma GCC unroll 2
  for (; i + V::kLanes <= positions; i += V::kLanes) {
    const V l = V::Load(left + i) ^ bias;
    const V r = V::Load(right + i) ^ bias;
    l.Store(leftTile + i);
    r.Store(rightTile + i);
    leftSums = leftSums + AddPairsSigned(l);
    rightSums = rightSums + AddPairsSigned(r);
  }
  const int padded = RoundUp(positions, V::kLanes);
  CopyBiased<V>(left, i, positions + shifts - 1, RoundUp(padded + shifts - 1, V::kLanes), leftTile);
  CopyBiased<V>(right, i, positions, padded, rightTile);
  const V rest = V::Load(kLastLanes + kMaxLanes - V::kLanes + positions - i);
  const int last = positions - V::kLanes;
  leftSums = leftSums + AddPairsSigned((V::Load(left + last) ^ bias) & rest);
  rightSums = rightSums + AddPairsSigned((V::Load(right + last) ^ bias) & rest);

  uint32_t totals[4];
  Sums::Totals(leftSums, rightSums, leftSums, rightSums).Store(totals);
  const uint32_t biases = uint32_t{kBias} * static_cast<uint32_t>(positions);
  AddOwnSums(totals[0] + biases, totals[1] + biases, left, positions, shifts, sums);
  for (int k = 0, count = 0; k < shifts; k += count) {
    count = NextPass(shifts - k);
    kPasses[static_cast<size_t>(count - 1)](leftTile + k, rightTile, padded, sums + k);
  }
}

template <class V>
void AddRowSadsByTiles(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                       uint32_t* sums) {
  for (int start = 0; start < positions; start += kTilePositions) {
    const int count = std::min(positions - start, kTilePositions);
    const auto addSads = count < V::kLanes ? AddRowSadsPlain : AddTileSads<V>;
    addSads(left + start, right + start, count, shifts, sums);
  }
}

}  // namespace
}  // namespace pdlib

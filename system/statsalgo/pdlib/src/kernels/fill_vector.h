// Filling of dense lines in vectors. V is the vector of samples.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/kernels_scalar.h"
#include "kernels/vectors.h"

namespace pdlib {
namespace {

// Sums of a vector of sites.
template <class V>
struct SiteSums {
  V left;
  V right;
};

// The next V::kLanes sites of kBin lines, `stride` bytes apart, that start at `line`.
template <class V, int kBin>
struct ByteSites {
  static constexpr size_t kBytesPerSite = 2;
  static SiteSums<V> LimitedSums(const uint8_t* line, size_t stride, V cap) {
    const V byte = V::Splat(0xff);
    SiteSums<V> sums = {V::Splat(0), V::Splat(0)};
    for (int k = 0; k < kBin; ++k, line += stride) {
      const V sites = V::LoadBytes(line);
      sums = {sums.left + (sites & byte), sums.right + (sites >> 8)};
    }
    return {Min(sums.left, cap), Min(sums.right, cap)};
  }
};

template <class V, int kBin>
struct WordSites {
  static constexpr size_t kBytesPerSite = 4;
  static SiteSums<V> LimitedSums(const uint8_t* line, size_t stride, V cap) {
    V first = V::LoadBytes(line);
    V second = V::LoadBytes(line + sizeof(V));
    for (int k = 1; k < kBin; ++k) {
      line += stride;
      first = first + V::LoadBytes(line);
      second = second + V::LoadBytes(line + sizeof(V));
    }
    first = Min(first, cap);
    second = Min(second, cap);
    return {Evens(first, second), Odds(first, second)};
  }
};

// Sums, limits and corrects a stretch of at least one vector. The last vector may overlap the
// one before it. The job comes as a copy: as far as the compiler knows, a store changes the
// original.
template <class V, class Sites>
void FillVectors(const DenseFill fill) {
  const V cap = V::Splat(fill.cap);
  const uint8_t* first = fill.source + fill.firstSite * Sites::kBytesPerSite;
  const auto fillAt = [=](int i) {
    const auto sums = Sites::LimitedSums(first + i * Sites::kBytesPerSite, fill.lineStride, cap);
    MultiplyShift(sums.left, V::Load(fill.leftGain + i), fill.shift).Store(fill.left + i);
    MultiplyShift(sums.right, V::Load(fill.rightGain + i), fill.shift).Store(fill.right + i);
  };
  int i = 0;
  for (; i + V::kLanes <= fill.sites; i += V::kLanes) fillAt(i);
  if (i < fill.sites) fillAt(fill.sites - V::kLanes);
}

// Vectors shift by 0 to 16.
template <class V>
bool FitsVectors(const DenseFill& fill) {
  return fill.sites >= V::kLanes && fill.shift >= 0 && fill.shift <= 16;
}

template <class V, template <class, int> class Sites>
void FillBinned(const DenseFill& fill) {
  static constexpr void (*kByBin[])(DenseFill) = {
      FillVectors<V, Sites<V, 1>>, FillVectors<V, Sites<V, 2>>, FillVectors<V, Sites<V, 4>>,
      FillVectors<V, Sites<V, 8>>, FillVectors<V, Sites<V, 16>>};
  kByBin[fill.log2Bin](fill);
}

template <class V>
void FillBytesByVectors(const DenseFill& fill) {
  if (!FitsVectors<V>(fill)) return scalar::FillBytes(fill);
  FillBinned<V, ByteSites>(fill);
}

template <class V>
void FillWordsByVectors(const DenseFill& fill) {
  if (!FitsVectors<V>(fill)) return scalar::FillWords(fill);
  FillBinned<V, WordSites>(fill);
}

// Two packed sites, 16 bits a sample.
inline uint64_t UnpackPair(const uint8_t* group) {
  uint32_t highBits;
  std::memcpy(&highBits, group, sizeof highBits);
  uint64_t samples = highBits;
  samples = (samples | samples << 16) & 0x0000ffff0000ffff;
  samples = (samples | samples << 8) & 0x00ff00ff00ff00ff;
  // Four copies of the last byte, each moved so that its sample's low bits come to lie at its end.
  const uint64_t lowBits = (uint64_t{group[4]} * 0x0000040010004001) & 0x0003000300030003;
  return samples << 2 | lowBits;
}

// Sums as words what the vectors then take as one line.
inline void SumPacked(const DenseFill& fill, int firstSite, int sites, uint64_t* pairs) {
  for (int i = 0; i < sites; i += 2) {
    const uint8_t* group = fill.source + PackedPairOffset(firstSite + i);
    uint64_t sum = 0;
    for (int k = 0; k < 1 << fill.log2Bin; ++k, group += fill.lineStride) sum += UnpackPair(group);
    *pairs++ = sum;
  }
}

template <class V>
void FillPackedByVectors(const DenseFill& fill) {
  constexpr int kChunkSites = 128;
  uint64_t pairs[kChunkSites / 2];
  if (!FitsVectors<V>(fill)) return scalar::FillPacked(fill);
  DenseFill chunk = fill;
  chunk.source = reinterpret_cast<const uint8_t*>(pairs);
  chunk.firstSite = 0;
  chunk.log2Bin = 0;
  for (int i = 0; i < fill.sites; i += kChunkSites) {
    chunk.sites = std::min(fill.sites - i, kChunkSites);
    chunk.leftGain = fill.leftGain + i;
    chunk.rightGain = fill.rightGain + i;
    chunk.left = fill.left + i;
    chunk.right = fill.right + i;
    SumPacked(fill, fill.firstSite + i, chunk.sites, pairs);
    FillWordsByVectors<V>(chunk);
  }
}

}  // namespace
}  // namespace pdlib

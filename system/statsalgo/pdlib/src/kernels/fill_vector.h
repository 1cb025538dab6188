// Filling of dense lines in vectors. V is the vector of samples.
#pragma once

#include <cstddef>
#include <cstdint>

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
  static size_t Offset(int site) { return size_t{2} * site; }
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

// The same, where `load` gets two vectors of samples, `first` and `second`, from a line.
template <class V, int kBin, class Load>
SiteSums<V> LimitedSumsOfSamples(const uint8_t* line, size_t stride, V cap, Load load) {
  V first;
  V second;
  load(line, &first, &second);
  for (int k = 1; k < kBin; ++k) {
    V nextFirst;
    V nextSecond;
    load(line += stride, &nextFirst, &nextSecond);
    first = first + nextFirst;
    second = second + nextSecond;
  }
  first = Min(first, cap);
  second = Min(second, cap);
  return {Evens(first, second), Odds(first, second)};
}

template <class V, int kBin>
struct WordSites {
  static size_t Offset(int site) { return size_t{4} * site; }
  static SiteSums<V> LimitedSums(const uint8_t* line, size_t stride, V cap) {
    const auto load = [](const uint8_t* from, V* first, V* second) {
      *first = V::LoadBytes(from);
      *second = V::LoadBytes(from + sizeof(V));
    };
    return LimitedSumsOfSamples<V, kBin>(line, stride, cap, load);
  }
};

template <class V, int kBin>
struct PackedSites {
  static size_t Offset(int site) { return size_t{5} * site >> 1; }
  static SiteSums<V> LimitedSums(const uint8_t* line, size_t stride, V cap) {
    const auto load = [](const uint8_t* from, V* first, V* second) {
      V::LoadPacked(from, first, second);
    };
    return LimitedSumsOfSamples<V, kBin>(line, stride, cap, load);
  }
};

// Sums, limits and corrects a stretch of at least one vector. The last vector may overlap the
// one before it. The job comes as a copy: as far as the compiler knows, a store changes the
// original.
template <class V, class Sites>
void FillVectors(const DenseFill fill) {
  const V cap = V::Splat(fill.cap);
  const uint8_t* first = fill.source + Sites::Offset(fill.firstSite);
  const auto fillAt = [=](int i) {
    const auto sums = Sites::LimitedSums(first + Sites::Offset(i), fill.lineStride, cap);
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

// Lines that are long enough for the offset of a site to wrap are left to the scalar form.
template <class V>
void FillPackedByVectors(const DenseFill& fill) {
  const int last = fill.firstSite + fill.sites - 2;
  const bool wraps = PackedSites<V, 1>::Offset(last) != PackedPairOffset(last);
  if (wraps || !FitsVectors<V>(fill)) return scalar::FillPacked(fill);
  FillBinned<V, PackedSites>(fill);
}

}  // namespace
}  // namespace pdlib

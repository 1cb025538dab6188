// The filters in vectors, for any instruction set that has the vocabulary of vectors_x86.h. V is
// the vector of samples.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/kernels_scalar.h"
#include "kernels/vectors.h"

namespace pdlib {
namespace {

// Filters samples [first, end) of a row in place; at least one vector of them. `filter` gives the
// vector of results at a sample from the originals around it, at most a vector away. So a result is
// stored only after its successor has been computed; the last vector, which may overlap the one
// before it, is computed before anything is stored.
template <class V, class Filter>
void FilterInPlace(uint16_t* row, int first, int end, Filter filter) {
  const V last = filter(row + end - V::kLanes);
  V pending = filter(row + first);
  int c = first + V::kLanes;
  for (; c + V::kLanes <= end; c += V::kLanes) {
    const V next = filter(row + c);
    pending.Store(row + c - V::kLanes);
    pending = next;
  }
  last.Store(row + end - V::kLanes);
  pending.Store(row + c - V::kLanes);
}

template <class V>
V FlooredMean(V a, V b) {
  return (a & b) + ((a ^ b) >> 1);
}

// sample * gain >> 8, cut to 16 bits.
template <class V>
void GainGroups(uint16_t* samples, ptrdiff_t count, uint32_t gain) {
  const V low = V::Splat(static_cast<uint16_t>(gain));
  const V high = V::Splat(static_cast<uint16_t>(gain >> 16));
  ptrdiff_t i = 0;
  for (; i + V::kLanes <= count; i += V::kLanes) {
    const V sample = V::Load(samples + i);
    (MultiplyShift(sample, low, 8) + (MultiplyLow(sample, high) << 8)).Store(samples + i);
  }
  for (; i < count; ++i) samples[i] = static_cast<uint16_t>(uint64_t{samples[i]} * gain >> 8);
}

template <class V>
void GainByVectors(uint16_t* samples, int rows, int cols, uint32_t gain, int shift) {
  const int grouped = cols / 4 * 4;
  if (shift == 8 || grouped == cols) {
    GainGroups<V>(samples, ptrdiff_t{rows} * cols, gain);
    return;
  }
  for (int row = 0; row < rows; ++row, samples += cols) {
    GainGroups<V>(samples, grouped, gain);
    for (int c = grouped; c < cols; ++c) {
      samples[c] = static_cast<uint16_t>(uint64_t{samples[c]} * gain >> shift);
    }
  }
}

template <class V>
void BpcByVectors(uint16_t* samples, int rows, int cols, int threshold) {
  if (cols - 2 < V::kLanes) return scalar::Bpc(samples, rows, cols, threshold);
  const uint16_t band = static_cast<uint16_t>(std::clamp(threshold, 0, 1024));
  const V low = V::Splat(static_cast<uint16_t>(1024 - band));
  const V high = V::Splat(static_cast<uint16_t>(1024 + band));
  const V zero = V::Splat(0);
  const auto limit = [=](const uint16_t* at) {
    const V sample = V::Load(at);
    const V mean = FlooredMean(V::Load(at - 1), V::Load(at + 1));
    const V below = SubtractLimited(MultiplyShift(mean, low, 10), sample);
    const V above = SubtractLimited(sample, MultiplyShift(mean, high, 10));
    // The upper limit is cut to 16 bits and may lie under the lower one, which then holds.
    return sample + below - (above & Equal(below, zero));
  };
  for (int row = 0; row < rows; ++row, samples += cols) {
    FilterInPlace<V>(samples, 1, cols - 1, limit);
  }
}

template <class V>
void Box1x2ByVectors(uint16_t* samples, int rows, int cols) {
  if (cols - 1 < V::kLanes) return scalar::Box1x2(samples, rows, cols);
  const auto mean = [](const uint16_t* at) { return FlooredMean(V::Load(at - 1), V::Load(at)); };
  for (int row = 0; row < rows; ++row, samples += cols) {
    FilterInPlace<V>(samples, 1, cols, mean);
  }
}

template <class V>
void Box1x4ByVectors(uint16_t* samples, int rows, int cols) {
  constexpr int kFirst = 3;
  const int bodyEnd = kFirst + (cols - kFirst) / 8 * 8;
  if (bodyEnd - kFirst < V::kLanes) return scalar::Box1x4(samples, rows, cols);
  const auto wrappingMean = [](const uint16_t* at) {
    return (V::Load(at - 3) + V::Load(at - 2) + V::Load(at - 1) + V::Load(at)) >> 2;
  };
  const int rest = cols - bodyEnd;
  for (int row = 0; row < rows; ++row, samples += cols) {
    uint16_t means[8];
    for (int i = 0; i < rest; ++i) {
      const uint16_t* at = samples + bodyEnd + i;
      means[i] = static_cast<uint16_t>((at[-3] + at[-2] + at[-1] + at[0]) >> 2);
    }
    FilterInPlace<V>(samples, kFirst, bodyEnd, wrappingMean);
    std::copy_n(means, rest, samples + bodyEnd);
  }
}

// Columns [0, lanes) of a vertical box. The sums of low and of high bytes slide down the rows in 16
// bits each. `keep` is all ones where a column stays as it is.
template <class V>
void BoxColumns(uint16_t* column, int rows, ptrdiff_t cols, int log2Taps, V keep) {
  const int taps = 1 << log2Taps;
  const V byte = V::Splat(0xff);
  V low = V::Splat(0);
  V high = V::Splat(0);
  for (int tap = 0; tap < taps - 1; ++tap) {
    const V entering = V::Load(column + tap * cols);
    low = low + (entering & byte);
    high = high + (entering >> 8);
  }
  for (int row = 0; row + taps <= rows; ++row, column += cols) {
    const V entering = V::Load(column + (taps - 1) * cols);
    low = low + (entering & byte);
    high = high + (entering >> 8);
    const V leaving = V::Load(column);
    const V mean = (high << (8 - log2Taps)) + (low >> log2Taps);
    (mean ^ ((mean ^ leaving) & keep)).Store(column);
    low = low - (leaving & byte);
    high = high - (leaving >> 8);
  }
}

template <class V>
void BoxNx1ByVectors(uint16_t* samples, int rows, int cols, int log2Taps) {
  if (cols < V::kLanes) return scalar::BoxNx1(samples, rows, cols, log2Taps);
  if (rows < 1 << log2Taps) return;
  int c = 0;
  for (; c + V::kLanes <= cols; c += V::kLanes) {
    BoxColumns(samples + c, rows, cols, log2Taps, V::Splat(0));
  }
  if (c == cols) return;
  // The last columns in a vector whose first ones are done already.
  uint16_t done[V::kLanes] = {};
  std::fill_n(done, c + V::kLanes - cols, uint16_t{0xffff});
  BoxColumns(samples + cols - V::kLanes, rows, cols, log2Taps, V::Load(done));
}

}  // namespace
}  // namespace pdlib

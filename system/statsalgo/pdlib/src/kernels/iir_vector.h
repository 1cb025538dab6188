// The band-pass filter in vectors. One row is a chain of dependent fused operations, bound by their
// latency; so rows run side by side, eight to a vector, and several vectors of them in turn.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/vectors.h"

namespace pdlib {
namespace {

constexpr int kRowLanes = 8;
constexpr int kMaxRowGroups = 4;

// Three perfect shuffles turn rows into columns.
template <class V>
void Transpose(V (&block)[kRowLanes]) {
  for (int round = 0; round < 3; ++round) {
    V shuffled[kRowLanes];
    for (int i = 0; i < kRowLanes / 2; ++i) {
      shuffled[2 * i] = InterleaveLow(block[i], block[i + kRowLanes / 2]);
      shuffled[2 * i + 1] = InterleaveHigh(block[i], block[i + kRowLanes / 2]);
    }
    std::copy_n(shuffled, kRowLanes, block);
  }
}

// Eight rows and the state of their filters. V holds eight samples, F eight numbers in single
// precision.
template <class V, class F>
class BandPassRows {
 public:
  // `rows` is 1 to 8; the lanes behind the last row repeat it.
  void Start(uint16_t* samples, int rows, int cols) {
    uint16_t first[kRowLanes];
    for (int r = 0; r < kRowLanes; ++r) {
      at_[r] = samples + ptrdiff_t{std::min(r, rows - 1)} * cols;
      first[r] = *at_[r];
    }
    s1_ = F::Splat(-kInput) * F::FromSamples(V::Load(first));
    s2_ = s1_;
  }

  // The next `cols` columns, 1 to 8.
  void Advance(int cols) {
    V block[kRowLanes];
    uint16_t partial[kRowLanes][kRowLanes] = {};
    for (int r = 0; r < kRowLanes; ++r) {
      if (cols < kRowLanes) std::copy_n(at_[r], cols, partial[r]);
      block[r] = V::Load(cols < kRowLanes ? partial[r] : at_[r]);
    }
    Transpose(block);
    for (V& column : block) column = Next(F::FromSamples(column));
    Transpose(block);
    for (int r = 0; r < kRowLanes; ++r) {
      block[r].Store(cols < kRowLanes ? partial[r] : at_[r]);
      if (cols < kRowLanes) std::copy_n(partial[r], cols, at_[r]);
      at_[r] += cols;
    }
  }

 private:
  V Next(F x) {
    const F y = MultiplyAdd(F::Splat(kInput), x, s1_);
    s1_ = MultiplyAdd(F::Splat(kPole1), y, s2_);
    s2_ = MultiplyAdd(F::Splat(-kPole2), y, F::Splat(-kInput) * x);
    return RoundToSamples(y);
  }

  static constexpr float kInput = 0.1122f;
  static constexpr float kPole1 = 1.7581f;
  static constexpr float kPole2 = 0.7756f;
  uint16_t* at_[kRowLanes];
  F s1_;
  F s2_;
};

template <class V, class F>
void IirByVectors(uint16_t* samples, int rows, int cols) {
  for (int row = 0; row < rows; row += kMaxRowGroups * kRowLanes) {
    BandPassRows<V, F> groups[kMaxRowGroups];
    int count = 0;
    for (int r = row; r < rows && count < kMaxRowGroups; r += kRowLanes, ++count) {
      groups[count].Start(samples + ptrdiff_t{r} * cols, std::min(rows - r, kRowLanes), cols);
    }
    for (int c = 0; c < cols; c += kRowLanes) {
      for (int g = 0; g < count; ++g) groups[g].Advance(std::min(cols - c, kRowLanes));
    }
  }
}

}  // namespace
}  // namespace pdlib

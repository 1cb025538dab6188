// The second-order filter of the dense lines: one chain of dependent fused operations. Local to the
// translation unit: each is compiled for an instruction set of its own.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/kernel_table.h"

namespace pdlib {
namespace {

constexpr uint16_t kFilterZero = 0x8000;

// Nearest integer, halves away from zero, limited to 16 bits, plus 32768.
inline uint16_t RoundToSample(float y) {
  const double rounded = static_cast<double>(y) + (y < 0 ? -0.5 : 0.5);
  if (rounded != rounded) return kFilterZero;
  if (rounded <= -32768.0) return 0;
  if (rounded >= 32767.0) return 0xffff;
  return static_cast<uint16_t>(static_cast<int>(rounded) + kFilterZero);
}

// A transposed second-order section that starts as if the line had always held its first sample.
class SecondOrder {
 public:
  SecondOrder(uint16_t first, const float* a, const float* b)
      : a1_(a[1]), a2_(a[2]), b0_(b[0]), b1_(b[1]), b2_(b[2]), z1_(b2_ * first), z2_(z1_) {}

  uint16_t Next(uint16_t sample) {
    const float x = sample;
    const float y = std::fma(b0_, x, z1_);
    z1_ = std::fma(b1_, x, -(a1_ * y)) + z2_;
    z2_ = std::fma(b2_, x, -(a2_ * y));
    return RoundToSample(y);
  }

 private:
  float a1_, a2_, b0_, b1_, b2_;
  float z1_, z2_;
};

}  // namespace
}  // namespace pdlib

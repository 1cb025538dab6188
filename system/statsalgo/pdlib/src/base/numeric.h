// Numeric rules that hold on every machine: conversion of floating point to integers as the target
// does it.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace pdlib {

// Truncates toward zero and saturates; NaN gives 0. `Int` has at most 64 bits.
template <class Int, class Real>
constexpr Int SaturateTo(Real value) {
  static_assert(std::is_integral_v<Int> && std::is_floating_point_v<Real>);
  using Limits = std::numeric_limits<Int>;
  // Both bounds are exact in either floating type: a power of two, or (for max) the next one above
  // it.
  constexpr Real kBelowMin = static_cast<Real>(Limits::min());
  constexpr Real kAboveMax = static_cast<Real>(Limits::max() / 2 + 1) * 2;
  if (value != value) return 0;
  if (value <= kBelowMin) return Limits::min();
  if (value >= kAboveMax) return Limits::max();
  return static_cast<Int>(value);
}

template <class Real>
constexpr int32_t ToInt32(Real value) {
  return SaturateTo<int32_t>(value);
}

template <class Real>
constexpr uint32_t ToUint32(Real value) {
  return SaturateTo<uint32_t>(value);
}

template <class Int>
constexpr Int Clamp(Int value, Int low, Int high) {
  return value < low ? low : (value > high ? high : value);
}

}  // namespace pdlib

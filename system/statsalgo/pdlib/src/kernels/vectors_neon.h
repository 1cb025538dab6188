// Vectors of unsigned 16-bit samples on AArch64, in the vocabulary that the vector kernels are
// written in (see vectors_x86.h).
#pragma once

#include <arm_neon.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace pdlib {
namespace {

// Element `index` of an array of Pixel that need not be aligned.
template <class Pixel>
uint16_t LoadAt(const uint8_t* pixels, size_t index) {
  Pixel pixel;
  std::memcpy(&pixel, pixels + index * sizeof pixel, sizeof pixel);
  return pixel;
}

struct U16x8 {
  static constexpr int kLanes = 8;
  uint16x8_t value;

  static U16x8 Load(const uint16_t* from) { return {vld1q_u16(from)}; }
  // From an address that need not be aligned to samples.
  static U16x8 LoadBytes(const uint8_t* from) { return {vreinterpretq_u16_u8(vld1q_u8(from))}; }
  // Two vectors of packed samples of 10 bits. Reads just their 20 bytes: the first two groups of
  // five lie at the start of the 16 bytes from the first on, the others at the end of those up to
  // the last.
  static void LoadPacked(const uint8_t* from, U16x8* first, U16x8* second) {
    *first = UnpackGroups(vld1q_u8(from), 0);
    *second = UnpackGroups(vld1q_u8(from + 4), 6);
  }
  void Store(uint16_t* to) const { vst1q_u16(to, value); }
  static U16x8 Splat(uint16_t sample) { return {vdupq_n_u16(sample)}; }
  // Pixels at eight places.
  template <class Pixel>
  static U16x8 Gather(const uint8_t* pixels, const size_t* index) {
    uint16x8_t gathered = vdupq_n_u16(0);
    for (int lane = 0; lane < kLanes; ++lane) {
      gathered[lane] = LoadAt<Pixel>(pixels, index[lane]);
    }
    return {gathered};
  }

  friend U16x8 operator+(U16x8 a, U16x8 b) { return {vaddq_u16(a.value, b.value)}; }
  friend U16x8 operator-(U16x8 a, U16x8 b) { return {vsubq_u16(a.value, b.value)}; }
  friend U16x8 operator&(U16x8 a, U16x8 b) { return {vandq_u16(a.value, b.value)}; }
  friend U16x8 operator|(U16x8 a, U16x8 b) { return {vorrq_u16(a.value, b.value)}; }
  friend U16x8 operator^(U16x8 a, U16x8 b) { return {veorq_u16(a.value, b.value)}; }
  friend U16x8 operator<<(U16x8 a, int bits) {
    return {vshlq_u16(a.value, vdupq_n_s16(static_cast<int16_t>(bits)))};
  }
  friend U16x8 operator>>(U16x8 a, int bits) { return a << -bits; }
  friend U16x8 SubtractLimited(U16x8 a, U16x8 b) { return {vqsubq_u16(a.value, b.value)}; }
  friend U16x8 Min(U16x8 a, U16x8 b) { return {vminq_u16(a.value, b.value)}; }
  friend U16x8 Equal(U16x8 a, U16x8 b) { return {vceqq_u16(a.value, b.value)}; }
  friend U16x8 MultiplyLow(U16x8 a, U16x8 b) { return {vmulq_u16(a.value, b.value)}; }
  friend U16x8 InterleaveLow(U16x8 a, U16x8 b) { return {vzip1q_u16(a.value, b.value)}; }
  friend U16x8 InterleaveHigh(U16x8 a, U16x8 b) { return {vzip2q_u16(a.value, b.value)}; }
  friend U16x8 Evens(U16x8 a, U16x8 b) { return {vuzp1q_u16(a.value, b.value)}; }
  friend U16x8 Odds(U16x8 a, U16x8 b) { return {vuzp2q_u16(a.value, b.value)}; }
  friend U16x8 AddPairs(U16x8 a, U16x8 b) { return {vpaddq_u16(a.value, b.value)}; }

  friend U16x8 MultiplyShift(U16x8 a, U16x8 b, int bits) {
    const Products p = Multiply(a, b, bits);
    return {vmovn_high_u32(vmovn_u32(p.low), p.high)};
  }
  friend U16x8 MultiplyShiftLimited(U16x8 a, U16x8 b, int bits) {
    const Products p = Multiply(a, b, bits);
    return {vqmovn_high_u32(vqmovn_u32(p.low), p.high)};
  }

 private:
  // Two groups that start `skip` bytes into `bytes`.
  static U16x8 UnpackGroups(uint8x16_t bytes, uint8_t skip) {
    // High bits above the byte of the group's low bits.
    constexpr uint8_t kOrder[] = {4, 0, 4, 1, 4, 2, 4, 3, 9, 5, 9, 6, 9, 7, 9, 8};
    constexpr int16_t kToBit0[] = {0, -2, -4, -6, 0, -2, -4, -6};
    const uint8x16_t order = vaddq_u8(vld1q_u8(kOrder), vdupq_n_u8(skip));
    const uint16x8_t words = vreinterpretq_u16_u8(vqtbl1q_u8(bytes, order));
    const uint16x8_t low = vshlq_u16(words, vld1q_s16(kToBit0));
    const uint16x8_t high = vshrq_n_u16(words, 6);
    return {vorrq_u16(vandq_u16(high, vdupq_n_u16(0x3fc)), vandq_u16(low, vdupq_n_u16(3)))};
  }

  struct Products {
    uint32x4_t low;
    uint32x4_t high;
  };
  static Products Multiply(U16x8 a, U16x8 b, int bits) {
    const int32x4_t right = vdupq_n_s32(-bits);
    return {vshlq_u32(vmull_u16(vget_low_u16(a.value), vget_low_u16(b.value)), right),
            vshlq_u32(vmull_high_u16(a.value, b.value), right)};
  }
};

// Eight numbers in single precision.
struct F32x8 {
  float32x4_t low;
  float32x4_t high;

  static F32x8 Splat(float number) { return {vdupq_n_f32(number), vdupq_n_f32(number)}; }
  static F32x8 FromSamples(U16x8 samples) {
    return {vcvtq_f32_u32(vmovl_u16(vget_low_u16(samples.value))),
            vcvtq_f32_u32(vmovl_high_u16(samples.value))};
  }
  friend F32x8 operator*(F32x8 a, F32x8 b) {
    return {vmulq_f32(a.low, b.low), vmulq_f32(a.high, b.high)};
  }
  // a * b + c, rounded once.
  friend F32x8 MultiplyAdd(F32x8 a, F32x8 b, F32x8 c) {
    return {vfmaq_f32(c.low, a.low, b.low), vfmaq_f32(c.high, a.high, b.high)};
  }
  // Nearest integer, halves away from zero, limited to 16 bits, plus 32768.
  friend U16x8 RoundToSamples(F32x8 number) {
    const int16x8_t limited =
        vqmovn_high_s32(vqmovn_s32(vcvtaq_s32_f32(number.low)), vcvtaq_s32_f32(number.high));
    return {veorq_u16(vreinterpretq_u16_s16(limited), vdupq_n_u16(0x8000))};
  }
};

// Sum of all samples of full vectors; count is a multiple of the lanes. Modulo 2^32.
template <class V>
uint32_t SumSamples(const uint16_t* samples, int count) {
  uint32x4_t sum = vdupq_n_u32(0);
  for (int i = 0; i < count; i += V::kLanes) sum = vpadalq_u16(sum, V::Load(samples + i).value);
  return vaddvq_u32(sum);
}

}  // namespace
}  // namespace pdlib

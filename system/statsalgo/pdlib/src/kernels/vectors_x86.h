// Vectors of unsigned 16-bit samples on x86-64, in the vocabulary that the vector kernels are
// written in. Everything is local to the translation unit: each is compiled for an instruction set
// of its own, and the linker must not mix them.
#pragma once

#include <immintrin.h>

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

// Four samples of 10 bits from five bytes: the high eight bits of each, then all low bits.
inline uint64_t UnpackSamples(const uint8_t* group) {
  uint32_t highBits;
  std::memcpy(&highBits, group, sizeof highBits);
  uint64_t samples = highBits;
  samples = (samples | samples << 16) & 0x0000ffff0000ffff;
  samples = (samples | samples << 8) & 0x00ff00ff00ff00ff;
  // Four copies of the last byte, each moved so that its sample's low bits come to lie at its end.
  const uint64_t lowBits = (uint64_t{group[4]} * 0x0000040010004001) & 0x0003000300030003;
  return samples << 2 | lowBits;
}

// Eight samples. Needs SSE2.
struct U16x8 {
  static constexpr int kLanes = 8;
  __m128i value;

  static U16x8 Load(const uint16_t* from) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))};
  }
  // From an address that need not be aligned to samples.
  static U16x8 LoadBytes(const uint8_t* from) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))};
  }
  // Two vectors of packed samples of 10 bits. Reads just their 20 bytes.
  static void LoadPacked(const uint8_t* from, U16x8* first, U16x8* second) {
    const auto unpacked = [from](int group) {
      return static_cast<long long>(UnpackSamples(from + 5 * group));
    };
    first->value = _mm_set_epi64x(unpacked(1), unpacked(0));
    second->value = _mm_set_epi64x(unpacked(3), unpacked(2));
  }
  void Store(uint16_t* to) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value); }
  static U16x8 Splat(uint16_t sample) { return {_mm_set1_epi16(static_cast<short>(sample))}; }
  // Pixels at eight places. Lane by lane: a word goes from memory into its lane in one instruction.
  template <class Pixel>
  static U16x8 Gather(const uint8_t* pixels, const size_t* index) {
    __m128i gathered = _mm_setzero_si128();
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[0]), 0);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[1]), 1);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[2]), 2);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[3]), 3);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[4]), 4);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[5]), 5);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[6]), 6);
    gathered = _mm_insert_epi16(gathered, LoadAt<Pixel>(pixels, index[7]), 7);
    return {gathered};
  }

  friend U16x8 operator+(U16x8 a, U16x8 b) { return {_mm_add_epi16(a.value, b.value)}; }
  friend U16x8 operator-(U16x8 a, U16x8 b) { return {_mm_sub_epi16(a.value, b.value)}; }
  friend U16x8 operator&(U16x8 a, U16x8 b) { return {_mm_and_si128(a.value, b.value)}; }
  friend U16x8 operator|(U16x8 a, U16x8 b) { return {_mm_or_si128(a.value, b.value)}; }
  friend U16x8 operator^(U16x8 a, U16x8 b) { return {_mm_xor_si128(a.value, b.value)}; }
  friend U16x8 operator<<(U16x8 a, int bits) { return {_mm_slli_epi16(a.value, bits)}; }
  friend U16x8 operator>>(U16x8 a, int bits) { return {_mm_srli_epi16(a.value, bits)}; }
  // Not below 0.
  friend U16x8 SubtractLimited(U16x8 a, U16x8 b) { return {_mm_subs_epu16(a.value, b.value)}; }
  friend U16x8 Min(U16x8 a, U16x8 b) {
    const U16x8 headroom = b ^ Splat(0xffff);
    return U16x8{_mm_adds_epu16(a.value, headroom.value)} - headroom;
  }
  // All ones where equal.
  friend U16x8 Equal(U16x8 a, U16x8 b) { return {_mm_cmpeq_epi16(a.value, b.value)}; }
  friend U16x8 MultiplyLow(U16x8 a, U16x8 b) { return {_mm_mullo_epi16(a.value, b.value)}; }
  friend U16x8 MultiplyHigh(U16x8 a, U16x8 b) { return {_mm_mulhi_epu16(a.value, b.value)}; }
  friend U16x8 InterleaveLow(U16x8 a, U16x8 b) { return {_mm_unpacklo_epi16(a.value, b.value)}; }
  friend U16x8 InterleaveHigh(U16x8 a, U16x8 b) { return {_mm_unpackhi_epi16(a.value, b.value)}; }
  // Every second sample, of `a` and then of `b`: those at even places, those at odd ones.
  friend U16x8 Evens(U16x8 a, U16x8 b) {
    const __m128i even = _mm_set1_epi32(1);
    return {_mm_packs_epi32(_mm_madd_epi16(a.value, even), _mm_madd_epi16(b.value, even))};
  }
  friend U16x8 Odds(U16x8 a, U16x8 b) {
    return {_mm_packs_epi32(_mm_srai_epi32(a.value, 16), _mm_srai_epi32(b.value, 16))};
  }
  // Sums of neighbours, modulo 2^16: four of `a`, then four of `b`.
  friend U16x8 AddPairs(U16x8 a, U16x8 b) {
    const auto sums = [](__m128i pairs) {
      return _mm_srai_epi32(_mm_add_epi16(pairs, _mm_slli_epi32(pairs, 16)), 16);
    };
    return {_mm_packs_epi32(sums(a.value), sums(b.value))};
  }
};

// Four sums of 32 bits, modulo 2^32.
struct U32x4 {
  __m128i value;

  static U32x4 Zero() { return {_mm_setzero_si128()}; }
  friend U32x4 operator+(U32x4 a, U32x4 b) { return {_mm_add_epi32(a.value, b.value)}; }
  void Store(uint32_t* to) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value); }
  // One total per argument.
  static U32x4 Totals(U32x4 a, U32x4 b, U32x4 c, U32x4 d) {
    const __m128i ab =
        _mm_add_epi32(_mm_unpacklo_epi32(a.value, b.value), _mm_unpackhi_epi32(a.value, b.value));
    const __m128i cd =
        _mm_add_epi32(_mm_unpacklo_epi32(c.value, d.value), _mm_unpackhi_epi32(c.value, d.value));
    return {_mm_add_epi32(_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd))};
  }
};

// The operations on samples as signed numbers.
inline U16x8 MinSigned(U16x8 a, U16x8 b) {
  return {_mm_min_epi16(a.value, b.value)};
}
inline U32x4 AddPairsSigned(U16x8 a) {
  return {_mm_madd_epi16(a.value, _mm_set1_epi16(1))};
}

#ifdef __AVX2__

// Sixteen samples. Needs AVX2.
struct U16x16 {
  static constexpr int kLanes = 16;
  __m256i value;

  static U16x16 Load(const uint16_t* from) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
  }
  // From an address that need not be aligned to samples.
  static U16x16 LoadBytes(const uint8_t* from) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
  }
  static void LoadPacked(const uint8_t* from, U16x16* first, U16x16* second) {
    *first = LoadPacked(from);
    *second = LoadPacked(from + 20);
  }
  void Store(uint16_t* to) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
  static U16x16 Splat(uint16_t sample) { return {_mm256_set1_epi16(static_cast<short>(sample))}; }

  friend U16x16 operator+(U16x16 a, U16x16 b) { return {_mm256_add_epi16(a.value, b.value)}; }
  friend U16x16 operator-(U16x16 a, U16x16 b) { return {_mm256_sub_epi16(a.value, b.value)}; }
  friend U16x16 operator&(U16x16 a, U16x16 b) { return {_mm256_and_si256(a.value, b.value)}; }
  friend U16x16 operator|(U16x16 a, U16x16 b) { return {_mm256_or_si256(a.value, b.value)}; }
  friend U16x16 operator^(U16x16 a, U16x16 b) { return {_mm256_xor_si256(a.value, b.value)}; }
  friend U16x16 operator<<(U16x16 a, int bits) { return {_mm256_slli_epi16(a.value, bits)}; }
  friend U16x16 operator>>(U16x16 a, int bits) { return {_mm256_srli_epi16(a.value, bits)}; }
  friend U16x16 SubtractLimited(U16x16 a, U16x16 b) {
    return {_mm256_subs_epu16(a.value, b.value)};
  }
  friend U16x16 Min(U16x16 a, U16x16 b) { return {_mm256_min_epu16(a.value, b.value)}; }
  friend U16x16 Equal(U16x16 a, U16x16 b) { return {_mm256_cmpeq_epi16(a.value, b.value)}; }
  friend U16x16 MultiplyLow(U16x16 a, U16x16 b) { return {_mm256_mullo_epi16(a.value, b.value)}; }
  friend U16x16 MultiplyHigh(U16x16 a, U16x16 b) { return {_mm256_mulhi_epu16(a.value, b.value)}; }
  friend U16x16 Evens(U16x16 a, U16x16 b) {
    const __m256i odd = _mm256_setzero_si256();
    return {_mm256_packus_epi32(_mm256_blend_epi16(LowHalves(a, b), odd, 0xaa),
                                _mm256_blend_epi16(HighHalves(a, b), odd, 0xaa))};
  }
  friend U16x16 Odds(U16x16 a, U16x16 b) {
    return {_mm256_packus_epi32(_mm256_srli_epi32(LowHalves(a, b), 16),
                                _mm256_srli_epi32(HighHalves(a, b), 16))};
  }
  friend U16x16 AddPairs(U16x16 a, U16x16 b) {
    return InOrder(_mm256_hadd_epi16(a.value, b.value));
  }

 private:
  // Sixteen packed samples. The first two groups of five bytes lie at the start of the 16 bytes
  // from the first on, the others at the end of those up to the last.
  static U16x16 LoadPacked(const uint8_t* from) {
    const auto load = [](const uint8_t* at) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    };
    const __m256i groups =
        _mm256_inserti128_si256(_mm256_castsi128_si256(load(from)), load(from + 4), 1);
    // High bits above the byte of the group's low bits.
    const __m256i order =
        _mm256_setr_epi8(4, 0, 4, 1, 4, 2, 4, 3, 9, 5, 9, 6, 9, 7, 9, 8,  //
                         10, 6, 10, 7, 10, 8, 10, 9, 15, 11, 15, 12, 15, 13, 15, 14);
    const __m256i words = _mm256_shuffle_epi8(groups, order);
    const __m256i lowToBit6 = _mm256_set1_epi64x(0x0001000400100040);
    const __m256i low = _mm256_srli_epi16(_mm256_mullo_epi16(words, lowToBit6), 6);
    const __m256i high = _mm256_srli_epi16(words, 6);
    return {_mm256_or_si256(_mm256_and_si256(high, _mm256_set1_epi16(0x3fc)),
                            _mm256_and_si256(low, _mm256_set1_epi16(3)))};
  }

  // Packing to half the width works within the halves of a vector: so these are put in order first.
  static __m256i LowHalves(U16x16 a, U16x16 b) {
    return _mm256_inserti128_si256(a.value, _mm256_castsi256_si128(b.value), 1);
  }
  static __m256i HighHalves(U16x16 a, U16x16 b) {
    return _mm256_permute2x128_si256(a.value, b.value, 0x31);
  }
  // Sums of neighbours come as low a, low b, high a, high b.
  static U16x16 InOrder(__m256i halves) { return {_mm256_permute4x64_epi64(halves, 0xd8)}; }
};

struct U32x8 {
  __m256i value;

  static U32x8 Zero() { return {_mm256_setzero_si256()}; }
  friend U32x8 operator+(U32x8 a, U32x8 b) { return {_mm256_add_epi32(a.value, b.value)}; }
  static U32x4 Totals(U32x8 a, U32x8 b, U32x8 c, U32x8 d) {
    const __m256i halves =
        _mm256_hadd_epi32(_mm256_hadd_epi32(a.value, b.value), _mm256_hadd_epi32(c.value, d.value));
    return {_mm_add_epi32(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1))};
  }
};

// Eight numbers in single precision. Needs FMA.
struct F32x8 {
  __m256 value;

  static F32x8 Splat(float number) { return {_mm256_set1_ps(number)}; }
  static F32x8 FromSamples(U16x8 samples) {
    return {_mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(samples.value))};
  }
  friend F32x8 operator*(F32x8 a, F32x8 b) { return {_mm256_mul_ps(a.value, b.value)}; }
  // a * b + c, rounded once.
  friend F32x8 MultiplyAdd(F32x8 a, F32x8 b, F32x8 c) {
    return {_mm256_fmadd_ps(a.value, b.value, c.value)};
  }
  // Nearest integer, halves away from zero, limited to 16 bits, plus 32768. Numbers fit 32 bits.
  friend U16x8 RoundToSamples(F32x8 number) {
    // Half an integer less the smallest step: a sum with it that should stay below the next
    // integer is not rounded up to it.
    const __m256 belowHalf = _mm256_set1_ps(0x1.fffffep-2f);
    const __m256 sign = _mm256_and_ps(number.value, _mm256_set1_ps(-0.0f));
    const __m256i rounded =
        _mm256_cvttps_epi32(_mm256_add_ps(number.value, _mm256_or_ps(belowHalf, sign)));
    const __m128i limited =
        _mm_packs_epi32(_mm256_castsi256_si128(rounded), _mm256_extracti128_si256(rounded, 1));
    return {_mm_xor_si128(limited, _mm_set1_epi16(-32768))};
  }
};

inline U16x16 MinSigned(U16x16 a, U16x16 b) {
  return {_mm256_min_epi16(a.value, b.value)};
}
inline U32x8 AddPairsSigned(U16x16 a) {
  return {_mm256_madd_epi16(a.value, _mm256_set1_epi16(1))};
}

#endif

// a * b >> bits, cut to 16 bits; bits 0 to 16. The shifts are those of b, which often is the same
// for many a.
template <class V>
V MultiplyShift(V a, V b, int bits) {
  return MultiplyLow(a, b >> bits) + MultiplyHigh(a, b << (16 - bits));
}

// a * b >> bits, limited to 65535.
template <class V>
V MultiplyShiftLimited(V a, V b, int bits) {
  const V high = MultiplyHigh(a, b);
  const V fits = Equal(high >> bits, V::Splat(0));
  const V cut = high << (16 - bits) | MultiplyLow(a, b) >> bits;
  return cut | (fits ^ V::Splat(0xffff));
}

// Sum of all samples of full vectors; count is a multiple of the lanes. Modulo 2^32.
template <class V>
uint32_t SumSamples(const uint16_t* samples, int count) {
  const V bias = V::Splat(0x8000);
  auto sum = decltype(AddPairsSigned(bias))::Zero();
  for (int i = 0; i < count; i += V::kLanes) {
    sum = sum + AddPairsSigned(V::Load(samples + i) ^ bias);
  }
  uint32_t totals[4];
  decltype(sum)::Totals(sum, sum, sum, sum).Store(totals);
  return totals[0] + 0x8000u * static_cast<uint32_t>(count);
}

}  // namespace
}  // namespace pdlib

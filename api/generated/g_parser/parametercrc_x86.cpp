// The checksum by carry-less multiplication, 64 bytes a step.
#include <immintrin.h>

#include "parametercrc.h"

namespace parametercrc {
namespace {

// x to the power of `bits`, modulo the polynomial, for a product of reflected factors: such a
// product comes out one place too low, so the factor stands one place higher.
constexpr uint64_t Power(uint32_t bits) {
  uint32_t value = 0x80000000u;  // x to the power of 0
  for (uint32_t i = 0; i < bits; ++i) value = value >> 1 ^ (value & 1u) * kPolynomial;
  return uint64_t{value} << 1;
}

// Moves a lane `Bits` ahead: its low half stands 64 places above its high half. The product of 64
// by 33 bits spans 96 bits of the lane, hence the 32 to each side.
template <uint32_t Bits>
__m128i Fold(__m128i lane, __m128i next) {
  constexpr uint64_t kLow = Power(Bits + 32);
  constexpr uint64_t kHigh = Power(Bits - 32);
  const __m128i factors =
      _mm_set_epi64x(static_cast<long long>(kHigh), static_cast<long long>(kLow));
  const __m128i low = _mm_clmulepi64_si128(lane, factors, 0x00);
  const __m128i high = _mm_clmulepi64_si128(lane, factors, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

__m128i Lane(const uint8_t* data) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
}

constexpr size_t kLanes = 4;
constexpr size_t kStep = kLanes * sizeof(__m128i);

uint32_t Update(uint32_t crc, const uint8_t* data, size_t count) {
  if (count < kStep) return UpdateSlices(crc, data, count);
  __m128i lanes[kLanes];
  for (size_t i = 0; i < kLanes; ++i) lanes[i] = Lane(data + i * sizeof(__m128i));
  lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(crc)));
  data += kStep;
  count -= kStep;

  for (; count >= kStep; data += kStep, count -= kStep) {
    for (size_t i = 0; i < kLanes; ++i)
      lanes[i] = Fold<kStep * 8>(lanes[i], Lane(data + i * sizeof(__m128i)));
  }
  for (size_t i = 1; i < kLanes; ++i) lanes[0] = Fold<sizeof(__m128i) * 8>(lanes[0], lanes[i]);

  uint8_t rest[sizeof(__m128i)];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), lanes[0]);
  return UpdateSlices(UpdateSlices(0, rest, sizeof(rest)), data, count);
}

}  // namespace

constinit const Form kCarryLessForm{"clmul", Update};

}  // namespace parametercrc

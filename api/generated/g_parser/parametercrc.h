// The checksum of tuning files: CRC-32, reflected, polynomial 0xEDB88320, initial value and final
// inversion of all ones. Every form gives the same value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace parametercrc {

constexpr uint32_t kPolynomial = 0xEDB88320u;

// The effect of one byte, by its value.
constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1u) * kPolynomial;
    table[byte] = crc;
  }
  return table;
}

struct Form {
  const char* name;  // "bytes", "slices", "clmul", "crc"
  // Continues a running value, which is not inverted, by `count` bytes.
  uint32_t (*update)(uint32_t crc, const uint8_t* data, size_t count);
};

// The definition, a byte at a time, and eight bytes at a time through eight tables.
uint32_t UpdateBytes(uint32_t crc, const uint8_t* data, size_t count);
uint32_t UpdateSlices(uint32_t crc, const uint8_t* data, size_t count);

// The forms that this processor can run, the definition first, the best one last. Ends with null.
const Form* const* AvailableForms();

// By the best form.
uint32_t Checksum(const uint8_t* data, size_t count);

#if defined(__x86_64__)
extern const Form kCarryLessForm;  // needs SSE4.1 and PCLMULQDQ
#elif defined(__aarch64__)
extern const Form kInstructionForm;  // needs the CRC32 extension
#endif

}  // namespace parametercrc

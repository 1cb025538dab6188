#include "parametercrc.h"

#include <bit>
#include <cstring>

#if defined(__aarch64__)
#include <sys/auxv.h>
#endif

static_assert(std::endian::native == std::endian::little);

namespace parametercrc {
namespace {

constexpr size_t kSlices = 8;

// Table k: the effect of a byte that k more bytes follow.
constexpr std::array<std::array<uint32_t, 256>, kSlices> MakeSliceTables() {
  std::array<std::array<uint32_t, 256>, kSlices> tables{MakeTable()};
  for (size_t k = 1; k < kSlices; ++k) {
    for (size_t byte = 0; byte < 256; ++byte) {
      const uint32_t before = tables[k - 1][byte];
      tables[k][byte] = before >> 8 ^ tables[0][before & 0xFFu];
    }
  }
  return tables;
}

constexpr auto kTables = MakeSliceTables();

constexpr Form kByteForm{"bytes", UpdateBytes};
constexpr Form kSliceForm{"slices", UpdateSlices};

struct FormList {
  const Form* forms[4] = {&kByteForm, &kSliceForm};
  int count = 2;

  FormList() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1"))
      forms[count++] = &kCarryLessForm;
#elif defined(__aarch64__)
    constexpr unsigned long kHwCapCrc32 = 1u << 7;
    if ((getauxval(AT_HWCAP) & kHwCapCrc32) != 0) forms[count++] = &kInstructionForm;
#endif
  }
};

const FormList& Forms() {
  static const FormList list;
  return list;
}

}  // namespace

uint32_t UpdateBytes(uint32_t crc, const uint8_t* data, size_t count) {
  for (size_t i = 0; i < count; ++i) crc = crc >> 8 ^ kTables[0][(crc ^ data[i]) & 0xFFu];
  return crc;
}

uint32_t UpdateSlices(uint32_t crc, const uint8_t* data, size_t count) {
  for (; count >= kSlices; data += kSlices, count -= kSlices) {
    uint64_t word;
    std::memcpy(&word, data, sizeof(word));
    word ^= crc;
    crc = 0;
    for (size_t k = 0; k < kSlices; ++k) crc ^= kTables[kSlices - 1 - k][word >> (8 * k) & 0xFFu];
  }
  return UpdateBytes(crc, data, count);
}

const Form* const* AvailableForms() {
  return Forms().forms;
}

uint32_t Checksum(const uint8_t* data, size_t count) {
  const FormList& list = Forms();
  return ~list.forms[list.count - 1]->update(~0u, data, count);
}

}  // namespace parametercrc

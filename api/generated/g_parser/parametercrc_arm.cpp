// The checksum by the processor's own instruction.
#include <arm_acle.h>

#include <cstring>

#include "parametercrc.h"

namespace parametercrc {
namespace {

uint32_t Update(uint32_t crc, const uint8_t* data, size_t count) {
  for (; count >= sizeof(uint64_t); data += sizeof(uint64_t), count -= sizeof(uint64_t)) {
    uint64_t word;
    std::memcpy(&word, data, sizeof(word));
    crc = __crc32d(crc, word);
  }
  for (size_t i = 0; i < count; ++i) crc = __crc32b(crc, data[i]);
  return crc;
}

}  // namespace

constinit const Form kInstructionForm{"crc", Update};

}  // namespace parametercrc

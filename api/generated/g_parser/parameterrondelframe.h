// The frames that the live link exchanges with a tuning tool. All numbers are little-endian.
#pragma once

#include <cstdint>

namespace ParameterRondel {

// A frame starts with a short header: tag, command and length of the whole frame, 16 bits each. The
// 32 bits of the request's ID make it a full header.
constexpr uint16_t kStartTag = 0x5A59;
constexpr uint32_t kCommandOffset = 2;
constexpr uint32_t kLengthOffset = 4;
constexpr uint32_t kShortHeaderSize = 6;
constexpr uint32_t kIdOffset = kShortHeaderSize;
constexpr uint32_t kHeaderSize = 10;
constexpr uint32_t kMaxFrame = 65535;  // the largest number of the length field

enum Command : uint16_t {
  kDeviceInfo,
  kActiveModes,
  kControlValues,
  kModes,
  kInfo,
  kGetValues,
  kSetValues,
  kTriggerValues,
  kCustom,
  kCommandCount,
};

inline uint16_t GetWord16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

inline uint32_t GetWord32(const uint8_t* bytes) {
  return GetWord16(bytes) | uint32_t{GetWord16(bytes + 2)} << 16;
}

// The lowest `size` bytes of a number.
inline void PutWord(uint8_t* bytes, uint64_t value, uint32_t size) {
  for (uint32_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

inline void PutWord16(uint8_t* bytes, uint32_t value) {
  PutWord(bytes, value, 2);
}

}  // namespace ParameterRondel

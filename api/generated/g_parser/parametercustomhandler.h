// What a camera stack implements to answer a tuning tool's own requests.
#pragma once

#include <cstdint>

// Called by the live link's worker thread, one request at a time. It must not install or remove a
// handler itself.
class IParameterCustomHandler {
 public:
  virtual ~IParameterCustomHandler() = default;
  // Answers `payload` with up to `capacity` bytes in `reply`. The lowest 16 bits of the result go
  // to the tool. `replyLength` is 0 before the call.
  virtual uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t capacity,
                           uint8_t* reply, uint16_t* replyLength) = 0;
};

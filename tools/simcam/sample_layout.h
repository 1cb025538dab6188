// Where samples stand on the sensor, and where and how they lie in the buffer: the one place in
// which sparse and dual-PD sensors differ byte by byte.
#pragma once

#include <cstdint>
#include <vector>

#include "sensor.h"

namespace simcam {

// The left view or the right one; of vertical views, the upper or the lower one.
enum class Side { kLeft, kRight };

// A PD pixel of the native block, or a sample of a site.
struct SamplePlace {
  Side side;
  double nativeX;  // pixels from the native block's corner
  double nativeY;
  int bufferX;  // samples from the buffer block's corner
  int bufferY;
  uint64_t rank;  // in the native pattern
};

// All of a block, in the order of the native pattern.
std::vector<SamplePlace> SamplePlaces(const SensorDescription& sensor);

// Writes and reads the code of a block's sample. The buffer is BufferLayout::Bytes() long. What two
// processors see is written to both.
void PutSample(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
               int code, std::vector<uint8_t>& buffer);
int GetSample(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
              const std::vector<uint8_t>& buffer);

// Columns of blocks that are compared: an HDR sensor's long exposures alone.
inline bool IsCompared(const SensorDescription& sensor, int blockX) {
  return !sensor.IsHdr() || blockX % 2 == 0;
}

}  // namespace simcam

#include "sample_layout.h"

namespace simcam {
namespace {

// The pixel of the buffer's pattern that holds the native pixel of this type and rank.
const PatternPixel& BufferPixel(const Pattern& buffer, int nativeType, int rank) {
  for (const PatternPixel& pixel : buffer.pixels)
    if (pixel.type == 1 - nativeType && rank-- == 0) return pixel;
  return buffer.pixels.front();  // not reached: both patterns have as many pixels of either type
}

std::vector<SamplePlace> SitePlaces(const SensorDescription& sensor) {
  const double x = (sensor.native.width - 1) / 2.0;
  const double y = (sensor.native.height - 1) / 2.0;
  const int first = sensor.dual->isRightFirst ? 1 : 0;
  return {{Side::kLeft, x, y, first, 0, 0}, {Side::kRight, x, y, 1 - first, 0, 1}};
}

void PutWord(int code, size_t byte, std::vector<uint8_t>& buffer) {
  buffer[byte] = static_cast<uint8_t>(code & 0xff);
  buffer[byte + 1] = static_cast<uint8_t>(code >> 8);
}

int GetWord(size_t byte, const std::vector<uint8_t>& buffer) {
  return buffer[byte] | (buffer[byte + 1] << 8);
}

// ---- Dual: sample `index` of a line

void PutInLine(SamplePacking packing, size_t line, size_t index, int code,
               std::vector<uint8_t>& buffer) {
  switch (packing) {
    case SamplePacking::kBytes: buffer[line + index] = static_cast<uint8_t>(code); return;
    case SamplePacking::kWords: PutWord(code, line + 2 * index, buffer); return;
    case SamplePacking::kPacked10: break;
  }
  const size_t group = line + index / 4 * 5;
  const unsigned shift = static_cast<unsigned>(2 * (index % 4));
  buffer[group + index % 4] = static_cast<uint8_t>(code >> 2);
  uint8_t& low = buffer[group + 4];
  low =
      static_cast<uint8_t>((low & ~(3u << shift)) | ((static_cast<unsigned>(code) & 3u) << shift));
}

int GetFromLine(SamplePacking packing, size_t line, size_t index,
                const std::vector<uint8_t>& buffer) {
  switch (packing) {
    case SamplePacking::kBytes: return buffer[line + index];
    case SamplePacking::kWords: return GetWord(line + 2 * index, buffer);
    case SamplePacking::kPacked10: break;
  }
  const size_t group = line + index / 4 * 5;
  return (buffer[group + index % 4] << 2) | ((buffer[group + 4] >> (2 * (index % 4))) & 3);
}

size_t LineOf(const SensorDescription& sensor, int blockY) {
  return static_cast<size_t>(blockY) * static_cast<size_t>(sensor.buffer.firstStride);
}

size_t IndexOf(const SamplePlace& place, int blockX) {
  return static_cast<size_t>(2 * blockX + place.bufferX);
}

// ---- Sparse: in the frame, PD pixels stand where they are in the image. Otherwise the blocks are
// packed from the buffer's start.

struct Position {
  int x;
  size_t line;  // byte at which the buffer's line begins
};

Position SparsePosition(const SensorDescription& sensor, const Pattern& pattern,
                        const SamplePlace& place, int column, int blockY) {
  const int x = (sensor.IsInFrame() ? pattern.offsetX : 0) + column * pattern.width + place.bufferX;
  const int y =
      (sensor.IsInFrame() ? pattern.offsetY : 0) + blockY * pattern.height + place.bufferY;
  return {x, static_cast<size_t>(y) * static_cast<size_t>(sensor.buffer.Stride())};
}

void PutSparse(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
               int code, std::vector<uint8_t>& buffer) {
  const BufferLayout& layout = sensor.buffer;
  const Position at = SparsePosition(sensor, layout.first, place, blockX, blockY);
  if (at.x < layout.firstWidth) PutWord(code, at.line + 2 * static_cast<size_t>(at.x), buffer);
  if (!sensor.HasTwoProcessors()) return;
  const int secondX = at.x - layout.secondImageX;
  if (secondX >= 0 && secondX < layout.secondWidth)
    PutWord(code,
            at.line + static_cast<size_t>(layout.firstStride) + 2 * static_cast<size_t>(secondX),
            buffer);
}

int GetSparse(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
              const std::vector<uint8_t>& buffer) {
  const BufferLayout& layout = sensor.buffer;
  const bool isSecond = sensor.HasTwoProcessors() && blockX >= sensor.SecondFirstBlock();
  const Position at =
      SparsePosition(sensor, isSecond ? layout.second : layout.first, place,
                     isSecond ? blockX - sensor.SecondFirstBlock() : blockX, blockY);
  return GetWord(at.line + static_cast<size_t>(isSecond ? layout.firstStride : 0) +
                     2 * static_cast<size_t>(at.x),
                 buffer);
}

}  // namespace

std::vector<SamplePlace> SamplePlaces(const SensorDescription& sensor) {
  if (sensor.IsDual()) return SitePlaces(sensor);
  std::vector<SamplePlace> places;
  int ranks[2] = {0, 0};
  for (const PatternPixel& pixel : sensor.native.pixels) {
    const PatternPixel& place = BufferPixel(sensor.buffer.first, pixel.type, ranks[pixel.type]++);
    places.push_back({pixel.type == 0 ? Side::kLeft : Side::kRight, static_cast<double>(pixel.x),
                      static_cast<double>(pixel.y), place.x, place.y,
                      static_cast<uint64_t>(places.size())});
  }
  return places;
}

void PutSample(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
               int code, std::vector<uint8_t>& buffer) {
  if (!sensor.IsDual()) return PutSparse(sensor, place, blockX, blockY, code, buffer);
  PutInLine(sensor.dual->packing, LineOf(sensor, blockY), IndexOf(place, blockX), code, buffer);
}

int GetSample(const SensorDescription& sensor, const SamplePlace& place, int blockX, int blockY,
              const std::vector<uint8_t>& buffer) {
  if (!sensor.IsDual()) return GetSparse(sensor, place, blockX, blockY, buffer);
  return GetFromLine(sensor.dual->packing, LineOf(sensor, blockY), IndexOf(place, blockX), buffer);
}

}  // namespace simcam

#include "window_samples.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace simcam {
namespace {

// Byte of the buffer that holds the pixel at (x, y) of the first pattern in a block.
size_t ByteOf(const SensorDescription& sensor, int blockX, int blockY, const PatternPixel& pixel) {
  const BufferLayout& layout = sensor.buffer;
  const bool isSecond = sensor.HasTwoProcessors() && blockX >= sensor.SecondFirstBlock();
  const Pattern& pattern = isSecond ? layout.second : layout.first;
  const int column = isSecond ? blockX - sensor.SecondFirstBlock() : blockX;
  const int x = (sensor.IsInFrame() ? pattern.offsetX : 0) + column * pattern.width + pixel.x;
  const int y = (sensor.IsInFrame() ? pattern.offsetY : 0) + blockY * pattern.height + pixel.y;
  return static_cast<size_t>(y) * static_cast<size_t>(layout.Stride()) +
         static_cast<size_t>(isSecond ? layout.firstStride : 0) + 2 * static_cast<size_t>(x);
}

struct Place {
  PatternPixel native;
  PatternPixel buffer;
};

// Pixels of one view by their column, left to right.
std::map<int, std::vector<Place>> ColumnsOf(const SensorDescription& sensor, int nativeType) {
  std::vector<PatternPixel> places;
  for (const PatternPixel& pixel : sensor.buffer.first.pixels)
    if (pixel.type != nativeType) places.push_back(pixel);
  std::map<int, std::vector<Place>> columns;
  size_t rank = 0;
  for (const PatternPixel& pixel : sensor.native.pixels)
    if (pixel.type == nativeType) columns[pixel.x].push_back({pixel, places[rank++]});
  return columns;
}

std::vector<double> ReadView(const SensorDescription& sensor, const Shading& shading,
                             const std::vector<uint8_t>& buffer, const BlockArea& blocks,
                             Side side) {
  const auto columns = ColumnsOf(sensor, side == Side::kLeft ? 0 : 1);
  std::vector<double> samples;
  for (int blockY = blocks.y0; blockY < blocks.y1; ++blockY) {
    for (int blockX = blocks.x0; blockX < blocks.x1; ++blockX) {
      for (const auto& [column, places] : columns) {
        double sum = 0;
        for (const Place& place : places) {
          const size_t byte = ByteOf(sensor, blockX, blockY, place.buffer);
          const int code = buffer[byte] | (buffer[byte + 1] << 8);
          double x = sensor.native.offsetX + blockX * sensor.native.width + place.native.x;
          double y = sensor.native.offsetY + blockY * sensor.native.height + place.native.y;
          if (sensor.IsMirrored()) x = sensor.imageWidth - 1 - x;
          if (sensor.IsFlipped()) y = sensor.imageHeight - 1 - y;
          sum += (code - sensor.blackLevel) / shading.At(side, x, y);
        }
        samples.push_back(sum);
      }
    }
  }
  return samples;
}

}  // namespace

WindowSamples ReadSamples(const SensorDescription& sensor, const Shading& shading,
                          const std::vector<uint8_t>& buffer, const BlockArea& blocks) {
  WindowSamples samples;
  samples.rows = blocks.y1 - blocks.y0;
  samples.columns = (blocks.x1 - blocks.x0) * sensor.ColumnsPerBlock();
  samples.left = ReadView(sensor, shading, buffer, blocks, Side::kLeft);
  samples.right = ReadView(sensor, shading, buffer, blocks, Side::kRight);
  return samples;
}

std::vector<CurvePoint> ShiftCurve(const SensorDescription& sensor, const WindowSamples& samples) {
  const int step = sensor.SampleStepPx();
  const double sign = sensor.IsMirrored() ? -1 : 1;
  std::vector<CurvePoint> curve;
  for (int shift = sensor.tuning.searchFrom / step; shift <= sensor.tuning.searchTo / step;
       ++shift) {
    double sum = 0;
    int count = 0;
    for (int row = 0; row < samples.rows; ++row) {
      const double* left = samples.left.data() + static_cast<size_t>(row) * samples.columns;
      const double* right = samples.right.data() + static_cast<size_t>(row) * samples.columns;
      for (int i = std::max(0, -shift); i < samples.columns - std::max(0, shift); ++i, ++count)
        sum += std::abs(left[i + shift] - right[i]);
    }
    if (count == 0) continue;
    curve.push_back({sign * (-shift * step + sensor.pdOffsetCorrection), sum / count});
  }
  std::sort(curve.begin(), curve.end(),
            [](const CurvePoint& a, const CurvePoint& b) { return a.phasePx < b.phasePx; });
  return curve;
}

PDLibWindow ResultWindow(const PDLibWindow& roi, int columns, int rows, bool isOverlapped,
                         int index) {
  const bool isShared = isOverlapped && columns * rows > 1;
  const int span = isShared ? 2 : 1;
  const float cellWidth = (roi.endX - roi.startX) / static_cast<float>(columns + span - 1);
  const float cellHeight = (roi.endY - roi.startY) / static_cast<float>(rows + span - 1);
  const float x = roi.startX + static_cast<float>(index % columns) * cellWidth;
  const float y = roi.startY + static_cast<float>(index / columns) * cellHeight;
  return {x, y, x + static_cast<float>(span) * cellWidth,
          y + static_cast<float>(span) * cellHeight};
}

}  // namespace simcam

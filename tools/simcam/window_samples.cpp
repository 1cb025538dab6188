#include "window_samples.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace simcam {
namespace {

// Pixels of one view by their column, left to right.
std::map<double, std::vector<SamplePlace>> ColumnsOf(const SensorDescription& sensor, Side side) {
  std::map<double, std::vector<SamplePlace>> columns;
  for (const SamplePlace& place : SamplePlaces(sensor))
    if (place.side == side) columns[place.nativeX].push_back(place);
  return columns;
}

std::vector<double> ReadView(const SensorDescription& sensor, const Shading& shading,
                             const std::vector<uint8_t>& buffer, const BlockArea& blocks,
                             Side side) {
  const auto columns = ColumnsOf(sensor, side);
  std::vector<double> samples;
  for (int blockY = blocks.y0; blockY < blocks.y1; ++blockY) {
    for (int blockX = blocks.x0; blockX < blocks.x1; ++blockX) {
      if (!IsCompared(sensor, blockX)) continue;
      for (const auto& [column, places] : columns) {
        double sum = 0;
        for (const SamplePlace& place : places) {
          double x = sensor.native.offsetX + blockX * sensor.native.width + place.nativeX;
          double y = sensor.native.offsetY + blockY * sensor.native.height + place.nativeY;
          if (sensor.IsMirrored()) x = sensor.imageWidth - 1 - x;
          if (sensor.IsFlipped()) y = sensor.imageHeight - 1 - y;
          const int code = GetSample(sensor, place, blockX, blockY, buffer);
          sum += (code - sensor.blackLevel) / shading.At(side, x, y);
        }
        samples.push_back(sum);
      }
    }
  }
  return samples;
}

// The samples of a view with rows and columns exchanged.
std::vector<double> Transposed(const std::vector<double>& view, int rows, int columns) {
  std::vector<double> turned(view.size());
  for (int row = 0; row < rows; ++row)
    for (int column = 0; column < columns; ++column)
      turned[static_cast<size_t>(column * rows + row)] =
          view[static_cast<size_t>(row * columns + column)];
  return turned;
}

// What is added to a measured shift, in the frame. A dual-PD module's own offset is taken out after
// the sign of a mirrored readout has been turned; where it changes over the image, its middle.
double Correction(const SensorDescription& sensor, double sign) {
  if (!sensor.IsDual()) return sensor.pdOffsetCorrection;
  return sensor.dual->offset ? -sensor.dual->offset->middle : sign * sensor.pdOffsetCorrection;
}

}  // namespace

WindowSamples ReadSamples(const SensorDescription& sensor, const Shading& shading,
                          const std::vector<uint8_t>& buffer, const BlockArea& blocks) {
  WindowSamples samples;
  samples.rows = blocks.y1 - blocks.y0;
  samples.left = ReadView(sensor, shading, buffer, blocks, Side::kLeft);
  samples.right = ReadView(sensor, shading, buffer, blocks, Side::kRight);
  samples.columns = samples.rows > 0 ? static_cast<int>(samples.left.size()) / samples.rows : 0;
  if (sensor.HasVerticalViews()) {
    samples.left = Transposed(samples.left, samples.rows, samples.columns);
    samples.right = Transposed(samples.right, samples.rows, samples.columns);
    std::swap(samples.rows, samples.columns);
  }
  return samples;
}

std::vector<CurvePoint> ShiftCurve(const SensorDescription& sensor, const WindowSamples& samples) {
  const int step = sensor.SampleStepPx();
  const double sign = sensor.IsMirrored() ? -1 : 1;
  const double correction = Correction(sensor, sign);
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
    curve.push_back({sign * (-shift * step + correction), sum / count});
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

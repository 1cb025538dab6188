#include "window_limits.h"

#include <algorithm>
#include <cmath>

#include "text.h"

namespace simcam {
namespace {

// Area of a ROI up to which all of its rows are read, as a share of the image.
constexpr float kFullCoverage = 0.09f;

// An axis of the image as the library divides the ROI along it.
struct Axis {
  int cells = 1;
  int imagePx = 0;
  int unitPx = 0;      // of what cells are made of: a PD block, or a site
  int unitsInRoi = 0;  // those that the library takes for the ROI
};

// Sparse sensors: the last block touched counts as a whole.
int BlocksTouched(double from, double to, int imagePx, int unitPx, int offset, int count) {
  const auto block = [&](int px) { return std::clamp((px - offset) / unitPx, 0, count - 1); };
  const int first = static_cast<int>(from * imagePx + 0.5);
  const int end = static_cast<int>(first + (to - from) * imagePx + 0.5);
  return block(end) + 1 - block(first);
}

Axis Divide(const SensorDescription& sensor, int cells, double from, double to, int imagePx,
            int unitPx, int offset, int count) {
  const int units = sensor.IsDual() ? static_cast<int>(std::lround((to - from) * count))
                                    : BlocksTouched(from, to, imagePx, unitPx, offset, count);
  return {cells, imagePx, unitPx, units};
}

// Across or down.
Axis AxisOf(const SensorDescription& sensor, const CameraSettings& settings, bool isAcross) {
  const bool hasSharedCells = sensor.tuning.gridOverlap && settings.columns * settings.rows > 1;
  const int shared = hasSharedCells ? 1 : 0;
  const PDLibWindow& roi = settings.roi;
  const Pattern& native = sensor.native;
  return isAcross ? Divide(sensor, static_cast<int>(settings.columns) + shared,
                           static_cast<double>(roi.startX), static_cast<double>(roi.endX),
                           sensor.imageWidth, native.width, native.offsetX, sensor.blocksAcross)
                  : Divide(sensor, static_cast<int>(settings.rows) + shared,
                           static_cast<double>(roi.startY), static_cast<double>(roi.endY),
                           sensor.imageHeight, native.height, native.offsetY, sensor.blocksDown);
}

// The least share of the image that holds so many units in each cell.
std::string ShareFor(const Axis& axis, int units) {
  const double share = static_cast<double>(units * axis.cells * axis.unitPx) / axis.imagePx;
  return share > 1 ? "more than there is, so take fewer windows"
                   : Short(std::ceil(1000 * share) / 1000) + " of the image";
}

std::string Text(const char* found, int has, int needs, const char* what, const Axis& axis,
                 int units, const char* side) {
  return std::string(found) + " " + std::to_string(has) + " " + what + ", expected at least " +
         std::to_string(needs) + ": a ROI that is " + ShareFor(axis, units) + " " + side;
}

// The views are compared at so many shifts.
int Shifts(const SensorDescription& sensor) {
  const int step = sensor.SampleStepPx();
  return sensor.tuning.searchTo / step - sensor.tuning.searchFrom / step + 1;
}

// Along the line, a sample is compared with one that lies up to the search range away. On sparse
// sensors cells borrow those from their right neighbour, the last one of a row has to do with its
// own. If it is shorter than the search range, the library still compares at one place, and reads
// on in the next row: what ends there stands at the same place in both views, so that windows read
// 0 or a chance value, and are sure of it. Those left of it that borrow across its end do as well.
// Cells of dual-PD sensors never borrow: all of them have to leave something to compare.
std::string WhyTooShort(const SensorDescription& sensor, const Axis& along, const char* side) {
  const int shifts = Shifts(sensor);
  const int samplesPerUnit = sensor.ColumnsPerBlock();
  const int unitsPerSample = sensor.IsHdr() ? 2 : 1;  // of two sites one is compared
  const int cell = along.unitsInRoi / along.cells;
  const int rest = sensor.IsDual() ? 0 : along.unitsInRoi - cell * along.cells;
  const int samples = (cell + rest) * samplesPerUnit / unitsPerSample;
  const int needed = sensor.IsDual() ? shifts + kFewestSamples : shifts;
  if (samples >= needed) return "";
  const int units = (needed * unitsPerSample + samplesPerUnit - 1) / samplesPerUnit;
  return Text("cells of its windows have", samples, needed, "samples along a line", along, units,
              side);
}

// Across the lines something must be left to read.
std::string WhyTooFlat(const SensorDescription& sensor, const CameraSettings& settings,
                       const Axis& across, const char* side) {
  const int cell = across.unitsInRoi / across.cells;
  if (sensor.IsDual()) {
    // The library leaves out the last two lines of a cell.
    const int needed = sensor.tuning.verticalBinning + 3;
    return cell >= needed
               ? ""
               : Text("cells of its windows have", cell, needed, "lines", across, needed, side);
  }
  // In single precision, as the library has it.
  const PDLibWindow& roi = settings.roi;
  const float share =
      std::min(kFullCoverage / ((roi.endX - roi.startX) * (roi.endY - roi.startY)), 1.0f);
  const auto isRead = [&](int rows) {
    return static_cast<int>(static_cast<float>(rows) * share) > 0;
  };
  if (isRead(cell)) return "";
  int needed = 1;
  while (!isRead(needed)) ++needed;
  return Text("cells of its windows have", cell, needed, "rows of PD blocks", across, needed, side);
}

}  // namespace

std::string WhyTooSmall(const SensorDescription& sensor, const CameraSettings& settings) {
  const bool isVertical = sensor.HasVerticalViews();
  const Axis width = AxisOf(sensor, settings, true);
  const Axis height = AxisOf(sensor, settings, false);
  const std::string reason =
      WhyTooShort(sensor, isVertical ? height : width, isVertical ? "high" : "wide");
  if (!reason.empty()) return reason;
  return WhyTooFlat(sensor, settings, isVertical ? width : height, isVertical ? "wide" : "high");
}

std::string WhySumsAreOthers(const SensorDescription& sensor, const CameraSettings& settings) {
  const TuningChoices& tuning = sensor.tuning;
  const bool isAffected = !sensor.IsDual() && tuning.gridOverlap && !tuning.overlapSumByColumns &&
                          settings.rows > 1 && settings.columns != settings.rows;
  if (!isAffected) return "";
  return "windows overlap in a grid of " + std::to_string(settings.columns) + " x " +
         std::to_string(settings.rows) +
         ", and the tuning leaves OverlapSumByColumns off: but for the first row they are the sums "
         "of others' cells";
}

}  // namespace simcam

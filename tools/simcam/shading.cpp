#include "shading.h"

#include <algorithm>
#include <cmath>

namespace simcam {
namespace {

constexpr double kSparseUnityGain = 256;
constexpr double kDualUnityGain = 1024;
// The expanded maps hold one entry for every cell of at most this many pixels.
constexpr int kLargestCell = 16;

int CellSize(int block) {
  return block / (block / std::min(block, kLargestCell));
}

void FillGainMap(const CalibrationLayout& layout, double unity, const Shading& shading, Side side,
                 uint16_t* map) {
  for (int row = 0; row < layout.gainMapHeight; ++row) {
    for (int column = 0; column < layout.gainMapWidth; ++column) {
      const double u = -1 + 2.0 * column / (layout.gainMapWidth - 1);
      const double v = -1 + 2.0 * row / (layout.gainMapHeight - 1);
      map[row * layout.gainMapWidth + column] =
          static_cast<uint16_t>(std::lround(unity / shading.AtMap(side, u, v)));
    }
  }
}

void FillGainMaps(const SensorDescription& sensor, const Shading& shading,
                  _pdaf_cal_param_t& calibration) {
  const CalibrationLayout& layout = sensor.calibration;
  const double unity = sensor.IsDual() ? kDualUnityGain : kSparseUnityGain;
  calibration.MapWidth = static_cast<uint16_t>(layout.gainMapWidth);
  calibration.MapHeight = static_cast<uint16_t>(layout.gainMapHeight);
  std::fill(calibration.Center_GainMap, calibration.Center_GainMap + kGainMapEntries,
            static_cast<uint16_t>(unity));
  if (sensor.HasVerticalViews()) {
    // The library reads the sample that comes first, the upper one, with the map named down.
    FillGainMap(layout, unity, shading, Side::kLeft, calibration.Down_GainMap);
    FillGainMap(layout, unity, shading, Side::kRight, calibration.Up_GainMap);
  }
  const bool isStraight = sensor.AreMapsNamedStraight();
  FillGainMap(layout, unity, shading, Side::kLeft,
              isStraight ? calibration.Left_GainMap : calibration.Right_GainMap);
  FillGainMap(layout, unity, shading, Side::kRight,
              isStraight ? calibration.Right_GainMap : calibration.Left_GainMap);
}

// The library takes the mean of entries c and c + 1 for windows whose middle lies between c and
// c + 1 widths of an entry: entry c stands at c such widths, and rows likewise.
void FillOffsetMap(const CalibrationLayout& layout, const ViewOffset& offset,
                   PDLibOffsetMap& record) {
  record.isAvailable = 1;
  record.width = static_cast<uint16_t>(layout.dccMapWidth);
  record.height = static_cast<uint16_t>(layout.dccMapHeight);
  for (int row = 0; row < layout.dccMapHeight; ++row)
    for (int column = 0; column < layout.dccMapWidth; ++column)
      record.map[row * layout.dccMapWidth + column] = static_cast<float>(
          offset.At(2.0 * column / layout.dccMapWidth - 1, 2.0 * row / layout.dccMapHeight - 1));
}

}  // namespace

// The expanded maps' first and last cells stand in the first and last block of the PD area.
Shading::Shading(const SensorDescription& sensor, double loss)
    : loss_(loss), isTiltedDown_(sensor.HasVerticalViews()) {
  const Pattern& native = sensor.native;
  const double width = sensor.blocksAcross * native.width;
  const double height = sensor.blocksDown * native.height;
  const double left =
      sensor.IsMirrored() ? sensor.imageWidth - native.offsetX - width : native.offsetX;
  const double top =
      sensor.IsFlipped() ? sensor.imageHeight - native.offsetY - height : native.offsetY;
  centerX_ = left + (width - 1) / 2;
  centerY_ = top + (height - 1) / 2;
  halfWidth_ = std::max((width - CellSize(native.width)) / 2, 1.0);
  halfHeight_ = std::max((height - CellSize(native.height)) / 2, 1.0);
}

double Shading::At(Side side, double x, double y) const {
  return AtMap(side, (x - centerX_) / halfWidth_, (y - centerY_) / halfHeight_);
}

double Shading::AtMap(Side side, double u, double v) const {
  const double corner = (u * u + v * v) / 2;
  const double along = isTiltedDown_ ? v : u;
  const double tilt = (side == Side::kLeft ? 1 + along : 1 - along) / 2;
  return 1 - loss_ * std::clamp(0.5 * corner + 0.5 * tilt, 0.0, 1.0);
}

_pdaf_cal_param_t MakeCalibration(const SensorDescription& sensor, const Shading& shading,
                                  double dccError) {
  const CalibrationLayout& layout = sensor.calibration;
  _pdaf_cal_param_t calibration{};
  calibration.isAvailable = 1;
  calibration.VersionNum = static_cast<uint16_t>(layout.version);
  FillGainMaps(sensor, shading, calibration);

  const double coefficient = sensor.lens.codesPerPx / sensor.lens.codesPerDefocus * (1 + dccError) *
                             (1 << sensor.FractionBits());
  const auto entry = static_cast<int16_t>(std::clamp(std::lround(coefficient), 1L, 32767L));
  for (int16_t* map : {calibration.DCC_map, calibration.DCC_map_vertical})
    std::fill(map, map + layout.dccMapWidth * layout.dccMapHeight, entry);
  calibration.DCC_param.Q_factor = static_cast<uint16_t>(layout.qFactor);
  calibration.DCC_param.MapWidth = static_cast<uint16_t>(layout.dccMapWidth);
  calibration.DCC_param.MapHeight = static_cast<uint16_t>(layout.dccMapHeight);
  if (sensor.IsDual() && sensor.dual->offset)
    FillOffsetMap(layout, *sensor.dual->offset, calibration.PD_OffsetMap);
  return calibration;
}

}  // namespace simcam

#include "sensor.h"

#include <set>

namespace simcam {

std::vector<std::string> SensorNames() {
  std::vector<std::string> names;
  for (const EmbeddedSensor& sensor : EmbeddedSensors()) names.emplace_back(sensor.name);
  return names;
}

int SensorDescription::ColumnsPerBlock() const {
  if (IsDual()) return 1;
  std::set<int> columns;
  for (const PatternPixel& pixel : native.pixels)
    if (pixel.type == 0) columns.insert(pixel.x);
  return static_cast<int>(columns.size());
}

int SensorDescription::SampleStepPx() const {
  if (HasVerticalViews()) return native.height;
  // Of two sites that are exposed differently one is compared.
  return IsHdr() ? 2 * native.width : native.width / ColumnsPerBlock();
}

// The library exchanges the maps of a dual-PD sensor where it turns the sign of a result, so that
// on a mirrored sensor the map named left is that of the view which a viewer of the delivered
// picture would call left.
bool SensorDescription::AreMapsNamedStraight() const {
  if (IsDual()) return !IsMirrored();
  return (calibration.version & 0xfc) != 0;
}

int SensorDescription::FractionBits() const {
  if (IsDual()) return calibration.qFactor;
  if ((calibration.version & 0x400) != 0) return 6;
  return calibration.qFactor == 0 ? 10 : calibration.qFactor;
}

}  // namespace simcam

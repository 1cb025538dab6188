// What a grid of result windows may not ask of the library.
#pragma once

#include <string>

#include "camera.h"
#include "sensor.h"

namespace simcam {

// Of dual-PD sensors: what must be left of a cell's line when all shifts are to see the same
// samples.
inline constexpr int kFewestSamples = 16;

// Why the library can't measure in windows of this grid, and how large the ROI has to be for that;
// "" if it can.
std::string WhyTooSmall(const SensorDescription& sensor, const CameraSettings& settings);

// Why windows of this grid that overlap hold the sums of others; "" if they hold their own.
std::string WhySumsAreOthers(const SensorDescription& sensor, const CameraSettings& settings);

}  // namespace simcam

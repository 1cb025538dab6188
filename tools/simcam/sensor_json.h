// Sensor description files, by kind of sensor. Internal to the reader.
#pragma once

#include <cstddef>

#include "json_node.h"
#include "sensor.h"

namespace simcam {

inline constexpr int kLargestSide = 16384;
inline constexpr size_t kLargestBuffer = size_t{1} << 29;

// Read what belongs to one kind of sensor alone. Checked is it when all else has been read.
void ReadSparse(JsonNode& root, SensorDescription& sensor);
void CheckSparse(const JsonNode& root, const SensorDescription& sensor);
void ReadDual(JsonNode& root, SensorDescription& sensor);
void CheckDual(const JsonNode& root, const SensorDescription& sensor);

}  // namespace simcam

// Sensor description files, by kind of sensor. Internal to the reader.
#pragma once

#include <cstddef>
#include <vector>

#include "json_node.h"
#include "sensor.h"

namespace simcam {

inline constexpr size_t kLargestBuffer = size_t{1} << 29;

// The PD pixels of a pattern whose block has been read.
std::vector<PatternPixel> ReadPixels(JsonNode& node, const std::string& field,
                                     const Pattern& pattern);

// Works out what follows from the sites.
void CompleteDual(SensorDescription& sensor);

// How fields must fit together.
void CheckSparse(const JsonNode& root, const SensorDescription& sensor);
void CheckDual(const JsonNode& root, const SensorDescription& sensor);

}  // namespace simcam

// A small dual-PD sensor: 320 x 48 sites of 2 x 2 pixels, 12 bits in words.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "sensor.h"

namespace test {

inline constexpr const char* kSmallDualSensor = R"json({
  "name": "small-dual", "image": [640, 96], "sensor_type": 4, "pixel_depth": 12,
  "black_level": 200, "white_level": 3500,
  "dual": {"site": [2, 2], "packing": "words"}
})json";

// With the values of a JSON merge patch.
inline std::string DualSensorText(const std::string& patch) {
  nlohmann::json description = nlohmann::json::parse(kSmallDualSensor);
  description.merge_patch(nlohmann::json::parse(patch));
  return description.dump();
}

inline simcam::SensorDescription DualSensor(const std::string& patch = "{}") {
  return simcam::ParseSensor(DualSensorText(patch), "dual.json");
}

}  // namespace test

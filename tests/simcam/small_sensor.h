// Small sensors, so that frames take no time.
#pragma once

#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "errors.h"
#include "frame_renderer.h"
#include "scene.h"
#include "sensor.h"

namespace test {

// With two processors: 14 bits, 640 x 480 pixels; blocks of 16 x 16 with one pair in each of two
// columns, the PD pixels of the frame in place. The second processor starts at column 304 and sees
// columns 304 to 335 together with the first one, which ends at 336.
inline constexpr const char* kSmallSensor = R"json({
  "name": "small", "image": [640, 480], "sensor_type": 3, "pixel_depth": 14, "black_level": 1000,
  "white_level": 16000, "blocks": [39, 29],
  "native": {"block": [16, 16], "offset": [8, 4],
             "pixels": [[3, 2, 0], [3, 3, 1], [11, 3, 0], [11, 2, 1]]},
  "buffer": {"height": 480, "first_width": 336, "first_stride": 672,
             "first_pattern": {"block": [16, 16], "offset": [8, 4],
                               "pixels": [[3, 2, 1], [3, 3, 0], [11, 3, 1], [11, 2, 0]]},
             "overlap": 32, "second_image_x": 304, "second_width": 336, "second_stride": 680,
             "second_pattern": {"block": [16, 16], "offset": [24, 4]}}
})json";

// A dual-PD sensor: 320 x 48 sites of 2 x 2 pixels, 12 bits in words.
inline constexpr const char* kSmallDualSensor = R"json({
  "name": "small-dual", "image": [640, 96], "sensor_type": 4, "pixel_depth": 12,
  "black_level": 200, "white_level": 3500,
  "dual": {"site": [2, 2], "packing": "words"}
})json";

// With the values of a JSON merge patch.
inline std::string Patched(const std::string& text, const std::string& patch) {
  nlohmann::json description = nlohmann::json::parse(text);
  description.merge_patch(nlohmann::json::parse(patch));
  return description.dump();
}

inline simcam::SensorDescription Sensor(const std::string& text, const std::string& patch = "{}") {
  return simcam::ParseSensor(Patched(text, patch), "small.json");
}
inline simcam::SensorDescription SmallSensor() {
  return Sensor(kSmallSensor);
}
inline simcam::SensorDescription DualSensor(const std::string& patch = "{}") {
  return Sensor(kSmallDualSensor, patch);
}

// What is said about a wrong input.
template <class Load>
std::string ErrorOf(Load load) {
  try {
    load();
  } catch (const simcam::InputError& error) {
    return error.what();
  }
  return "accepted";
}

inline simcam::BlockArea AllBlocks(const simcam::SensorDescription& sensor) {
  return {0, 0, sensor.blocksAcross, sensor.blocksDown};
}

// A scene given by a function of position.
class FunctionScene : public simcam::Scene {
 public:
  explicit FunctionScene(std::function<double(int, int)> light) : light_(std::move(light)) {}
  simcam::Image Render(const simcam::Area& area) const override {
    simcam::Image image(area);
    for (int y = area.y0; y < area.y1; ++y)
      for (int x = area.x0; x < area.x1; ++x)
        image.Row(y - area.y0)[x - area.x0] = static_cast<float>(light_(x, y));
    return image;
  }

 private:
  std::function<double(int, int)> light_;
};

}  // namespace test

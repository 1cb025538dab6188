// A picture of linear light, and the part of the sensor's image that it covers.
#pragma once

#include <cstddef>
#include <vector>

namespace simcam {

// Pixels [x0, x1) by [y0, y1) of the full image.
struct Area {
  int x0 = 0;
  int y0 = 0;
  int x1 = 0;
  int y1 = 0;

  int Width() const { return x1 - x0; }
  int Height() const { return y1 - y0; }
};

// Linear light, 0 black to 1 white; pixel (x, y) of the full image is At(x - area.x0, y - area.y0).
struct Image {
  Area area;
  int width = 0;
  int height = 0;
  std::vector<float> pixels;

  Image() = default;
  explicit Image(const Area& covered)
      : area(covered),
        width(covered.Width()),
        height(covered.Height()),
        pixels(static_cast<size_t>(width) * static_cast<size_t>(height)) {}

  float* Row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const float* Row(int y) const {
    return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
  }
};

}  // namespace simcam

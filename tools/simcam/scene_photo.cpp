// Photographs as scenes.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "errors.h"
#include "picture_file.h"
#include "scene.h"

namespace simcam {
namespace {

constexpr int kSmallestSide = 16;

// Undoes the usual display curve, so that blur and noise act on light.
std::array<float, 256> LinearTable() {
  std::array<float, 256> table{};
  for (int code = 0; code < 256; ++code) {
    const double value = code / 255.0;
    table[static_cast<size_t>(code)] = static_cast<float>(
        value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
  }
  return table;
}

class Photograph : public Scene {
 public:
  Photograph(Image picture, int imageWidth, int imageHeight) : picture_(std::move(picture)) {
    const double fitX = static_cast<double>(picture_.width) / imageWidth;
    const double fitY = static_cast<double>(picture_.height) / imageHeight;
    step_ = std::min(fitX, fitY);  // fills the image; what is too wide or too high is cut off
    originX_ = (picture_.width - step_ * imageWidth) / 2;
    originY_ = (picture_.height - step_ * imageHeight) / 2;
  }

  Image Render(const Area& area) const override {
    Image image(area);
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        image.Row(y)[x] = Light(originX_ + (x + area.x0) * step_, originY_ + (y + area.y0) * step_);
    return image;
  }

 private:
  float Light(double x, double y) const {
    x = std::clamp(x, 0.0, picture_.width - 1.0);
    y = std::clamp(y, 0.0, picture_.height - 1.0);
    const int ix = std::min(static_cast<int>(x), picture_.width - 2);
    const int iy = std::min(static_cast<int>(y), picture_.height - 2);
    const float fx = static_cast<float>(x - ix);
    const float fy = static_cast<float>(y - iy);
    const float* top = picture_.Row(iy) + ix;
    const float* bottom = picture_.Row(iy + 1) + ix;
    return (top[0] * (1 - fx) + top[1] * fx) * (1 - fy) +
           (bottom[0] * (1 - fx) + bottom[1] * fx) * fy;
  }

  Image picture_;
  double step_ = 1;
  double originX_ = 0;
  double originY_ = 0;
};

}  // namespace

std::unique_ptr<Scene> LoadPhotograph(const std::string& path, int imageWidth, int imageHeight) {
  const ColourPicture file = LoadColourPicture(path);
  if (std::min(file.width, file.height) < kSmallestSide)
    throw InputError(path + ": expected a picture of at least 16 x 16 pixels, found " +
                     std::to_string(file.width) + " x " + std::to_string(file.height));

  static const std::array<float, 256> linear = LinearTable();
  Image picture(Area{0, 0, file.width, file.height});
  for (size_t i = 0; i < picture.pixels.size(); ++i) {
    const uint8_t* pixel = file.bytes.data() + 3 * i;
    picture.pixels[i] =
        0.2126f * linear[pixel[0]] + 0.7152f * linear[pixel[1]] + 0.0722f * linear[pixel[2]];
  }
  return std::make_unique<Photograph>(std::move(picture), imageWidth, imageHeight);
}

}  // namespace simcam

// Photographs as scenes. The decoder's source is kept in this one place, without our warnings.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "errors.h"
#include "scene.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_FAILURE_USERMSG
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

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
  int width = 0;
  int height = 0;
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> bytes(
      stbi_load(path.c_str(), &width, &height, &channels, 3), stbi_image_free);
  if (!bytes)
    throw InputError(path + ": expected a PNG or JPEG picture (" + stbi_failure_reason() + ")");
  if (std::min(width, height) < kSmallestSide)
    throw InputError(path + ": expected a picture of at least 16 x 16 pixels, found " +
                     std::to_string(width) + " x " + std::to_string(height));

  static const std::array<float, 256> linear = LinearTable();
  Image picture(Area{0, 0, width, height});
  for (size_t i = 0; i < picture.pixels.size(); ++i) {
    const stbi_uc* pixel = bytes.get() + 3 * i;
    picture.pixels[i] =
        0.2126f * linear[pixel[0]] + 0.7152f * linear[pixel[1]] + 0.0722f * linear[pixel[2]];
  }
  return std::make_unique<Photograph>(std::move(picture), imageWidth, imageHeight);
}

}  // namespace simcam

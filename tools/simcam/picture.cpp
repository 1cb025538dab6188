#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "optics.h"
#include "text.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace simcam {
namespace {

constexpr int kQuality = 80;

// Light as a display wants it.
std::array<unsigned char, 1025> DisplayTable() {
  std::array<unsigned char, 1025> table{};
  for (size_t i = 0; i < table.size(); ++i)
    table[i] = static_cast<unsigned char>(
        std::lround(255 * std::pow(static_cast<double>(i) / 1024, 1 / 2.2)));
  return table;
}

std::string Jpeg(int width, int height, const std::vector<unsigned char>& pixels) {
  std::string bytes;
  const auto append = [](void* target, void* data, int size) {
    static_cast<std::string*>(target)->append(static_cast<const char*>(data),
                                              static_cast<size_t>(size));
  };
  stbi_write_jpg_to_func(append, &bytes, width, height, 1, pixels.data(), kQuality);
  return DataUri("image/jpeg", bytes);
}

std::vector<unsigned char> ForDisplay(const std::vector<float>& light) {
  static const auto table = DisplayTable();
  std::vector<unsigned char> pixels;
  pixels.reserve(light.size());
  for (float value : light)
    pixels.push_back(table[static_cast<size_t>(std::clamp(value, 0.0f, 1.0f) * 1024.0f)]);
  return pixels;
}

// Pixel (x, y) of the picture is the blurred scene at the middle of its part of `area`.
std::string Shown(const ScenePyramid& scene, const Area& area, double sigma, int width) {
  const double step = static_cast<double>(area.Width()) / width;
  const int height = std::max(static_cast<int>(std::lround(area.Height() / step)), 1);
  BlurredScene blurred(scene, std::max(sigma, step / 2));
  std::vector<float> light(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    blurred.SelectRow(area.y0 + (y + 0.5) * step);
    blurred.SampleRun(area.x0 + step / 2, step, width,
                      light.data() + static_cast<size_t>(y) * static_cast<size_t>(width));
  }
  return Jpeg(width, height, ForDisplay(light));
}

}  // namespace

std::string ScenePicture(const SensorDescription& sensor, const CameraSettings& settings,
                         int width) {
  // Scenes don't depend on resolution: one of twice the picture's width is enough.
  const int fineWidth = 2 * width;
  const int fineHeight = std::max(
      static_cast<int>(static_cast<long>(sensor.imageHeight) * fineWidth / sensor.imageWidth), 1);
  const auto scene = MakeScene(settings.scene, fineWidth, fineHeight, settings.seed);
  const Area area{0, 0, fineWidth, fineHeight};
  const ScenePyramid pyramid(scene->Render(ScenePyramid::AlignedArea(area, 0)));
  return Shown(pyramid, area, 1, width);
}

std::string RoiPicture(const SensorDescription& sensor, const CameraSettings& settings,
                       double truePhasePx, int width) {
  const auto pixel = [](float share, int size) {
    return static_cast<int>(static_cast<double>(share) * size);
  };
  const PDLibWindow& roi = settings.roi;
  Area area{pixel(roi.startX, sensor.imageWidth), pixel(roi.startY, sensor.imageHeight),
            pixel(roi.endX, sensor.imageWidth), pixel(roi.endY, sensor.imageHeight)};
  if (sensor.IsMirrored())
    area = {sensor.imageWidth - area.x1, area.y0, sensor.imageWidth - area.x0, area.y1};
  if (sensor.IsFlipped())
    area = {area.x0, sensor.imageHeight - area.y1, area.x1, sensor.imageHeight - area.y0};
  area.x1 = std::max(area.x1, area.x0 + 16);
  area.y1 = std::max(area.y1, area.y0 + 16);
  const auto scene =
      MakeScene(settings.scene, sensor.imageWidth, sensor.imageHeight, settings.seed);
  const ScenePyramid pyramid(scene->Render(ScenePyramid::AlignedArea(area, 96)));
  return Shown(pyramid, area, settings.optics.BlurAt(truePhasePx), width);
}

std::string FilePicture(const GreyPicture& picture, const Area& part, int width) {
  const int height = std::max(part.Height() * width / std::max(part.Width(), 1), 1);
  std::vector<unsigned char> pixels;
  pixels.reserve(static_cast<size_t>(width) * static_cast<size_t>(height));
  const int largest = (1 << picture.bits) - 1;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      pixels.push_back(static_cast<unsigned char>(
          picture.At(part.x0 + x * part.Width() / width, part.y0 + y * part.Height() / height) *
          255 / largest));
  return Jpeg(width, height, pixels);
}

}  // namespace simcam

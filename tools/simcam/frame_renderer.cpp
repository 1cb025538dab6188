#include "frame_renderer.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace simcam {
namespace {

// Beyond the area by this much the scene is rendered for shifts and blur; further out its border
// goes on.
constexpr int kSceneMargin = 128;

Area SceneArea(const SensorDescription& sensor, const BlockArea& blocks) {
  const Pattern& native = sensor.native;
  Area area{native.offsetX + blocks.x0 * native.width, native.offsetY + blocks.y0 * native.height,
            native.offsetX + blocks.x1 * native.width, native.offsetY + blocks.y1 * native.height};
  if (sensor.IsMirrored())
    area = Area{sensor.imageWidth - area.x1, area.y0, sensor.imageWidth - area.x0, area.y1};
  if (sensor.IsFlipped())
    area = Area{area.x0, sensor.imageHeight - area.y1, area.x1, sensor.imageHeight - area.y0};
  return ScenePyramid::AlignedArea(area, kSceneMargin);
}

// The pixel of the buffer's pattern that holds the native pixel of this type and rank.
const PatternPixel& BufferPixel(const Pattern& buffer, int nativeType, int rank) {
  for (const PatternPixel& pixel : buffer.pixels)
    if (pixel.type == 1 - nativeType && rank-- == 0) return pixel;
  return buffer.pixels.front();  // not reached: both patterns have as many pixels of either type
}

}  // namespace

FrameRenderer::FrameRenderer(const SensorDescription& sensor, const Scene& scene,
                             const OpticsSettings& optics, const NoiseSettings& noise,
                             double shadingLoss, const BlockArea& blocks)
    : sensor_(sensor),
      optics_(optics),
      noise_(noise),
      shading_(sensor, shadingLoss),
      blocks_(blocks),
      scene_(scene.Render(SceneArea(sensor, blocks))) {
  int ranks[2] = {0, 0};
  for (const PatternPixel& pixel : sensor.native.pixels) {
    const int rank = ranks[pixel.type]++;
    const PatternPixel& place = BufferPixel(sensor.buffer.first, pixel.type, rank);
    pixels_.push_back({pixel.type == 0 ? Side::kLeft : Side::kRight, pixel.x, pixel.y, place.x,
                       place.y, static_cast<uint64_t>(pixels_.size())});
  }
  // Pixels of one line share its vertical blur.
  std::stable_sort(pixels_.begin(), pixels_.end(), [](const PairedPixel& a, const PairedPixel& b) {
    return a.nativeY < b.nativeY;
  });
  light_.resize(static_cast<size_t>(std::max(blocks.x1 - blocks.x0, 0)));
}

void FrameRenderer::Render(double truePhasePx, uint64_t noiseSeed, std::vector<uint8_t>& buffer) {
  buffer.resize(sensor_.buffer.Bytes());
  BlurredScene view(scene_, optics_.BlurAt(truePhasePx));
  for (int blockY = blocks_.y0; blockY < blocks_.y1; ++blockY) {
    int line = -1;
    for (const PairedPixel& pixel : pixels_) {
      if (pixel.nativeY != line) {
        line = pixel.nativeY;
        const int y = sensor_.native.offsetY + blockY * sensor_.native.height + line;
        view.SelectRow(sensor_.IsFlipped() ? sensor_.imageHeight - 1 - y : y);
      }
      // Each view moves by half. What stands at x in the left view stands at x + phase in the
      // right.
      const double shift = pixel.side == Side::kLeft ? truePhasePx / 2 : -truePhasePx / 2;
      RenderRun(view, pixel, blockY, shift, noiseSeed, buffer);
    }
  }
}

// One pixel of the pattern in all blocks of a row.
void FrameRenderer::RenderRun(const BlurredScene& view, const PairedPixel& pixel, int blockRow,
                              double shift, uint64_t noiseSeed, std::vector<uint8_t>& buffer) {
  const Pattern& native = sensor_.native;
  const int count = blocks_.x1 - blocks_.x0;
  double x = native.offsetX + blocks_.x0 * native.width + pixel.nativeX;
  double y = native.offsetY + blockRow * native.height + pixel.nativeY;
  double step = native.width;
  if (sensor_.IsMirrored()) {
    x = sensor_.imageWidth - 1 - x;
    step = -step;
  }
  if (sensor_.IsFlipped()) y = sensor_.imageHeight - 1 - y;

  view.SampleRun(x + shift, step, count, light_.data());
  for (int i = 0; i < count; ++i) {
    const int blockX = blocks_.x0 + i;
    const uint64_t place =
        (static_cast<uint64_t>(blockRow) << 32) | (static_cast<uint64_t>(blockX) << 8) | pixel.rank;
    const double light = static_cast<double>(light_[static_cast<size_t>(i)]) *
                         shading_.At(pixel.side, x + i * step, y);
    Write(pixel, blockX, blockRow, Expose(light, Mix(noiseSeed, place)), buffer);
  }
}

int FrameRenderer::Expose(double light, uint64_t key) const {
  const double signal = std::max(light, 0.0) * (sensor_.whiteLevel - sensor_.blackLevel);
  const double variance = noise_.variancePerCode * signal + noise_.readNoise * noise_.readNoise;
  const double noise = variance > 0 ? std::sqrt(variance) * static_cast<double>(Normal(key)) : 0;
  const double code = std::floor(sensor_.blackLevel + signal + noise + 0.5);
  return static_cast<int>(std::clamp(code, 0.0, static_cast<double>(sensor_.MaxCode())));
}

// In the frame, PD pixels stand where they are in the image, and what both processors see goes to
// both. Otherwise the blocks are packed from the buffer's start.
void FrameRenderer::Write(const PairedPixel& pixel, int blockX, int blockY, int code,
                          std::vector<uint8_t>& buffer) const {
  const BufferLayout& layout = sensor_.buffer;
  const Pattern& pattern = layout.first;
  const int x =
      (sensor_.IsInFrame() ? pattern.offsetX : 0) + blockX * pattern.width + pixel.bufferX;
  const int y =
      (sensor_.IsInFrame() ? pattern.offsetY : 0) + blockY * pattern.height + pixel.bufferY;
  const auto put = [&](size_t byte) {
    buffer[byte] = static_cast<uint8_t>(code & 0xff);
    buffer[byte + 1] = static_cast<uint8_t>(code >> 8);
  };
  const size_t line = static_cast<size_t>(y) * static_cast<size_t>(layout.Stride());
  if (x < layout.firstWidth) put(line + 2 * static_cast<size_t>(x));
  if (!sensor_.HasTwoProcessors()) return;
  const int secondX = x - layout.secondImageX;
  if (secondX >= 0 && secondX < layout.secondWidth)
    put(line + static_cast<size_t>(layout.firstStride) + 2 * static_cast<size_t>(secondX));
}

}  // namespace simcam

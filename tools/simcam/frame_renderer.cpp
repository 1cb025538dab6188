#include "frame_renderer.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace simcam {
namespace {

// Beyond the area by this much the scene is rendered for shifts and blur; further out its border
// goes on.
constexpr int kSceneMargin = 128;
// Blocks that share a shift where it changes over the image.
constexpr int kRunOfEqualShift = 32;
constexpr uint64_t kSplitNoise = 0x5b117;

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

// A site gathers light over its whole width.
OpticsSettings OpticsOf(const SensorDescription& sensor, OpticsSettings optics) {
  if (sensor.IsDual()) optics.aperture *= sensor.native.width;
  return optics;
}

}  // namespace

FrameRenderer::FrameRenderer(const SensorDescription& sensor, const Scene& scene,
                             const OpticsSettings& optics, const NoiseSettings& noise,
                             double shadingLoss, const BlockArea& blocks)
    : sensor_(sensor),
      optics_(OpticsOf(sensor, optics)),
      noise_(noise),
      shading_(sensor, shadingLoss),
      blocks_(blocks),
      scene_(scene.Render(SceneArea(sensor, blocks))),
      places_(SamplePlaces(sensor)) {
  if (sensor.IsDual()) {
    const double split = noise.split.value_or(sensor.dual->splitNoise);
    ownNoise_ = std::sqrt(1 - split);
    sharedNoise_ = std::sqrt(split);
  }
  // Pixels of one line share its vertical blur.
  std::stable_sort(places_.begin(), places_.end(), [](const SamplePlace& a, const SamplePlace& b) {
    return a.nativeY < b.nativeY;
  });
  light_.resize(static_cast<size_t>(std::max(blocks.x1 - blocks.x0, 0)));
}

void FrameRenderer::Render(double truePhasePx, uint64_t noiseSeed, std::vector<uint8_t>& buffer) {
  buffer.resize(sensor_.buffer.Bytes());
  BlurredScene view(scene_, optics_.BlurAt(truePhasePx));
  for (int blockY = blocks_.y0; blockY < blocks_.y1; ++blockY) {
    for (const SamplePlace& place : places_) {
      RenderRow(view, place, blockY, truePhasePx);
      WriteRow(place, blockY, noiseSeed, buffer);
    }
  }
}

FrameRenderer::Point FrameRenderer::PlaceOf(const SamplePlace& place, int blockX,
                                            int blockY) const {
  const Pattern& native = sensor_.native;
  Point point{native.offsetX + blockX * native.width + place.nativeX,
              native.offsetY + blockY * native.height + place.nativeY};
  if (sensor_.IsMirrored()) point.x = sensor_.imageWidth - 1 - point.x;
  if (sensor_.IsFlipped()) point.y = sensor_.imageHeight - 1 - point.y;
  return point;
}

// Each view moves by half. What stands at x in the left view stands at x + phase in the right.
double FrameRenderer::ShiftOf(Side side, double truePhasePx, int blockX, int blockY) const {
  double phase = truePhasePx;
  if (sensor_.IsDual()) {
    const double u = 2.0 * blockX / sensor_.blocksAcross - 1;
    const double v = 2.0 * blockY / sensor_.blocksDown - 1;
    const auto& offset = sensor_.dual->offset;
    phase += offset ? offset->At(u, v) : -sensor_.pdOffsetCorrection;
  }
  return side == Side::kLeft ? phase / 2 : -phase / 2;
}

// One pixel of the pattern in all blocks of a row.
void FrameRenderer::RenderRow(BlurredScene& view, const SamplePlace& place, int blockY,
                              double truePhasePx) {
  const bool isEven = !sensor_.IsDual() || !sensor_.dual->offset;
  const int runLength = isEven ? blocks_.x1 - blocks_.x0 : kRunOfEqualShift;
  const double step = sensor_.IsMirrored() ? -sensor_.native.width : sensor_.native.width;
  for (int blockX = blocks_.x0; blockX < blocks_.x1; blockX += runLength) {
    const int count = std::min(runLength, blocks_.x1 - blockX);
    const Point at = PlaceOf(place, blockX, blockY);
    const double shift = ShiftOf(place.side, truePhasePx, blockX + count / 2, blockY);
    const bool isAcross = !sensor_.HasVerticalViews();
    view.SelectRow(isAcross ? at.y : at.y + shift);
    view.SampleRun(isAcross ? at.x + shift : at.x, step, count,
                   light_.data() + (blockX - blocks_.x0));
  }
}

void FrameRenderer::WriteRow(const SamplePlace& place, int blockY, uint64_t noiseSeed,
                             std::vector<uint8_t>& buffer) const {
  for (int blockX = blocks_.x0; blockX < blocks_.x1; ++blockX) {
    const uint64_t site =
        (static_cast<uint64_t>(blockY) << 32) | (static_cast<uint64_t>(blockX) << 8);
    const Point at = PlaceOf(place, blockX, blockY);
    double light = static_cast<double>(light_[static_cast<size_t>(blockX - blocks_.x0)]) *
                   shading_.At(place.side, at.x, at.y);
    if (!IsCompared(sensor_, blockX)) light /= sensor_.dual->exposureRatio;
    const int code = Expose(light, place.side, Mix(noiseSeed, site | place.rank),
                            Mix(noiseSeed ^ kSplitNoise, site));
    PutSample(sensor_, place, blockX, blockY, code, buffer);
  }
}

int FrameRenderer::Expose(double light, Side side, uint64_t key, uint64_t siteKey) const {
  const double signal = std::max(light, 0.0) * (sensor_.whiteLevel - sensor_.blackLevel);
  const double lightNoise = noise_.variancePerCode * signal;
  const double readNoise = noise_.readNoise * noise_.readNoise;
  const double own = lightNoise * ownNoise_ * ownNoise_ + readNoise;
  double noise = own > 0 ? std::sqrt(own) * static_cast<double>(Normal(key)) : 0;
  if (sharedNoise_ > 0 && lightNoise > 0)
    noise += (side == Side::kLeft ? 1 : -1) * sharedNoise_ * std::sqrt(lightNoise) *
             static_cast<double>(Normal(siteKey));
  const double code = std::floor(sensor_.blackLevel + signal + noise + 0.5);
  return static_cast<int>(std::clamp(code, 0.0, static_cast<double>(sensor_.MaxCode())));
}

}  // namespace simcam

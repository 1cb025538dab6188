#include "optics.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace simcam {
namespace {

// Pixels of a level that the blur must span at least for its samples to stand for the whole.
constexpr double kSmallestSigma = 1.0;
// Standard deviations to either side that a kernel covers.
constexpr double kReach = 4.0;

int Clamped(int index, int count) {
  return std::clamp(index, 0, count - 1);
}

// Half the size in both directions, after the filter 1 4 6 4 1.
Image Halved(const Image& from) {
  Image half(Area{0, 0, from.width / 2, from.height / 2});
  std::vector<float> blurred(static_cast<size_t>(from.width));
  for (int y = 0; y < half.height; ++y) {
    const float* rows[5];
    for (int i = 0; i < 5; ++i) rows[i] = from.Row(Clamped(2 * y + i - 2, from.height));
    for (int x = 0; x < from.width; ++x) {
      blurred[static_cast<size_t>(x)] =
          (rows[0][x] + rows[4][x] + 4 * (rows[1][x] + rows[3][x]) + 6 * rows[2][x]) / 16;
    }
    for (int x = 0; x < half.width; ++x) {
      const auto at = [&](int offset) {
        return blurred[static_cast<size_t>(Clamped(2 * x + offset, from.width))];
      };
      half.Row(y)[x] = (at(-2) + at(2) + 4 * (at(-1) + at(1)) + 6 * at(0)) / 16;
    }
  }
  return half;
}

// The coarsest level that still leaves a blur wide enough to be sampled.
int LevelFor(double sigma) {
  int level = 0;
  for (int next = 1; next < ScenePyramid::kLevels; ++next) {
    const double scale = 1 << next;
    const double left = sigma * sigma - ScenePyramid::VarianceOf(next);
    if (left < kSmallestSigma * kSmallestSigma * scale * scale) break;
    level = next;
  }
  return level;
}

// After how many samples their places repeat but for whole pixels; `count` if not before.
int SamplesToWholePixels(double advance, int count) {
  constexpr int kMost = 1 << (ScenePyramid::kLevels - 1);
  for (int samples = 1; samples <= kMost; ++samples)
    if (std::floor(advance * samples) == advance * samples) return samples;
  return count;
}

}  // namespace

double OpticsSettings::BlurAt(double truePhasePx) const {
  const double defocus = blurPerPx * truePhasePx;
  return std::sqrt(focusSigma * focusSigma + aperture * aperture / 12 + defocus * defocus);
}

ScenePyramid::ScenePyramid(Image scene) {
  levels_.push_back(std::move(scene));
  for (int level = 1; level < kLevels; ++level) {
    Image half = Halved(levels_.back());
    levels_.push_back(std::move(half));
  }
}

Area ScenePyramid::AlignedArea(const Area& area, int margin) {
  const auto down = [](int value) {
    return static_cast<int>(std::floor(static_cast<double>(value) / kAlign)) * kAlign;
  };
  return Area{down(area.x0 - margin), down(area.y0 - margin), down(area.x1 + margin) + kAlign,
              down(area.y1 + margin) + kAlign};
}

double ScenePyramid::VarianceOf(int level) {
  // The filter has a variance of one pixel of the level it is used on: 1 + 4 + 16 + ...
  return (std::pow(4.0, level) - 1) / 3;
}

BlurredScene::BlurredScene(const ScenePyramid& scene, double sigma)
    : level_(scene.Level(LevelFor(sigma))),
      originX_(scene.Covered().x0),
      originY_(scene.Covered().y0) {
  const int level = LevelFor(sigma);
  scale_ = 1 << level;
  const double variance = sigma * sigma - ScenePyramid::VarianceOf(level);
  sigma_ = std::sqrt(std::max(variance, 0.01)) / scale_;
  radius_ = static_cast<int>(std::ceil(kReach * sigma_)) + 1;
  row_.resize(static_cast<size_t>(level_.width + 2 * radius_));
}

// Weights of the pixels from -radius to +radius around a point `fraction` beyond the middle one.
// They add up to one, so that even light stays even.
void BlurredScene::Kernel(double fraction, std::vector<float>& weights) const {
  std::vector<double>& exact = exactWeights_;
  exact.resize(static_cast<size_t>(2 * radius_ + 1));
  double sum = 0;
  for (int i = -radius_; i <= radius_; ++i) {
    const double distance = (i - fraction) / sigma_;
    const double weight = std::exp(-0.5 * distance * distance);
    exact[static_cast<size_t>(i + radius_)] = weight;
    sum += weight;
  }
  weights.resize(exact.size());
  for (size_t i = 0; i < exact.size(); ++i) weights[i] = static_cast<float>(exact[i] / sum);
}

void BlurredScene::SelectRow(double y) {
  if (y == selectedY_) return;
  selectedY_ = y;
  const double at = (y - originY_) / scale_;
  const int middle = static_cast<int>(std::floor(at));
  Kernel(at - middle, weights_);
  float* out = row_.data() + radius_;
  std::fill(row_.begin(), row_.end(), 0.0f);
  for (int i = -radius_; i <= radius_; ++i) {
    const float weight = weights_[static_cast<size_t>(i + radius_)];
    const float* from = level_.Row(Clamped(middle + i, level_.height));
    for (int x = 0; x < level_.width; ++x) out[x] += weight * from[x];
  }
  std::fill(row_.begin(), row_.begin() + radius_, out[0]);
  std::fill(row_.end() - radius_, row_.end(), out[level_.width - 1]);
}

// The sum around pixel `middle` of the level; beyond its ends the last pixel goes on.
float BlurredScene::Convolve(int middle, const std::vector<float>& weights) const {
  const float* from = row_.data() + Clamped(middle, level_.width);
  float sum = 0;
  for (size_t i = 0; i < weights.size(); ++i) sum += weights[i] * from[i];
  return sum;
}

// Samples whose places differ by whole pixels of the level share a kernel.
void BlurredScene::SampleRun(double x, double step, int count, float* out) const {
  const double first = (x - originX_) / scale_;
  const double advance = step / scale_;
  const int period = SamplesToWholePixels(advance, count);
  const int stride = static_cast<int>(advance * period);
  for (int start = 0; start < std::min(period, count); ++start) {
    const double at = first + start * advance;
    int middle = static_cast<int>(std::floor(at));
    Kernel(at - middle, weights_);
    for (int i = start; i < count; i += period, middle += stride)
      out[i] = Convolve(middle, weights_);
  }
}

}  // namespace simcam

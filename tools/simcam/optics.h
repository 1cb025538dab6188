// The lens as the two sides of its pupil see through it.
//
// Out of focus, the left and the right view of a scene are shifted against each other and blurred.
// A view is an exact function of position: the scene's pixels, spread by a Gaussian. Both views
// share it, so the shift between them is the true phase difference, with no error of interpolation.
#pragma once

#include <optional>
#include <vector>

#include "image.h"

namespace simcam {

struct OpticsSettings {
  double focusSigma = 0.7;  // blur in best focus, pixels, standard deviation
  double aperture = 1.0;    // side of a PD pixel's light-sensitive square, pixels
  double blurPerPx = 0.5;   // further blur per pixel of phase difference, standard deviation

  // The standard deviation of all blur together, pixels.
  double BlurAt(double truePhasePx) const;
};

// A scene at full, half, quarter, ... resolution, from which wide blurs are cheap.
class ScenePyramid {
 public:
  static constexpr int kLevels = 6;
  // The alignment of the area that the scene must have been rendered for.
  static constexpr int kAlign = 1 << (kLevels - 1);

  explicit ScenePyramid(Image scene);

  // `area` grown by `margin` and aligned, as the constructor wants it.
  static Area AlignedArea(const Area& area, int margin);

  const Area& Covered() const { return levels_[0].area; }
  const Image& Level(int level) const { return levels_[static_cast<size_t>(level)]; }
  // The blur that halving has brought to a level so far, variance in full pixels.
  static double VarianceOf(int level);

 private:
  std::vector<Image> levels_;
};

// One blur of a scene, read row by row. Coordinates are full pixels.
class BlurredScene {
 public:
  BlurredScene(const ScenePyramid& scene, double sigma);

  void SelectRow(double y);
  // out[i] = the light at x + i * step of the selected row.
  void SampleRun(double x, double step, int count, float* out) const;

 private:
  void Kernel(double fraction, std::vector<float>& weights) const;
  float Convolve(int middle, const std::vector<float>& weights) const;

  const Image& level_;
  double originX_;
  double originY_;
  double scale_;  // full pixels per pixel of the level
  double sigma_;  // pixels of the level
  int radius_;
  std::optional<double> selectedY_;
  std::vector<float> row_;  // the selected row, its ends repeated `radius_` times
  mutable std::vector<float> weights_;
  mutable std::vector<double> exactWeights_;
};

}  // namespace simcam

// The sensor: exposes the PD pixels of a scene and lays them out in the buffer.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "optics.h"
#include "sample_layout.h"
#include "scene.h"
#include "sensor.h"
#include "shading.h"

namespace simcam {

struct NoiseSettings {
  double variancePerCode = 0.05;     // of the light's own noise, codes^2 per code of signal
  double readNoise = 1.5;            // standard deviation, codes
  std::optional<double> split = {};  // for dual-PD sensors, in place of DualLayout::splitNoise
};

// Blocks [x0, x1) by [y0, y1) of the PD area.
struct BlockArea {
  int x0 = 0;
  int y0 = 0;
  int x1 = 0;
  int y1 = 0;
};

// The codes of PD pixels before they are laid out: one row per block row and pixel of the pattern.
class FrameRenderer {
 public:
  // `blocks` is the part of the PD area that frames will be asked for.
  FrameRenderer(const SensorDescription& sensor, const Scene& scene, const OpticsSettings& optics,
                const NoiseSettings& noise, double shadingLoss, const BlockArea& blocks);

  // Exposes all PD pixels of the area at this true phase difference and writes them to `buffer`
  // (BufferLayout::Bytes() long). Positive: the left view lies to the left of the right one on the
  // unmirrored sensor, the upper one above the lower. `noiseSeed` gives the frame its own noise.
  void Render(double truePhasePx, uint64_t noiseSeed, std::vector<uint8_t>& buffer);

  const BlockArea& Blocks() const { return blocks_; }
  const Shading& LensShading() const { return shading_; }

 private:
  struct Point {
    double x;
    double y;
  };

  // The pixel's place in a block, on the unmirrored sensor.
  Point PlaceOf(const SamplePlace& place, int blockX, int blockY) const;
  // How far the pixel's view looks beside the scene's place, along the views' axis.
  double ShiftOf(Side side, double truePhasePx, int blockX, int blockY) const;
  void RenderRow(BlurredScene& view, const SamplePlace& place, int blockY, double truePhasePx);
  void WriteRow(const SamplePlace& place, int blockY, uint64_t noiseSeed,
                std::vector<uint8_t>& buffer) const;
  int Expose(double light, Side side, uint64_t key, uint64_t siteKey) const;

  SensorDescription sensor_;
  OpticsSettings optics_;
  NoiseSettings noise_;
  double ownNoise_ = 1;     // weights of a sample's own noise and of what it shares with its
  double sharedNoise_ = 0;  // neighbour in the site
  Shading shading_;
  BlockArea blocks_;
  ScenePyramid scene_;
  std::vector<SamplePlace> places_;  // by native row
  std::vector<float> light_;
};

}  // namespace simcam

// The sensor: exposes the PD pixels of a scene and lays them out in the buffer.
#pragma once

#include <cstdint>
#include <vector>

#include "optics.h"
#include "scene.h"
#include "sensor.h"
#include "shading.h"

namespace simcam {

struct NoiseSettings {
  double variancePerCode = 0.05;  // of the light's own noise, codes^2 per code of signal
  double readNoise = 1.5;         // standard deviation, codes
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
  // unmirrored sensor. `noiseSeed` gives the frame its own noise.
  void Render(double truePhasePx, uint64_t noiseSeed, std::vector<uint8_t>& buffer);

  const BlockArea& Blocks() const { return blocks_; }
  const Shading& LensShading() const { return shading_; }

 private:
  // A pixel of the block with its place in the native pattern and in the buffer's.
  struct PairedPixel {
    Side side;
    int nativeX;
    int nativeY;
    int bufferX;
    int bufferY;
    uint64_t rank;  // in the native pattern
  };

  void RenderRun(const BlurredScene& view, const PairedPixel& pixel, int blockRow, double shift,
                 uint64_t noiseSeed, std::vector<uint8_t>& buffer);
  void Write(const PairedPixel& pixel, int blockX, int blockY, int code,
             std::vector<uint8_t>& buffer) const;
  int Expose(double light, uint64_t key) const;

  SensorDescription sensor_;
  OpticsSettings optics_;
  NoiseSettings noise_;
  Shading shading_;
  BlockArea blocks_;
  ScenePyramid scene_;
  std::vector<PairedPixel> pixels_;  // by native row
  std::vector<float> light_;
};

}  // namespace simcam

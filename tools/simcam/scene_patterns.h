// The building blocks of procedural scenes: functions of position, in pixels of a 4000 wide image.
#pragma once

#include <cstdint>
#include <vector>

#include "image.h"

namespace simcam {

// Smooth random values between 0 and 1 over a lattice of unit cells.
float ValueNoise(uint64_t seed, float x, float y);

// Octaves of noise from `coarsest` down to `finest` pixels; amplitude halves `slope` times per
// octave, so 1 gives the spectrum of natural scenes. About 0 to 1, mean one half.
float FractalNoise(uint64_t seed, float x, float y, float coarsest, float finest, float slope);

// Stripes of random grey and of widths around `width`, `angle` radians off the vertical.
float RandomBars(uint64_t seed, float x, float y, float width, float angle);

// Lines of dark marks on light ground, `size` pixels high.
float TextMarks(uint64_t seed, float x, float y, float size);

// Opaque, textured discs and ovals of all sizes before one another, the usual model of a natural
// scene: edges of every sharpness of bend, and statistics that don't depend on scale.
class Leaves {
 public:
  // `scale` is pixels of the image per pixel of a 4000 wide one.
  Leaves(const Area& area, int imageWidth, int imageHeight, double scale, uint64_t seed);

  // The light at a pixel of `area`.
  float At(int x, int y) const;

 private:
  struct Leaf {
    double x;
    double y;
    double radius;
    double stretch;
    double cosine;
    double sine;
    float light;
    float textureDepth;
    float textureSize;
    uint64_t seed;
  };

  static Leaf MakeLeaf(uint64_t seed, double width, double height);
  void Paint(const Leaf& leaf, int index);

  Area area_;
  double scale_;
  std::vector<Leaf> leaves_;
  std::vector<int> owner_;  // the leaf on top at each pixel, -1 for the ground
};

}  // namespace simcam

// The building blocks of procedural scenes: functions of position, in pixels of a 4000 wide image.
#pragma once

#include <cstdint>

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
// scene: edges of every sharpness of bend, and statistics that don't depend on scale. `scale` is
// pixels of `area` per pixel of a 4000 wide image.
Image RenderLeaves(const Area& area, int imageWidth, int imageHeight, double scale, uint64_t seed);

}  // namespace simcam

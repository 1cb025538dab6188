#include "scene_patterns.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace simcam {
namespace {

constexpr double kSmallestLeaf = 5;
constexpr double kLargestLeaf = 260;
// Leaves enough to cover the ground so many times over, if they were round.
constexpr double kCover = 5;

uint64_t LatticeKey(int x, int y) {
  return (static_cast<uint64_t>(static_cast<uint32_t>(x)) << 32) | static_cast<uint32_t>(y);
}

float LatticeValue(uint64_t seed, int x, int y) {
  return static_cast<float>(Unit(Mix(seed ^ LatticeKey(x, y))));
}

// std::floor is a library call where the processor's baseline has no instruction for it.
int Floor(float value) {
  const int whole = static_cast<int>(value);
  return whole - (static_cast<float>(whole) > value ? 1 : 0);
}

float Smooth(float t) {
  return t * t * (3 - 2 * t);
}

// Radii fall with the third power: every octave of sizes covers the same share of the scene.
double LeafRadius(double unit) {
  const double low = 1 / (kSmallestLeaf * kSmallestLeaf);
  const double high = 1 / (kLargestLeaf * kLargestLeaf);
  return 1 / std::sqrt(low - unit * (low - high));
}

double MeanLeafArea() {
  const double low = 1 / (kSmallestLeaf * kSmallestLeaf);
  const double high = 1 / (kLargestLeaf * kLargestLeaf);
  return 3.14159265 * 2 * std::log(kLargestLeaf / kSmallestLeaf) / (low - high);
}

}  // namespace

float ValueNoise(uint64_t seed, float x, float y) {
  const int ix = Floor(x);
  const int iy = Floor(y);
  const float tx = Smooth(x - static_cast<float>(ix));
  const float ty = Smooth(y - static_cast<float>(iy));
  const float top = LatticeValue(seed, ix, iy) * (1 - tx) + LatticeValue(seed, ix + 1, iy) * tx;
  const float bottom =
      LatticeValue(seed, ix, iy + 1) * (1 - tx) + LatticeValue(seed, ix + 1, iy + 1) * tx;
  return top * (1 - ty) + bottom * ty;
}

float FractalNoise(uint64_t seed, float x, float y, float coarsest, float finest, float slope) {
  const float fade = std::exp2(-slope);
  float sum = 0;
  float total = 0;
  float amplitude = 1;
  uint64_t octave = 0;
  for (float size = coarsest; size >= finest * 0.99f; size /= 2) {
    sum += amplitude * ValueNoise(Mix(seed, octave++), x / size, y / size);
    total += amplitude;
    amplitude *= fade;
  }
  return total > 0 ? sum / total : 0.5f;
}

float RandomBars(uint64_t seed, float x, float y, float width, float angle) {
  const float across = (x * std::cos(angle) + y * std::sin(angle)) / width;
  const int cell = Floor(across);
  // A wandering border keeps the stripes from being periodic.
  const float border = 0.2f + 0.6f * LatticeValue(seed, cell, 1);
  const int stripe = cell * 2 + (across - static_cast<float>(cell) > border ? 1 : 0);
  return 0.1f + 0.75f * LatticeValue(seed, stripe, 0);
}

float TextMarks(uint64_t seed, float x, float y, float size) {
  constexpr int kColumns = 5;
  constexpr int kRows = 7;
  const float dot = size / kRows;
  const int line = Floor(y / (size * 1.6f));
  const int row = Floor((y - static_cast<float>(line) * size * 1.6f) / dot);
  const float shifted = x + 40 * LatticeValue(seed, line, -1);
  const int mark = Floor(shifted / (dot * (kColumns + 1)));
  const int column = Floor(shifted / dot - static_cast<float>(mark) * (kColumns + 1));
  const bool isGap = row >= kRows || column >= kColumns || LatticeValue(seed, mark, line) < 0.15f;
  if (isGap) return 0.72f;
  const uint64_t glyph = Mix(seed ^ LatticeKey(mark, line) ^ 0x7e07u);
  return (glyph >> (row * kColumns + column)) & 1 ? 0.08f : 0.72f;
}

Leaves::Leaf Leaves::MakeLeaf(uint64_t seed, double width, double height) {
  Random random(seed);
  Leaf leaf{};
  leaf.x = random.Uniform(-kLargestLeaf, width + kLargestLeaf);
  leaf.y = random.Uniform(-kLargestLeaf, height + kLargestLeaf);
  leaf.radius = LeafRadius(random.Uniform(0, 1));
  leaf.stretch = random.Uniform(0.35, 1);
  const double angle = random.Uniform(0, 3.14159265);
  leaf.cosine = std::cos(angle);
  leaf.sine = std::sin(angle);
  leaf.light = static_cast<float>(random.Uniform(0.08, 0.75));
  leaf.textureDepth = static_cast<float>(random.Uniform(0, 0.35));
  leaf.textureSize = static_cast<float>(random.Uniform(2.5, 24));
  leaf.seed = random.Word();
  return leaf;
}

Leaves::Leaves(const Area& area, int imageWidth, int imageHeight, double scale, uint64_t seed)
    : area_(area), scale_(scale), owner_(static_cast<size_t>(area.Width()) * area.Height(), -1) {
  const double width = imageWidth / scale;
  const double height = imageHeight / scale;
  const double ground = (width + 2 * kLargestLeaf) * (height + 2 * kLargestLeaf);
  const int count = static_cast<int>(kCover * ground / MeanLeafArea());
  for (int i = 0; i < count; ++i) {
    const Leaf leaf = MakeLeaf(Mix(seed, static_cast<uint64_t>(i)), width, height);
    const double reach = leaf.radius * scale;
    const bool isSeen = leaf.x * scale + reach >= area.x0 && leaf.x * scale - reach < area.x1 &&
                        leaf.y * scale + reach >= area.y0 && leaf.y * scale - reach < area.y1;
    if (!isSeen) continue;
    Paint(leaf, static_cast<int>(leaves_.size()));
    leaves_.push_back(leaf);
  }
}

void Leaves::Paint(const Leaf& leaf, int index) {
  const double radius = leaf.radius * scale_;
  const double cx = leaf.x * scale_;
  const double cy = leaf.y * scale_;
  const int y0 = std::max(area_.y0, static_cast<int>(std::ceil(cy - radius)));
  const int y1 = std::min(area_.y1, static_cast<int>(std::floor(cy + radius)) + 1);
  const int x0 = std::max(area_.x0, static_cast<int>(std::ceil(cx - radius)));
  const int x1 = std::min(area_.x1, static_cast<int>(std::floor(cx + radius)) + 1);
  for (int y = y0; y < y1; ++y) {
    int* row = owner_.data() + static_cast<size_t>(y - area_.y0) * area_.Width();
    for (int x = x0; x < x1; ++x) {
      const double along = (x - cx) * leaf.cosine + (y - cy) * leaf.sine;
      const double across = ((y - cy) * leaf.cosine - (x - cx) * leaf.sine) / leaf.stretch;
      if (along * along + across * across <= radius * radius) row[x - area_.x0] = index;
    }
  }
}

float Leaves::At(int x, int y) const {
  const int index = owner_[static_cast<size_t>(y - area_.y0) * area_.Width() + (x - area_.x0)];
  if (index < 0) return 0.3f;
  const Leaf& leaf = leaves_[static_cast<size_t>(index)];
  const float texture =
      FractalNoise(leaf.seed, static_cast<float>(x / scale_), static_cast<float>(y / scale_),
                   leaf.textureSize, leaf.textureSize / 4, 0.7f) -
      0.5f;
  return std::clamp(leaf.light * (1 + 2 * leaf.textureDepth * texture), 0.02f, 1.0f);
}

}  // namespace simcam

#include "scene_patterns.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "random.h"

namespace simcam {
namespace {

constexpr double kSmallestLeaf = 5;
constexpr double kLargestLeaf = 260;
// Leaves per pixel and mean leaf area: enough to cover the ground about seven times over.
constexpr double kCover = 7;

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

uint64_t LatticeKey(int x, int y) {
  return (static_cast<uint64_t>(static_cast<uint32_t>(x)) << 32) | static_cast<uint32_t>(y);
}

float LatticeValue(uint64_t seed, int x, int y) {
  return static_cast<float>(Unit(Mix(seed ^ LatticeKey(x, y))));
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

Leaf MakeLeaf(uint64_t seed, double width, double height) {
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

void PaintLeaf(const Leaf& leaf, int index, double scale, const Area& area,
               std::vector<int>& owner) {
  const double radius = leaf.radius * scale;
  const double cx = leaf.x * scale;
  const double cy = leaf.y * scale;
  const int y0 = std::max(area.y0, static_cast<int>(std::ceil(cy - radius)));
  const int y1 = std::min(area.y1, static_cast<int>(std::floor(cy + radius)) + 1);
  const int x0 = std::max(area.x0, static_cast<int>(std::ceil(cx - radius)));
  const int x1 = std::min(area.x1, static_cast<int>(std::floor(cx + radius)) + 1);
  for (int y = y0; y < y1; ++y) {
    int* row = owner.data() + static_cast<size_t>(y - area.y0) * area.Width() - area.x0;
    for (int x = x0; x < x1; ++x) {
      const double along = (x - cx) * leaf.cosine + (y - cy) * leaf.sine;
      const double across = ((y - cy) * leaf.cosine - (x - cx) * leaf.sine) / leaf.stretch;
      if (along * along + across * across <= radius * radius) row[x] = index;
    }
  }
}

float LeafLight(const Leaf& leaf, float x, float y) {
  const float texture =
      FractalNoise(leaf.seed, x, y, leaf.textureSize, leaf.textureSize / 4, 0.7f) - 0.5f;
  return std::clamp(leaf.light * (1 + 2 * leaf.textureDepth * texture), 0.02f, 1.0f);
}

}  // namespace

float ValueNoise(uint64_t seed, float x, float y) {
  const float fx = std::floor(x);
  const float fy = std::floor(y);
  const int ix = static_cast<int>(fx);
  const int iy = static_cast<int>(fy);
  const float tx = Smooth(x - fx);
  const float ty = Smooth(y - fy);
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
  const float cell = std::floor(across);
  // A wandering border keeps the stripes from being periodic.
  const float border = 0.2f + 0.6f * LatticeValue(seed, static_cast<int>(cell), 1);
  const int stripe = static_cast<int>(cell) * 2 + (across - cell > border ? 1 : 0);
  return 0.1f + 0.75f * LatticeValue(seed, stripe, 0);
}

float TextMarks(uint64_t seed, float x, float y, float size) {
  constexpr int kColumns = 5;
  constexpr int kRows = 7;
  const float dot = size / kRows;
  const int line = static_cast<int>(std::floor(y / (size * 1.6f)));
  const int row = static_cast<int>(std::floor((y - static_cast<float>(line) * size * 1.6f) / dot));
  const float shifted = x + 40 * LatticeValue(seed, line, -1);
  const int mark = static_cast<int>(std::floor(shifted / (dot * (kColumns + 1))));
  const int column =
      static_cast<int>(std::floor(shifted / dot - static_cast<float>(mark) * (kColumns + 1)));
  const bool isGap = row >= kRows || column >= kColumns || LatticeValue(seed, mark, line) < 0.15f;
  if (isGap) return 0.72f;
  const uint64_t glyph = Mix(seed ^ LatticeKey(mark, line) ^ 0x7e07u);
  return (glyph >> (row * kColumns + column)) & 1 ? 0.08f : 0.72f;
}

Image RenderLeaves(const Area& area, int imageWidth, int imageHeight, double scale, uint64_t seed) {
  const double width = imageWidth / scale;
  const double height = imageHeight / scale;
  const double ground = (width + 2 * kLargestLeaf) * (height + 2 * kLargestLeaf);
  const int count = static_cast<int>(kCover * ground / MeanLeafArea());

  std::vector<Leaf> leaves;
  std::vector<int> owner(static_cast<size_t>(area.Width()) * area.Height(), -1);
  for (int i = 0; i < count; ++i) {
    const Leaf leaf = MakeLeaf(Mix(seed, static_cast<uint64_t>(i)), width, height);
    const double reach = leaf.radius * scale;
    const bool isSeen = leaf.x * scale + reach >= area.x0 && leaf.x * scale - reach < area.x1 &&
                        leaf.y * scale + reach >= area.y0 && leaf.y * scale - reach < area.y1;
    if (!isSeen) continue;
    leaves.push_back(leaf);
    PaintLeaf(leaf, static_cast<int>(leaves.size()) - 1, scale, area, owner);
  }

  Image image(area);
  for (int y = 0; y < image.height; ++y) {
    const int* row = owner.data() + static_cast<size_t>(y) * area.Width();
    for (int x = 0; x < image.width; ++x) {
      const float sx = static_cast<float>((x + area.x0) / scale);
      const float sy = static_cast<float>((y + area.y0) / scale);
      image.Row(y)[x] = row[x] >= 0 ? LeafLight(leaves[static_cast<size_t>(row[x])], sx, sy) : 0.3f;
    }
  }
  return image;
}

}  // namespace simcam

#include "scene.h"

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "random.h"
#include "scene_patterns.h"

namespace simcam {
namespace {

// Procedural scenes are laid out for this width and scale with the image.
constexpr double kLayoutWidth = 4000;

float Noise(uint64_t seed, float x, float y) {
  return 0.05f + 0.8f * FractalNoise(seed, x, y, 512, 2, 0.25f);
}

// Fine and faint, under light that falls off slowly to one side.
float Texture(uint64_t seed, float x, float y) {
  const float light = 0.25f + 0.3f * FractalNoise(Mix(seed, 1), x, y, 1600, 800, 1);
  return light * (1 + 0.3f * (FractalNoise(Mix(seed, 2), x, y, 24, 3, 0.3f) - 0.5f));
}

// Panels of edges, stripes, gratings and marks. The gratings repeat within the search range of most
// sensors: a panel of them alone has no answer.
float Chart(uint64_t seed, float x, float y) {
  constexpr float kPanel = 130;
  const int column = static_cast<int>(std::floor(x / kPanel));
  const int row = static_cast<int>(std::floor(y / kPanel));
  const uint64_t panel = Mix(seed, static_cast<uint32_t>(column), static_cast<uint32_t>(row));
  const float px = x - static_cast<float>(column) * kPanel;
  const float py = y - static_cast<float>(row) * kPanel;
  if (std::min(px, py) < 8) return 0.7f;
  const float slant = 0.1f + static_cast<float>(Unit(Mix(panel, 1))) * 0.5f;
  switch (panel % 4) {
    case 0: return px + slant * py > kPanel * 0.7f ? 0.75f : 0.1f;
    case 1: return RandomBars(panel, px, py, 14, slant);
    case 2: {
      const float period = 12 + static_cast<float>(Unit(Mix(panel, 2))) * 50;
      return 0.4f + 0.3f * std::sin(6.2831853f * (px + slant * py) / period);
    }
    default: return TextMarks(panel, px, py, 21);
  }
}

enum class Patch { kLeaves, kFaint, kBars, kText, kSoft };

Patch PatchKind(uint64_t key) {
  const double unit = Unit(key);
  if (unit < 0.36) return Patch::kLeaves;
  if (unit < 0.66) return Patch::kFaint;
  if (unit < 0.76) return Patch::kBars;
  if (unit < 0.86) return Patch::kText;
  return Patch::kSoft;
}

// The patch at a place: the nearest of one random point per cell.
uint64_t PatchAt(uint64_t seed, float x, float y) {
  constexpr float kCell = 300;
  const int cx = static_cast<int>(std::floor(x / kCell));
  const int cy = static_cast<int>(std::floor(y / kCell));
  float nearest = 1e30f;
  uint64_t found = 0;
  for (int row = cy - 1; row <= cy + 1; ++row) {
    for (int column = cx - 1; column <= cx + 1; ++column) {
      const uint64_t key = Mix(seed, static_cast<uint32_t>(column), static_cast<uint32_t>(row));
      const float dx =
          (static_cast<float>(column) + static_cast<float>(Unit(Mix(key, 1)))) * kCell - x;
      const float dy =
          (static_cast<float>(row) + static_cast<float>(Unit(Mix(key, 2)))) * kCell - y;
      if (dx * dx + dy * dy >= nearest) continue;
      nearest = dx * dx + dy * dy;
      found = key;
    }
  }
  return found;
}

// Patches of fine and coarse, strong and faint content side by side; `leaf` is the leaf scene here.
float Mixed(uint64_t seed, float x, float y, float leaf) {
  const uint64_t patch = PatchAt(seed, x, y);
  switch (PatchKind(patch)) {
    case Patch::kLeaves: return leaf;
    case Patch::kFaint:
      return 0.35f * (1 + 0.25f * (FractalNoise(patch, x, y, 96, 3, 0.6f) - 0.5f));
    case Patch::kBars: {
      const float angle = static_cast<float>(Unit(Mix(patch, 3))) * 2 - 1;
      return RandomBars(patch, x, y, 9, angle);
    }
    case Patch::kText: return TextMarks(patch, x, y, 18);
    case Patch::kSoft: return 0.15f + 0.5f * FractalNoise(patch, x, y, 128, 64, 1);
  }
  return leaf;
}

using PointFunction = float (*)(uint64_t seed, float x, float y);

class PointScene : public Scene {
 public:
  PointScene(PointFunction function, int imageWidth, uint64_t seed)
      : function_(function), scale_(imageWidth / kLayoutWidth), seed_(seed) {}

  Image Render(const Area& area) const override {
    Image image(area);
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) {
        image.Row(y)[x] = function_(seed_, static_cast<float>((x + area.x0) / scale_),
                                    static_cast<float>((y + area.y0) / scale_));
      }
    }
    return image;
  }

 private:
  PointFunction function_;
  double scale_;
  uint64_t seed_;
};

class LeafScene : public Scene {
 public:
  LeafScene(int imageWidth, int imageHeight, uint64_t seed, bool isMixed)
      : width_(imageWidth), height_(imageHeight), seed_(seed), isMixed_(isMixed) {}

  Image Render(const Area& area) const override {
    const double scale = width_ / kLayoutWidth;
    Image image = RenderLeaves(area, width_, height_, scale, seed_);
    if (!isMixed_) return image;
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) {
        float& light = image.Row(y)[x];
        light = Mixed(Mix(seed_, 77), static_cast<float>((x + area.x0) / scale),
                      static_cast<float>((y + area.y0) / scale), light);
      }
    }
    return image;
  }

 private:
  int width_;
  int height_;
  uint64_t seed_;
  bool isMixed_;
};

class FlatScene : public Scene {
 public:
  explicit FlatScene(float light) : light_(light) {}
  Image Render(const Area& area) const override {
    Image image(area);
    std::fill(image.pixels.begin(), image.pixels.end(), light_);
    return image;
  }

 private:
  float light_;
};

std::string KnownScenes() {
  std::string names;
  for (const SceneName& scene : SceneNames()) names += (names.empty() ? "" : ", ") + scene.name;
  return names;
}

}  // namespace

const std::vector<SceneName>& SceneNames() {
  static const std::vector<SceneName> names = {
      {"mixed", "patches of leaves, faint texture, stripes, text and soft shapes (the default)"},
      {"leaves", "textured discs of all sizes before one another"},
      {"noise", "cloudy noise whose contrast falls with frequency, as in natural scenes"},
      {"texture", "fine and faint texture under uneven light"},
      {"chart", "edges, stripes, text and periodic gratings"},
  };
  return names;
}

std::unique_ptr<Scene> MakeScene(const std::string& nameOrPath, int imageWidth, int imageHeight,
                                 uint64_t seed) {
  if (nameOrPath == "mixed")
    return std::make_unique<LeafScene>(imageWidth, imageHeight, seed, true);
  if (nameOrPath == "leaves")
    return std::make_unique<LeafScene>(imageWidth, imageHeight, seed, false);
  if (nameOrPath == "noise") return std::make_unique<PointScene>(Noise, imageWidth, seed);
  if (nameOrPath == "texture") return std::make_unique<PointScene>(Texture, imageWidth, seed);
  if (nameOrPath == "chart") return std::make_unique<PointScene>(Chart, imageWidth, seed);
  if (nameOrPath.find_first_of("./") == std::string::npos)
    throw InputError("scene '" + nameOrPath + "': expected one of " + KnownScenes() +
                     ", or the path of a PNG or JPEG file");
  return LoadPhotograph(nameOrPath, imageWidth, imageHeight);
}

std::unique_ptr<Scene> MakeFlatScene(float light) {
  return std::make_unique<FlatScene>(light);
}

}  // namespace simcam

#include "scene.h"

#include <algorithm>
#include <cmath>

#include "common/nearest_name.h"
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

// Finds the patch at a place: the nearest of one random point per cell. The points around a cell
// are kept while the places asked for stay in it.
class Patches {
 public:
  explicit Patches(uint64_t seed) : seed_(seed) {}

  uint64_t At(float x, float y) {
    GoTo(static_cast<int>(std::floor(x / kCell)), static_cast<int>(std::floor(y / kCell)));
    const auto distance = [&](const Point& point) {
      return (point.x - x) * (point.x - x) + (point.y - y) * (point.y - y);
    };
    return std::min_element(
               std::begin(points_), std::end(points_),
               [&](const Point& a, const Point& b) { return distance(a) < distance(b); })
        ->key;
  }

 private:
  static constexpr float kCell = 300;
  struct Point {
    float x;
    float y;
    uint64_t key;
  };

  void GoTo(int column, int row) {
    if (isFilled_ && column == column_ && row == row_) return;
    column_ = column;
    row_ = row;
    isFilled_ = true;
    Point* point = points_;
    for (int y = row - 1; y <= row + 1; ++y) {
      for (int x = column - 1; x <= column + 1; ++x) {
        const uint64_t key = Mix(seed_, static_cast<uint32_t>(x), static_cast<uint32_t>(y));
        const float partX = static_cast<float>(Unit(Mix(key, 1)));
        const float partY = static_cast<float>(Unit(Mix(key, 2)));
        *point++ = {(static_cast<float>(x) + partX) * kCell,
                    (static_cast<float>(y) + partY) * kCell, key};
      }
    }
  }

  uint64_t seed_;
  bool isFilled_ = false;
  int column_ = 0;
  int row_ = 0;
  Point points_[9];
};

// Fine and coarse, strong and faint content; false where the leaves show.
bool PatchLight(uint64_t patch, float x, float y, float& light) {
  switch (PatchKind(patch)) {
    case Patch::kLeaves: return false;
    case Patch::kFaint:
      light = 0.35f * (1 + 0.25f * (FractalNoise(patch, x, y, 96, 3, 0.6f) - 0.5f));
      break;
    case Patch::kBars:
      light = RandomBars(patch, x, y, 9, static_cast<float>(Unit(Mix(patch, 3))) * 2 - 1);
      break;
    case Patch::kText: light = TextMarks(patch, x, y, 18); break;
    case Patch::kSoft: light = 0.15f + 0.5f * FractalNoise(patch, x, y, 128, 64, 1); break;
  }
  return true;
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
    const Leaves leaves(area, width_, height_, scale, seed_);
    Patches patches(Mix(seed_, 77));
    Image image(area);
    for (int y = area.y0; y < area.y1; ++y) {
      float* row = image.Row(y - area.y0);
      for (int x = area.x0; x < area.x1; ++x) {
        const float sx = static_cast<float>(x / scale);
        const float sy = static_cast<float>(y / scale);
        float& light = row[x - area.x0];
        if (!isMixed_ || !PatchLight(patches.At(sx, sy), sx, sy, light)) light = leaves.At(x, y);
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

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

[[noreturn]] void FailForUnknown(const std::string& name) {
  std::vector<std::string> names;
  for (const SceneName& scene : SceneNames()) names.push_back(scene.name);
  throw InputError("scene '" + name + "': expected one of " + Joined(names) +
                   ", or the path of a PNG or JPEG file" + tool::DidYouMean(name, names));
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
  if (nameOrPath.find_first_of("./") == std::string::npos) FailForUnknown(nameOrPath);
  return LoadPhotograph(nameOrPath, imageWidth, imageHeight);
}

std::unique_ptr<Scene> MakeFlatScene(float light) {
  return std::make_unique<FlatScene>(light);
}

}  // namespace simcam

// What stands in front of the camera, in focus and without noise.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "image.h"

namespace simcam {

class Scene {
 public:
  virtual ~Scene() = default;
  // The part of the scene that falls on `area`, which may reach beyond the image.
  virtual Image Render(const Area& area) const = 0;
};

struct SceneName {
  std::string name;
  std::string content;
};

// The procedural scenes.
const std::vector<SceneName>& SceneNames();

// A procedural scene by name, or a photograph by path (PNG or JPEG, anything with a '.' or a '/' in
// its name), fitted to fill an image of this size. `seed` arranges procedural scenes anew. Throws
// InputError.
std::unique_ptr<Scene> MakeScene(const std::string& nameOrPath, int imageWidth, int imageHeight,
                                 uint64_t seed);

// The photograph of MakeScene.
std::unique_ptr<Scene> LoadPhotograph(const std::string& path, int imageWidth, int imageHeight);

// An even grey field of this light: for noise and shading measurements.
std::unique_ptr<Scene> MakeFlatScene(float light);

}  // namespace simcam

// What the targets of the tool compare models by.
#pragma once

#include <algorithm>

#include "file_reader.h"
#include "model.h"
#include "small_manager.h"

namespace fuzz {

// In the order of their IDs. Those that nobody has are filled up with empty objects.
inline std::vector<tessarine::RawObject> ObjectsOf(const tessarine::Model& model) {
  std::vector<tessarine::RawObject> objects = model.objects;
  std::erase_if(objects, [](const auto& object) { return object.bytes.empty(); });
  std::sort(objects.begin(), objects.end(),
            [](const auto& a, const auto& b) { return a.id < b.id; });
  return objects;
}

// Without what only sources hold, or only files; in one order, which IDs may make another one.
inline tessarine::Model Plain(tessarine::Model model) {
  const auto byId = [](const auto& a, const auto& b) { return a.id < b.id; };
  const auto byType = [](const auto& a, const auto& b) { return a.type < b.type; };
  model.sharesEqual = true;
  model.hasWideSymbols = false;
  for (tessarine::Mode& mode : model.modes) {
    mode.label.clear();
    for (tessarine::Module& module : mode.modules) module.id = 0;
    std::sort(mode.modules.begin(), mode.modules.end(), byType);
  }
  std::sort(model.modes.begin(), model.modes.end(), byId);
  model.objects = ObjectsOf(model);
  return model;
}

// A sound file that holds no module which the small manager doesn't know is one that it can load.
inline void RequireLibraryLoads(const tessarine::Model& model, const tessarine::Bytes& file) {
  SmallSetManager manager;
  for (const tessarine::Mode& mode : model.modes)
    for (const tessarine::Module& module : mode.modules)
      if (!manager.Knows(module.type)) return;
  Require(manager.LoadBinaryParameters(file.data(), file.size()), "the library can load it");
}

}  // namespace fuzz

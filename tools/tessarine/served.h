// What the library makes of a file that is sound.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace tessarine {

// The names of the modules that each manager of the library has a class for, as sources have them.
struct ManagerModules {
  const char* manager;
  std::vector<std::string> names;
};
const std::vector<ManagerModules>& KnownNames();

// A line for each mode that no branch leads to, each module that no branch gets, and each module
// that a manager has no class for, at which the library gives the whole file up. The model is that
// of a file.
std::vector<std::string> FindUnserved(const Model& model);

}  // namespace tessarine

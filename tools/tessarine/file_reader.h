// Tuning files, read with every defect found.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace tessarine {

struct FileReading {
  // What could be read. Its modes have no cycles, and their parents and links exist.
  Model model;
  // One line each: where, and what is wrong with it.
  std::vector<std::string> defects;
  // The same of what is sound, but never comes to anyone (see FindUnserved).
  std::vector<std::string> unserved;
};

FileReading ReadFile(const Bytes& file);

}  // namespace tessarine

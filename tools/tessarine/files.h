// Whole files.
#pragma once

#include <string>

#include "bytes.h"

namespace tessarine {

// Throw InputError.
Bytes LoadBytes(const std::string& path);
std::string LoadText(const std::string& path);
// A file that can't be written whole is not left behind.
void SaveBytes(const std::string& path, View bytes);
void SaveText(const std::string& path, const std::string& text);

}  // namespace tessarine

// Whole files.
#pragma once

#include <string>

#include "bytes.h"

namespace tessarine {

// All throw tool::FileError.
Bytes LoadBytes(const std::string& path);
std::string LoadText(const std::string& path);
// What stood there stays as it is unless all of the new content can be written.
void SaveBytes(const std::string& path, View bytes);
void SaveText(const std::string& path, const std::string& text);

}  // namespace tessarine

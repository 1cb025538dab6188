#include "files.h"

#include "common/files.h"

namespace tessarine {

std::string LoadText(const std::string& path) {
  return tool::LoadFile(path);
}

Bytes LoadBytes(const std::string& path) {
  const std::string text = LoadText(path);
  return Bytes(text.begin(), text.end());
}

void SaveBytes(const std::string& path, View bytes) {
  tool::SaveFile(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void SaveText(const std::string& path, const std::string& text) {
  tool::SaveFile(path, text);
}

}  // namespace tessarine

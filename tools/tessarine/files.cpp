#include "files.h"

#include <cstdio>
#include <fstream>
#include <sstream>

#include "errors.h"

namespace tessarine {

std::string LoadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  // An empty file reads as a failure of the stream behind it.
  if (file && file.peek() == std::ifstream::traits_type::eof() && !file.bad()) return "";
  if (!file || !(content << file.rdbuf()))
    throw InputError(path + ": expected a file that can be read");
  return content.str();
}

Bytes LoadBytes(const std::string& path) {
  const std::string text = LoadText(path);
  return Bytes(text.begin(), text.end());
}

void SaveBytes(const std::string& path, View bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (file) return;
  std::remove(path.c_str());
  throw InputError(path + ": expected a file that can be written");
}

void SaveText(const std::string& path, const std::string& text) {
  SaveBytes(path, View(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

}  // namespace tessarine

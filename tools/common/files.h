// Whole files, read and written so that nothing is lost.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tool {

// A file that can't be read or written; the text names its path and the reason.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The content of a file, of a pipe as well. Throws FileError.
std::string LoadFile(const std::filesystem::path& path);

// Makes `content` the content of a file. It is written to a new file beside it, which then takes
// the place of the old one: whatever fails, and FileError is thrown, the old one is as it was. It
// keeps its mode, and where it can its owner; a symbolic link is followed, not replaced. A signal
// that asks the program to end waits for it.
// What is no regular file (a device, a pipe, /dev/stdout) is written to as it is.
void SaveFile(const std::filesystem::path& path, std::string_view content);

}  // namespace tool

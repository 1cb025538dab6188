#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

#include "host/orvo_host.h"
#include "orvo/osutils.h"

namespace {

struct FileState {
  std::mutex mutex;
  std::filesystem::path root;
  int64_t readsUntilFailure = -1;  // negative: none fails
  bool allLaterReadsFail = false;
};

FileState& State() {
  static FileState& state = *new FileState;
  return state;
}

bool ReadMustFail() {
  FileState& state = State();
  const std::lock_guard lock(state.mutex);
  if (state.readsUntilFailure < 0) return false;
  if (state.readsUntilFailure > 0) {
    --state.readsUntilFailure;
    return false;
  }
  if (!state.allLaterReadsFail) state.readsUntilFailure = -1;
  return true;
}

bool Writes(const char* mode) {
  return std::strpbrk(mode, "wa+") != nullptr;
}

// Normalising an absolute path takes out every "..", so that no path leaves the root folder.
std::filesystem::path BelowRoot(const std::filesystem::path& root,
                                const std::filesystem::path& path) {
  return root / path.lexically_normal().relative_path();
}

// A folder opens for reading, and only fails once it is read: it counts as a file that can't be
// opened.
FILE* OpenFile(const char* path, const char* mode) {
  std::error_code ignored;
  if (!std::filesystem::is_directory(path, ignored)) return std::fopen(path, mode);
  errno = EISDIR;
  return nullptr;
}

}  // namespace

namespace Orvo::OsUtils {

FILE* FOpen(const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  std::filesystem::path root;
  {
    FileState& state = State();
    const std::lock_guard lock(state.mutex);
    root = state.root;
  }
  if (root.empty() || path[0] != '/') return OpenFile(path, mode);

  const std::filesystem::path below = BelowRoot(root, path);
  if (Writes(mode)) {
    std::error_code ignored;  // a folder that can't be made shows when the file is opened
    std::filesystem::create_directories(below.parent_path(), ignored);
  }
  return OpenFile(below.c_str(), mode);
}

size_t FRead(void* buffer, size_t bufferSize, size_t elementSize, size_t count, FILE* file) {
  if (buffer == nullptr || file == nullptr || elementSize == 0) return 0;
  count = std::min(count, bufferSize / elementSize);
  return std::fread(buffer, elementSize, ReadMustFail() ? count / 2 : count, file);
}

size_t FWrite(const void* buffer, size_t elementSize, size_t count, FILE* file) {
  if (buffer == nullptr || file == nullptr) return 0;
  return std::fwrite(buffer, elementSize, count, file);
}

int FClose(FILE* file) {
  return file == nullptr ? EOF : std::fclose(file);
}

int FPrintF(FILE* file, const char* format, ...) {
  if (file == nullptr || format == nullptr) return -1;
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vfprintf(file, format, arguments);
  va_end(arguments);
  return written;
}

}  // namespace Orvo::OsUtils

namespace Orvo::Host {

void SetRootFolder(const std::string& folder) {
  FileState& state = State();
  const std::lock_guard lock(state.mutex);
  state.root = folder;
}

void FailRead(int64_t index, bool andAllLater) {
  FileState& state = State();
  const std::lock_guard lock(state.mutex);
  state.readsUntilFailure = index;
  state.allLaterReadsFail = andAllLater;
}

void NeverFailRead() {
  FailRead(-1);
}

}  // namespace Orvo::Host

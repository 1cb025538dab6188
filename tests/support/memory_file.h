// A file that never touches a disk, for tests that write one thousands of times.
#pragma once

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/tuning_file.h"

namespace test {

class MemoryFile {
 public:
  MemoryFile() : handle_(memfd_create("tuning", 0)) {
    path_ = "/proc/self/fd/" + std::to_string(handle_);
  }
  ~MemoryFile() { close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* path() const { return path_.c_str(); }
  // Opened once more, without the costs of a path; null if that fails.
  FILE* open() const {
    const int handle = dup(handle_);
    return handle < 0 ? nullptr : fdopen(handle, "rb");
  }
  // Replaces the content. Equal times of change hide that, unless the size tells it.
  bool write(const Bytes& bytes, int64_t seconds) {
    const timespec time{seconds, 0};
    const timespec times[] = {time, time};
    const auto size = static_cast<ssize_t>(bytes.size());
    return ftruncate(handle_, size) == 0 &&
           pwrite(handle_, bytes.data(), bytes.size(), 0) == size && futimens(handle_, times) == 0;
  }

 private:
  int handle_;
  std::string path_;
};

}  // namespace test

// What a fuzz target defines. Beside it may stand <target>.dict, words that mutations use, and
// corpus/<target>, files to start from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Runs one input. It may not depend on the inputs before.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

using Input = std::vector<uint8_t>;

// Inputs to start from that are made, rather than kept as files.
std::vector<Input> Seeds();

// A promise that no input may break.
inline void Require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}

// Gives the texts of an input one by one, each up to a separator, which is skipped. A text ends at
// a NUL as well, for it goes where C strings do.
class Texts {
 public:
  explicit Texts(std::string text) : rest_(std::move(text)) {}
  Texts(const uint8_t* data, size_t size) : rest_(data, data + size) {}

  bool IsAtEnd() const { return rest_.empty(); }
  std::string Next(char separator) {
    const size_t length = rest_.find(separator);
    const std::string text = rest_.substr(0, length);
    rest_.erase(0, length == std::string::npos ? length : length + 1);
    return text.substr(0, text.find('\0'));
  }

 private:
  std::string rest_;
};

}  // namespace fuzz

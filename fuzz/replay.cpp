// A main for targets where there is no fuzzer: runs the seeds, files, and a fixed number of
// mutations of both, the same ones everywhere.
//
//   <target>_replay [--mutations <count>] [--keep <file>] [--write <folder>] [file or folder...]
//
// --keep writes each input to a file before it runs: after a fault, the one that did it.
// --write saves the seeds and runs nothing.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "target.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Input;

struct Options {
  uint32_t mutations = 0;
  std::string keep;
  std::string write;
  std::vector<fs::path> paths;
};

[[noreturn]] void Fail(const std::string& text) {
  std::fprintf(stderr, "replay: %s\n", text.c_str());
  std::exit(2);
}

Options ReadOptions(const std::vector<std::string>& words) {
  Options options;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word.substr(0, 2) != "--") {
      options.paths.push_back(word);
      continue;
    }
    if (++i == words.size()) Fail(word + " needs a value");
    const std::string& value = words[i];
    if (word == "--keep") {
      options.keep = value;
    } else if (word == "--write") {
      options.write = value;
    } else if (word == "--mutations") {
      const char* end = value.data() + value.size();
      const auto read = std::from_chars(value.data(), end, options.mutations);
      if (read.ec != std::errc() || read.ptr != end) Fail("expected a number, found " + value);
    } else {
      Fail("unknown option " + word);
    }
  }
  return options;
}

void Save(const fs::path& path, const Input& input) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(input.data()),
             static_cast<std::streamsize>(input.size()));
  if (!file.flush()) Fail("can't write " + path.string());
}

Input Load(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail("can't read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Input> Inputs(const std::vector<fs::path>& paths) {
  std::vector<Input> inputs = fuzz::Seeds();
  for (const fs::path& path : paths) {
    std::vector<fs::path> files{path};
    if (fs::is_directory(path)) files.assign(fs::directory_iterator(path), {});
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) inputs.push_back(Load(file));
  }
  return inputs;
}

class Mutator {
 public:
  explicit Mutator(const std::vector<Input>& inputs) : inputs_(inputs) {}

  Input Next() {
    Input input = inputs_[Below(inputs_.size())];
    for (size_t i = 1 + Below(4); i > 0; --i) Change(input);
    return input;
  }

 private:
  size_t Below(size_t limit) { return random_() % limit; }

  void Change(Input& input) {
    if (input.empty()) input.push_back(0);
    const size_t place = Below(input.size());
    const auto at = input.begin() + static_cast<ptrdiff_t>(place);
    switch (Below(6)) {
      case 0: input[place] ^= static_cast<uint8_t>(1u << Below(8)); break;
      case 1: input[place] = static_cast<uint8_t>(random_()); break;
      case 2: PutWord(input, place / 4 * 4); break;
      case 3: input.erase(at, at + static_cast<ptrdiff_t>(Below(input.size() - place + 1))); break;
      case 4: input.insert(at, 1 + Below(4), static_cast<uint8_t>(random_())); break;
      default: Splice(input, place); break;
    }
  }
  // A number at the edge of something, or small enough for an ID.
  void PutWord(Input& input, size_t place) {
    const uint32_t words[] = {0, 1, 2, 3, 60, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const uint32_t word = words[Below(std::size(words))];
    if (input.size() >= 4 + place) std::memcpy(input.data() + place, &word, 4);
  }
  // Some bytes of another input, over this one's.
  void Splice(Input& input, size_t place) {
    const Input& other = inputs_[Below(inputs_.size())];
    if (other.empty()) return;
    const size_t from = Below(other.size());
    const size_t count = std::min({other.size() - from, input.size() - place, 1 + Below(64)});
    std::copy_n(other.begin() + static_cast<ptrdiff_t>(from), count,
                input.begin() + static_cast<ptrdiff_t>(place));
  }

  const std::vector<Input>& inputs_;
  std::mt19937 random_{1};
};

void RunOne(const Input& input, const Options& options) {
  if (!options.keep.empty()) Save(options.keep, input);
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ReadOptions({argv + 1, argv + argc});
  if (!options.write.empty()) {
    fs::create_directories(options.write);
    const std::vector<Input> seeds = fuzz::Seeds();
    for (size_t i = 0; i < seeds.size(); ++i)
      Save(fs::path(options.write) / ("seed-" + std::to_string(i)), seeds[i]);
    return 0;
  }
  const std::vector<Input> inputs = Inputs(options.paths);
  if (inputs.empty()) Fail("there is nothing to run");
  for (const Input& input : inputs) RunOne(input, options);
  Mutator mutator(inputs);
  for (uint32_t i = 0; i < options.mutations; ++i) RunOne(mutator.Next(), options);
  std::printf("%zu inputs and %u mutations of them ran\n", inputs.size(), options.mutations);
  return 0;
}

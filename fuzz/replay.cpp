// A main for builds without a fuzzer: runs the target on each file that is named.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "can't read %s\n", argv[i]);
      return 1;
    }
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
}

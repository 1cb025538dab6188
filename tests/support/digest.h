// One number for many values, the same on every machine.
#pragma once

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

namespace test {

// FNV-1a over the little-endian bytes of each value.
class Digest {
 public:
  template <class Value>
  void Add(Value value) {
    static_assert(sizeof(Value) <= 8);
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    for (size_t i = 0; i < sizeof value; ++i) {
      hash_ = (hash_ ^ (bits >> (8 * i) & 0xff)) * 0x100000001b3u;
    }
  }
  template <class Value>
  void AddAll(const std::vector<Value>& values) {
    for (const Value value : values) Add(value);
  }
  void Print(const char* name) const { std::printf("%s %016" PRIx64 "\n", name, hash_); }

 private:
  uint64_t hash_ = 0xcbf29ce484222325u;
};

}  // namespace test

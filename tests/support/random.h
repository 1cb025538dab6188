// Random numbers, the same in every standard library.
#pragma once

#include <cstdint>

namespace test {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint64_t Bits() {
    state_ += 0x9e3779b97f4a7c15u;
    uint64_t mixed = (state_ ^ state_ >> 30) * 0xbf58476d1ce4e5b9u;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebu;
    return mixed ^ mixed >> 31;
  }
  uint32_t Next() { return static_cast<uint32_t>(Bits() >> 32); }
  uint32_t Below(uint32_t limit) { return Next() % limit; }

 private:
  uint64_t state_;
};

}  // namespace test

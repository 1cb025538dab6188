// Random numbers that depend on nothing but the numbers they are made from: the same on every
// machine, and the same for one pixel whatever else is rendered.
#pragma once

#include <cstdint>

namespace simcam {

// A well mixed word: neighbouring inputs give unrelated outputs.
constexpr uint64_t Mix(uint64_t word) {
  word += 0x9e3779b97f4a7c15u;
  word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9u;
  word = (word ^ (word >> 27)) * 0x94d049bb133111ebu;
  return word ^ (word >> 31);
}

constexpr uint64_t Mix(uint64_t first, uint64_t second) {
  return Mix(Mix(first) ^ second);
}

constexpr uint64_t Mix(uint64_t first, uint64_t second, uint64_t third) {
  return Mix(Mix(first, second) ^ third);
}

// 0 to below 1.
constexpr double Unit(uint64_t word) {
  return static_cast<double>(word >> 11) * 0x1p-53;
}

// Close to normal with mean 0 and variance 1: the sum of eight uniform 16-bit numbers, so that no
// library function decides the last bit. Reaches 4.9 standard deviations.
constexpr float Normal(uint64_t key) {
  uint32_t sum = 0;
  for (uint64_t word : {Mix(key), Mix(key ^ 0x5851f42d4c957f2du)}) {
    for (int part = 0; part < 4; ++part) sum += static_cast<uint32_t>(word >> (16 * part)) & 0xffff;
  }
  constexpr double kMean = 8 * 65535 / 2.0;
  constexpr double kScale = 1.0 / 53510.22;  // sqrt(8 * (65536^2 - 1) / 12)
  return static_cast<float>((sum - kMean) * kScale);
}

// A stream of such numbers.
class Random {
 public:
  explicit Random(uint64_t seed) : seed_(seed) {}

  uint64_t Word() { return Mix(seed_, count_++); }
  double Uniform(double low, double high) { return low + (high - low) * Unit(Word()); }

 private:
  uint64_t seed_;
  uint64_t count_ = 0;
};

}  // namespace simcam

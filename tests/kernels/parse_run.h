// The parsers run on a row, with just the room that its samples take.
#pragma once

#include <algorithm>

#include "kernel_inputs.h"
#include "parse_pattern.h"

namespace kernel_test {

struct Parsed {
  std::vector<uint16_t> left, right, leftRaw, rightRaw;
  float leftSum, rightSum;
  bool operator==(const Parsed&) const = default;
};

inline size_t PixelsOf(const auto& row) {
  return static_cast<size_t>(row.blockCount) * static_cast<size_t>(row.pairCount);
}

// The right sum starts with half of the left one.
inline Parsed Parse(const pdlib::KernelTable& form, const pdlib::ParseRow& row, float startSum = 0,
                    bool raw = false) {
  const auto samples = [&](const uint8_t* last) {
    return static_cast<size_t>(std::count_if(last, last + row.pairCount, std::identity()) *
                               row.blockCount);
  };
  const Samples left(samples(row.leftLast)), right(samples(row.rightLast));
  const Samples leftRaw(raw ? PixelsOf(row) : 0), rightRaw(raw ? PixelsOf(row) : 0);
  pdlib::ParseSink sink = {left.data(), right.data(), nullptr, nullptr, startSum, startSum / 2};
  if (raw) {
    sink.leftRaw = leftRaw.data();
    sink.rightRaw = rightRaw.data();
  }
  form.parseRow(row, sink);
  EXPECT_EQ(sink.left, left.end());
  EXPECT_EQ(sink.right, right.end());
  EXPECT_EQ(sink.leftRaw, raw ? leftRaw.end() : nullptr);
  EXPECT_EQ(sink.rightRaw, raw ? rightRaw.end() : nullptr);
  return {left.values(),     right.values(), leftRaw.values(),
          rightRaw.values(), sink.leftSum,   sink.rightSum};
}

inline Parsed ParseOptimized(const pdlib::KernelTable& form, const pdlib::OptimizedParseRow& row,
                             float startSum = 0) {
  const Samples left(PixelsOf(row)), right(PixelsOf(row));
  float leftSum = startSum;
  float rightSum = startSum / 2;
  form.parseRowOptimized(row, left.data(), right.data(), &leftSum, &rightSum);
  return {left.values(), right.values(), {}, {}, leftSum, rightSum};
}

}  // namespace kernel_test

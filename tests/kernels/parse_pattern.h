// What a row of the parsers points to, with the owner of its arrays.
#pragma once

#include <cstdint>
#include <vector>

#include "kernels/kernel_table.h"

namespace kernel_test {

struct ParsePattern {
  std::vector<uint32_t> leftOffset, rightOffset;
  std::vector<uint8_t> leftLast, rightLast;
  std::vector<uint16_t> gainIndex;
  int blocks;
  uint32_t blockStep;
  uint32_t gainStep = 2;
  int bytesPerPixel = 2;
  uint32_t blackLevel = 64;
  int shift = 8;

  pdlib::ParseRow Row(const void* line, const uint16_t* leftGain, const uint16_t* rightGain) const {
    return {.line = static_cast<const uint8_t*>(line),
            .bytesPerPixel = bytesPerPixel,
            .blockCount = blocks,
            .blockStep = blockStep,
            .pairCount = static_cast<int>(leftOffset.size()),
            .leftOffset = leftOffset.data(),
            .rightOffset = rightOffset.data(),
            .leftLast = leftLast.data(),
            .rightLast = rightLast.data(),
            .gainIndex = gainIndex.data(),
            .leftGain = leftGain,
            .rightGain = rightGain,
            .gainStep = gainStep,
            .blackLevel = blackLevel,
            .shift = shift};
  }
};

// The same row for the optimized parser, whose gains stand in the order of its pixels.
inline pdlib::OptimizedParseRow Optimized(const pdlib::ParseRow& row, const uint16_t* leftGain,
                                          const uint16_t* rightGain) {
  return {row.line,       row.bytesPerPixel, row.blockCount, row.blockStep, row.pairCount,
          row.leftOffset, row.rightOffset,   leftGain,       rightGain,     row.blackLevel};
}

}  // namespace kernel_test

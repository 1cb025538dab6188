// The SAD of two lines against its definition.
#include <algorithm>
#include <cstdlib>

#include "line_inputs.h"

namespace {

using namespace dense_test;
using kernel_test::Content;
using kernel_test::Guard;
using kernel_test::Samples;

struct SadCase {
  int length;
  int near;
  int far;
};

struct Lines {
  size_t left;
  size_t right;
};

int Shifts(const SadCase& c) {
  return std::abs(c.far - c.near) + 1;
}
int Compared(const SadCase& c) {
  return std::max(c.length - Shifts(c), 0) + 1;
}

// Samples that are read, and no more.
Lines ReadSamples(const SadCase& c) {
  return {static_cast<size_t>(std::max(-c.far, 0) + Shifts(c) - 1 + Compared(c)),
          static_cast<size_t>(std::max(c.far, 0) + Compared(c))};
}

std::vector<int> Expected(const SadCase& c, const uint16_t* left, const uint16_t* right) {
  std::vector<int> sads;
  for (int k = 0; k < Shifts(c); ++k) {
    uint32_t sum = 0;
    for (int j = 0; j < Compared(c); ++j) {
      const int l = left[std::max(-c.far, 0) + k + j];
      const int r = right[std::max(c.far, 0) + j];
      sum += static_cast<uint32_t>(std::abs(l - r));
    }
    sads.push_back(static_cast<int>(sum));
  }
  return sads;
}

class LineSad : public EveryForm {
 protected:
  static void Check(const SadCase& c, Content content) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) Check(c, content, guard);
  }

 private:
  static void Check(const SadCase& c, Content content, Guard guard) {
    Random random(static_cast<uint64_t>(c.length));
    const Lines read = ReadSamples(c);
    const Samples left(read.left, random, content, guard);
    const Samples right(read.right, random, Content::kFullRange, guard);
    const std::vector<int> expected = Expected(c, left.data(), right.data());
    const auto lowest = std::min_element(expected.begin(), expected.end());
    for (auto sad : {dpd_line_sad_optimized, dpd_line_sad_optimized_neon}) {
      if (sad == dpd_line_sad_optimized_neon && Shifts(c) > 32) continue;
      const Guarded<int> sads(expected.size(), guard);
      int index = -1;
      int value = -1;
      sad(left.data(), right.data(), c.length, c.near, c.far, &index, &value, sads.data());
      EXPECT_EQ(sads.values(), expected) << c.length << " samples, " << c.near << " to " << c.far;
      EXPECT_EQ(value, *lowest);
      EXPECT_EQ(index, lowest - expected.begin());
    }
  }
};

TEST_P(LineSad, EveryCountOfShifts) {
  for (int shifts = 1; shifts <= 65; ++shifts) {
    for (int length : {0, 1, shifts - 1, shifts, shifts + 1, 40, 100, 517, 1040 + shifts}) {
      Check({length, -shifts / 2, shifts - 1 - shifts / 2}, Content::kFullRange);
    }
  }
}

TEST_P(LineSad, LimitsOfEitherSignAndOrder) {
  for (int near : {-128, -31, -8, -1, 0, 5, 127}) {
    for (int far : {-128, -20, -1, 0, 3, 15, 127}) {
      Check({60, near, far}, Content::kTenBit);
      Check({60, near, far}, Content::kExtremes);
    }
  }
}

// 65536 samples of up to 65535 pass 2^32; totals as signed numbers are compared as such.
TEST_P(LineSad, SumsAreModulo32Bits) {
  Check({65535, -1, 1}, Content::kAllMax);
  Check({65535, -20, 20}, Content::kExtremes);
}

TEST_P(LineSad, FirstOfEqualMinimaStands) {
  const std::vector<uint16_t> left = {9, 5, 9, 5, 9, 5, 9};
  const std::vector<uint16_t> right = {5, 9, 5};
  int sads[4];
  int index = -1;
  int value = -1;
  // Displacements 0 to 3: a row of differences of 4, then none, and so on.
  dpd_line_sad_optimized(left.data(), right.data(), 6, -3, 0, &index, &value, sads);
  EXPECT_EQ(std::vector<int>(sads, sads + 4), (std::vector<int>{12, 0, 12, 0}));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(value, 0);
}

// 0x7fffffff itself is no minimum: 32768 differences of 65535 and one of 32767.
TEST_P(LineSad, NothingBelowTheStartLeavesTheIndex) {
  std::vector<uint16_t> left(32769, 65535);
  left.back() = 32767;
  const std::vector<uint16_t> right(32769, 0);
  int sad = 0;
  int index = -7;
  int value = 0;
  dpd_line_sad_optimized(left.data(), right.data(), 32769, 0, 0, &index, &value, &sad);
  EXPECT_EQ(sad, 0x7fffffff);
  EXPECT_EQ(value, 0x7fffffff);
  EXPECT_EQ(index, -7);
}

// The count of shifts is a 16-bit number: where it comes out below 1 nothing is computed.
TEST_P(LineSad, CountsBeyond16BitsComputeNothing) {
  const uint16_t sample = 0;
  for (int near : {-32767, -40000, -65534}) {
    int index = -7;
    int value = 0;
    dpd_line_sad_optimized(&sample, &sample, 1, near, 0, &index, &value, nullptr);
    EXPECT_EQ(index, -7);
    EXPECT_EQ(value, 0x7fffffff);
  }
}

FOR_EVERY_FORM(LineSad);

}  // namespace

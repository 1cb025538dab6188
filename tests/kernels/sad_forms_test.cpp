// Every fast form of the SAD gives the scalar form's vector and reads nothing but the samples that
// it uses.
#include <algorithm>

#include "kernel_inputs.h"

namespace {

using kernel_test::Content;
using kernel_test::Guard;
using kernel_test::Random;
using kernel_test::Samples;

struct SadCase {
  int rows;
  int positions;
  int sadLen;
  int shiftOffset;
  int strideBeyond;  // samples between the rows
  int narrower = 0;  // samples that the width lacks of all shifts at all positions
};

constexpr int32_t kSentinel = 0x5ca1ab1e;

class SadForms : public kernel_test::FastForm {
 protected:
  void Compare(const SadCase& c, Content leftContent, Content rightContent) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      Random random(static_cast<uint64_t>(c.positions * 1000 + c.sadLen));
      const int width = c.positions + c.sadLen - 1;
      const int stride = width + c.strideBeyond;
      const int before = (c.rows - 1) * stride;
      const Samples left(static_cast<size_t>(std::max(-c.shiftOffset, 0) + before + width), random,
                         leftContent, guard);
      const Samples right(static_cast<size_t>(std::max(c.shiftOffset, 0) + before + c.positions),
                          random, rightContent, guard);
      const auto run = [&](const pdlib::KernelTable& form) {
        std::vector<int32_t> out(static_cast<size_t>(c.sadLen) + 2, kSentinel);
        form.sad(left.data(), right.data(), static_cast<int16_t>(c.rows),
                 static_cast<int16_t>(width - c.narrower), static_cast<int16_t>(stride),
                 out.data() + 1, static_cast<int16_t>(c.shiftOffset),
                 static_cast<int16_t>(c.sadLen));
        return out;
      };
      const std::vector<int32_t> sads = run(fast());
      EXPECT_EQ(sads, run(kernel_test::ScalarForm()))
          << c.rows << " rows, " << c.positions << " positions, " << c.sadLen << " shifts";
      EXPECT_EQ(sads.front(), kSentinel);
      EXPECT_EQ(sads.back(), kSentinel);
    }
  }
};

TEST_P(SadForms, EveryCountOfPositionsAndShiftsAroundTheVectors) {
  for (int sadLen : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 23, 24, 25, 26, 32, 33}) {
    for (int positions = 1; positions <= 50; ++positions) {
      Compare({2, positions, sadLen, 0, positions % 3}, Content::kFullRange, Content::kFullRange);
    }
  }
}

TEST_P(SadForms, LongRowsAndVectors) {
  for (int positions : {1022, 1023, 1024, 1025, 1026, 1039, 1040, 1041, 2047, 2048, 2055}) {
    for (int sadLen : {1, 8, 25, 63, 64, 65, 130}) {
      Compare({1, positions, sadLen, 0, 0}, Content::kFullRange, Content::kFullRange);
    }
  }
}

TEST_P(SadForms, EitherImageMayStartInside) {
  for (int shiftOffset : {-9, -1, 1, 12}) {
    Compare({3, 40, 21, shiftOffset, 5}, Content::kFullRange, Content::kTenBit);
    Compare({3, 40, 27, shiftOffset, 5}, Content::kFullRange, Content::kTenBit);
  }
}

TEST_P(SadForms, ExtremesAndSumsPast32Bits) {
  for (Content left : kernel_test::kContents) {
    for (Content right : kernel_test::kContents) {
      Compare({5, 200, 16, 0, 0}, left, right);
      Compare({5, 200, 32, 0, 0}, left, right);
      // 64 rows of 3000 times up to 65535 pass 2^32.
      Compare({64, 3000, 8, 0, 0}, left, right);
      Compare({33, 3000, 25, 0, 0}, left, right);
    }
  }
}

TEST_P(SadForms, ImageNarrowerThanTheVectorHasOnePosition) {
  Compare({1, 1, 30, 0, 0, /*narrower=*/18}, Content::kFullRange, Content::kFullRange);
}

FOR_EACH_FAST_FORM(SadForms);

}  // namespace

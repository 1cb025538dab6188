// Every fast form of the SAD gives the scalar form's vector and reads nothing but the samples that
// it uses.
#include <algorithm>

#include "kernel_inputs.h"

namespace {

using kernel_test::Content;
using kernel_test::Random;
using kernel_test::Samples;

struct SadCase {
  int rows;
  int positions;
  int sadLen;
  int shiftOffset;
  int strideBeyond;  // samples between the rows
};

constexpr int32_t kSentinel = 0x5ca1ab1e;

std::vector<int32_t> Sad(const pdlib::KernelTable& form, const SadCase& c, const Samples& left,
                         const Samples& right, int stride) {
  std::vector<int32_t> out(static_cast<size_t>(c.sadLen) + 2, kSentinel);
  const int width = c.positions + c.sadLen - 1;
  form.sad(left.data(), right.data(), static_cast<int16_t>(c.rows), static_cast<int16_t>(width),
           static_cast<int16_t>(stride), out.data() + 1, static_cast<int16_t>(c.shiftOffset),
           static_cast<int16_t>(c.sadLen));
  return out;
}

class SadForms : public kernel_test::FastForm {
 protected:
  void Compare(const SadCase& c, Content leftContent, Content rightContent) {
    for (kernel_test::Guard guard : {kernel_test::Guard::kBehind, kernel_test::Guard::kBefore}) {
      Compare(c, leftContent, rightContent, guard);
    }
  }

 private:
  void Compare(const SadCase& c, Content leftContent, Content rightContent,
               kernel_test::Guard guard) {
    Random random(static_cast<uint64_t>(c.positions * 1000 + c.sadLen));
    const int stride = c.positions + c.sadLen - 1 + c.strideBeyond;
    const int before = (c.rows - 1) * stride;
    const size_t leftCount =
        static_cast<size_t>(std::max(-c.shiftOffset, 0) + before + c.positions + c.sadLen - 1);
    const size_t rightCount =
        static_cast<size_t>(std::max(c.shiftOffset, 0) + before + c.positions);
    const Samples left(leftCount, random, leftContent, guard);
    const Samples right(rightCount, random, rightContent, guard);
    const std::vector<int32_t> sads = Sad(fast(), c, left, right, stride);
    EXPECT_EQ(sads, Sad(kernel_test::ScalarForm(), c, left, right, stride))
        << c.rows << " rows, " << c.positions << " positions, " << c.sadLen << " shifts";
    EXPECT_EQ(sads.front(), kSentinel);
    EXPECT_EQ(sads.back(), kSentinel);
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
  Random random(5);
  const Samples left(30, random, Content::kFullRange);
  const Samples right(1, random, Content::kFullRange);
  int32_t expected[30];
  int32_t sads[30];
  kernel_test::ScalarForm().sad(left.data(), right.data(), 1, 12, 12, expected, 0, 30);
  fast().sad(left.data(), right.data(), 1, 12, 12, sads, 0, 30);
  EXPECT_TRUE(std::equal(sads, sads + 30, expected));
}

FOR_EACH_FAST_FORM(SadForms);

}  // namespace

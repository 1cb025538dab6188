// The parsers against arithmetic that can be redone by hand, in every form.
#include "parse_run.h"

namespace {

using kernel_test::Parse;
using kernel_test::Parsed;
using Values = std::vector<uint16_t>;

class Parsers : public kernel_test::FastForm {};

// Two blocks of three pairs; the first two pixels fold to one sample on the left, the last two on
// the right.
struct Line : kernel_test::ParsePattern {
  Line()
      : ParsePattern{{0, 1, 2}, {5, 4, 3}, {0, 1, 1}, {1, 0, 1}, {0, 1, 1}, 2, /*blockStep=*/6} {}
  Values pixels = {164, 264, 64, 0,  1064, 364,  //
                   65,  66,  67, 68, 69,   70};
  Values leftGain = {256, 512, 0, 25600};  // the second block starts at entry 2
  Values rightGain = {128, 256, 256, 384};

  pdlib::ParseRow Row() const {
    return ParsePattern::Row(pixels.data(), leftGain.data(), rightGain.data());
  }
};

TEST_P(Parsers, CorrectFoldAndAddUp) {
  const Line line;
  const Parsed parsed = Parse(fast(), line.Row(), 1000, true);
  // Above black: 100 200 0, 1 2 3; 300 1000 0, 6 5 4.
  EXPECT_EQ(parsed.leftRaw, (Values{100, 400, 0, 0, 200, 300}));
  EXPECT_EQ(parsed.rightRaw, (Values{150, 1000, 0, 6, 7, 6}));
  EXPECT_EQ(parsed.left, (Values{500, 0, 200, 300}));
  EXPECT_EQ(parsed.right, (Values{150, 1000, 6, 13}));
  EXPECT_EQ(parsed.leftSum, 1000 + 1000);
  EXPECT_EQ(parsed.rightSum, 500 + 1169);
}

TEST_P(Parsers, DropASampleThatItsBlockLeavesOpen) {
  Line line;
  line.leftLast = {0, 1, 0};
  line.leftGain.assign(4, 256);
  const Parsed parsed = Parse(fast(), line.Row());
  EXPECT_EQ(parsed.left, (Values{300, 3}));
  EXPECT_EQ(parsed.leftSum, 306);
}

TEST_P(Parsers, LimitPixelsAndWrapSamples) {
  Line line;
  line.pixels.assign(12, 65535);
  line.leftGain.assign(4, 512);
  line.rightGain.assign(4, 256);
  line.blackLevel = 0;
  const Parsed parsed = Parse(fast(), line.Row());
  EXPECT_EQ(parsed.left, (Values{65534, 65535, 65534, 65535}));  // twice 65535 in 16 bits
  EXPECT_EQ(parsed.right, (Values{65535, 65534, 65535, 65534}));
  EXPECT_EQ(parsed.leftSum, 6 * 65535);
  line.shift = 10;  // 65535 * 512 >> 10
  EXPECT_EQ(Parse(fast(), line.Row()).left, (Values{65534, 32767, 65534, 32767}));
}

TEST_P(Parsers, ReadPixelsOf8Bits) {
  Line line;
  const uint8_t pixels[12] = {164, 255, 64, 0, 65, 64, 64, 66, 67, 68, 69, 70};
  line.leftGain.assign(4, 256);
  line.bytesPerPixel = 1;
  pdlib::ParseRow row = line.Row();
  row.line = pixels;
  const Parsed parsed = Parse(fast(), row);
  EXPECT_EQ(parsed.left, (Values{291, 0, 2, 3}));
  EXPECT_EQ(parsed.right, (Values{0, 1, 6, 13}));
}

// Six pixels: a group of four is cut to 16 bits, the two that remain are limited.
TEST_P(Parsers, OptimizedCutsGroupsOfFourAndLimitsTheRest) {
  Line line;
  line.pixels.assign(12, 65535);
  line.pixels[1] = 63;
  line.blackLevel = 65;
  const Values leftGain(6, 512), rightGain(6, 256);
  const Parsed parsed = kernel_test::ParseOptimized(
      fast(), kernel_test::Optimized(line.Row(), leftGain.data(), rightGain.data()), 10);
  // 65470 * 2 = 130940, less 65536.
  EXPECT_EQ(parsed.left, (Values{65404, 0, 65404, 65404, 65535, 65535}));
  EXPECT_EQ(parsed.right, Values(6, 65470));
  EXPECT_EQ(parsed.leftSum, 10 + 3 * 65404 + 2 * 65535);
  EXPECT_EQ(parsed.rightSum, 5 + 6 * 65470);
}

INSTANTIATE_TEST_SUITE_P(, Parsers, testing::ValuesIn(kernel_test::Forms()), kernel_test::FormName);

}  // namespace

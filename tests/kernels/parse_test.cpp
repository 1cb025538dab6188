// The parsers against arithmetic that can be redone by hand, in every form.
#include <cstring>

#include "kernel_inputs.h"

namespace {

class Parsers : public kernel_test::FastForm {};

// Two blocks of three pairs; the first two pixels fold to one sample on the left, the last two on
// the right.
struct Line {
  std::vector<uint16_t> pixels = {164, 264, 64, 0,  1064, 364,  //
                                  65,  66,  67, 68, 69,   70};
  std::vector<uint32_t> leftOffset = {0, 1, 2};
  std::vector<uint32_t> rightOffset = {5, 4, 3};
  std::vector<uint8_t> leftLast = {0, 1, 1};
  std::vector<uint8_t> rightLast = {1, 0, 1};
  std::vector<uint16_t> gainIndex = {0, 1, 1};
  std::vector<uint16_t> leftGain = {256, 512, 0, 25600};  // the second block starts at entry 2
  std::vector<uint16_t> rightGain = {128, 256, 256, 384};

  pdlib::ParseRow Row() const {
    return {.line = reinterpret_cast<const uint8_t*>(pixels.data()),
            .bytesPerPixel = 2,
            .blockCount = 2,
            .blockStep = 6,
            .pairCount = 3,
            .leftOffset = leftOffset.data(),
            .rightOffset = rightOffset.data(),
            .leftLast = leftLast.data(),
            .rightLast = rightLast.data(),
            .gainIndex = gainIndex.data(),
            .leftGain = leftGain.data(),
            .rightGain = rightGain.data(),
            .gainStep = 2,
            .blackLevel = 64,
            .shift = 8};
  }
};

using Values = std::vector<uint16_t>;

TEST_P(Parsers, CorrectFoldAndAddUp) {
  const Line line;
  Values left(4), right(4), leftRaw(6), rightRaw(6);
  pdlib::ParseSink sink = {left.data(), right.data(), leftRaw.data(), rightRaw.data(), 1000, 0};
  fast().parseRow(line.Row(), sink);
  // Above black: 100 200 0, 1 2 3; 300 1000 0, 6 5 4.
  EXPECT_EQ(leftRaw, (Values{100, 400, 0, 0, 200, 300}));
  EXPECT_EQ(rightRaw, (Values{150, 1000, 0, 6, 7, 6}));
  EXPECT_EQ(left, (Values{500, 0, 200, 300}));
  EXPECT_EQ(right, (Values{150, 1000, 6, 13}));
  EXPECT_EQ(sink.leftSum, 2000);
  EXPECT_EQ(sink.rightSum, 1169);
  EXPECT_EQ(sink.left - left.data(), 4);
  EXPECT_EQ(sink.rightRaw - rightRaw.data(), 6);
}

TEST_P(Parsers, DropASampleThatItsBlockLeavesOpen) {
  Line line;
  line.leftLast = {0, 1, 0};
  line.leftGain.assign(4, 256);
  Values left(2), right(4);
  pdlib::ParseSink sink = {left.data(), right.data(), nullptr, nullptr, 0, 0};
  fast().parseRow(line.Row(), sink);
  EXPECT_EQ(left, (Values{300, 3}));
  EXPECT_EQ(sink.left, left.data() + 2);
  EXPECT_EQ(sink.leftSum, 306);
}

TEST_P(Parsers, LimitPixelsAndWrapSamples) {
  Line line;
  line.pixels.assign(12, 65535);
  line.leftGain.assign(4, 512);
  line.rightGain.assign(4, 256);
  pdlib::ParseRow row = line.Row();
  row.blackLevel = 0;
  Values left(4), right(4);
  pdlib::ParseSink sink = {left.data(), right.data(), nullptr, nullptr, 0, 0};
  fast().parseRow(row, sink);
  EXPECT_EQ(left, (Values{65534, 65535, 65534, 65535}));  // twice 65535 in 16 bits
  EXPECT_EQ(right, (Values{65535, 65534, 65535, 65534}));
  EXPECT_EQ(sink.leftSum, 6 * 65535);
  row.shift = 10;  // 65535 * 512 >> 10
  sink = {left.data(), right.data(), nullptr, nullptr, 0, 0};
  fast().parseRow(row, sink);
  EXPECT_EQ(left, (Values{65534, 32767, 65534, 32767}));
}

TEST_P(Parsers, ReadPixelsOf8Bits) {
  Line line;
  const uint8_t pixels[12] = {164, 255, 64, 0, 65, 64, 64, 66, 67, 68, 69, 70};
  line.leftGain.assign(4, 256);
  pdlib::ParseRow row = line.Row();
  row.line = pixels;
  row.bytesPerPixel = 1;
  Values left(4), right(4);
  pdlib::ParseSink sink = {left.data(), right.data(), nullptr, nullptr, 0, 0};
  fast().parseRow(row, sink);
  EXPECT_EQ(left, (Values{291, 0, 2, 3}));
  EXPECT_EQ(right, (Values{0, 1, 6, 13}));
}

// Six pixels: a group of four is cut to 16 bits, the two that remain are limited.
TEST_P(Parsers, OptimizedCutsGroupsOfFourAndLimitsTheRest) {
  Line line;
  line.pixels.assign(12, 65535);
  line.pixels[1] = 63;
  const Values leftGain(6, 512), rightGain(6, 256);
  const pdlib::OptimizedParseRow row = {
      .line = reinterpret_cast<const uint8_t*>(line.pixels.data()),
      .bytesPerPixel = 2,
      .blockCount = 2,
      .blockStep = 6,
      .pairCount = 3,
      .leftOffset = line.leftOffset.data(),
      .rightOffset = line.rightOffset.data(),
      .leftGain = leftGain.data(),
      .rightGain = rightGain.data(),
      .blackLevel = 65};
  Values left(6), right(6);
  float leftSum = 10;
  float rightSum = 0;
  fast().parseRowOptimized(row, left.data(), right.data(), &leftSum, &rightSum);
  // 65470 * 2 = 130940, less 65536.
  EXPECT_EQ(left, (Values{65404, 0, 65404, 65404, 65535, 65535}));
  EXPECT_EQ(right, Values(6, 65470));
  EXPECT_EQ(leftSum, 10 + 3 * 65404 + 2 * 65535);
  EXPECT_EQ(rightSum, 6 * 65470);
}

INSTANTIATE_TEST_SUITE_P(, Parsers, testing::ValuesIn(kernel_test::Forms()), kernel_test::FormName);

}  // namespace

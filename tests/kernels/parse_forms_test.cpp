// Every fast form of the parsers gives the scalar form's samples and sums, and touches nothing but
// the pixels, gains and samples that it uses.
#include <algorithm>
#include <numeric>

#include "kernel_inputs.h"

namespace {

using kernel_test::Content;
using kernel_test::Random;
using kernel_test::Samples;
using pdlib::KernelTable;

enum class Folding { kOne, kTwo, kFour, kAll, kIrregular, kOpen };
enum class Gains { kOnePerBlock, kSome, kExtreme };

struct ParseCase {
  int blocks;
  int pairs;
  int bytesPerPixel = 2;
  Folding folding = Folding::kTwo;
  Gains gains = Gains::kSome;
  int shift = 8;
  uint32_t blackLevel = 64;
  float startSum = 0;
  bool raw = false;
  bool fullRange = false;  // pixels of 16 bits, else of 10
};

// A pattern and a line of pixels that holds just what the pattern uses, at an odd address.
class Scene {
 public:
  explicit Scene(const ParseCase& c)
      : c_(c),
        random_(static_cast<uint64_t>(c.blocks * 1000 + c.pairs)),
        blockStep_(static_cast<uint32_t>(c.pairs) * 3),
        gainStep_(c.gains == Gains::kOnePerBlock ? 1 : 3),
        left_(Offsets()),
        right_(Offsets()),
        leftLast_(Flags()),
        rightLast_(Flags()) {
    for (int i = 0; i < c.pairs; ++i) {
      gainIndex_.push_back(
          static_cast<uint16_t>(c.gains == Gains::kOnePerBlock ? 2 : random_.Below(5)));
    }
    FillLine();
    const uint32_t lastGain = *std::max_element(gainIndex_.begin(), gainIndex_.end()) +
                              static_cast<uint32_t>(c.blocks - 1) * gainStep_;
    leftGain_ = GainMap(lastGain + 1);
    rightGain_ = GainMap(lastGain + 1);
  }

  pdlib::ParseRow row() const {
    return {.line = line(),
            .bytesPerPixel = c_.bytesPerPixel,
            .blockCount = c_.blocks,
            .blockStep = blockStep_,
            .pairCount = c_.pairs,
            .leftOffset = left_.data(),
            .rightOffset = right_.data(),
            .leftLast = leftLast_.data(),
            .rightLast = rightLast_.data(),
            .gainIndex = gainIndex_.data(),
            .leftGain = leftGain_->data(),
            .rightGain = rightGain_->data(),
            .gainStep = gainStep_,
            .blackLevel = c_.blackLevel,
            .shift = c_.shift};
  }

  pdlib::OptimizedParseRow optimizedRow(const uint16_t* leftGain, const uint16_t* rightGain) const {
    return {.line = line(),
            .bytesPerPixel = c_.bytesPerPixel,
            .blockCount = c_.blocks,
            .blockStep = blockStep_,
            .pairCount = c_.pairs,
            .leftOffset = left_.data(),
            .rightOffset = right_.data(),
            .leftGain = leftGain,
            .rightGain = rightGain,
            .blackLevel = c_.blackLevel};
  }

  size_t leftSamples() const { return SamplesPerRow(leftLast_); }
  size_t rightSamples() const { return SamplesPerRow(rightLast_); }
  size_t pixels() const { return static_cast<size_t>(c_.blocks) * static_cast<size_t>(c_.pairs); }

 private:
  const uint8_t* line() const { return line_->data() + kLineOffset; }

  size_t SamplesPerRow(const std::vector<uint8_t>& last) const {
    return static_cast<size_t>(std::accumulate(last.begin(), last.end(), 0) * c_.blocks);
  }

  std::vector<uint32_t> Offsets() {
    std::vector<uint32_t> offsets;
    for (int i = 0; i < c_.pairs; ++i) offsets.push_back(random_.Below(blockStep_ * 2));
    return offsets;
  }

  std::vector<uint8_t> Flags() {
    std::vector<uint8_t> last(static_cast<size_t>(c_.pairs));
    for (int i = 0; i < c_.pairs; ++i) {
      bool ends = i + 1 == c_.pairs && c_.folding != Folding::kOpen;
      if (c_.folding == Folding::kOne) ends = true;
      if (c_.folding == Folding::kTwo) ends |= i % 2 == 1;
      if (c_.folding == Folding::kOpen) ends |= i % 2 == 0 && i + 1 < c_.pairs;
      if (c_.folding == Folding::kFour) ends |= i % 4 == 3;
      if (c_.folding == Folding::kIrregular) ends |= random_.Below(3) == 0;
      last[static_cast<size_t>(i)] = ends;
    }
    return last;
  }

  void FillLine() {
    const uint32_t lastOffset = std::max(*std::max_element(left_.begin(), left_.end()),
                                         *std::max_element(right_.begin(), right_.end()));
    const size_t pixels =
        size_t{lastOffset} + size_t{blockStep_} * static_cast<size_t>(c_.blocks - 1) + 1;
    const size_t bytes = kLineOffset + pixels * static_cast<size_t>(c_.bytesPerPixel);
    line_ = std::make_unique<kernel_test::Guarded<uint8_t>>(bytes);
    for (uint8_t& byte : *line_) byte = static_cast<uint8_t>(random_.Next());
    if (c_.bytesPerPixel == 1 || c_.fullRange) return;
    for (size_t i = 1; i < 2 * pixels; i += 2) (*line_)[kLineOffset + i] &= 3;
  }

  std::unique_ptr<Samples> GainMap(size_t count) {
    auto map = std::make_unique<Samples>(count);
    for (uint16_t& gain : *map) {
      gain = static_cast<uint16_t>(c_.gains == Gains::kExtreme ? 65535 - random_.Below(2)
                                                               : 200 + random_.Below(400));
    }
    return map;
  }

  static constexpr size_t kLineOffset = 1;
  ParseCase c_;
  Random random_;
  uint32_t blockStep_;
  uint32_t gainStep_;
  std::vector<uint32_t> left_, right_;
  std::vector<uint8_t> leftLast_, rightLast_;
  std::vector<uint16_t> gainIndex_;
  std::unique_ptr<kernel_test::Guarded<uint8_t>> line_;
  std::unique_ptr<Samples> leftGain_, rightGain_;
};

struct Parsed {
  std::vector<uint16_t> left, right, leftRaw, rightRaw;
  float leftSum, rightSum;
  bool operator==(const Parsed&) const = default;
};

Parsed Parse(const KernelTable& form, const ParseCase& c, const Scene& scene) {
  Samples left(scene.leftSamples()), right(scene.rightSamples());
  Samples leftRaw(scene.pixels()), rightRaw(scene.pixels());
  pdlib::ParseSink sink = {left.data(),
                           right.data(),
                           c.raw ? leftRaw.data() : nullptr,
                           c.raw ? rightRaw.data() : nullptr,
                           c.startSum,
                           c.startSum / 2};
  form.parseRow(scene.row(), sink);
  EXPECT_EQ(sink.left, left.end());
  EXPECT_EQ(sink.right, right.end());
  if (c.raw) {
    EXPECT_EQ(sink.leftRaw, leftRaw.end());
    EXPECT_EQ(sink.rightRaw, rightRaw.end());
  }
  return {left.values(),     right.values(), leftRaw.values(),
          rightRaw.values(), sink.leftSum,   sink.rightSum};
}

Parsed ParseOptimized(const KernelTable& form, const ParseCase& c, const Scene& scene) {
  Random random(3);
  const Content content = c.gains == Gains::kExtreme ? Content::kFullRange : Content::kTenBit;
  const Samples leftGain(scene.pixels(), random, content);
  const Samples rightGain(scene.pixels(), random, content);
  Samples left(scene.pixels()), right(scene.pixels());
  float leftSum = c.startSum;
  float rightSum = c.startSum / 2;
  form.parseRowOptimized(scene.optimizedRow(leftGain.data(), rightGain.data()), left.data(),
                         right.data(), &leftSum, &rightSum);
  return {left.values(), right.values(), {}, {}, leftSum, rightSum};
}

class ParseForms : public kernel_test::FastForm {
 protected:
  void Compare(const ParseCase& c) {
    const Scene scene(c);
    EXPECT_TRUE(Parse(fast(), c, scene) == Parse(kernel_test::ScalarForm(), c, scene))
        << c.blocks << " blocks of " << c.pairs << " pairs";
    EXPECT_TRUE(ParseOptimized(fast(), c, scene) ==
                ParseOptimized(kernel_test::ScalarForm(), c, scene))
        << c.blocks << " blocks of " << c.pairs << " pairs, optimized";
  }
};

TEST_P(ParseForms, EveryCountOfBlocksAndPairs) {
  for (int blocks : {1, 2, 3, 4, 5, 8, 9, 75, 130}) {
    for (int pairs : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 32, 33, 127, 128}) {
      Compare({.blocks = blocks, .pairs = pairs});
      Compare({.blocks = blocks, .pairs = pairs, .bytesPerPixel = 1, .blackLevel = 16});
    }
  }
}

TEST_P(ParseForms, EveryFolding) {
  for (Folding folding : {Folding::kOne, Folding::kTwo, Folding::kFour, Folding::kAll,
                          Folding::kIrregular, Folding::kOpen}) {
    for (int pairs : {1, 4, 6, 8, 16, 24, 64}) {
      Compare({.blocks = 37, .pairs = pairs, .folding = folding, .raw = true});
      Compare({.blocks = 37, .pairs = pairs, .folding = folding, .gains = Gains::kExtreme});
    }
  }
}

TEST_P(ParseForms, EveryShiftAndBlackLevel) {
  for (int shift = 0; shift <= 14; ++shift) {
    for (uint32_t black : {0u, 64u, 65535u, 65536u, 0xffffffffu}) {
      for (Gains gains : {Gains::kOnePerBlock, Gains::kExtreme}) {
        Compare({.blocks = 21,
                 .pairs = 8,
                 .gains = gains,
                 .shift = shift,
                 .blackLevel = black,
                 .raw = true,
                 .fullRange = true});
      }
    }
  }
}

// From 2^24 on a sum in single precision depends on the order of its additions.
TEST_P(ParseForms, SumsKeepTheirOrderWhereItMatters) {
  for (float start : {16777215.0f, 16777216.0f, 16770000.0f, 33000000.0f, 5e8f, 1e12f}) {
    Compare({.blocks = 150, .pairs = 8, .startSum = start});
    Compare({.blocks = 150, .pairs = 7, .shift = 4, .startSum = start, .fullRange = true});
  }
}

TEST_P(ParseForms, NoBlocksGiveNothing) {
  ParseCase c = {.blocks = 1, .pairs = 8};
  const Scene scene(c);
  pdlib::ParseRow row = scene.row();
  row.blockCount = 0;
  pdlib::ParseSink sink = {nullptr, nullptr, nullptr, nullptr, 7, 8};
  fast().parseRow(row, sink);
  EXPECT_EQ(sink.left, nullptr);
  EXPECT_EQ(sink.leftSum, 7);
  EXPECT_EQ(sink.rightSum, 8);
}

FOR_EACH_FAST_FORM(ParseForms);

}  // namespace

// Every fast form of the parsers gives the scalar form's samples and sums, and touches nothing but
// the pixels, gains and samples that it uses.
#include <algorithm>

#include "parse_run.h"

namespace {

using kernel_test::Content;
using kernel_test::Parse;
using kernel_test::ParseOptimized;
using kernel_test::ParsePattern;
using kernel_test::PixelsOf;
using kernel_test::Random;
using kernel_test::Samples;

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
      : c_(c), random_(static_cast<uint64_t>(c.blocks * 1000 + c.pairs)), pattern_(Pattern()) {
    FillLine();
    const uint32_t lastGain =
        *std::max_element(pattern_.gainIndex.begin(), pattern_.gainIndex.end()) +
        static_cast<uint32_t>(c.blocks - 1) * pattern_.gainStep;
    leftGain_ = GainMap(lastGain + 1);
    rightGain_ = GainMap(lastGain + 1);
  }

  pdlib::ParseRow row() const {
    return pattern_.Row(line_->data() + kLineOffset, leftGain_->data(), rightGain_->data());
  }

 private:
  ParsePattern Pattern() {
    const uint32_t step = static_cast<uint32_t>(c_.pairs) * 3;
    const bool isOne = c_.gains == Gains::kOnePerBlock;
    ParsePattern pattern{
        {},      {}, {}, {}, {}, c_.blocks, step, isOne ? 1u : 3u, c_.bytesPerPixel, c_.blackLevel,
        c_.shift};
    for (int i = 0; i < c_.pairs; ++i) {
      pattern.leftOffset.push_back(random_.Below(step * 2));
      pattern.rightOffset.push_back(random_.Below(step * 2));
      pattern.leftLast.push_back(IsLast(i));
      pattern.rightLast.push_back(IsLast(i));
      pattern.gainIndex.push_back(static_cast<uint16_t>(isOne ? 2 : random_.Below(5)));
    }
    return pattern;
  }

  bool IsLast(int pair) {
    const bool endsBlock = pair + 1 == c_.pairs;
    switch (c_.folding) {
      case Folding::kOne: return true;
      case Folding::kTwo: return endsBlock || pair % 2 == 1;
      case Folding::kFour: return endsBlock || pair % 4 == 3;
      case Folding::kAll: return endsBlock;
      case Folding::kIrregular: return random_.Below(3) == 0 || endsBlock;
      case Folding::kOpen: return !endsBlock && pair % 2 == 0;
    }
    return false;
  }

  void FillLine() {
    uint32_t lastOffset = 0;
    for (const auto* offsets : {&pattern_.leftOffset, &pattern_.rightOffset})
      for (uint32_t offset : *offsets) lastOffset = std::max(lastOffset, offset);
    const size_t pixels =
        size_t{lastOffset} + size_t{pattern_.blockStep} * static_cast<size_t>(c_.blocks - 1) + 1;
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
  ParsePattern pattern_;
  std::unique_ptr<kernel_test::Guarded<uint8_t>> line_;
  std::unique_ptr<Samples> leftGain_, rightGain_;
};

class ParseForms : public kernel_test::FastForm {
 protected:
  void Compare(const ParseCase& c) {
    const Scene scene(c);
    const pdlib::ParseRow row = scene.row();
    Random random(3);
    const Content content = c.gains == Gains::kExtreme ? Content::kFullRange : Content::kTenBit;
    const Samples leftGain(PixelsOf(row), random, content);
    const Samples rightGain(PixelsOf(row), random, content);
    const auto optimized = kernel_test::Optimized(row, leftGain.data(), rightGain.data());
    const pdlib::KernelTable& scalar = kernel_test::ScalarForm();
    EXPECT_TRUE(Parse(fast(), row, c.startSum, c.raw) == Parse(scalar, row, c.startSum, c.raw))
        << c.blocks << " blocks of " << c.pairs << " pairs";
    EXPECT_TRUE(ParseOptimized(fast(), optimized, c.startSum) ==
                ParseOptimized(scalar, optimized, c.startSum))
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
  const Scene scene({.blocks = 1, .pairs = 8});
  pdlib::ParseRow row = scene.row();
  row.blockCount = 0;
  EXPECT_TRUE(Parse(fast(), row, 7) == (kernel_test::Parsed{{}, {}, {}, {}, 7, 3.5f}));
}

FOR_EACH_FAST_FORM(ParseForms);

}  // namespace

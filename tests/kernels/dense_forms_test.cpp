// Every fast form of the dense kernels gives the scalar form's lines and touches nothing around
// them.
#include "kernel_inputs.h"

namespace {

using kernel_test::Content;
using kernel_test::Guard;
using kernel_test::Guarded;
using kernel_test::Random;
using kernel_test::Samples;
using pdlib::KernelTable;

struct Packing {
  const char* name;
  void (*KernelTable::*fill)(const pdlib::DenseFill& fill);
  int (*bytes)(int sites);  // of a line up to the last byte that is needed
  bool inPairs;
};

const Packing kPackings[] = {
    {"words", &KernelTable::fillWords, [](int sites) { return 4 * sites; }, false},
    {"packed", &KernelTable::fillPacked, [](int sites) { return 5 * sites / 2; }, true},
    {"bytes", &KernelTable::fillBytes, [](int sites) { return 2 * sites; }, false},
};

struct FillCase {
  int firstSite;
  int sites;
  int log2Bin;
  int cap;
  int shift;
};

std::vector<uint16_t> Filled(const KernelTable& form, const Packing& packing, const FillCase& c,
                             Content content, Guard guard) {
  Random random(static_cast<uint64_t>(c.sites));
  const int stride = packing.bytes(c.firstSite + c.sites) + 3;
  const size_t count = static_cast<size_t>(c.sites);
  const Guarded<uint8_t> frame(static_cast<size_t>((stride << c.log2Bin) - 3), guard);
  for (uint8_t& byte : frame) {
    byte = static_cast<uint8_t>(kernel_test::NextSample(random, content));
  }
  const Samples leftGain(count, random, content, guard);
  const Samples rightGain(count, random, Content::kFullRange, guard);
  const Samples left(count, guard);
  const Samples right(count, guard);
  (form.*packing.fill)({frame.data(), static_cast<size_t>(stride), c.firstSite, c.sites, c.log2Bin,
                        static_cast<uint16_t>(c.cap), static_cast<int8_t>(c.shift), leftGain.data(),
                        rightGain.data(), left.data(), right.data()});
  std::vector<uint16_t> both = left.values();
  both.insert(both.end(), right.begin(), right.end());
  return both;
}

class DenseForms : public kernel_test::FastForm {
 protected:
  void Compare(const Packing& packing, const FillCase& c, Content content) {
    const KernelTable& scalar = kernel_test::ScalarForm();
    const auto expected = Filled(scalar, packing, c, content, Guard::kBehind);
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      EXPECT_EQ(Filled(fast(), packing, c, content, guard), expected)
          << packing.name << ", " << c.sites << " sites from " << c.firstSite << ", bin 2^"
          << c.log2Bin << ", cap " << c.cap << ", shift " << c.shift;
    }
  }
};

TEST_P(DenseForms, EveryCountOfSitesAroundTheVectors) {
  for (const Packing& packing : kPackings) {
    for (int sites = 1; sites <= 53; ++sites) {
      if (packing.inPairs && sites % 2 != 0) continue;
      for (int log2Bin = 0; log2Bin <= 4; ++log2Bin) {
        Compare(packing, {2, sites, log2Bin, 65535, 6 + log2Bin}, Content::kFullRange);
      }
    }
    // Chunks of packed sites and what is left over of them.
    for (int sites : {126, 128, 130, 142, 144, 256, 258, 998}) {
      Compare(packing, {0, sites, 2, 4000, 8}, Content::kFullRange);
    }
  }
}

TEST_P(DenseForms, EveryShiftAndCap) {
  for (const Packing& packing : kPackings) {
    for (int shift = -40; shift <= 40; ++shift) {
      Compare(packing, {0, 46, 1, 65535, shift}, Content::kFullRange);
    }
    for (int cap : {0, 1, 1023, 4092, 32767, 32768, 65534, 65535}) {
      for (Content content : kernel_test::kContents) {
        Compare(packing, {0, 46, 3, cap, 4}, content);
        Compare(packing, {1, 46, 4, cap, 16}, content);
      }
    }
  }
}

TEST_P(DenseForms, LinesThroughAnyFilter) {
  Random random(11);
  const auto coefficient = [&random] { return static_cast<float>(random.Below(4001)) / 1000 - 2; };
  for (int turn = 0; turn < 200; ++turn) {
    const float a[] = {1, coefficient(), coefficient() / 2};
    const float b[] = {coefficient(), turn % 2 == 0 ? 0 : coefficient(), coefficient()};
    const size_t count = 1 + random.Below(90);
    const int length = static_cast<int>(count);
    const Samples left(count, random, kernel_test::kContents[turn % 4]);
    const Samples right(count, random, Content::kFullRange);
    const Samples expected[] = {Samples(count), Samples(count)};
    const Samples filtered[] = {Samples(count), Samples(count), Samples(count)};
    kernel_test::ScalarForm().filterLines(
        {left.data(), right.data(), expected[0].data(), expected[1].data()}, length, a, b);
    fast().filterLines({left.data(), right.data(), filtered[0].data(), filtered[1].data()}, length,
                       a, b);
    fast().filterLine(left.data(), filtered[2].data(), length, a, b);
    EXPECT_EQ(filtered[0].values(), expected[0].values()) << turn;
    EXPECT_EQ(filtered[1].values(), expected[1].values()) << turn;
    EXPECT_EQ(filtered[2].values(), expected[0].values()) << turn;
  }
}

TEST_P(DenseForms, LineSads) {
  for (int positions : {1, 7, 8, 9, 15, 16, 17, 33, 1023, 1024, 1025, 1040, 2050}) {
    for (int shifts : {1, 2, 11, 12, 13, 24, 25, 63, 64, 65, 128, 130, 255}) {
      Random random(static_cast<uint64_t>(positions));
      for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
        const Samples left(static_cast<size_t>(positions + shifts - 1), random, Content::kFullRange,
                           guard);
        const Samples right(static_cast<size_t>(positions), random, Content::kExtremes, guard);
        const Guarded<int32_t> expected(static_cast<size_t>(shifts));
        const Guarded<int32_t> sads(static_cast<size_t>(shifts), guard);
        kernel_test::ScalarForm().lineSad(left.data(), right.data(), positions, shifts,
                                          expected.data());
        fast().lineSad(left.data(), right.data(), positions, shifts, sads.data());
        EXPECT_EQ(sads.values(), expected.values()) << positions << ", " << shifts;
      }
    }
  }
}

FOR_EACH_FAST_FORM(DenseForms);

}  // namespace

// The filters against arithmetic that can be redone by hand, in the form that is in force.
#include <algorithm>
#include <cmath>

#include "kernel_inputs.h"
#include "kernels/pd_core_filters.h"

namespace {

using Image = std::vector<uint16_t>;

// Runs a filter over an image of `rows` rows.
template <class Filter, class... Arguments>
Image Filtered(Filter filter, Image image, int rows, Arguments... arguments) {
  filter(image.data(), rows, static_cast<int>(image.size()) / std::max(rows, 1), arguments...);
  return image;
}

TEST(Filters, LeaveAnEmptyImageAlone) {
  for (auto [rows, cols] : {std::pair{0, 4}, {-1, 4}, {1, 0}, {1, -2}}) {
    Image image = {1, 200, 3, 400};
    const Image before = image;
    pd_core_gain(image.data(), rows, cols, 512, 8);
    pd_core_bpc(image.data(), rows, cols, 0);
    pd_core_resample(image.data(), rows, cols, 1, 128);
    pd_core_box1x2(image.data(), rows, cols);
    pd_core_box1x4(image.data(), rows, cols);
    pd_core_box2x1(image.data(), rows, cols);
    pd_core_iir(image.data(), rows, cols);
    EXPECT_EQ(image, before);
  }
}

TEST(Gain, UsesItsShiftForTheRestOfARowOnly) {
  const Image hundreds(2 * 6, 100);
  EXPECT_EQ(Filtered(pd_core_gain, hundreds, 2, 512u, 10),
            (Image{200, 200, 200, 200, 50, 50, 200, 200, 200, 200, 50, 50}));
  EXPECT_EQ(Filtered(pd_core_gain, Image(4, 100), 1, 512u, 10), Image(4, 200));
}

TEST(Gain, IsCutTo16Bits) {
  // 65535 * 512 >> 8 = 131070; 3 * 2^20 >> 8 = 12288.
  EXPECT_EQ(Filtered(pd_core_gain, Image(5, 65535), 1, 512u, 8), Image(5, 65534));
  EXPECT_EQ(Filtered(pd_core_gain, Image(4, 3), 1, 1u << 20, 8), Image(4, 12288));
}

TEST(Bpc, LimitsASampleToABandAroundItsNeighbours) {
  const std::tuple<Image, int, Image> cases[] = {
      {{100, 500, 100}, 512, {100, 150, 100}},
      {{100, 10, 100}, 512, {100, 50, 100}},
      {{100, 120, 100}, 512, {100, 120, 100}},
      {{100, 500, 101}, 0, {100, 100, 101}},           // the floored mean
      {{0, 1000, 0, 1000, 0}, 0, {0, 0, 1000, 0, 0}},  // of the neighbours as they were
      {{100, 0, 100}, 5000, {100, 0, 100}},            // counts as 1024: no lower limit
      {{100, 300, 100}, 5000, {100, 200, 100}},
      {{100, 300, 100}, -5, {100, 100, 100}},
      {{40000, 40000, 40000}, 1024, {40000, 14464, 40000}},  // 80000 cut to 16 bits
      {{7, 9}, 0, {7, 9}},
  };
  for (const auto& [row, threshold, filtered] : cases)
    EXPECT_EQ(Filtered(pd_core_bpc, row, 1, threshold), filtered);
}

TEST(Resample, MovesTheOddSamplesInside) {
  const std::tuple<Image, int16_t, int, Image> cases[] = {
      {{0, 1000, 2000, 3000, 4000}, 1, 128, {0, 1500, 2000, 3500, 4000}},
      {{0, 1000, 2000, 3000, 4000}, -1, 128, {0, 500, 2000, 2500, 4000}},
      {{0, 1000, 2000, 3000, 4000}, 1, 256, {0, 2000, 2000, 4000, 4000}},
      {{0, 1000, 2000, 3000, 4000}, 0, 128, {0, 1000, 2000, 3000, 4000}},
      {{0, 1000, 2000, 3000}, 1, 128, {0, 1500, 2000, 3000}},
  };
  for (const auto& [row, direction, weight, moved] : cases)
    EXPECT_EQ(Filtered(pd_core_resample, row, 1, direction, weight), moved);
}

TEST(Box, AveragesTheSamplesBefore) {
  EXPECT_EQ(Filtered(pd_core_box1x2, Image{1, 4, 65535, 65535, 8}, 1),
            (Image{1, 2, 32769, 65535, 32771}));
  EXPECT_EQ(Filtered(pd_core_box1x4, Image{1, 2, 3, 8, 15, 0}, 1), (Image{1, 2, 3, 3, 7, 6}));
  EXPECT_EQ(Filtered(pd_core_box1x4, Image{9, 8, 7}, 1), (Image{9, 8, 7}));
}

// 4 * 65535 is 65532 in 16 bits: samples 3 to 10 are one group of eight, 11 to 13 the rest.
TEST(Box, OfFourAddsWholeGroupsIn16Bits) {
  Image expected(14, 65535);
  std::fill(expected.begin() + 3, expected.begin() + 11, uint16_t{16383});
  EXPECT_EQ(Filtered(pd_core_box1x4, Image(14, 65535), 1), expected);
}

TEST(Box, DownTheColumnsAveragesTheRowsBelow) {
  const struct {
    void (*box)(uint16_t*, int, int);
    int taps;
  } boxes[] = {
      {pd_core_box2x1, 2}, {pd_core_box4x1, 4}, {pd_core_box8x1, 8}, {pd_core_box16x1, 16}};
  for (const auto& [box, taps] : boxes) {
    for (int rows : {1, 3, 8, 15, 16, 40}) {
      constexpr int kCols = 19;
      kernel_test::Random random(4);
      Image image(static_cast<size_t>(rows * kCols));
      for (uint16_t& sample : image) sample = static_cast<uint16_t>(random.Next());
      Image expected = image;
      for (int r = 0; r + taps <= rows; ++r) {
        for (int c = 0; c < kCols; ++c) {
          int sum = 0;
          for (int t = 0; t < taps; ++t) sum += image[static_cast<size_t>((r + t) * kCols + c)];
          expected[static_cast<size_t>(r * kCols + c)] = static_cast<uint16_t>(sum / taps);
        }
      }
      EXPECT_EQ(Filtered(box, image, rows), expected) << taps << " taps, " << rows << " rows";
    }
  }
}

TEST(Iir, GivesZeroForAConstantRowAndFollowsAStep) {
  EXPECT_EQ(Filtered(pd_core_iir, Image(2 * 12, 1000), 2), Image(2 * 12, 32768));
  // y: 0.1122 * 1000 = 112.2; then 112.2 + 1.7581 * 112.2 = 309.46; s2 is then
  // -112.2 - 0.7756 * 112.2 = -199.22, so 112.2 + 1.7581 * 309.46 - 199.22 = 457.04.
  EXPECT_EQ(Filtered(pd_core_iir, Image{0, 1000, 1000, 1000}, 1),
            (Image{32768, 32768 + 112, 32768 + 309, 32768 + 457}));
}

TEST(Iir, IsLimitedTo16BitsAndFollowsTheRecurrence) {
  kernel_test::Random random(6);
  Image row(500);
  for (size_t i = 0; i < row.size(); ++i) {
    row[i] = i < 250 ? static_cast<uint16_t>(random.Next()) : (i / 22 % 2 == 0 ? 0 : 65535);
  }
  const Image filtered = Filtered(pd_core_iir, row, 1);
  double s1 = -0.1122 * row[0];
  double s2 = s1;
  for (size_t i = 0; i < row.size(); ++i) {
    const double y = 0.1122 * row[i] + s1;
    s1 = 1.7581 * y + s2;
    s2 = -0.1122 * row[i] - 0.7756 * y;
    const double expected = std::clamp(std::round(y), -32768.0, 32767.0) + 32768;
    EXPECT_NEAR(filtered[i], expected, 1) << i;
  }
  EXPECT_EQ(*std::max_element(filtered.begin(), filtered.end()), 65535);
  EXPECT_EQ(*std::min_element(filtered.begin(), filtered.end()), 0);
}

TEST(Zyn10, UnpacksSixPixelsToAWord) {
  constexpr uint16_t kPixels[] = {0x3ff, 0x001, 0x200, 0x155, 0x2aa, 0x3fe};
  uint64_t word = uint64_t{0xf} << 60;  // the unused bits
  for (int i = 0; i < 6; ++i) word |= uint64_t{kPixels[i]} << (10 * i);
  for (uint16_t width = 0; width <= 20; ++width) {
    // Just the bytes that hold pixels: the last one ends at bit 10, 20, ... of its word.
    const size_t bytes = width / 6u * 8 + (width % 6u * 10 + 7) / 8;
    std::unique_ptr<uint8_t[]> packed(new uint8_t[bytes]);
    for (size_t i = 0; i < bytes; ++i) packed[i] = static_cast<uint8_t>(word >> (8 * (i % 8)));
    Image unpacked(width + 1u, 7);
    zyn10_to_uint16(packed.get(), unpacked.data(), width, 64, 1);
    for (size_t i = 0; i < width; ++i) EXPECT_EQ(unpacked[i], kPixels[i % 6]) << width;
    EXPECT_EQ(unpacked[width], 7);
  }
}

TEST(Zyn10, LinesAreOneStrideApartInBytesAndInSamples) {
  const uint8_t packed[2 * 10] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
  Image unpacked(20, 7);
  zyn10_to_uint16(packed, unpacked.data(), 2, 10, 2);
  EXPECT_EQ(unpacked, (Image{1, 0, 7, 7, 7, 7, 7, 7, 7, 7, 2, 0, 7, 7, 7, 7, 7, 7, 7, 7}));
}

}  // namespace

// Filling of columns, the vertical layout, against the definition.
#include <algorithm>

#include "line_inputs.h"
#include "support/log_capture.h"

namespace {

using namespace dense_test;

struct ColumnCase {
  int bin;
  uint32_t blockHeight;
  uint32_t rowHasPair[4];
  uint32_t flip;
  uint32_t type;  // above 3: rows are paired
};

constexpr int kLength = 9;
constexpr int kGainStep = 3;

class Column {
 public:
  explicit Column(const ColumnCase& c)
      : case_(c),
        request_(Request(c.bin, 10, 900)),
        rows_(kLength * static_cast<int>(c.blockHeight)),
        stride_(4 * c.bin + 1),
        frame_(static_cast<size_t>(std::max((rows_ - 1) * stride_ + 4 * c.bin, 0))),
        upperGain_((kLength - 1) * kGainStep + 1),
        lowerGain_((kLength - 1) * kGainStep + 1) {
    Random random(static_cast<uint64_t>(c.bin));
    for (uint8_t& byte : frame_) byte = static_cast<uint8_t>(random.Next());
    for (uint16_t& gain : upperGain_) gain = static_cast<uint16_t>(random.Next());
    for (uint16_t& gain : lowerGain_) gain = static_cast<uint16_t>(random.Next());
    request_.start_y = 20;
    request_.end_y = 20 + kLength;
    request_.line_stride = static_cast<uint16_t>(stride_);
    request_.block_height = c.blockHeight;
    request_.block_type[0] = c.type;
    request_.flip_vertical = c.flip;
    request_.gain_map_width = kGainStep;
    std::copy_n(c.rowHasPair, 4, request_.row_has_pair);
  }

  // Left results, then right ones; what is not filled stays 0.
  std::vector<uint16_t> Fill(dpd_fill_t* fill) const {
    const Guarded<uint16_t> left(kLength);
    const Guarded<uint16_t> right(kLength);
    EXPECT_EQ(fill(frame_.data(), left.data(), right.data(), &request_, upperGain_.data(),
                   lowerGain_.data()),
              Log2(case_.bin) + 6);
    std::vector<uint16_t> both = left.values();
    both.insert(both.end(), right.begin(), right.end());
    return both;
  }

  std::vector<uint16_t> Expected() const {
    std::vector<uint16_t> upper, lower;
    for (int r = 0; r < rows_ && upper.size() < kLength; ++r) {
      if (case_.type > 3) {
        if (r % 2 == 0 && r + 1 < rows_) {
          Append(upper, upperGain_, Words(r, 0, 1, 2 * case_.bin));
          Append(lower, lowerGain_, Words(r + 1, 0, 1, 2 * case_.bin));
        }
      } else if (IsTaken(r)) {
        Append(upper, upperGain_, Words(r, 0, 2, case_.bin));
        Append(lower, lowerGain_, Words(r, 1, 2, case_.bin));
      }
    }
    upper.resize(kLength);
    lower.resize(kLength);
    if (case_.flip != 0) std::swap(upper, lower);
    upper.insert(upper.end(), lower.begin(), lower.end());
    return upper;
  }

 private:
  bool IsTaken(int row) const {
    if (case_.blockHeight <= 1) return true;
    uint32_t place = static_cast<uint32_t>(row) % case_.blockHeight;
    if (case_.flip == 1) place = case_.blockHeight - 1 - place;
    return place < 4 && case_.rowHasPair[place] != 0;
  }
  uint32_t Words(int row, int first, int step, int count) const {
    uint32_t sum = 0;
    for (int i = 0; i < count; ++i) {
      sum += WordAt(frame_.data(), static_cast<size_t>(row * stride_ + 2 * (first + i * step)));
    }
    return std::min(sum & 0xffff, Cap(900, case_.bin));
  }
  void Append(std::vector<uint16_t>& samples, const Guarded<uint16_t>& gain, uint32_t sum) const {
    const uint32_t product = sum * gain[samples.size() * kGainStep];
    samples.push_back(static_cast<uint16_t>(product >> (Log2(case_.bin) + 6)));
  }

  ColumnCase case_;
  dpd_input_line_request_t request_;
  int rows_;
  int stride_;
  Guarded<uint8_t> frame_;
  Guarded<uint16_t> upperGain_;
  Guarded<uint16_t> lowerGain_;
};

#define BY_BIN(family)                                                \
  {                                                                   \
    dpd_line_fill_buffer_with_gain_unpacked_vertical_##family##1,     \
        dpd_line_fill_buffer_with_gain_unpacked_vertical_##family##2, \
        dpd_line_fill_buffer_with_gain_unpacked_vertical_##family##4, \
        dpd_line_fill_buffer_with_gain_unpacked_vertical_##family##8, \
        dpd_line_fill_buffer_with_gain_unpacked_vertical_##family##16 \
  }
dpd_fill_t* const kRows[] = BY_BIN(skip_bin);
dpd_fill_t* const kRowPairs[] = BY_BIN(bin2_bin);

TEST(ColumnFill, EveryArrangementOfRows) {
  const ColumnCase arrangements[] = {
      {0, 1, {0, 0, 0, 0}, 0, 2},  // blocks of a row: all rows count
      {0, 1, {0, 0, 0, 0}, 1, 2}, {0, 2, {1, 0, 1, 1}, 0, 2}, {0, 2, {1, 0, 0, 0}, 1, 3},
      {0, 2, {0, 0, 1, 1}, 0, 2},  // no row
      {0, 2, {1, 1, 0, 0}, 0, 2},  // more rows than outputs
      {0, 4, {0, 1, 0, 1}, 0, 2}, {0, 4, {0, 1, 0, 0}, 1, 2}, {0, 4, {1, 0, 1, 1}, 2, 2},
      {0, 6, {1, 0, 0, 1}, 0, 2},  // rows beyond the four flags never count
      {0, 6, {1, 0, 0, 1}, 1, 2}, {0, 0, {1, 1, 1, 1}, 0, 2}, {0, 1, {0, 0, 0, 0}, 0, 4},
      {0, 2, {0, 0, 0, 0}, 0, 5}, {0, 2, {1, 1, 0, 0}, 1, 4}, {0, 3, {0, 0, 0, 0}, 0, 4},
      {0, 0, {0, 0, 0, 0}, 0, 4},
  };
  for (ColumnCase c : arrangements) {
    for (int bin : kBins) {
      c.bin = bin;
      const Column column(c);
      const auto expected = column.Expected();
      dpd_fill_t* const* family = c.type > 3 ? kRowPairs : kRows;
      EXPECT_EQ(column.Fill(family[Log2(bin)]), expected)
          << "bin " << bin << ", blocks of " << c.blockHeight << " rows, flip " << c.flip
          << ", type " << c.type;
      EXPECT_EQ(column.Fill(dpd_line_fill_buffer_with_gain_unpacked_vertical), expected);
    }
  }
}

// One row of words 1, 2, 3, 4 with a bin of 2, and two rows of them: the pairs of rows stand twice
// as high.
TEST(ColumnFill, PairsOfRowsStandTwiceAsHigh) {
  const uint8_t frame[] = {1, 0, 2, 0, 3, 0, 4, 0, 1, 0, 2, 0, 3, 0, 4, 0};
  const uint16_t gain[] = {128};
  dpd_input_line_request_t request = Request(2);
  request.end_y = 1;
  request.block_height = 1;
  request.line_stride = 8;
  uint16_t upper = 0;
  uint16_t lower = 0;
  const auto fill = dpd_line_fill_buffer_with_gain_unpacked_vertical;
  fill(frame, &upper, &lower, &request, gain, gain);
  EXPECT_EQ(upper, 1 + 3);
  EXPECT_EQ(lower, 2 + 4);
  request.block_height = 2;
  request.block_type[0] = 4;
  fill(frame, &upper, &lower, &request, gain, gain);
  EXPECT_EQ(upper, 1 + 2 + 3 + 4);
  EXPECT_EQ(lower, 1 + 2 + 3 + 4);
}

TEST(ColumnFill, WrongBinsFillNothing) {
  const uint8_t frame[400] = {};
  const uint16_t gain[4] = {};
  for (uint32_t type : {2u, 4u}) {
    test::LogCapture log;
    uint16_t left[1] = {7};
    dpd_input_line_request_t request = Request(6);
    request.end_y = 1;
    request.block_height = 2;
    request.block_type[0] = type;
    dpd_line_fill_buffer_with_gain_unpacked_vertical(frame, left, left, &request, gain, gain);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"Number of binned lines 6 is not compatible"});
    EXPECT_EQ(left[0], 7);
  }
}

}  // namespace

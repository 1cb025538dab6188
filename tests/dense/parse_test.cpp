// A line job from the frame to the filtered lines: what is read from where, and what is left alone.
#include <numeric>

#include "line_inputs.h"

namespace {

using namespace dense_test;

// A job on a frame whose left word of site x in line y is 16 (64 y + x), the right one 1 more.
// Gains are 64 times (1 + row) in a map that has fewer rows than the frame.
class LineJob {
 public:
  static constexpr int kWidth = 40;
  static constexpr int kHeight = 12;
  static constexpr int kGainRows = 5;

  LineJob() {
    for (size_t y = 0; y < kHeight; ++y) {
      for (size_t x = 0; x < kWidth; ++x) {
        frame_[2 * (y * kWidth + x)] = Left(static_cast<int>(y), static_cast<int>(x));
        frame_[2 * (y * kWidth + x) + 1] = static_cast<uint16_t>(frame_[2 * (y * kWidth + x)] + 1);
      }
    }
    SetGainMap(kWidth, kGainRows);
    common_.p_left_gain = gains_.data();
    common_.p_right_gain = gains_.data();
    arg_.p_dpd_grid_common = &common_;
    arg_.request = Request(1);
    arg_.request.end_x = kWidth;
    arg_.request.end_y = kHeight;
    arg_.request.pd_width = kWidth;
    arg_.request.pd_height = kHeight;
    arg_.request.line_stride = 4 * kWidth;
    arg_.request.block_width = 2;
    arg_.request.block_height = 1;
    arg_.p_filter = &filter_;
    arg_.p_pd_buffer = reinterpret_cast<const uint8_t*>(frame_);
    arg_.p_left_line = left;
    arg_.p_right_line = right;
    arg_.p_left_filtered = leftFiltered;
    arg_.p_right_filtered = rightFiltered;
  }

  static uint16_t Left(int y, int x) { return static_cast<uint16_t>(16 * (64 * y + x)); }

  // Entry (column, row) is 64 (1 + row) + column.
  void SetGainMap(int width, int height) {
    common_.gain_map_width = static_cast<uint16_t>(width);
    common_.gain_map_height = static_cast<uint16_t>(height);
    gains_.clear();
    for (int row = 0; row < height; ++row) {
      for (int column = 0; column < width; ++column) gains_.push_back(Gain(column, row));
    }
    common_.p_left_gain = gains_.data();
    common_.p_right_gain = gains_.data();
  }
  static uint16_t Gain(int column, int row) {
    return static_cast<uint16_t>(64 * (1 + row) + column);
  }

  dpd_line_arg_t* arg() { return &arg_; }
  dpd_input_line_request_t& request() { return arg_.request; }

  static constexpr int kEntries = 2 * kWidth;
  uint16_t left[kEntries] = {};
  uint16_t right[kEntries] = {};
  uint16_t leftFiltered[kEntries] = {};
  uint16_t rightFiltered[kEntries] = {};

 private:
  uint16_t frame_[2 * kWidth * kHeight];
  std::vector<uint16_t> gains_;
  dpd_grid_common_t common_ = {};
  // A filter that halves, so that its output tells its input.
  dpd_filter_t filter_ = {{1, 0, 0}, {0.5f, 0, 0}};
  dpd_line_arg_t arg_ = {};
};

uint16_t Halved(uint16_t sample) {
  return static_cast<uint16_t>(0x8000 + (sample + 1) / 2);
}

uint16_t Gained(int sample, int gain) {
  return static_cast<uint16_t>(sample * gain >> 6);
}

// 12 lines on 5 rows of gains: line y takes row floor(y * 4/11 + 0.5).
TEST(LineParse, TakesTheNearestRowOfGains) {
  const int rows[LineJob::kHeight] = {0, 0, 1, 1, 1, 2, 2, 3, 3, 3, 4, 4};
  for (int y = 0; y < LineJob::kHeight; ++y) {
    LineJob job;
    job.request().start_x = 3;
    job.request().end_x = 30;
    job.request().start_y = static_cast<uint16_t>(y);
    EXPECT_EQ(dpd_core_parse_and_preprocess(job.arg()), 0);
    for (int i = 0; i < 27; ++i) {
      const int gain = LineJob::Gain(3 + i, rows[y]);
      const int sample = LineJob::Left(y, 3 + i);
      ASSERT_EQ(job.left[i], Gained(sample, gain)) << y << ", " << i;
      ASSERT_EQ(job.right[i], Gained(sample + 1, gain)) << y << ", " << i;
      ASSERT_EQ(job.leftFiltered[i], Halved(job.left[i])) << y << ", " << i;
      ASSERT_EQ(job.rightFiltered[i], Halved(job.right[i])) << y << ", " << i;
    }
    EXPECT_EQ(job.left[27], 0);
    EXPECT_EQ(job.leftFiltered[27], 0);
  }
}

TEST(LineParse, ImageOfOneLineTakesTheFirstRowOfGains) {
  LineJob job;
  job.request().pd_height = 1;
  dpd_core_parse_and_preprocess(job.arg());
  EXPECT_EQ(job.left[5], Gained(LineJob::Left(0, 5), LineJob::Gain(5, 0)));
}

TEST(LineParse, HdrKeepsEverySecondSite) {
  for (int length : {1, 2, 7, 8}) {
    LineJob job;
    std::fill_n(job.left, LineJob::kEntries, uint16_t{9});
    job.request().end_x = static_cast<uint16_t>(length);
    job.request().hdr_mode = 1;
    dpd_core_parse_and_preprocess(job.arg());
    const int kept = (length + 1) / 2;
    for (int i = 0; i < length; ++i) {
      const uint16_t site = Gained(LineJob::Left(0, 2 * i), LineJob::Gain(2 * i, 0));
      EXPECT_EQ(job.left[i], i < kept ? site : 0) << length << ", " << i;
    }
    EXPECT_EQ(job.left[length], 9);
    // The filter runs over half the length, rounded down.
    for (int i = 0; i < length; ++i) {
      EXPECT_EQ(job.leftFiltered[i], i < length / 2 ? Halved(job.left[i]) : 0) << i;
    }
  }
}

TEST(LineParse, EmptyHdrLinesStay) {
  uint16_t left[] = {1, 2};
  uint16_t right[] = {3, 4};
  dpd_input_line_request_t request = {};
  for (uint16_t start : {uint16_t{0}, uint16_t{5}}) {
    request.start_x = start;
    dpd_line_fill_buffer_hdr(left, right, &request);
    EXPECT_EQ(left[1], 2);
    EXPECT_EQ(right[1], 4);
  }
}

// The lines keep what they hold, and are filtered all the same.
TEST(LineParse, FramesThatNoRoutineReadsFillNothing) {
  for (uint32_t type : {uint32_t{kDpdBufferNotFilled}, 3u, 4u, 6u, 0xffffffffu}) {
    LineJob job;
    job.request().buffer_type = type;
    std::iota(job.left, job.left + LineJob::kEntries, uint16_t{100});
    dpd_core_parse_and_preprocess(job.arg());
    EXPECT_EQ(job.left[7], 107);
    EXPECT_EQ(job.leftFiltered[7], Halved(107));
  }
}

TEST(LineParse, PackingFollowsTheBufferType) {
  LineJob job;
  job.request().start_y = 1;
  const auto* bytes = job.arg()->p_pd_buffer + 4 * LineJob::kWidth;
  job.request().buffer_type = kDpdBuffer8Bits;
  job.request().pixel_depth = 8;
  dpd_core_parse_and_preprocess(job.arg());
  // A depth of 8 shifts by 4: gains of 64 upward quadruple.
  EXPECT_EQ(job.left[9], bytes[18] * LineJob::Gain(9, 0) >> 4);
  job.request().buffer_type = kDpdBuffer10BitsPacked;
  job.request().pixel_depth = 10;
  dpd_core_parse_and_preprocess(job.arg());
  EXPECT_EQ(job.left[4], Gained(bytes[10] << 2 | (bytes[14] & 3), LineJob::Gain(4, 0)));
}

// The check of raw data fills alone; frames of 8 bits it reads at half the distance of lines.
TEST(LinePreprocess, FillsWithoutFilter) {
  LineJob job;
  job.request().start_y = 4;
  EXPECT_EQ(dpd_core_line_preprocess(job.arg()), 0);
  EXPECT_EQ(job.left[6], Gained(LineJob::Left(4, 6), LineJob::Gain(6, 1)));
  EXPECT_EQ(job.leftFiltered[6], 0);

  job.request().buffer_type = kDpdBuffer8Bits;
  job.request().pixel_depth = 8;
  job.request().hdr_mode = 1;
  dpd_core_line_preprocess(job.arg());
  const auto* bytes = job.arg()->p_pd_buffer + 4 * (4 * LineJob::kWidth / 2);
  EXPECT_EQ(job.left[3], bytes[2 * 6] * LineJob::Gain(6, 1) >> 4);
  EXPECT_EQ(job.right[3], bytes[2 * 6 + 1] * LineJob::Gain(6, 1) >> 4);
  EXPECT_EQ(job.left[21], 0);
}

TEST(LinePreprocess, WritesLinesBackInterleaved) {
  LineJob job;
  job.left[0] = 64;
  job.left[1] = 65535;
  job.left[2] = 63;
  job.right[0] = 640;
  job.request().start_x = 2;  // doesn't count
  job.request().end_x = 3;
  uint16_t out[16];
  std::fill_n(out, 16, uint16_t{7});
  dpd_core_line_interleave_gmout(job.arg(), out, 1);
  EXPECT_EQ(std::vector<uint16_t>(out, out + 13),
            (std::vector<uint16_t>{7, 7, 7, 7, 7, 7, 1, 10, 1023, 0, 0, 0, 7}));
  std::fill_n(out, 16, uint16_t{7});
  job.request().hdr_mode = 1;
  dpd_core_line_interleave_gmout(job.arg(), out, 2);
  EXPECT_EQ(std::vector<uint16_t>(out, out + 7), (std::vector<uint16_t>{7, 7, 7, 7, 1, 10, 7}));
}

// Blocks of two sites by two rows, of which the second counts: output n of column x is row 2n + 1,
// and takes the gain of row n.
TEST(ColumnParse, TakesColumnRowsAndGains) {
  LineJob job;
  job.SetGainMap(7, 6);
  job.request().pd_width = 20;
  job.request().pd_height = 6;
  job.request().block_height = 2;
  job.request().row_has_pair[1] = 1;
  job.request().start_y = 3;
  job.request().end_y = 6;
  // 20 columns on 7 of gains: floor(x * 6/19 + 0.5).
  const struct {
    uint16_t column;
    int gainColumn;
  } cases[] = {{0, 0}, {1, 0}, {2, 1}, {4, 1}, {5, 2}, {17, 5}, {18, 6}};
  for (const auto& c : cases) {
    job.request().start_x = c.column;
    EXPECT_EQ(dpd_core_parse_and_preprocess_vertical(job.arg()), 0);
    EXPECT_EQ(job.request().gain_map_width, 7);
    for (int n = 0; n < 3; ++n) {
      const int row = 3 + n;
      const int upper = LineJob::Left(2 * row + 1, c.column);
      const int gain = LineJob::Gain(c.gainColumn, row);
      EXPECT_EQ(job.left[n], Gained(upper, gain)) << c.column << ", " << n;
      EXPECT_EQ(job.right[n], Gained(upper + 1, gain)) << c.column << ", " << n;
      EXPECT_EQ(job.rightFiltered[n], Halved(job.right[n]));
    }
    EXPECT_EQ(job.left[3], 0);
  }
}

TEST(ColumnParse, FillsNothingButWords) {
  for (uint32_t type : {uint32_t{kDpdBuffer8Bits}, uint32_t{kDpdBuffer10BitsPacked}, 1u}) {
    LineJob job;
    job.request().buffer_type = type;
    std::fill_n(job.left, LineJob::kEntries, uint16_t{100});
    dpd_core_parse_and_preprocess_vertical(job.arg());
    EXPECT_EQ(job.left[0], 100);
    EXPECT_EQ(job.leftFiltered[LineJob::kHeight - 1], Halved(100));
    EXPECT_EQ(job.leftFiltered[LineJob::kHeight], 0);
  }
}

}  // namespace

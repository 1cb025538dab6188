// The filter of the lines against its definition: one chain, one line after the other.
#include <algorithm>
#include <cmath>

#include "line_inputs.h"

namespace {

using namespace dense_test;
using kernel_test::Content;
using kernel_test::Guard;
using kernel_test::Samples;

struct Coefficients {
  float a[3];
  float b[3];
};

constexpr Coefficients kBandPass = {{1.0f, -1.8732f, 0.8837f}, {0.0582f, 0.0f, -0.0582f}};

std::vector<uint16_t> Filtered(const uint16_t* in, int length, const Coefficients& c) {
  std::vector<uint16_t> out;
  float z1 = c.b[2] * static_cast<float>(length > 0 ? in[0] : 0);
  float z2 = z1;
  for (int i = 0; i < length; ++i) {
    const float x = in[i];
    const float y = std::fma(c.b[0], x, z1);
    z1 = std::fma(c.b[1], x, -(c.a[1] * y)) + z2;
    z2 = std::fma(c.b[2], x, -(c.a[2] * y));
    const double rounded = std::trunc(static_cast<double>(y) + (y < 0 ? -0.5 : 0.5));
    const double sample = std::isnan(rounded) ? 0 : std::clamp(rounded, -32768.0, 32767.0);
    out.push_back(static_cast<uint16_t>(static_cast<int>(sample) + 32768));
  }
  return out;
}

class LineFilter : public EveryForm {};

TEST_P(LineFilter, EveryLengthAndContent) {
  std::vector<Coefficients> filters = {
      kBandPass,
      {{0, -1.5f, 0.7f}, {0.3f, 0.4f, -0.2f}},  // with its middle coefficient
      {{0, 0, 0}, {-3, 0, 2}},                  // past both limits
      {{0, -2, 1.1f}, {1, 0, 0}},               // grows without limit
      {{0, 0, 0}, {0.5f, 0, 0}},                // halves, to be rounded away from 0
      {{0, 0, 0}, {-0.5f, 0, 0}},
      {{0, 0, 0}, {NAN, 0, 0}},
      {{0, 0, 0}, {32766 / 65535.0f, 0, 0}},  // one short of either limit at full scale
      {{0, 0, 0}, {-32767 / 65535.0f, 0, 0}},
  };
  Random any(11);
  const auto coefficient = [&any] { return static_cast<float>(any.Below(4001)) / 1000 - 2; };
  for (int turn = 0; turn < 10; ++turn) {
    const float middle = turn % 2 == 0 ? 0 : coefficient();
    filters.push_back(
        {{1, coefficient(), coefficient() / 2}, {coefficient(), middle, coefficient()}});
  }
  for (const Coefficients& filter : filters) {
    for (Content content : kernel_test::kContents) {
      for (int length : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 300}) {
        Random random(static_cast<uint64_t>(length));
        const size_t count = static_cast<size_t>(length);
        const Samples left(count, random, content);
        const Samples right(count, random, content);
        const Samples leftOut(count);
        const Samples rightOut(count);
        dpd_line_IIR_optimized(left.data(), right.data(), leftOut.data(), rightOut.data(), filter.a,
                               filter.b, length);
        EXPECT_EQ(leftOut.values(), Filtered(left.data(), length, filter)) << length;
        EXPECT_EQ(rightOut.values(), Filtered(right.data(), length, filter)) << length;
        dpd_2nd_iir_float(right.data(), right.data(), length, filter.a, filter.b);
        EXPECT_EQ(right.values(), rightOut.values()) << "in place, " << length;
      }
    }
  }
}

// b0 + b2 is 0: a level passes as nothing from the first sample on.
TEST_P(LineFilter, FlatLinesAreZero) {
  for (int level : {0, 1, 1000, 32768, 65535}) {
    std::vector<uint16_t> line(200, static_cast<uint16_t>(level));
    dpd_2nd_iir_float(line.data(), line.data(), 200, kBandPass.a, kBandPass.b);
    EXPECT_EQ(line, std::vector<uint16_t>(200, 0x8000)) << level;
  }
}

TEST_P(LineFilter, NoSamplesAreTouched) {
  for (int length : {0, -1}) {
    const Samples none(0);
    const std::vector<uint16_t> before(20, 7);
    std::vector<uint16_t> left = before, right = before;
    dpd_line_IIR_optimized(none.data(), none.data(), left.data(), right.data(), kBandPass.a,
                           kBandPass.b, length);
    dpd_2nd_iir_float(none.data(), left.data(), length, kBandPass.a, kBandPass.b);
    EXPECT_EQ(left, before);
    EXPECT_EQ(right, before);
  }
}

FOR_EVERY_FORM(LineFilter);

}  // namespace

// What the tests of the line pipeline share: every kernel form in turn, frames and requests.
#pragma once

#include "dense/pdlib_dpd_utils.h"
#include "kernels/kernel_inputs.h"

namespace dense_test {

using kernel_test::Guarded;
using kernel_test::Random;

inline constexpr int kBins[] = {1, 2, 4, 8, 16};

inline int Log2(int bin) {
  return bin == 1 ? 0 : 1 + Log2(bin / 2);
}

// A test that runs once for each form of the kernels, the scalar one included.
class EveryForm : public testing::TestWithParam<const pdlib::KernelTable*> {
 protected:
  void SetUp() override { pdlib::SelectKernels(GetParam()->name); }
  void TearDown() override { pdlib::SelectKernels("best"); }
};

#define FOR_EVERY_FORM(suite) \
  INSTANTIATE_TEST_SUITE_P(, suite, testing::ValuesIn(kernel_test::Forms()), kernel_test::FormName)

// A request for words of 10 bits whose other members are zero.
inline dpd_input_line_request_t Request(int bin, int depth = 10, int clamp = 0xffff) {
  dpd_input_line_request_t request = {};
  request.bin_lines = static_cast<uint16_t>(bin);
  request.pixel_depth = static_cast<uint8_t>(depth);
  request.pixel_clamp = static_cast<uint16_t>(clamp);
  request.buffer_type = kDpdBuffer10BitsUnpacked;
  return request;
}

inline unsigned WordAt(const uint8_t* bytes, size_t byte) {
  return bytes[byte] | bytes[byte + 1] << 8;
}

// The clamp of a sum: the sample's, kept within 16 bits, times the bin.
inline uint32_t Cap(uint32_t clamp, int bin) {
  const uint32_t masks[] = {0xffff, 0x7fff, 0x3fff, 0x1fff, 0xfff};
  return (clamp & masks[Log2(bin)]) * static_cast<uint32_t>(bin);
}

}  // namespace dense_test

// Every fast form of the filters gives the scalar form's image and touches nothing around it.
#include <functional>

#include "kernel_inputs.h"

namespace {

using kernel_test::Content;
using kernel_test::Guard;
using kernel_test::Random;
using kernel_test::Samples;
using pdlib::KernelTable;

struct Filter {
  const char* name;
  std::function<void(const KernelTable&, uint16_t* samples, int rows, int cols)> run;
};

std::vector<Filter> Filters() {
  std::vector<Filter> filters = {
      {"box1x2", [](auto& form, auto... image) { form.box1x2(image...); }},
      {"box1x4", [](auto& form, auto... image) { form.box1x4(image...); }},
      {"iir", [](auto& form, auto... image) { form.iir(image...); }},
  };
  for (uint32_t gain : {0u, 1u, 255u, 256u, 300u, 65535u, 65536u, 0x123456u, 0xffffffffu}) {
    for (int shift : {0, 8, 12, 31}) {
      filters.push_back(
          {"gain", [gain, shift](auto& form, auto... image) { form.gain(image..., gain, shift); }});
    }
  }
  for (int threshold : {-1, 0, 1, 100, 1023, 1024, 5000}) {
    filters.push_back(
        {"bpc", [threshold](auto& form, auto... image) { form.bpc(image..., threshold); }});
  }
  for (int log2Taps : {1, 2, 3, 4}) {
    filters.push_back(
        {"boxNx1", [log2Taps](auto& form, auto... image) { form.boxNx1(image..., log2Taps); }});
  }
  return filters;
}

std::vector<uint16_t> Filtered(const KernelTable& form, const Filter& filter, int rows, int cols,
                               Content content, Guard guard) {
  Random random(static_cast<uint64_t>(rows * 1000 + cols));
  Samples image(static_cast<size_t>(rows) * static_cast<size_t>(cols), random, content, guard);
  filter.run(form, image.data(), rows, cols);
  return image.values();
}

class FilterForms : public kernel_test::FastForm {
 protected:
  void Compare(const Filter& filter, int rows, int cols, Content content) {
    const KernelTable& scalar = kernel_test::ScalarForm();
    const auto expected = Filtered(scalar, filter, rows, cols, content, Guard::kBehind);
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      EXPECT_EQ(Filtered(fast(), filter, rows, cols, content, guard), expected)
          << filter.name << " " << rows << " x " << cols;
    }
  }
};

// Every count of columns and of rows around the vectors, and extremes.
TEST_P(FilterForms, GiveTheScalarImage) {
  for (const Filter& filter : Filters()) {
    for (int cols = 1; cols <= 53; ++cols) {
      Compare(filter, 3, cols, Content::kFullRange);
      Compare(filter, 17, cols, Content::kTenBit);
    }
    for (int rows = 0; rows <= 41; ++rows) Compare(filter, rows, 19, Content::kFullRange);
    for (Content content : kernel_test::kContents) Compare(filter, 20, 300, content);
  }
}

FOR_EACH_FAST_FORM(FilterForms);

}  // namespace

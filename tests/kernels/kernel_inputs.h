// Input of the kernel tests: images in exact-size memory, and every form by name.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernels/kernel_table.h"

namespace kernel_test {

// A generator of our own: the same numbers in every standard library.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint32_t Next() {
    state_ += 0x9e3779b97f4a7c15u;
    uint64_t mixed = (state_ ^ state_ >> 30) * 0xbf58476d1ce4e5b9u;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebu;
    return static_cast<uint32_t>(mixed >> 32);
  }
  uint32_t Below(uint32_t limit) { return Next() % limit; }

 private:
  uint64_t state_;
};

enum class Content { kFullRange, kTenBit, kExtremes, kAllMax };
inline constexpr Content kContents[] = {Content::kFullRange, Content::kTenBit, Content::kExtremes,
                                        Content::kAllMax};

inline uint16_t NextSample(Random& random, Content content) {
  switch (content) {
    case Content::kFullRange: return static_cast<uint16_t>(random.Next());
    case Content::kTenBit: return static_cast<uint16_t>(random.Below(1024));
    case Content::kExtremes: return static_cast<uint16_t>(0 - random.Below(2));
    case Content::kAllMax: return 65535;
  }
  return 0;
}

// `count` samples in a heap block that ends with them, `misalignment` samples off its start; the
// address sanitizer sees every access behind them.
class Samples {
 public:
  Samples(size_t count, size_t misalignment = 0)
      : memory_(new uint16_t[count + misalignment]()),
        begin_(memory_.get() + misalignment),
        count_(count) {}
  Samples(size_t count, size_t misalignment, Random& random, Content content)
      : Samples(count, misalignment) {
    for (uint16_t& sample : *this) sample = NextSample(random, content);
  }

  uint16_t* data() const { return begin_; }
  uint16_t* begin() const { return begin_; }
  uint16_t* end() const { return begin_ + count_; }
  size_t size() const { return count_; }
  std::vector<uint16_t> values() const { return {begin(), end()}; }

 private:
  std::unique_ptr<uint16_t[]> memory_;
  uint16_t* begin_;
  size_t count_;
};

inline std::vector<const pdlib::KernelTable*> Forms() {
  std::vector<const pdlib::KernelTable*> forms;
  for (auto form = pdlib::AvailableKernels(); *form != nullptr; ++form) forms.push_back(*form);
  return forms;
}

inline const pdlib::KernelTable& ScalarForm() {
  return *Forms().front();
}

// A test that runs once for each fast form.
class FastForm : public testing::TestWithParam<const pdlib::KernelTable*> {
 protected:
  const pdlib::KernelTable& fast() const { return *GetParam(); }
};

inline std::vector<const pdlib::KernelTable*> FastForms() {
  std::vector<const pdlib::KernelTable*> forms = Forms();
  forms.erase(forms.begin());
  return forms;
}

inline std::string FormName(const testing::TestParamInfo<const pdlib::KernelTable*>& info) {
  return info.param->name;
}

}  // namespace kernel_test

namespace pdlib {
inline void PrintTo(const KernelTable* form, std::ostream* out) {
  *out << form->name;
}
}  // namespace pdlib

#define FOR_EACH_FAST_FORM(suite)                                                \
  INSTANTIATE_TEST_SUITE_P(, suite, testing::ValuesIn(kernel_test::FastForms()), \
                           kernel_test::FormName)

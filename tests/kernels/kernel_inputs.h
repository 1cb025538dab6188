// Input of the kernel tests: images in guarded memory, and every form by name.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "kernels/kernel_table.h"
#include "support/random.h"

namespace kernel_test {

using test::Random;

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

enum class Guard { kBehind, kBefore };

// `count` zero elements that end or begin right at a page without access: touching one element too
// many ends the test, in every build and on every processor.
template <class T>
class Guarded {
 public:
  explicit Guarded(size_t count, Guard guard = Guard::kBehind) : count_(count) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t bytes = (count * sizeof(T) + page - 1) / page * page;
    mapped_ = bytes + 2 * page;
    void* memory = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    pages_ = static_cast<uint8_t*>(memory);
    uint8_t* usable = pages_ + page;
    if (bytes > 0 && mprotect(usable, bytes, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    if (guard == Guard::kBehind) usable += bytes - count * sizeof(T);
    begin_ = reinterpret_cast<T*>(usable);
  }
  ~Guarded() { munmap(pages_, mapped_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  T* data() const { return begin_; }
  T* begin() const { return begin_; }
  T* end() const { return begin_ + count_; }
  T& operator[](size_t index) const { return begin_[index]; }
  size_t size() const { return count_; }
  std::vector<T> values() const { return {begin(), end()}; }

 private:
  uint8_t* pages_;
  size_t mapped_;
  T* begin_;
  size_t count_;
};

class Samples : public Guarded<uint16_t> {
 public:
  using Guarded::Guarded;
  Samples(size_t count, Random& random, Content content, Guard guard = Guard::kBehind)
      : Guarded(count, guard) {
    for (uint16_t& sample : *this) sample = NextSample(random, content);
  }
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

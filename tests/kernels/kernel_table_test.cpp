#include <cstring>
#include <set>

#include "kernel_inputs.h"

namespace {

std::set<std::string> FormNames() {
  std::set<std::string> names;
  for (const pdlib::KernelTable* form : kernel_test::Forms()) names.insert(form->name);
  return names;
}

TEST(KernelTable, HasEveryFormThatTheProcessorRuns) {
  std::set<std::string> expected = {"scalar"};
#if defined(__x86_64__)
  expected.insert("sse2");
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) expected.insert("avx2");
#elif defined(__aarch64__)
  expected.insert("neon");
#endif
  EXPECT_EQ(FormNames(), expected);
  EXPECT_STREQ(kernel_test::ScalarForm().name, "scalar");
}

TEST(KernelTable, StartsWithTheBestAndChangesByName) {
  const pdlib::KernelTable* best = kernel_test::Forms().back();
  EXPECT_EQ(&pdlib::Kernels(), best);
  for (const pdlib::KernelTable* form : kernel_test::Forms()) {
    EXPECT_TRUE(pdlib::SelectKernels(form->name));
    EXPECT_EQ(&pdlib::Kernels(), form);
  }
  ASSERT_TRUE(pdlib::SelectKernels("scalar"));
  EXPECT_FALSE(pdlib::SelectKernels("no such form"));
  EXPECT_STREQ(pdlib::Kernels().name, "scalar");
  EXPECT_TRUE(pdlib::SelectKernels("best"));
  EXPECT_EQ(&pdlib::Kernels(), best);
}

}  // namespace

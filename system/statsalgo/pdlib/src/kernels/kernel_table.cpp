#include "kernels/kernel_table.h"

#include <cstring>

#include "kernels/kernel_forms.h"

namespace pdlib {
namespace {

constexpr int kMaxForms = 3;

// The forms of this processor, found once.
struct FormList {
  const KernelTable* forms[kMaxForms + 1] = {};
  int count = 0;
  const KernelTable* current = nullptr;

  FormList() {
    Add(kScalarKernels);
#if defined(__x86_64__)
    Add(kSse2Kernels);
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) Add(kAvx2Kernels);
#elif defined(__aarch64__)
    Add(kNeonKernels);
#endif
    current = Best();
  }

  void Add(const KernelTable& form) {
    forms[count++] = &form;
  }
  const KernelTable* Best() const {
    return forms[count - 1];
  }
};

FormList& Forms() {
  static FormList list;
  return list;
}

}  // namespace

const KernelTable& Kernels() {
  return *Forms().current;
}

const KernelTable* const* AvailableKernels() {
  return Forms().forms;
}

bool SelectKernels(const char* name) {
  FormList& list = Forms();
  if (std::strcmp(name, "best") == 0) {
    list.current = list.Best();
    return true;
  }
  for (int i = 0; i < list.count; ++i) {
    if (std::strcmp(name, list.forms[i]->name) != 0) continue;
    list.current = list.forms[i];
    return true;
  }
  return false;
}

}  // namespace pdlib

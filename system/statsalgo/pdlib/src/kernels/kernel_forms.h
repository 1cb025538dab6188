// The forms there are. Each table lives in the translation unit of its instruction set.
#pragma once

#include "kernels/kernel_table.h"

namespace pdlib {

extern const KernelTable kScalarKernels;
#if defined(__x86_64__)
extern const KernelTable kSse2Kernels;
extern const KernelTable kAvx2Kernels;
#elif defined(__aarch64__)
extern const KernelTable kNeonKernels;
#endif

}  // namespace pdlib

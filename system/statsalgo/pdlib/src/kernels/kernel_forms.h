// The forms there are. Each table lives in the translation unit of its instruction set.
#pragma once

#include "kernels/kernel_table.h"

namespace pdlib {

extern const KernelTable kScalarKernels;

}  // namespace pdlib

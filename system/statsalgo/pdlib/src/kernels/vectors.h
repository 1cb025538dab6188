// The vectors of the architecture that is compiled for.
#pragma once

#if defined(__x86_64__)
#include "kernels/vectors_x86.h"
#elif defined(__aarch64__)
#include "kernels/vectors_neon.h"
#endif

#pragma once

#include <cstdint>

// One step of a branch of the mode tree; the first step of a branch is the root, 0.0.
struct TuningMode {
  uint32_t mode;
  uint16_t subMode;
};

// The record of a module whose schema is not built in: its data as it stands in the file.
#pragma once

#include <cstdint>

#include "parameterversion.h"

namespace tuning {

// Out-of-line objects appear as their IDs.
struct RawModuleType {
  uint32_t SymbolTableID;
  uint32_t rawSize;  // bytes
  uint8_t* rawData;  // null if there are none
};

}  // namespace tuning

// No exception crosses a layer.
#pragma once

#include "core/pdlib_flow.h"
#include "core/pdlib_log.h"

namespace pdlib {

// Runs one operation of a flow; an exception becomes a flow failure.
template <class Operation>
int RunGuarded(const char* name, Operation operation) {
  try {
    return operation();
  } catch (...) {
    PDLIB_ERROR("%s ended in an exception", name);
    return kPDStatusFlowFailed;
  }
}

}  // namespace pdlib

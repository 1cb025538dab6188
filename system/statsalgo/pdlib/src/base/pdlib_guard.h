// No exception crosses a layer.
#pragma once

#include "base/pdlib_log.h"
#include "base/pdlib_status.h"

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

// What the opaque handle of the core points to.
#pragma once

#include "frame/pdlib_flow.h"

class LogicalDriver;

// Owns all three.
struct PDLibHandle {
  IPDLIBFlow* flow;  // null: a flow that this version doesn't have, or no memory for it
  LogicalDriver* driver;
  IPDLIBFlow* testFlow;  // optional
};

// Flows that check a camera module while it runs. This version has none.
#pragma once

#include "frame/pdlib_flow.h"

// The test flow of PDLIB_TEST_MODE that goes with `flow`, or null.
IPDLIBFlow* CreatePDLibTestFlow(IPDLIBFlow* flow, const PDLibInitParam* init,
                                const afpdlibelements::tessarinePDLibType* tuning,
                                PDFlowType flowType);

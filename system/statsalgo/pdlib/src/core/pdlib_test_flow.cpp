#include "core/pdlib_test_flow.h"

#include "base/pdlib_log.h"

IPDLIBFlow* CreatePDLibTestFlow(IPDLIBFlow* /*flow*/, const PDLibInitParam* /*init*/,
                                const afpdlibelements::tessarinePDLibType* /*tuning*/,
                                PDFlowType flowType) {
  PDLIB_INFO("PDLIB_TEST_MODE: %d, flowType: %d", PDLIB_TEST_MODE.load(),
             static_cast<int>(flowType));
  PDLIB_ERROR("PDLibTest: Not a valid test mode");
  return nullptr;
}

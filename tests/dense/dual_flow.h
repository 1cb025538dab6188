// The inside of the dual-PD flow, for tests that look at its state.
#pragma once

#include "dense/dpd_software_flow_calibration.h"
#include "dense/dpd_software_flow_frame.h"
#include "dense/dpd_software_flow_grid.h"
#include "dense/dpd_software_flow_init.h"
#include "dense/pdlib_dpd_utils.h"
#include "support/flow_run.h"

namespace test {

using ProcessingMode = afpdlibelements::tessarinePDProcessingMode;

// A camera and the context alone, as Init and a frame's first step leave it.
struct OpenFlow {
  DualCamera camera;
  dpd_context_t context{};

  int init() { return InitDPDContext(&context, camera.init, &camera.tuning); }
  int open() {
    const int status = init();
    return status == kPDStatusOk ? SetDPDContextParamInfo(&context, camera.param) : status;
  }
};

}  // namespace test

// A camera with the inside of the flow that measures it, for tests that look at its state.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "dense/dpd_software_flow.h"
#include "dense/dpd_software_flow_calibration.h"
#include "dense/dpd_software_flow_frame.h"
#include "dense/dpd_software_flow_grid.h"
#include "dense/dpd_software_flow_init.h"
#include "dense/pdlib_dpd_utils.h"
#include "frame/pdlib_flow.h"
#include "support/dual_camera.h"
#include "support/log_capture.h"

namespace test {

using ProcessingMode = afpdlibelements::tessarinePDProcessingMode;

// The context alone, as Init and a frame's first step leave it.
struct OpenFlow {
  DualCamera camera;
  dpd_context_t context{};

  int init() { return InitDPDContext(&context, camera.init, &camera.tuning); }
  int open() {
    const int status = init();
    return status == kPDStatusOk ? SetDPDContextParamInfo(&context, camera.param) : status;
  }
};

// The flow as the core drives it.
struct FlowRun {
  explicit FlowRun(IPDLIBFlow* created = CreateDPDFlow()) : flow(created) {}
  DualCamera camera;
  std::unique_ptr<IPDLIBFlow> flow;
  PDLibOutputData output{};

  int init() { return flow->Init(&camera.init, &camera.tuning); }
  int frame() { return call(camera.imageHeight()); }  // one call with all lines
  int call(uint32_t lines) { return flow->Process(&camera.param, lines, &output); }
};

// All that the caller sees but the depth map.
inline bool SameResults(const PDLibOutputData& a, const PDLibOutputData& b) {
  return std::memcmp(&a, &b, offsetof(PDLibOutputData, depthMap)) == 0;
}

}  // namespace test

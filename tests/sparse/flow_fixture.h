// A camera and the horizontal flow that measures it.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "sparse/sparse_horizontal_flow.h"
#include "support/log_capture.h"
#include "support/sparse_camera.h"

namespace test {

struct FlowRun {
  SparseCamera camera;
  SparseHorizontalFlow flow;
  PDLibOutputData output{};

  int init() { return flow.Init(&camera.init, &camera.tuning); }
  // One call with all lines.
  int frame() { return call(camera.imageHeight()); }
  int call(uint32_t lines) { return flow.Process(&camera.param, lines, &output); }
  const PDLibDefocusInfo& result(size_t index) const { return output.defocusInfo[index]; }
};

// All that the caller sees but the depth map.
inline bool SameResults(const PDLibOutputData& a, const PDLibOutputData& b) {
  return std::memcmp(&a, &b, offsetof(PDLibOutputData, depthMap)) == 0;
}

}  // namespace test

// A camera and the flow that measures it, as the core drives it.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "dense/dpd_software_flow.h"
#include "sparse/sparse_horizontal_flow.h"
#include "support/dual_camera.h"
#include "support/log_capture.h"
#include "support/sparse_camera.h"

namespace test {

inline IPDLIBFlow* FlowFor(const SparseCamera&) {
  return CreateSparseHorizontalFlow();
}
inline IPDLIBFlow* FlowFor(const DualCamera&) {
  return CreateDPDFlow();
}

template <class Camera>
struct FlowRun {
  FlowRun() : flow(FlowFor(camera)) {}
  explicit FlowRun(IPDLIBFlow* another) : flow(another) {}
  Camera camera;
  std::unique_ptr<IPDLIBFlow> flow;
  PDLibOutputData output{};

  int init() { return flow->Init(&camera.init, &camera.tuning); }
  int frame() { return call(camera.imageHeight()); }  // one call with all lines
  int call(uint32_t lines) { return flow->Process(&camera.param, lines, &output); }
  const PDLibDefocusInfo& result(size_t index) const { return output.defocusInfo[index]; }
};
using SparseRun = FlowRun<SparseCamera>;
using DualRun = FlowRun<DualCamera>;

// All that the caller sees but the depth map.
inline bool SameResults(const PDLibOutputData& a, const PDLibOutputData& b) {
  return std::memcmp(&a, &b, offsetof(PDLibOutputData, depthMap)) == 0;
}

inline uint64_t LiveAllocations() {
  return Orvo::Host::Allocations().live;
}

// The allocation of this index fails while the object lives.
struct FailedAt {
  explicit FailedAt(int64_t index) { Orvo::Host::FailAllocation(index); }
  ~FailedAt() { Orvo::Host::NeverFailAllocation(); }
};

}  // namespace test

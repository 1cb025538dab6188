// Flows that don't come up, frames that are refused, memory that isn't there.
#include "plugin.h"

using test::Camera;
using test::ParamList;
using test::Plugin;

namespace {

using Failure = Plugin;

TEST_F(Failure, AFlowThatDoesNotComeUpStaysSafe) {
  for (const bool isMissing : {false, true}) {
    Camera camera(0);
    if (isMissing) {
      camera.tuning.HVControl.PDProcessingAxis = afpdlibelements::tessarinePDAxisControl{1};
    } else {
      camera.createParams.initParam.calibration = nullptr;
    }
    VekPDLib* lib = open(0);
    EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibFailed);
    EXPECT_EQ(wasLogged("PDLibFlow type 2 is not part of this version"), isMissing);
    EXPECT_NE(lib->pPrivate, nullptr);
    EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);  // finds the handle
    output_ = {};
    EXPECT_EQ(process(lib, camera, 3, 3), kPDLibFailed);
    EXPECT_EQ(output_.defocusInfo[8].confidence, 1023u);
    EXPECT_EQ(output_.defocusInfo[9].confidence, 0u);
    close(0);
    EXPECT_FALSE(std::filesystem::exists(dataFile(0)));
  }
}

TEST_F(Failure, ARefusedGridLeavesTheOutputAlone) {
  const Camera camera(0);
  VekPDLib* lib = start(camera);
  output_.defocusInfo[0].confidence = 4711;
  for (const auto& [columns, rows] : {std::pair{0u, 2u}, {2u, 0u}, {67u, 3u}, {65536u, 65536u}}) {
    EXPECT_EQ(process(lib, camera, columns, rows), kPDLibFailed);
    EXPECT_EQ(output_.defocusInfo[0].confidence, 4711u);
  }
  close(0);
}

// Whatever allocation fails, nothing leaks, every answer is a status, and once there is memory
// again the next frame or the next session works.
TEST_F(Failure, EveryAllocationMayFail) {
  enter();
  const Camera camera(0);
  const PDLibInputs inputs = camera.inputs();
  int64_t index = 0;
  for (bool hasFailed = true; hasFailed; ++index) {
    const uint64_t failuresBefore = Orvo::Host::Allocations().failures;
    Orvo::Host::FailAllocation(index);
    VekPDLib* lib = nullptr;
    EXPECT_EQ(callbacks_.pfnCreate(&lib, ParamList::Open(0).get()), kPDLibSuccess);
    int initialised = kPDLibFailed;
    int processed = kPDLibFailed;
    output_ = {};
    if (lib != nullptr) {
      initialised = lib->pfnInitialize(lib, &camera.createParams);
      processed = lib->pfnProcess(lib, &inputs, &output_);
    }
    hasFailed = Orvo::Host::Allocations().failures != failuresBefore;
    Orvo::Host::NeverFailAllocation();
    EXPECT_EQ(hasFailed, processed != kPDLibSuccess) << index;
    if (lib == nullptr) continue;
    if (lib->pPrivate != nullptr && processed != kPDLibSuccess) {
      EXPECT_EQ(output_.defocusInfo[3].confidence, 1023u) << index;
    }
    if (initialised == kPDLibSuccess) {
      EXPECT_EQ(lib->pfnProcess(lib, &inputs, &output_), kPDLibSuccess) << index;
    }
    lib->pfnDestroy(lib, ParamList::Close(0).get());
    EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_) << index;
  }
  EXPECT_GT(index, 8);
}

}  // namespace

// Memory: every allocation of Init and of the first frame fails in turn; ordinary frames need none.
#include <gtest/gtest.h>

#include "flow_fixture.h"

using test::FlowRun;
using test::LogCapture;
using test::SameResults;
using test::SparseCamera;

namespace {

uint64_t Live() {
  return Orvo::Host::Allocations().live;
}

// Everything that can be allocated: flips of all maps, peripheral windows, LCR.
void AskForEverything(SparseCamera& camera) {
  camera.init.nativePatternInfo.orientation = kOrientationMirrorAndFlip;
  camera.tuning.enablePeripheralWindows = 1;
  camera.tuning.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode(1);
  camera.tuning.correlation.lcrSearchRange = {-8, 8};
  camera.setWindows(2, 1);
}

struct FailedAt {
  explicit FailedAt(int64_t index) { Orvo::Host::FailAllocation(index); }
  ~FailedAt() { Orvo::Host::NeverFailAllocation(); }
};

TEST(Allocation, EachOneOfInitMayFail) {
  LogCapture log;
  const uint64_t live = Live();
  int64_t failures = 0;
  for (;; ++failures) {
    FlowRun run;
    AskForEverything(run.camera);
    int status;
    {
      const FailedAt failed(failures);
      status = run.init();
    }
    if (status == kPDStatusOk) break;
    // The context itself is the first one.
    EXPECT_EQ(status, failures == 0 ? kPDStatusNoMemory : kPDStatusFlowFailed);
    EXPECT_TRUE(log.has(failures == 0 ? "Out of memory" : "set init info error"));
    log.restart();
    EXPECT_EQ(Live(), live);
    EXPECT_EQ(run.frame(), kPDStatusFlowFailed);
    int size = 7;
    const void* data = nullptr;
    EXPECT_EQ(run.flow.GetAdaptiveData(&data, &size), kPDStatusBadInput);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(run.flow.DeInit(), kPDStatusBadInput);
    ASSERT_EQ(run.init(), kPDStatusOk);  // a second try works
    EXPECT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(run.flow.DeInit(), kPDStatusOk);
    EXPECT_EQ(Live(), live);
  }
  EXPECT_EQ(failures, 3);  // context, LCR bias, bias
  EXPECT_EQ(Live(), live);
}

TEST(Allocation, EachOneOfTheFirstFrameMayFail) {
  LogCapture log;
  const uint64_t live = Live();
  PDLibOutputData healthy;
  {
    FlowRun run;
    AskForEverything(run.camera);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    healthy = run.output;
  }
  int64_t failures = 0;
  for (;; ++failures) {
    FlowRun run;
    AskForEverything(run.camera);
    ASSERT_EQ(run.init(), kPDStatusOk);
    log.restart();
    int status;
    {
      const FailedAt failed(failures);
      status = run.frame();
    }
    if (status == kPDStatusOk) break;
    EXPECT_EQ(status, kPDStatusFlowFailed);
    EXPECT_TRUE(log.has("config pd context info failed"));
    EXPECT_TRUE(log.has("Out of memory") != log.has("mem allocation error\n"));
    if (failures % 2 == 0) continue;  // ends here, with what it has
    ASSERT_EQ(run.frame(), kPDStatusOk) << failures;
    EXPECT_TRUE(SameResults(run.output, healthy)) << failures;
  }
  // Maps and their flips, buffers, and the vectors of 7 centre and 8 peripheral entries.
  EXPECT_GT(failures, 7 * 4 + 8 * 2);
  EXPECT_EQ(Live(), live);
}

TEST(Allocation, LineOfEachVectorThatFails) {
  for (const char* line :
       {"mem allocation failed\n", "mem allocation error for Center window\n",
        "mem allocation error for Center window SAD sum vectors\n",
        "mem allocation error for Center window LC SAD sum vectors\n",
        "mem allocation error for Center window RC SAD sum vectors\n",
        "mem allocation error for center window\n", "mem allocation error for peripheral window\n",
        "Memory allocation failed"}) {
    bool seen = false;
    for (int64_t index = 0; !seen; ++index) {
      LogCapture log;
      FlowRun run;
      ASSERT_EQ(run.init(), kPDStatusOk);
      const FailedAt failed(index);
      if (run.frame() == kPDStatusOk) break;
      seen = log.has(line);
    }
    EXPECT_TRUE(seen) << line;
  }
}

// A skipped call brings the last result back while the grids of the new window are missing.
TEST(Allocation, FailedWindowChangeBehindARepeatedResult) {
  LogCapture log;
  FlowRun run;
  run.camera.tuning.enablePeripheralWindows = 1;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  run.camera.tuning.skipControl = {2, 10};
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  ASSERT_EQ(run.output.processingResult, kResultLowConfidence);
  run.camera.setWindows(2, 2);
  {
    const FailedAt failed(5);
    ASSERT_EQ(run.frame(), kPDStatusFlowFailed);
  }
  ASSERT_EQ(run.call(350), kPDStatusOk);  // skipped
  run.camera.param.lensPosition = 50;
  ASSERT_EQ(run.frame(), kPDStatusOk);
  EXPECT_EQ(run.output.horizontalWindowCount, 2u);
  EXPECT_EQ(run.output.isPeripheralValid, 1);
}

TEST(Allocation, NoneInAFrameWhoseWindowDidNotChange) {
  FlowRun run;
  AskForEverything(run.camera);
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  run.camera.tuning.skipControl = {4, 15};
  ASSERT_EQ(run.init(), kPDStatusOk);
  ASSERT_EQ(run.frame(), kPDStatusOk);
  const auto before = Orvo::Host::Allocations();
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(run.call(300), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
  }
  const auto after = Orvo::Host::Allocations();
  EXPECT_EQ(after.allocations, before.allocations);
  EXPECT_EQ(after.releases, before.releases);
}

TEST(Allocation, WindowChangeAndSecondInitReleaseWhatTheyReplace) {
  const uint64_t live = Live();
  {
    FlowRun run;
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    const uint64_t configured = Live();
    run.camera.setWindows(5, 5);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_GT(Live(), configured);
    run.camera.setWindows(3, 3);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(Live(), configured);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(Live(), configured);
  }
  EXPECT_EQ(Live(), live);
}

}  // namespace

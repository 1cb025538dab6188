// The flow that fuses two axes: weights by confidence, and what becomes of two results.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/pdlib_flows.h"
#include "sparse/sparse_horizontal_flow.h"
#include "sparse/sparse_hv_flow.h"
#include "support/log_capture.h"
#include "support/sparse_camera.h"

namespace {

using afpdlibelements::tessarineHVConfWeight;

TEST(HVWeight, FollowsItsPoints) {
  // Out of order, and with two points at one threshold.
  const std::vector<tessarineHVConfWeight> points = {
      {0.8F, 400}, {0.1F, 100}, {3.0F, 600}, {2.0F, 600}, {5.0F, 1000}};
  struct Case {
    int confidence;
    float weight;
  };
  for (const Case& c : {Case{0, 0.1F}, Case{100, 0.1F}, Case{250, 0.45F}, Case{400, 0.8F},
                        Case{1000, 5.0F}, Case{1024, 5.0F}}) {
    std::vector<tessarineHVConfWeight> table = points;
    EXPECT_NEAR(HVWeightLookUp(table.data(), 5, c.confidence), c.weight, 1e-6) << c.confidence;
    for (size_t i = 1; i < table.size(); ++i)
      EXPECT_LE(table[i - 1].confThreshold, table[i].confThreshold);
  }
  tessarineHVConfWeight single = {0.25F, 500};
  for (int confidence : {0, 500, 1023}) EXPECT_EQ(HVWeightLookUp(&single, 1, confidence), 0.25F);
}

class HVFlow : public ::testing::Test {
 protected:
  // Both sides by the horizontal sparse flow: what is blended is then known.
  void Select(float horizontal, float vertical) {
    values_ = {horizontal, vertical};
    entry_.Name = name_;
    entry_.enableFlag = 1;
    entry_.dataCount = 2;
    entry_.data = values_.data();
    camera_.tuning.extensionParam = &entry_;
    camera_.tuning.extensionParamCount = 1;
  }
  void Weigh(tessarineHVConfWeight* horizontal, tessarineHVConfWeight* vertical) {
    auto& control = camera_.tuning.HVControl;
    control.horizontalConfWeightTuning = horizontal;
    control.verticalConfWeightTuning = vertical;
    control.horizontalConfWeightTuningCount = control.verticalConfWeightTuningCount = 1;
  }
  int Init() {
    flow_.reset(CreateSparseHVFlow(nullptr));
    return flow_->Init(&camera_.init, &camera_.tuning);
  }
  PDLibOutputData Process(IPDLIBFlow* flow) {
    PDLibOutputData output;
    std::memset(static_cast<void*>(&output), 0x11, sizeof output);
    EXPECT_EQ(flow->Process(&camera_.param, camera_.imageHeight(), &output), kPDStatusOk);
    return output;
  }

  test::SparseCamera camera_;
  test::LogCapture log_;
  std::unique_ptr<IPDLIBFlow> flow_;
  char name_[12] = "HVSelection";
  std::vector<float> values_;
  statsglobalelements::statsExtensionParamType entry_{};
};

TEST_F(HVFlow, BlendsWindowByWindow) {
  camera_.exposeShifted(8);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  ASSERT_EQ(Init(), kPDStatusOk);
  std::unique_ptr<IPDLIBFlow> alone(CreateSparseHorizontalFlow());
  ASSERT_EQ(alone->Init(&camera_.init, &camera_.tuning), kPDStatusOk);

  const PDLibOutputData fused = Process(flow_.get());
  const PDLibOutputData single = Process(alone.get());
  EXPECT_EQ(fused.horizontalWindowCount, single.horizontalWindowCount);
  EXPECT_EQ(fused.processingResult, single.processingResult);
  for (uint32_t i = 0; i < 10; ++i) {
    EXPECT_NEAR(fused.defocusInfo[i].phaseDiff, single.defocusInfo[i].phaseDiff, 1e-4) << i;
    EXPECT_NEAR(fused.defocusInfo[i].confidence, single.defocusInfo[i].confidence, 1) << i;
    EXPECT_EQ(fused.defocusInfo[i].rangeLow, 0x1111) << i;  // the caller's
  }
  EXPECT_EQ(fused.depthMap.depthConfidence[0], 0x11111111U);
}

TEST_F(HVFlow, WithoutWeightTheHorizontalResultStands) {
  camera_.exposeShifted(8);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  tessarineHVConfWeight none = {0.0F, 0};
  tessarineHVConfWeight all = {1.0F, 0};
  for (auto* vertical : {&none, &all}) {
    Weigh(&none, vertical);
    ASSERT_EQ(Init(), kPDStatusOk);
    EXPECT_NEAR(Process(flow_.get()).defocusInfo[4].phaseDiff, -8.0F, 0.5F);
  }
}

// Whichever allocation fails: no frame runs, and nothing is handed out that would replace what the
// camera has learnt.
TEST_F(HVFlow, AFailedInitLeavesNoHalfFlow) {
  camera_.exposeShifted(8);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  const uint64_t live = Orvo::Host::Allocations().live;
  std::vector<std::string> lines;
  for (int64_t index = 1;; ++index) {  // 0 is the flow
    Orvo::Host::FailAllocation(index);
    const int status = Init();
    Orvo::Host::NeverFailAllocation();
    if (status == kPDStatusOk) break;
    lines.push_back(log_.texts().back());
    PDLibOutputData output = {};
    EXPECT_EQ(flow_->Process(&camera_.param, camera_.imageHeight(), &output), kPDStatusFlowFailed);
    const void* data = nullptr;
    int size = 7;
    EXPECT_EQ(flow_->GetAdaptiveData(&data, &size), kPDStatusBadInput);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(flow_->SetAdaptiveData(camera_.frame.data(), kAdaptiveDataSize), kPDStatusBadInput);
  }
  // Two flows, and of each its context and its bias.
  const std::string flow = "no sub-flow of type 0 or 0: not part of this version, or out of memory";
  EXPECT_EQ(lines, (std::vector<std::string>{flow, flow, "Out of memory", "set init info error",
                                             "Out of memory", "set init info error",
                                             "HVControl Horizontal Conf Weight malloc error",
                                             "HVControl Vertical Conf Weight malloc error"}));
  flow_.reset();
  EXPECT_EQ(Orvo::Host::Allocations().live, live);
}

// Cameras may share a tuning record, each on a thread of its own.
TEST_F(HVFlow, TheTunedWeightsStayAsTheyAre) {
  camera_.exposeShifted(8);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  const std::vector<tessarineHVConfWeight> tuned = {
      {0.8F, 900}, {0.1F, 100}, {0.5F, 400}, {0.4F, 400}, {0.0F, 50}};
  auto shared = tuned;
  Weigh(shared.data(), shared.data());
  auto& control = camera_.tuning.HVControl;
  control.horizontalConfWeightTuningCount = control.verticalConfWeightTuningCount = 5;
  std::vector<std::thread> cameras;
  for (int i = 0; i < 2; ++i) {
    cameras.emplace_back([this] {
      const std::unique_ptr<IPDLIBFlow> flow(CreateSparseHVFlow(nullptr));
      ASSERT_EQ(flow->Init(&camera_.init, &camera_.tuning), kPDStatusOk);
      for (int frame = 0; frame < 5; ++frame)
        EXPECT_NEAR(Process(flow.get()).defocusInfo[4].phaseDiff, -8.0F, 0.5F);
    });
  }
  for (std::thread& camera : cameras) camera.join();
  for (size_t i = 0; i < tuned.size(); ++i) {
    EXPECT_EQ(shared[i].weight, tuned[i].weight) << i;
    EXPECT_EQ(shared[i].confThreshold, tuned[i].confThreshold) << i;
  }
}

TEST_F(HVFlow, MissingSidesAreRefused) {
  struct Case {
    float horizontal;
    float vertical;
  };
  for (const Case& c : {Case{kHVFlowSparseHorizontal, kHVFlowSparseVertical},
                        Case{kHVFlowHardwareDPD, kHVFlowSparseHorizontal}, Case{-1.0F, 1e30F}}) {
    Select(c.horizontal, c.vertical);
    EXPECT_EQ(Init(), kPDStatusFlowFailed);
    PDLibOutputData output = {};
    EXPECT_EQ(flow_->Process(&camera_.param, 1, &output), kPDStatusFlowFailed);
    const void* data = nullptr;
    int size = 0;
    EXPECT_EQ(flow_->GetAdaptiveData(&data, &size), kPDStatusBadInput);
  }
  EXPECT_EQ(flow_->Init(nullptr, &camera_.tuning), kPDStatusBadInput);
  EXPECT_EQ(flow_->Init(&camera_.init, nullptr), kPDStatusBadInput);
}

}  // namespace

// The flow that fuses two axes: weights by confidence, and what becomes of two results.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/fake_flow.h"
#include "core/pdlib_flows.h"
#include "sparse/sparse_hv_flow.h"
#include "support/log_capture.h"
#include "support/sparse_camera.h"

namespace {

using afpdlibelements::tessarineHVConfWeight;
using test::FakeFlow;
using test::FlowRecord;

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

// ---- The flow on two sub-flows whose answers a test sets

FlowRecord g_horizontal;
FlowRecord g_vertical;
std::vector<uint32_t> g_made;  // kinds that were asked for

IPDLIBFlow* MakeSide(PDLibHVFlowType type, LogicalDriver*) {
  g_made.push_back(type);
  if (type > kHVFlowSparseVertical) return nullptr;
  return new (std::nothrow) FakeFlow(type == kHVFlowSparseVertical ? g_vertical : g_horizontal);
}

constexpr PDLibDefocusInfo kHorizontal = {100, 250, 8.0F, 1, 40};
constexpr PDLibDefocusInfo kVertical = {200, 300, 4.0F, 2, 80};

// Every window has the phase difference of its side, plus its index.
void SetAnswer(FlowRecord& side, const PDLibDefocusInfo& info, uint32_t counts) {
  side = {};
  side.process = [info, counts](const PDLibParam*, uint32_t, PDLibOutputData* output) {
    for (size_t i = 0; i < kMaxWindows; ++i) {
      output->defocusInfo[i] = info;
      output->defocusInfo[i].phaseDiff += static_cast<float>(i);
    }
    std::fill_n(output->peripheralInfo, kPeripheralWindows, info);
    output->processingResult = output->horizontalWindowCount = counts;
    output->verticalWindowCount = output->isPeripheralValid = static_cast<uint16_t>(counts + 1);
    output->depthMap.depthPhaseDiff[0] = static_cast<float>(counts);
    return 0;
  };
}

class HVFlow : public ::testing::Test {
 protected:
  HVFlow() {
    SetAnswer(g_horizontal, kHorizontal, 3);
    SetAnswer(g_vertical, kVertical, 7);
    g_made.clear();
    std::memset(static_cast<void*>(&output_), 0x11, sizeof output_);
  }
  ~HVFlow() override { flow_.reset(); }
  void Select(float horizontal, float vertical) {
    camera_.addExtension("HVSelection", {horizontal, vertical});
  }
  int Init() {
    Select(kHVFlowSparseHorizontal, kHVFlowSparseVertical);
    return flow_->Init(&camera_.init, &camera_.tuning);
  }
  int Process() { return flow_->Process(&camera_.param, camera_.imageHeight(), &output_); }

  test::SparseCamera camera_;
  test::LogCapture log_;
  std::unique_ptr<IPDLIBFlow> flow_{new (std::nothrow) SparseHVFlow(MakeSide, nullptr)};
  PDLibOutputData output_;
};

void ExpectBlend(const PDLibDefocusInfo& is, double share, double index) {
  EXPECT_NEAR(is.phaseDiff, 8 * (1 - share) + 4 * share + index, 1e-4) << share;
  EXPECT_EQ(is.defocus, static_cast<int>(100 * (1 - share) + 200 * share + 1e-4)) << share;
  EXPECT_EQ(is.confidence, static_cast<uint32_t>(250 * (1 - share) + 300 * share + 1e-4)) << share;
  EXPECT_EQ(is.rangeHigh, static_cast<int>(40 * (1 - share) + 80 * share + 1e-4)) << share;
  EXPECT_EQ(is.rangeLow, 0x1111);  // the caller's
}

TEST_F(HVFlow, BlendsByTheShareOfTheVerticalWeight) {
  struct Case {
    float horizontal, vertical;  // weights; below 0: the flow's own tables
    double share, peripheralShare;
  };
  for (const Case& c : {
           Case{1.0F, 3.0F, 0.75, 0.75},
           Case{0.0F, 1.0F, 1, 1},
           Case{1.0F, 0.0F, 0, 0},
           // Next to no weight: the centre divides by the vertical one and 1.
           Case{0.004F, 0.005F, 0.005 / 1.005, 5.0 / 9},
           // 250 of 100 to 400 lies between 0.1 and 0.8, 300 of 100 to 500 between 0 and 0.5.
           Case{-1.0F, -1.0F, 0.25 / 0.7, 0.25 / 0.7},
       }) {
    tessarineHVConfWeight weights[] = {{c.horizontal, 0}, {c.vertical, 0}};
    auto& control = camera_.tuning.HVControl;
    const bool given = c.horizontal >= 0;
    control.horizontalConfWeightTuning = &weights[0];
    control.horizontalConfWeightTuningCount = given ? 1 : 0;
    control.verticalConfWeightTuning = given ? &weights[1] : nullptr;
    control.verticalConfWeightTuningCount = 1;
    ASSERT_EQ(Init(), kPDStatusOk);
    ASSERT_EQ(Process(), kPDStatusOk);
    for (uint32_t i = 0; i < kMaxWindows; ++i) ExpectBlend(output_.defocusInfo[i], c.share, i);
    for (const auto& info : output_.peripheralInfo) ExpectBlend(info, c.peripheralShare, 0);
    EXPECT_EQ(output_.processingResult, 3u);
    EXPECT_EQ(output_.horizontalWindowCount, 3u);
    EXPECT_EQ(output_.verticalWindowCount, 4u);
    EXPECT_EQ(output_.isPeripheralValid, 4u);
    EXPECT_EQ(output_.depthMap.depthPhaseDiff[0], 3.0F);
    EXPECT_EQ(output_.depthMap.depthConfidence[0], 0x11111111U);
  }
}

TEST_F(HVFlow, WithoutAnyWeightTheCentreIsHorizontalAndTheRestNothing) {
  tessarineHVConfWeight none = {0.0F, 0};
  auto& control = camera_.tuning.HVControl;
  control.horizontalConfWeightTuning = control.verticalConfWeightTuning = &none;
  control.horizontalConfWeightTuningCount = control.verticalConfWeightTuningCount = 1;
  ASSERT_EQ(Init(), kPDStatusOk);
  ASSERT_EQ(Process(), kPDStatusOk);
  ExpectBlend(output_.defocusInfo[4], 0, 4);
  EXPECT_TRUE(std::isnan(output_.peripheralInfo[4].phaseDiff));
  EXPECT_EQ(output_.peripheralInfo[4].confidence, 0u);
}

TEST_F(HVFlow, OneSideIsEnoughToFail) {
  for (const auto& [horizontal, vertical, closed] :
       {std::tuple{0, 0, 0}, std::tuple{3, 0, 3}, std::tuple{0, 2, 2}, std::tuple{1, 2, 1}}) {
    const int failed = horizontal == 0 && vertical == 0 ? kPDStatusOk : kPDStatusFlowFailed;
    const auto answer = [](int status) {
      return [status](const PDLibParam*, uint32_t, PDLibOutputData*) { return status; };
    };
    for (bool inInit : {false, true}) {
      g_horizontal = {answer(horizontal), inInit ? horizontal : 0, inInit ? 0 : horizontal, 0,
                      nullptr};
      g_vertical = {answer(vertical), inInit ? vertical : 0, inInit ? 0 : vertical, 0, nullptr};
      EXPECT_EQ(Init(), inInit ? failed : kPDStatusOk);
      EXPECT_EQ(Process(), failed) << horizontal << vertical;
      // Both are closed and end, once.
      EXPECT_EQ(flow_->DeInit(), inInit ? 0 : closed) << horizontal << vertical;
      for (const FlowRecord* side : {&g_horizontal, &g_vertical}) {
        std::vector<std::string> ended = side->calls;
        std::erase(ended, "process");
        EXPECT_EQ(ended, (std::vector<std::string>{"deinit", "destroy"}));
      }
    }
  }
}

TEST_F(HVFlow, LearntDataIsThatOfTheHorizontalSide) {
  const void* data = nullptr;
  int size = 0;
  EXPECT_EQ(flow_->GetAdaptiveData(&data, &size), kPDStatusBadInput);
  EXPECT_EQ(flow_->SetAdaptiveData(&size, 960), kPDStatusBadInput);
  ASSERT_EQ(Init(), kPDStatusOk);
  g_horizontal.adaptiveStatus = 3;
  EXPECT_EQ(flow_->GetAdaptiveData(&data, &size), 3);
  EXPECT_EQ(data, &g_horizontal);
  EXPECT_EQ(flow_->SetAdaptiveData(data, size), 3);
  EXPECT_EQ(flow_->Process(nullptr, 1, &output_), kPDStatusBadInput);
  EXPECT_EQ(flow_->Process(&camera_.param, 1, nullptr), kPDStatusBadInput);
  EXPECT_EQ(g_horizontal.calls, std::vector<std::string>{"set"});
  EXPECT_TRUE(g_vertical.calls.empty());
}

TEST_F(HVFlow, SidesAreChosenByTheLastSelectionOfTwoValues) {
  using Kinds = std::vector<uint32_t>;
  const std::pair<std::vector<float>, Kinds> selections[] = {
      {{}, {kHVFlowHardwareDPD, kHVFlowDPDVertical}},
      {{0, 1, 2}, {kHVFlowHardwareDPD, kHVFlowDPDVertical}},
      {{0.9F, 6.9F}, {kHVFlowSparseHorizontal, kHVFlowSparseHardware}},
      {{1}, {kHVFlowSparseHorizontal, kHVFlowSparseHardware}},
      {{-1, 1e30F}, {0xFFFFFFFF, 0x7FFFFFFF}},
  };
  for (const auto& [values, kinds] : selections) {  // one more at a time
    if (!values.empty()) camera_.addExtension("HVSelection", values);
    g_made.clear();
    EXPECT_EQ(flow_->Init(&camera_.init, &camera_.tuning), kPDStatusFlowFailed);
    EXPECT_EQ(g_made, kinds);
    EXPECT_EQ(Process(), kPDStatusFlowFailed);
  }
  EXPECT_EQ(flow_->Init(nullptr, &camera_.tuning), kPDStatusBadInput);
  EXPECT_EQ(flow_->Init(&camera_.init, nullptr), kPDStatusBadInput);
}

// With the sub-flows of this version. Whichever allocation fails: no frame runs, and nothing is
// handed out that would replace what the camera has learnt.
TEST_F(HVFlow, AFailedInitLeavesNoHalfFlow) {
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  const uint64_t live = Orvo::Host::Allocations().live;
  std::vector<std::string> lines;
  for (int64_t index = 0;; ++index) {
    flow_.reset(CreateSparseHVFlow(nullptr));
    Orvo::Host::FailAllocation(index);
    const int status = flow_->Init(&camera_.init, &camera_.tuning);
    Orvo::Host::NeverFailAllocation();
    if (status == kPDStatusOk) break;
    lines.push_back(log_.texts().back());
    EXPECT_EQ(Process(), kPDStatusFlowFailed);
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
  EXPECT_EQ(Orvo::Host::Allocations().live, live - 1);  // the flow of the other tests
}

// Cameras may share a tuning record, each on a thread of its own.
TEST_F(HVFlow, TheTunedWeightsStayAsTheyAre) {
  camera_.exposeShifted(8);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  const std::vector<tessarineHVConfWeight> tuned = {
      {0.8F, 900}, {0.1F, 100}, {0.5F, 400}, {0.4F, 400}, {0.0F, 50}};
  auto shared = tuned;
  auto& control = camera_.tuning.HVControl;
  control.horizontalConfWeightTuning = control.verticalConfWeightTuning = shared.data();
  control.horizontalConfWeightTuningCount = control.verticalConfWeightTuningCount = 5;
  std::vector<std::thread> cameras;
  for (int i = 0; i < 2; ++i) {
    cameras.emplace_back([this] {
      const std::unique_ptr<IPDLIBFlow> flow(CreateSparseHVFlow(nullptr));
      ASSERT_EQ(flow->Init(&camera_.init, &camera_.tuning), kPDStatusOk);
      PDLibOutputData output = {};
      for (int frame = 0; frame < 5; ++frame) {
        EXPECT_EQ(flow->Process(&camera_.param, camera_.imageHeight(), &output), kPDStatusOk);
        EXPECT_NEAR(output.defocusInfo[4].phaseDiff, -8.0F, 0.5F);
      }
    });
  }
  for (std::thread& camera : cameras) camera.join();
  for (size_t i = 0; i < tuned.size(); ++i) {
    EXPECT_EQ(shared[i].weight, tuned[i].weight) << i;
    EXPECT_EQ(shared[i].confThreshold, tuned[i].confThreshold) << i;
  }
}

// What measures alone, measures fused.
TEST_F(HVFlow, FusesWhatThisVersionHas) {
  camera_.exposeShifted(8);
  flow_.reset(CreateSparseHVFlow(nullptr));
  Select(kHVFlowSparseHorizontal, kHVFlowSparseVertical);
  EXPECT_EQ(flow_->Init(&camera_.init, &camera_.tuning), kPDStatusFlowFailed);
  Select(kHVFlowSparseHorizontal, kHVFlowSparseHorizontal);
  ASSERT_EQ(flow_->Init(&camera_.init, &camera_.tuning), kPDStatusOk);
  EXPECT_EQ(Process(), kPDStatusOk);
  EXPECT_NEAR(output_.defocusInfo[4].phaseDiff, -8.0F, 0.5F);
}

}  // namespace

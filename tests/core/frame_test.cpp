// PDLibPhaseDetection and the fail state.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "fake_flow.h"

using test::FlowRecord;
using test::LogCapture;
using test::MakeHandle;
using test::ParamWithWindows;

namespace {

constexpr uint8_t kPoison = 0xa5;

struct PoisonedOutput {
  PDLibOutputData data;
  PoisonedOutput() { std::memset(&data, kPoison, sizeof(data)); }
  bool isUntouched() const {
    const PoisonedOutput fresh;
    return std::memcmp(&data, &fresh.data, sizeof(data)) == 0;
  }
};

bool IsRestingWindow(const PDLibDefocusInfo& window) {
  return window.defocus == 0 && window.phaseDiff == 0.0f && window.confidence == 1023;
}

class Frame : public testing::Test {
 protected:
  ~Frame() override { PDLibDeinit(handle_); }
  LogCapture log_;
  FlowRecord flow_;
  FlowRecord testFlow_;
  PDLibHandle* handle_ = MakeHandle(&flow_, &testFlow_);
  PoisonedOutput output_;
};

TEST_F(Frame, HandsTheCallToTheFlowAndItsResultBack) {
  const PDLibParam param = ParamWithWindows(3, 2);
  for (FlowRecord* record : {&flow_, &testFlow_}) {
    record->process = [&, record](const PDLibParam* seen, uint32_t lines, PDLibOutputData* output) {
      EXPECT_EQ(seen, &param);
      EXPECT_EQ(lines, 77u);
      EXPECT_EQ(output, &output_.data);
      return record == &flow_ ? 0 : 3;
    };
  }
  EXPECT_EQ(PDLibPhaseDetection(handle_, &param, 77, &output_.data), kPDStatusOk);
  EXPECT_EQ(flow_.calls.size(), 1u);
  EXPECT_EQ(testFlow_.calls.size(), 1u);
  EXPECT_TRUE(output_.isUntouched());
}

TEST_F(Frame, FailedFlowLeavesTheFailStateOfTheGridAskedFor) {
  const PDLibParam param = ParamWithWindows(3, 2);
  for (const int failure : {1, 2, 3}) {
    PoisonedOutput output;
    flow_.process = [=](const PDLibParam*, uint32_t, PDLibOutputData*) { return failure; };
    EXPECT_EQ(PDLibPhaseDetection(handle_, &param, 1, &output.data), failure);
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(IsRestingWindow(output.data.defocusInfo[i])) << i;
    EXPECT_FALSE(IsRestingWindow(output.data.defocusInfo[6]));
    EXPECT_EQ(output.data.horizontalWindowCount, 3u);
    EXPECT_EQ(output.data.verticalWindowCount, 2u);
    EXPECT_EQ(output.data.defocusInfo[0].rangeLow, static_cast<int16_t>(0xa5a5));
    EXPECT_EQ(output.data.processingResult, 0xa5a5a5a5u);
    EXPECT_EQ(output.data.peripheralInfo[0].confidence, 0xa5a5a5a5u);
  }
  EXPECT_TRUE(
      log_.has("PDLIB FAILED PROCESSING - Please check above error messages and fixed "
               "information needed"));
}

TEST_F(Frame, ExceptionOfAFlowStaysInside) {
  flow_.process = [](const PDLibParam*, uint32_t, PDLibOutputData*) -> int {
    throw std::runtime_error("flow");
  };
  testFlow_.process = [](const PDLibParam*, uint32_t, PDLibOutputData*) -> int { throw 1; };
  const PDLibParam param = ParamWithWindows(1, 1);
  EXPECT_EQ(PDLibPhaseDetection(handle_, &param, 1, &output_.data), kPDStatusFlowFailed);
  EXPECT_TRUE(IsRestingWindow(output_.data.defocusInfo[0]));
}

TEST_F(Frame, RefusesGridsThatTheOutputCannotHold) {
  const std::tuple<uint32_t, uint32_t, uint32_t, bool> cases[] = {
      {0, 3, 0, false},           {3, 0, 0, false},
      {0, 0, 2, false},           {199, 1, 0, true},
      {200, 1, 0, true},          {201, 1, 0, false},
      {20, 10, 1, true},          {10, 20, 2, true},
      {201, 1, 1, false},         {0x10000, 0x10000, 1, false},  // a product of 0 in 32 bits
      {0x80000000u, 2, 0, false}, {0xffffffffu, 0xffffffffu, 0, false},
  };
  for (const auto& [columns, rows, roiType, isAccepted] : cases) {
    flow_.calls.clear();
    const PDLibParam param = ParamWithWindows(columns, rows, static_cast<PDLibRoiType>(roiType));
    const int status = PDLibPhaseDetection(handle_, &param, 1, &output_.data);
    EXPECT_EQ(status, isAccepted ? kPDStatusOk : kPDStatusBadInput) << columns << "x" << rows;
    EXPECT_EQ(flow_.calls.size(), isAccepted ? 1u : 0u) << columns << "x" << rows;
    EXPECT_TRUE(output_.isUntouched()) << columns << "x" << rows;
  }
  EXPECT_TRUE(log_.has("Invalid Zero-window 0 x 3"));
}

TEST_F(Frame, RefusesNull) {
  const PDLibParam param = ParamWithWindows(1, 1);
  EXPECT_EQ(PDLibPhaseDetection(nullptr, &param, 1, &output_.data), kPDStatusBadInput);
  EXPECT_EQ(PDLibPhaseDetection(handle_, nullptr, 1, &output_.data), kPDStatusBadInput);
  EXPECT_EQ(PDLibPhaseDetection(handle_, &param, 1, nullptr), kPDStatusBadInput);
  EXPECT_EQ(log_.texts(), std::vector<std::string>(3, "null pointer"));
  EXPECT_TRUE(flow_.calls.empty());
}

TEST(FailState, StaysInsideTheArrayWhateverTheCounts) {
  const LogCapture log;
  for (const uint32_t count : {200u, 0x10000u, 0xffffffffu}) {
    PoisonedOutput output;
    output.data.horizontalWindowCount = count;
    output.data.verticalWindowCount = count;
    PDLibFailState(&output.data);
    EXPECT_TRUE(IsRestingWindow(output.data.defocusInfo[kMaxWindows - 1]));
    EXPECT_EQ(output.data.isPeripheralValid, 0xa5a5);
    EXPECT_EQ(output.data.peripheralInfo[0].confidence, 0xa5a5a5a5u);
  }
  PDLibFailState(nullptr);
}

TEST(FrameLog, ListsWindowsAtVerboseLevelOnly) {
  FlowRecord flow;
  flow.process = [](const PDLibParam*, uint32_t, PDLibOutputData* output) {
    output->defocusInfo[0] = {-12, 640, -1.5f, 0, 0};
    output->defocusInfo[1] = {7, 1023, 0.25f, 0, 0};
    output->isPeripheralValid = 1;
    output->peripheralInfo[7] = {3, 9, 2.0f, 0, 0};
    return 0;
  };
  PDLibHandle* handle = MakeHandle(&flow);
  const PDLibParam param = ParamWithWindows(2, 1);
  std::vector<std::string> texts = {
      "window configure: type: 0, size: [2, 1], coord: [0.25 0.38 0.75 0.62]"};
  PDLibOutputData output{};
  LogCapture log(1);
  PDLibPhaseDetection(handle, &param, 1, &output);
  EXPECT_EQ(log.texts(), texts);
  log.restart();
  PDLIB_LOG = 2;
  PDLibPhaseDetection(handle, &param, 1, &output);
  texts.insert(texts.end(), {"Multi-Window result",
                             "multi-window id 0, phaseDiff: -1.50, defocus: -12, confidence: 640",
                             "multi-window id 1, phaseDiff: 0.25, defocus: 7, confidence: 1023",
                             "Peripheral process result"});
  for (int i = 0; i < 8; ++i) {
    texts.push_back("peripheral window id " + std::to_string(i) +
                    (i == 7 ? ", phaseDiff: 2.00, defocus: 3, confidence: 9"
                            : ", phaseDiff: 0.00, defocus: 0, confidence: 0"));
  }
  EXPECT_EQ(log.texts(), texts);
  PDLibDeinit(handle);
}

}  // namespace

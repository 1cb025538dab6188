#include <gtest/gtest.h>

#include <cstring>

#include "base/pdlib_profile.h"
#include "fake_flow.h"

using pdlib::ProfileScope;
using test::FlowRecord;
using test::LogCapture;
using test::MakeHandle;

namespace {

constexpr char kEnd[] = "========== CID:5 Profile Profiling Summary End =============";

std::string Start(int frame) {
  char text[100];
  std::snprintf(text, sizeof(text),
                "===== CID:5 Profile PDLIB Summary(ms) Start, Frame:%05d ======", frame);
  return text;
}

class Profile : public testing::Test {
 protected:
  Profile() {
    block_.name = "PDLIB";
    block_.enabled = 1;
    block_.interval = 1;
    block_.cameraId = 5;
    block_.flags = kProfileFlagOn;
    pdlib::AddProfileModule(block_, pdlib::kProfilePhaseDetect, true);
    pdlib::AddProfileModule(block_, pdlib::kProfileLrCenterWindow, true);
    pdlib::AddProfileModule(block_, pdlib::kProfileEndToEnd, false);
    m_profile = &block_;
    // Each look at the clock takes 1.25 milliseconds.
    Orvo::Host::SetClock(1'000'000'000, 1'250'000);
    flow_.process = [](const PDLibParam*, uint32_t, PDLibOutputData*) {
      const ProfileScope scope(pdlib::kProfileLrCenterWindow);
      return 0;
    };
  }
  ~Profile() override {
    m_profile = nullptr;
    Orvo::Host::UseSystemClock();
    PDLibDeinit(handle_);
  }
  int runFrame() {
    const PDLibParam param = test::ParamWithWindows(1, 1);
    return PDLibPhaseDetection(handle_, &param, 1, &output_);
  }

  LogCapture log_;
  PDLibProfile block_{};
  FlowRecord flow_;
  PDLibHandle* handle_ = MakeHandle(&flow_);
  PDLibOutputData output_{};
};

// Frame opened, stage opened, stage closed, frame closed: three steps of the clock, one of them in
// the stage.
constexpr char kPhaseDetect[] = "CID:5 Profile Module: PDLIBProfilePhaseDetect = ";
const std::string kPhaseDetectLine = std::string(kPhaseDetect) + "3.750";
const std::string kCenterLine = "CID:5 Profile Module: PDLIBProfileLrCenterWindow = 1.250";

TEST_F(Profile, SummaryComesOncePerInterval) {
  block_.interval = 3;
  for (int i = 0; i < 7; ++i) runFrame();
  // Frames 1, 4 and 7 are measured, the others cost nothing; the sums start anew.
  std::vector<std::string> texts;
  for (const int frame : {1, 4, 7})
    texts.insert(texts.end(), {Start(frame), kPhaseDetectLine, kCenterLine, kEnd});
  EXPECT_EQ(log_.texts(), texts);
  for (const auto& line : Orvo::Host::CapturedLog()) EXPECT_EQ(line.level, 1u);
}

TEST_F(Profile, BracketsCloseOnEveryWayOut) {
  flow_.process = [](const PDLibParam*, uint32_t, PDLibOutputData*) -> int {
    const ProfileScope scope(pdlib::kProfileLrCenterWindow);
    throw 1;
  };
  EXPECT_NE(runFrame(), 0);
  EXPECT_TRUE(log_.has(kCenterLine));
  EXPECT_TRUE(log_.has(kPhaseDetectLine));

  PDLibPhaseDetection(nullptr, nullptr, 0, nullptr);
  EXPECT_TRUE(log_.has(Start(2)));
  EXPECT_TRUE(log_.has("CID:5 Profile Module: PDLIBProfilePhaseDetect = 1.250"));
}

TEST_F(Profile, ClockSetBackCountsAsNoTime) {
  flow_.process = [](const PDLibParam*, uint32_t, PDLibOutputData*) {
    Orvo::Host::SetClock(0);
    return 0;
  };
  runFrame();
  EXPECT_TRUE(log_.has("CID:5 Profile Module: PDLIBProfilePhaseDetect = 0.000"));
}

TEST_F(Profile, FlagsRestrictTheCameraAndTheTiming) {
  constexpr uint32_t kOne = kProfileFlagOneCamera;
  const struct {
    uint32_t flags;
    const char* phaseDetect;  // "" where nothing runs
  } cases[] = {
      {0, "3.750"},
      {kOne | 5u << 25, "3.750"},
      {kOne | 15u << 25, "3.750"},
      {kOne | 13u << 25, ""},
      {kOne, ""},
      {4u << 25, "3.750"},  // without bit 24 the id says nothing
      {kProfileFlagNoTiming, "0.000"},
  };
  for (const auto& c : cases) {
    Orvo::Host::StartLogCapture();
    block_.flags = c.flags;
    block_.enabled = 1;
    runFrame();
    const bool isRunning = *c.phaseDetect != '\0';
    EXPECT_EQ(pdlib::ProfileRunning(), isRunning) << std::hex << c.flags;
    EXPECT_EQ(log_.texts().size(), isRunning ? 4u : 0u) << std::hex << c.flags;
    EXPECT_EQ(log_.has(std::string(kPhaseDetect) + c.phaseDetect), isRunning)
        << std::hex << c.flags;
  }
}

TEST_F(Profile, WithoutARunningBlockNothingHappens) {
  block_.enabled = 0;
  runFrame();
  m_profile = nullptr;
  runFrame();
  EXPECT_FALSE(pdlib::ProfileRunning());
  EXPECT_TRUE(log_.texts().empty());
  EXPECT_EQ(block_.frameCount, 0u);
}

TEST_F(Profile, HoldsThirtyModules) {
  for (int i = 0; i < 40; ++i) pdlib::AddProfileModule(block_, "more", true);
  EXPECT_EQ(block_.moduleCount, kMaxProfileModules);
  EXPECT_EQ(block_.enabled, 1u);
}

}  // namespace

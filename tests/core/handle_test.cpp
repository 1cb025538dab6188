// The life of a handle, and what the plug-in asks of it.
#include <gtest/gtest.h>

#include <cstring>

#include "afpdlibelements.h"
#include "driver/pdlib_logical_driver.h"
#include "fake_flow.h"

using afpdlibelements::tessarinePDAxisControl;
using afpdlibelements::tessarinePDLibType;
using test::FlowRecord;
using test::LogCapture;
using test::MakeHandle;

namespace {

// ---- Init and Deinit

class Handle : public testing::Test {
 protected:
  Handle() { tuning_.HVControl.PDProcessingAxis = static_cast<tessarinePDAxisControl>(1); }
  ~Handle() override {
    Orvo::Host::NeverFailAllocation();
    EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_);
  }
  const uint64_t liveBefore_ = Orvo::Host::Allocations().live;
  LogCapture log_;
  PDLibInitParam init_{};
  tessarinePDLibType tuning_{};  // the vertical axis: a flow that this version lacks
  FlowRecord flow_;
  void* handle_ = nullptr;
};

TEST_F(Handle, InitRefusesNull) {
  EXPECT_EQ(PDLibInit(nullptr, &init_, &tuning_), kPDStatusBadInput);
  EXPECT_EQ(PDLibInit(&handle_, nullptr, &tuning_), kPDStatusBadInput);
  EXPECT_EQ(PDLibInit(&handle_, &init_, nullptr), kPDStatusBadInput);
  EXPECT_EQ(PDLibDeinit(nullptr), kPDStatusBadInput);
  EXPECT_EQ(PDLibGetVersion(nullptr), kPDStatusBadInput);
  EXPECT_EQ(log_.texts(),
            (std::vector<std::string>{"null pointer", "null pointer", "pPDLibTuningParam Null",
                                      "null pointer", "null pointer"}));
  EXPECT_EQ(handle_, nullptr);
}

TEST_F(Handle, MissingFlowIsReportedAndSafeToUse) {
  ASSERT_EQ(PDLibInit(&handle_, &init_, &tuning_), kPDStatusFlowFailed);
  ASSERT_NE(handle_, nullptr);
  EXPECT_TRUE(log_.has("PDLibFlow type 2 is not part of this version"));

  PDLibOutputData output{};
  const PDLibParam param = test::ParamWithWindows(2, 2);
  EXPECT_EQ(PDLibPhaseDetection(handle_, &param, 1, &output), kPDStatusFlowFailed);
  EXPECT_EQ(output.defocusInfo[3].confidence, 1023u);

  const void* data = &output;
  int size = 1;
  PDSwInfo info{};
  uint8_t blob[kAdaptiveDataSize] = {};
  EXPECT_EQ(PDLibGetAdaptiveData(handle_, &data, &size), kPDStatusBadInput);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(PDLibSetAdaptiveData(handle_, blob, sizeof(blob)), kPDStatusBadInput);
  EXPECT_EQ(PDLibGetSWInfo(handle_, &info), kPDStatusBadInput);
  EXPECT_EQ(PDLibDeinit(handle_), kPDStatusOk);
}

TEST_F(Handle, InitCopiesTheSwitchesAndTellsWhatRuns) {
  init_.enableProfiling = 1;
  init_.testMode = 2;
  init_.logLevel = 1;
  init_.dumpFlags = 4;
  init_.disableLCR = 5;
  init_.bufferDataInfo.sensorType = kSensorSparse2;
  PDLibInit(&handle_, &init_, &tuning_);
  EXPECT_EQ(PDLIB_PROFILING, 1);
  EXPECT_EQ(PDLIB_TEST_MODE, 2);
  EXPECT_EQ(PDLIB_LOG, 1);
  EXPECT_EQ(PDLIB_DUMP, 4);
  EXPECT_EQ(PDLIB_LCR_DISABLE, 5);
  auto texts = log_.texts();
  ASSERT_EQ(texts.size(), 9u);
  EXPECT_EQ(texts[6].find("time used "), 0u);
  texts.erase(texts.begin() + 6);
  EXPECT_EQ(texts, (std::vector<std::string>{
                       "PDLib Version: Major: 8 Minor: 2 Revision: 0",
                       "PDLibFlow Type: 2, PDSensorType: 2, PDHWTuningFlag: 0, DualPDHWEnable: 0, "
                       "SparsePDHWEnable: 0, disableLCR: 5 LCRHWEnable: 0",
                       "PDLibFlow type 2 is not part of this version", "Software flow",
                       "PDLIB_TEST_MODE: 2, flowType: 2", "PDLibTest: Not a valid test mode",
                       "return success", "this version writes no dumps"}));
  PDLibDeinit(handle_);
}

TEST_F(Handle, InitSurvivesEveryFailedAllocation) {
  tuning_.HVControl.PDProcessingAxis = static_cast<tessarinePDAxisControl>(0);
  // The handle, its driver, the flow.
  for (const int64_t index : {0, 1, 2}) {
    Orvo::Host::FailAllocation(index);
    handle_ = &init_;
    EXPECT_EQ(PDLibInit(&handle_, &init_, &tuning_), kPDStatusNoMemory) << index;
    Orvo::Host::NeverFailAllocation();
    EXPECT_EQ(handle_ != nullptr, index == 2) << index;
    if (handle_ != nullptr) PDLibDeinit(handle_);
    EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_) << index;
  }
}

TEST_F(Handle, DeinitEndsEachFlowBeforeItIsDestroyed) {
  FlowRecord testFlow;
  flow_.deInitStatus = 3;
  EXPECT_EQ(PDLibDeinit(MakeHandle(&flow_, &testFlow)), kPDStatusOk);
  const std::vector<std::string> ended{"deinit", "destroy"};
  EXPECT_EQ(flow_.calls, ended);
  EXPECT_EQ(testFlow.calls, ended);
}

// ---- Adaptive data

TEST_F(Handle, SetAdaptiveDataRefusesWhatIsNoBlob) {
  PDLibHandle* handle = MakeHandle(&flow_);
  const uint8_t blob[kAdaptiveDataSize + 1] = {};
  EXPECT_EQ(PDLibSetAdaptiveData(nullptr, blob, 960), kPDStatusBadInput);
  EXPECT_EQ(PDLibSetAdaptiveData(handle, nullptr, 960), kPDStatusBadInput);
  std::vector<std::string> texts{"null handle", "null input"};
  for (const int size : {959, 961, 0, -960}) {
    EXPECT_EQ(PDLibSetAdaptiveData(handle, blob, size), kPDStatusBadInput) << size;
    texts.push_back("input data size is wrong.");
  }
  EXPECT_EQ(log_.texts(), texts);
  EXPECT_TRUE(flow_.calls.empty());

  flow_.adaptiveStatus = 3;  // what the flow says doesn't count
  EXPECT_EQ(PDLibSetAdaptiveData(handle, blob, 960), kPDStatusOk);
  EXPECT_EQ(flow_.calls, std::vector<std::string>{"set"});
  PDLibDeinit(handle);
}

TEST_F(Handle, GetAdaptiveDataForwards) {
  PDLibHandle* handle = MakeHandle(&flow_);
  const void* data = nullptr;
  int size = 0;
  flow_.adaptiveStatus = 3;
  EXPECT_EQ(PDLibGetAdaptiveData(handle, &data, &size), 3);
  EXPECT_EQ(data, &flow_);
  EXPECT_EQ(size, 7);
  EXPECT_EQ(PDLibGetAdaptiveData(nullptr, &data, &size), kPDStatusBadInput);
  EXPECT_EQ(log_.texts().back(), "null handle.");
  EXPECT_EQ(PDLibGetAdaptiveData(handle, nullptr, &size), kPDStatusBadInput);
  EXPECT_EQ(PDLibGetAdaptiveData(handle, &data, nullptr), kPDStatusBadInput);
  PDLibDeinit(handle);
}

// ---- Hardware and software information

TEST_F(Handle, HardwareConfigFollowsTheDriver) {
  PDLibHandle* handle = MakeHandle(&flow_);
  PDHwConfig config;
  EXPECT_EQ(PDLibGetHardwareConfig(handle, &config), kPDStatusBadInput);
  EXPECT_EQ(log_.texts().back(), "null logical driver pointer");

  LogicalDriver driver;
  handle->driver = &driver;
  for (const uint32_t type : {0u, 1u, 2u, 3u, 4u, ~0u}) {
    driver.setPDHWSensorType(static_cast<PDHWConfigSensorType>(type));
    std::memset(&config, 0xa5, sizeof(config));
    EXPECT_EQ(PDLibGetHardwareConfig(handle, &config), type < 4 ? 0 : 2) << type;
    EXPECT_EQ(config.enable, type >= 1 && type <= 3 ? 1u : 0u) << type;
    EXPECT_EQ(config.lastPixel, type >= 1 && type <= 3 ? 2015u : 0u) << type;
    EXPECT_EQ(config.pixelMap[63][63], 0u);
  }
  EXPECT_EQ(log_.texts().back(), "No Matched Sensor Type");
  EXPECT_EQ(PDLibGetHardwareConfig(handle, nullptr), kPDStatusBadInput);
  EXPECT_EQ(PDLibGetHardwareConfig(nullptr, &config), kPDStatusBadInput);
  handle->driver = nullptr;
  PDLibDeinit(handle);
}

TEST_F(Handle, SWInfoTellsWhetherTheTuningHasLcr) {
  PDLibHandle* handle = MakeHandle(&flow_);
  PDSwInfo info{9};
  EXPECT_EQ(PDLibGetSWInfo(handle, &info), kPDStatusOk);  // a flow that hands out no tuning
  EXPECT_EQ(info.lcrEnabled, 0u);
  flow_.tuning = &tuning_;
  for (const uint32_t mode : {0u, 1u, 2u}) {
    tuning_.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode{mode};
    EXPECT_EQ(PDLibGetSWInfo(handle, &info), kPDStatusOk);
    EXPECT_EQ(info.lcrEnabled, mode == 1 ? 1u : 0u);
  }
  EXPECT_EQ(PDLibGetSWInfo(handle, nullptr), kPDStatusBadInput);
  EXPECT_EQ(PDLibGetSWInfo(nullptr, &info), kPDStatusBadInput);
  PDLibDeinit(handle);
}

TEST(LogicalDriverDefaults, DescribeOneConsistentImage) {
  PDHwConfig config;
  LogicalDriver().getPDHWConfig(config);
  const uint32_t width = config.lastPixel - config.firstPixel + 1;
  const uint32_t height = config.lastLine - config.firstLine + 1;
  const auto regions = [](uint32_t offset, uint32_t count, uint32_t size) {
    return 2 * offset + (count + 1) * (size + 1);
  };
  EXPECT_EQ(regions(config.horizontalOffset, config.horizontalNum, config.regionWidth), width);
  EXPECT_EQ(regions(config.verticalOffset, config.verticalNum, config.regionHeight), height);
  // The gain map's columns and rows stretch over the image, one step per decimated line.
  const uint32_t columns = config.gainMapHorizontalCount + 2;
  const uint32_t rows = config.gainMapVerticalCount + 2;
  EXPECT_EQ(columns * rows, uint32_t{kHwGainEntries});
  EXPECT_EQ(config.gainMapHorizontalStep, (columns - 1) * (1u << 20) / (width - 1));
  EXPECT_NEAR(config.gainMapVerticalStep,
              (config.verticalDecimateCount + 1.0) * (rows - 1) * (1u << 20) / (height - 1), 1);
  for (const uint16_t* table : {config.gainMapLeft, config.gainMapRight}) {
    for (int i = 0; i < kHwGainEntries; ++i) {
      EXPECT_EQ(table[i] % 32, 0);
      EXPECT_EQ(table[i], table[kHwGainEntries - 1 - i]);
    }
    EXPECT_NEAR(table[0], 31000, 32);
    EXPECT_NEAR(table[kHwGainEntries / 2], 14000, 32);
  }
}

}  // namespace

// A flow whose answers a test sets, and a handle around it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/pdlib.h"
#include "core/pdlib_handle.h"
#include "support/log_capture.h"

namespace test {

// Outlives the flow, so that a test can ask after the flow's end.
struct FlowRecord {
  std::function<int(const PDLibParam*, uint32_t, PDLibOutputData*)> process;
  int initStatus = 0;
  int deInitStatus = 0;
  int adaptiveStatus = 0;
  void* tuning = nullptr;
  std::vector<std::string> calls = {};
};

class FakeFlow : public IPDLIBFlow {
 public:
  explicit FakeFlow(FlowRecord& record) : record_(record) {}
  ~FakeFlow() override { record_.calls.push_back("destroy"); }
  int Init(const PDLibInitParam*, const afpdlibelements::tessarinePDLibType*) override {
    return record_.initStatus;
  }
  int Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) override {
    record_.calls.push_back("process");
    return record_.process ? record_.process(param, lines, output) : 0;
  }
  int DeInit() override {
    record_.calls.push_back("deinit");
    return record_.deInitStatus;
  }
  int GetAdaptiveData(const void** data, int* size) override {
    *data = &record_;
    *size = 7;
    return record_.adaptiveStatus;
  }
  int SetAdaptiveData(const void*, int) override {
    record_.calls.push_back("set");
    return record_.adaptiveStatus;
  }
  int GetTuningData(void** tuning) override {
    if (record_.tuning != nullptr) *tuning = record_.tuning;
    return 0;
  }

 private:
  FlowRecord& record_;
};

// A handle as PDLibInit makes it, without driver; PDLibDeinit releases it.
inline PDLibHandle* MakeHandle(FlowRecord* flow, FlowRecord* testFlow = nullptr) {
  auto* handle = static_cast<PDLibHandle*>(OrvoCalloc(sizeof(PDLibHandle)));
  if (flow != nullptr) handle->flow = new (std::nothrow) FakeFlow(*flow);
  if (testFlow != nullptr) handle->testFlow = new (std::nothrow) FakeFlow(*testFlow);
  return handle;
}

inline PDLibParam ParamWithWindows(uint32_t columns, uint32_t rows,
                                   PDLibRoiType roiType = kRoiDefault) {
  PDLibParam param{};
  param.windowConfig = {roiType, {0.25f, 0.375f, 0.75f, 0.625f}, columns, rows};
  return param;
}

}  // namespace test

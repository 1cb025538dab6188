#include "core/pdlib.h"

#include <sys/time.h>

#include <algorithm>
#include <new>

#include "afpdlibelements.h"
#include "base/pdlib_guard.h"
#include "base/pdlib_log.h"
#include "base/pdlib_profile.h"
#include "base/pdlib_status.h"
#include "base/pdlib_switches.h"
#include "core/pdlib_flows.h"
#include "core/pdlib_handle.h"
#include "core/pdlib_test_flow.h"
#include "diagnostics/xmlWriteParam.h"
#include "driver/pdlib_logical_driver.h"
#include "frame/pdlib_utils_window.h"

using afpdlibelements::tessarinePDLibType;

namespace {

constexpr uint32_t kMaxConfidence = 1023;

// Logs the time of its own life with PDLIB_PROFILING; what a summary block doesn't cover.
class CallTimer {
 public:
  CallTimer() : isOn_(PDLIB_PROFILING != 0) {
    if (isOn_) start_ = Now();
  }
  bool isOn() const { return isOn_; }
  void log() const {
    if (isOn_) PDLIB_INFO("time used %ld us", Now() - start_);
  }

 private:
  static long Now() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<long>(now.tv_sec) * 1000000L + static_cast<long>(now.tv_usec);
  }
  bool isOn_;
  long start_ = 0;
};

// ---- Init

void SetSwitches(const PDLibInitParam& init) {
  PDLIB_PROFILING = static_cast<int32_t>(init.enableProfiling);
  PDLIB_TEST_MODE = static_cast<int32_t>(init.testMode);
  PDLIB_LOG = static_cast<int32_t>(init.logLevel);
  PDLIB_DUMP = static_cast<int32_t>(init.dumpFlags);
  PDLIB_LCR_DISABLE = static_cast<int32_t>(init.disableLCR);
}

LogicalDriver* CreateLogicalDriver() {
  void* memory = OrvoCalloc(sizeof(LogicalDriver));
  return memory == nullptr ? nullptr : new (memory) LogicalDriver;
}

void DestroyLogicalDriver(LogicalDriver*& driver) {
  if (driver != nullptr) driver->~LogicalDriver();
  OrvoFree(driver);
  driver = nullptr;
}

PDLibHandle* CreateHandle() {
  auto* handle = static_cast<PDLibHandle*>(OrvoCalloc(sizeof(PDLibHandle)));
  if (handle == nullptr) return nullptr;
  handle->driver = CreateLogicalDriver();
  if (handle->driver == nullptr) {
    OrvoFree(handle);
    return nullptr;
  }
  return handle;
}

PDFlowType SelectAndLogFlow(const PDLibInitParam& init, const tessarinePDLibType& tuning) {
  const PDFlowType type = SelectPDLibFlow(init, tuning);
  PDLIB_INFO(
      "PDLibFlow Type: %d, PDSensorType: %d, PDHWTuningFlag: %d, DualPDHWEnable: %d, "
      "SparsePDHWEnable: %d, disableLCR: %d LCRHWEnable: %d",
      static_cast<int>(type), static_cast<int>(init.bufferDataInfo.sensorType),
      tuning.hardwareGeometry.enabldHardwarePDModule, static_cast<int>(init.DualPDHWEnable),
      static_cast<int>(init.SparsePDHWEnable), static_cast<int>(init.disableLCR),
      static_cast<int>(init.LCRHWEnable));
  return type;
}

int CreateAndInitFlow(PDLibHandle& handle, PDFlowType type, const PDLibInitParam& init,
                      const tessarinePDLibType& tuning) {
  handle.flow = CreatePDLibFlow(type, handle.driver);
  if (handle.flow != nullptr) {
    return pdlib::RunGuarded("Init", [&] { return handle.flow->Init(&init, &tuning); });
  }
  if (!IsPDLibFlowAvailable(type)) {
    PDLIB_ERROR("PDLibFlow type %d is not part of this version", static_cast<int>(type));
    return kPDStatusFlowFailed;
  }
  PDLIB_ERROR("out of memory for PDLibFlow type %d", static_cast<int>(type));
  return kPDStatusNoMemory;
}

// The status that the sensor type leaves.
int LogSensorType(const LogicalDriver& driver, int status) {
  switch (driver.getPDHWSensorType()) {
    case kHwSoftwareFlow: PDLIB_INFO("Software flow"); return status;
    case kHwSparsePD: PDLIB_INFO("Hardware Sparse PD Sensor"); return status;
    case kHwDualPD: PDLIB_INFO("Hardware Dual PD Sensor"); return status;
    case kHwSparsePDWithLcr: PDLIB_INFO("Sparse HW + LCR hardware Flow"); return status;
  }
  PDLIB_ERROR("No Matched Sensor Type");
  return kPDStatusBadInput;
}

// ---- Frame

void LogWindowConfig(const PDLibWindowConfig& config) {
  PDLIB_INFO("window configure: type: %d, size: [%d, %d], coord: [%.2f %.2f %.2f %.2f]",
             static_cast<int>(config.roiType), static_cast<int>(config.horizontalWindowCount),
             static_cast<int>(config.verticalWindowCount),
             static_cast<double>(config.window.startX), static_cast<double>(config.window.startY),
             static_cast<double>(config.window.endX), static_cast<double>(config.window.endY));
}

bool CheckWindowCounts(const PDLibWindowConfig& config) {
  const int columns = static_cast<int>(config.horizontalWindowCount);
  const int rows = static_cast<int>(config.verticalWindowCount);
  if (config.horizontalWindowCount == 0 || config.verticalWindowCount == 0) {
    PDLIB_ERROR("Invalid Zero-window %d x %d", columns, rows);
    return false;
  }
  if (!window_count_fits(config)) {
    PDLIB_ERROR("Invalid window count %u x %u of roiType %u, results for %u windows at most",
                config.horizontalWindowCount, config.verticalWindowCount,
                static_cast<unsigned>(config.roiType), kMaxWindows);
    return false;
  }
  return true;
}

int RunFlow(PDLibHandle& handle, const PDLibParam& param, uint32_t lines, PDLibOutputData& output) {
  if (handle.flow == nullptr) {
    PDLIB_ERROR("PDLibFlow ptr is NULL");
    return kPDStatusFlowFailed;
  }
  return pdlib::RunGuarded("Process", [&] { return handle.flow->Process(&param, lines, &output); });
}

// A flow may fail before it has said which windows it answers: they are those that were asked for.
void FailFrame(const PDLibWindowConfig& config, PDLibOutputData& output) {
  output.horizontalWindowCount = config.horizontalWindowCount;
  output.verticalWindowCount = config.verticalWindowCount;
  PDLibFailState(&output);
}

// `kind` names the windows: "multi-window" or "peripheral window".
void LogWindowResults(const char* kind, const PDLibDefocusInfo* windows, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    PDLIB_VERBOSE("%s id %d, phaseDiff: %.2f, defocus: %d, confidence: %u", kind,
                  static_cast<int>(i), static_cast<double>(windows[i].phaseDiff),
                  windows[i].defocus, windows[i].confidence);
  }
}

void LogResults(const PDLibWindowConfig& config, const PDLibOutputData& output) {
  if (PDLIB_LOG < 2) return;
  PDLIB_VERBOSE("Multi-Window result");
  LogWindowResults("multi-window", output.defocusInfo,
                   config.horizontalWindowCount * config.verticalWindowCount);
  if (output.isPeripheralValid != 1) return;
  PDLIB_VERBOSE("Peripheral process result");
  LogWindowResults("peripheral window", output.peripheralInfo, kPeripheralWindows);
}

// ---- Deinit

void DestroyFlow(IPDLIBFlow*& flow) {
  if (flow == nullptr) return;
  pdlib::RunGuarded("DeInit", [flow] { return flow->DeInit(); });
  delete flow;
  flow = nullptr;
}

}  // namespace

int PDLibInit(void** handle, const PDLibInitParam* init, const tessarinePDLibType* tuning) {
  PDLibVersion version{};
  PDLibGetVersion(&version);
  if (handle == nullptr || init == nullptr) {
    PDLIB_ERROR("null pointer");
    return kPDStatusBadInput;
  }
  if (tuning == nullptr) {
    PDLIB_ERROR("pPDLibTuningParam Null");
    return kPDStatusBadInput;
  }
  SetSwitches(*init);
  const CallTimer timer;
  PDLIB_INFO("PDLib Version: Major: %d Minor: %d Revision: %d",
             static_cast<int>(version.majorVersion), static_cast<int>(version.minorVersion),
             static_cast<int>(version.tinyVersion));

  PDLibHandle* created = CreateHandle();
  *handle = created;
  if (created == nullptr) {
    PDLIB_ERROR("out of memory");
    return kPDStatusNoMemory;
  }
  const PDFlowType type = SelectAndLogFlow(*init, *tuning);
  int status = CreateAndInitFlow(*created, type, *init, *tuning);
  status = LogSensorType(*created->driver, status);
  if (PDLIB_TEST_MODE != 0) {
    created->testFlow = CreatePDLibTestFlow(created->flow, init, tuning, type);
  }
  timer.log();
  PDLIB_INFO("return success");
  PDInitOutput(version, init, tuning);
  return status;
}

int PDLibDeinit(void* handle) {
  if (handle == nullptr) {
    PDLIB_ERROR("null pointer");
    return kPDStatusBadInput;
  }
  auto* owned = static_cast<PDLibHandle*>(handle);
  DestroyFlow(owned->flow);
  DestroyFlow(owned->testFlow);
  DestroyLogicalDriver(owned->driver);
  OrvoFree(owned);
  return kPDStatusOk;
}

int PDLibPhaseDetection(void* handle, const PDLibParam* param, uint32_t lines,
                        PDLibOutputData* output) {
  const pdlib::ProfileFrame profileFrame(pdlib::kProfilePhaseDetect);
  const CallTimer timer;
  if (handle == nullptr || param == nullptr || output == nullptr) {
    PDLIB_ERROR("null pointer");
    return kPDStatusBadInput;
  }
  LogWindowConfig(param->windowConfig);
  if (!CheckWindowCounts(param->windowConfig)) return kPDStatusBadInput;

  auto& owned = *static_cast<PDLibHandle*>(handle);
  const int status = RunFlow(owned, *param, lines, *output);
  if (status != kPDStatusOk) FailFrame(param->windowConfig, *output);
  LogResults(param->windowConfig, *output);
  if (owned.testFlow != nullptr) {
    pdlib::RunGuarded("test Process",
                      [&] { return owned.testFlow->Process(param, lines, output); });
  }
  if (timer.isOn()) {
    timer.log();
    PDLIB_INFO("return success");
  }
  return status;
}

// The highest confidence is meant: the autofocus then rests where it is.
void PDLibFailState(PDLibOutputData* output) {
  PDLIB_ERROR(
      "PDLIB FAILED PROCESSING - Please check above error messages and fixed information needed");
  if (output == nullptr) return;
  const uint64_t wanted =
      uint64_t{output->horizontalWindowCount} * uint64_t{output->verticalWindowCount};
  const uint64_t count = std::min<uint64_t>(wanted, kMaxWindows);
  for (uint64_t i = 0; i < count; ++i) {
    PDLibDefocusInfo& window = output->defocusInfo[i];
    window.defocus = 0;
    window.phaseDiff = 0;
    window.confidence = kMaxConfidence;
  }
}

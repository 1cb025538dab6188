// What the plug-in asks of a handle between frames.
#include "afpdlibelements.h"
#include "base/pdlib_guard.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "core/pdlib.h"
#include "core/pdlib_handle.h"
#include "driver/pdlib_logical_driver.h"
#include "lcr/pdlib_lcr_utils.h"

using afpdlibelements::tessarinePDLibType;

namespace {

constexpr PDLibVersion kVersion{8, 2, 0};
constexpr uint32_t kLcrBesidePD = 1;

int BadInput(const char* text) {
  PDLIB_ERROR("%s", text);
  return kPDStatusBadInput;
}

const PDLibHandle& HandleOf(void* handle) {
  return *static_cast<const PDLibHandle*>(handle);
}

}  // namespace

int PDLibGetVersion(PDLibVersion* version) {
  if (version == nullptr) return BadInput("null pointer");
  *version = kVersion;
  return kPDStatusOk;
}

int PDLibGetAdaptiveData(void* handle, const void** data, int* size) {
  if (handle == nullptr) return BadInput("null handle.");
  if (data == nullptr || size == nullptr) return BadInput("null pointer");
  *data = nullptr;
  *size = 0;
  IPDLIBFlow* flow = HandleOf(handle).flow;
  if (flow == nullptr) return BadInput("PDLibFlow ptr is NULL");
  return pdlib::RunGuarded("GetAdaptiveData", [&] { return flow->GetAdaptiveData(data, size); });
}

int PDLibSetAdaptiveData(void* handle, const void* data, int size) {
  if (handle == nullptr) return BadInput("null handle");
  if (data == nullptr) return BadInput("null input");
  if (size != kAdaptiveDataSize) return BadInput("input data size is wrong.");
  IPDLIBFlow* flow = HandleOf(handle).flow;
  if (flow == nullptr) return BadInput("PDLibFlow ptr is NULL");
  // A flow that has no use for the data is no failure of the session.
  pdlib::RunGuarded("SetAdaptiveData", [&] { return flow->SetAdaptiveData(data, size); });
  return kPDStatusOk;
}

int PDLibGetHardwareConfig(void* handle, PDHwConfig* config) {
  if (handle == nullptr || config == nullptr) return BadInput("null pointer");
  const LogicalDriver* driver = HandleOf(handle).driver;
  if (driver == nullptr) return BadInput("null logical driver pointer");
  *config = PDHwConfig{};
  switch (driver->getPDHWSensorType()) {
    case kHwSoftwareFlow: return kPDStatusOk;
    case kHwSparsePD:
    case kHwDualPD:
    case kHwSparsePDWithLcr:
      driver->getPDHWConfig(*config);  // with its LCR block
      config->enable = 1;
      return kPDStatusOk;
  }
  return BadInput("No Matched Sensor Type");
}

int PDLibGetSWInfo(void* handle, PDSwInfo* info) {
  if (handle == nullptr || info == nullptr) return BadInput("null pointer");
  IPDLIBFlow* flow = HandleOf(handle).flow;
  if (flow == nullptr) return BadInput("PDLibFlow ptr is NULL");
  info->lcrEnabled = 0;
  void* tuning = nullptr;
  pdlib::RunGuarded("GetTuningData", [&] { return flow->GetTuningData(&tuning); });
  if (tuning == nullptr) return kPDStatusOk;
  const auto& preProcess = static_cast<const tessarinePDLibType*>(tuning)->preProcess;
  if (preProcess.sparseProcessingMode == kLcrBesidePD) info->lcrEnabled = 1;
  return kPDStatusOk;
}

int PDLibGetLcrNativePattern(PDLibLcrBlockPattern* pattern, const PDLibSensorNativeInfo* sensor,
                             const tessarinePDLibType* tuning) {
  if (pattern == nullptr || sensor == nullptr || tuning == nullptr) {
    return BadInput("null pointer.");
  }
  const PDLibBlockDimension& block = sensor->blockPattern.blockDimension;
  if (block.width == 0 || block.height == 0) {
    PDLIB_ERROR("Invalid sensor pattern dimensions width=%u, height=%u", block.width, block.height);
    return kPDStatusBadInput;
  }
  pdaf_lcr_fill_native_pattern(pattern, sensor, tuning);
  return kPDStatusOk;
}

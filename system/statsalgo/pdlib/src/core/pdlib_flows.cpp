#include "core/pdlib_flows.h"

#include "afpdlibelements.h"
#include "base/numeric.h"
#include "dense/dpd_software_flow.h"
#include "frame/pdlib_utils_extension.h"
#include "sparse/sparse_horizontal_flow.h"
#include "sparse/sparse_hv_flow.h"

using afpdlibelements::tessarinePDLibType;

// ---- The flows of this version

// A flow moves out of this list together with its name in IsPDLibFlowAvailable.
IPDLIBFlow* CreateSparseVerticalFlow() {
  return nullptr;
}
IPDLIBFlow* CreateFullDiagonalFlow() {
  return nullptr;
}
IPDLIBFlow* CreateHardwareDPDFlow(LogicalDriver* /*driver*/) {
  return nullptr;
}
IPDLIBFlow* CreateSparseHardwareFlow(LogicalDriver* /*driver*/) {
  return nullptr;
}
IPDLIBFlow* CreateHardwareLCRFlow(LogicalDriver* /*driver*/) {
  return nullptr;
}

bool IsPDLibFlowAvailable(PDFlowType type) {
  return type == kFlowSparseHorizontal || type == kFlowDPD || type == kFlowSparseHV;
}

IPDLIBFlow* CreatePDLibFlow(PDFlowType type, LogicalDriver* driver) {
  switch (type) {
    case kFlowDPD: return CreateDPDFlow();
    case kFlowSparseHorizontal: return CreateSparseHorizontalFlow();
    case kFlowSparseVertical: return CreateSparseVerticalFlow();
    case kFlowSparseHV: return CreateSparseHVFlow(driver);
    case kFlowHardwareDPD: return CreateHardwareDPDFlow(driver);
    case kFlowSparseHardware: return CreateSparseHardwareFlow(driver);
    case kFlowHardwareLCR: return CreateHardwareLCRFlow(driver);
    case kFlowFullDiagonal: return CreateFullDiagonalFlow();
  }
  return nullptr;
}

IPDLIBFlow* CreatePDLibSubFlow(PDLibHVFlowType type, LogicalDriver* driver) {
  switch (type) {
    case kHVFlowSparseHorizontal: return CreateSparseHorizontalFlow();
    case kHVFlowSparseVertical: return CreateSparseVerticalFlow();
    case kHVFlowDPDHorizontal: return CreateDPDFlow();
    case kHVFlowDPDVertical: return CreateVerticalDPDFlow();
    case kHVFlowFullDiagonal: return CreateFullDiagonalFlow();
    case kHVFlowHardwareDPD: return CreateHardwareDPDFlow(driver);
    case kHVFlowSparseHardware: return CreateSparseHardwareFlow(driver);
  }
  return nullptr;
}

// Both sides come from here, so that the fusing flow doesn't know what it fuses.
IPDLIBFlow* CreateSparseHVFlow(LogicalDriver* driver) {
  return new (std::nothrow) SparseHVFlow(CreatePDLibSubFlow, driver);
}

// ---- Selection

namespace {

constexpr uint32_t kAxisVertical = 1;
constexpr uint32_t kAxisBoth = 2;

PDFlowType SelectDenseFlow(const PDLibInitParam& init, const tessarinePDLibType& tuning) {
  if (isDiagonalFlowEnable(&tuning)) return kFlowFullDiagonal;
  // Unlike on sparse sensors both switches have to be exactly 1.
  const bool isHardware =
      tuning.hardwareGeometry.enabldHardwarePDModule == 1 && init.DualPDHWEnable == 1;
  return isHardware ? kFlowHardwareDPD : kFlowDPD;
}

PDFlowType SelectSparseFlow(const PDLibInitParam& init, const tessarinePDLibType& tuning) {
  if (tuning.hardwareGeometry.enabldHardwarePDModule != 0 && init.SparsePDHWEnable != 0) {
    return kFlowSparseHardware;
  }
  return tuning.HVControl.PDProcessingAxis == kAxisVertical ? kFlowSparseVertical
                                                            : kFlowSparseHorizontal;
}

}  // namespace

PDFlowType SelectPDLibFlow(const PDLibInitParam& init, const tessarinePDLibType& tuning) {
  if (tuning.HVControl.PDProcessingAxis == kAxisBoth) return kFlowSparseHV;
  const PDAFType sensor = init.bufferDataInfo.sensorType;
  const bool isDualPD = sensor == kSensorDualPD1 || sensor == kSensorDualPD2;
  return isDualPD ? SelectDenseFlow(init, tuning) : SelectSparseFlow(init, tuning);
}

bool isDiagonalFlowEnable(const tessarinePDLibType* tuning) {
  constexpr int32_t kDiagonal = 4;
  if (tuning == nullptr || tuning->extensionParam == nullptr) return false;
  for (uint32_t i = 0; i < tuning->extensionParamCount; ++i) {
    const auto& entry = tuning->extensionParam[i];
    // One value is read, and yet an entry with a single value doesn't count: the parameter carries
    // a choice for each axis.
    if (is_hv_selection(entry) && entry.dataCount > 1)
      return pdlib::ToInt32(entry.data[0]) == kDiagonal;
  }
  return false;
}

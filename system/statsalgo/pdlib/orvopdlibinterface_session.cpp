// Opening and closing of a camera: one instance per camera id, shared by reference count.
#include <cstring>

#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "core/pdlib.h"
#include "orvo/memory.h"
#include "orvopdlibinterface_internal.h"

using pdlib::plugin::IsCameraId;
using pdlib::plugin::ProfileSlot;
using pdlib::plugin::TableLock;

VekPDLib* g_pPDLibData[kMaxCameras] = {};
ProfileSlot g_profileData[kMaxCameras] = {};

namespace {

constexpr uint32_t kMissingCamera = kMaxCameras;

// What the list of a call says. An id that no table holds counts as missing.
struct SessionCall {
  const void* override = nullptr;  // null: not in the list
  int overrideValue = 0;
  uint32_t cameraId = kMissingCamera;

  bool isActual() const { return overrideValue == 1 && IsCameraId(cameraId); }
};

SessionCall ScanList(const PDLibParamList* params, uint32_t overrideType, uint32_t cameraType) {
  SessionCall call;
  if (params == nullptr || params->entries == nullptr) return call;
  for (uint32_t i = 0; i < params->count; ++i) {
    const PDLibListEntry& entry = params->entries[i];
    if (entry.data == nullptr) continue;
    if (entry.type == overrideType && entry.size >= sizeof(call.overrideValue)) {
      call.override = entry.data;
      std::memcpy(&call.overrideValue, entry.data, sizeof(call.overrideValue));
    } else if (entry.type == cameraType && entry.size >= sizeof(PDLibCameraInfo)) {
      PDLibCameraInfo info;
      std::memcpy(&info, entry.data, sizeof(info));
      call.cameraId = IsCameraId(info.cameraId) ? info.cameraId : kMissingCamera;
    }
  }
  return call;
}

VekPDLib* CreateInstance(uint32_t cameraId) {
  PDLIB_INFO("PDLibData creation");
  auto* lib = static_cast<VekPDLib*>(OrvoCalloc(sizeof(VekPDLib)));
  if (lib == nullptr) {
    PDLIB_ERROR("out of memory for PDLibData[camId:%u]", cameraId);
    return nullptr;
  }
  lib->pfnInitialize = PDLibInitialize;
  lib->pfnDestroy = PDLibDestroy;
  lib->pfnConfigure = PDLibConfigure;
  lib->pfnGetParam = PDLibGetParam;
  lib->pfnProcess = PDLibProcess;
  lib->instanceCount = 1;
  PDLIB_INFO("PDLibData[camId:%u] first time creation %p instanceCount %u", cameraId,
             static_cast<void*>(lib), lib->instanceCount);
  return lib;
}

void StoreLearntData(void* handle, uint32_t cameraId) {
  const void* data = nullptr;
  int size = 0;
  if (PDLibGetAdaptiveData(handle, &data, &size) != kPDStatusOk) return;
  if (data == nullptr || size != kAdaptiveDataSize) return;
  PDLibStoreAdaptiveData(data, kAdaptiveDataSize, cameraId);
}

void CloseInstance(uint32_t cameraId) {
  VekPDLib*& lib = g_pPDLibData[cameraId];
  if (lib->instanceCount > 0) {
    PDLIB_INFO("cameraID %u instance count %u skip destroying PD", cameraId, lib->instanceCount);
    return;
  }
  if (lib->pPrivate != nullptr) {
    StoreLearntData(lib->pPrivate, cameraId);
    PDLibDeinit(lib->pPrivate);
    lib->pPrivate = nullptr;
  }
  PDLIB_INFO("instance count 0 PDLib g_pPDLibData[camID:%u] in destroy is %p", cameraId,
             static_cast<void*>(lib));
  OrvoFree(lib);
  lib = nullptr;
}

void CloseProfile(uint32_t cameraId) {
  ProfileSlot& slot = g_profileData[cameraId];
  if (slot.count > 0) {
    PDLIB_INFO("cameraID %u instance count %d skip destroying m_profile", cameraId, slot.count);
    return;
  }
  pdlib::plugin::RetireProfile(slot);
  if (g_pPDLibData[cameraId] == nullptr) pdlib::plugin::ReleaseProfile(slot);
}

}  // namespace

int CreatePDLib(VekPDLib** lib, const PDLibParamList* params) {
  const SessionCall call = ScanList(params, kCreateOverrideCameraOpen, kCreateCameraInfo);
  PDLIB_INFO("CreatePDLib: overrideCameraOpen is %d", call.overrideValue);
  if (lib == nullptr || !call.isActual()) {
    PDLIB_INFO("PDLib:Not actual open ...ignore:pOverridePDLibOpen %p", call.override);
    return kPDLibSuccess;
  }
  const TableLock lock;
  VekPDLib*& slot = g_pPDLibData[call.cameraId];
  if (slot != nullptr) {
    ++slot->instanceCount;
    PDLIB_INFO("PDLibData[camId:%u] has been created before %p instanceCount %u", call.cameraId,
               static_cast<void*>(slot), slot->instanceCount);
  } else {
    slot = CreateInstance(call.cameraId);
  }
  *lib = slot;
  return kPDLibSuccess;
}

// The camera id of the list decides which instance is meant, not the object.
int PDLibDestroy(VekPDLib* /*lib*/, const PDLibParamList* params) {
  const SessionCall call = ScanList(params, kDestroyOverrideCameraClose, kDestroyCameraInfo);
  PDLIB_INFO("PDLibDestroy overrideCameraClose is %d g_pPDLibData %p", call.overrideValue,
             static_cast<void*>(g_pPDLibData));
  const TableLock lock;
  if (IsCameraId(call.cameraId)) {
    if (g_pPDLibData[call.cameraId] == nullptr) {
      PDLIB_ERROR("g_pPDLibData[%u] is NULL", call.cameraId);
      return kPDLibSuccess;
    }
    uint32_t& instances = g_pPDLibData[call.cameraId]->instanceCount;
    uint8_t& profiles = g_profileData[call.cameraId].count;
    if (instances > 0) --instances;
    if (profiles > 0) --profiles;
  }
  if (call.override == nullptr) {
    PDLIB_INFO("pOverridePDLibClose is NULL for cameraId %u", call.cameraId);
  } else if (!call.isActual()) {
    PDLIB_INFO("pOverridePDLibClose %d,  cameraId %u", call.overrideValue, call.cameraId);
  } else {
    CloseInstance(call.cameraId);
    CloseProfile(call.cameraId);
  }
  return kPDLibSuccess;
}

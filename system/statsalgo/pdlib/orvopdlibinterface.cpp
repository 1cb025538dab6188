// The entry, and the calls of a running session.
#include "orvopdlibinterface.h"

#include <cstring>

#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "core/pdlib.h"
#include "orvopdlibinterface_internal.h"

namespace {

constexpr char kComponentName[] = "com.zyn.stats.pdlib";

Orvo::Mutex* g_lock = nullptr;
VekAlgoInterface g_VekAlgoInterface{};

void CreateLock() {
  if (g_lock != nullptr) {
    PDLIB_ENTRY_INFO("Mutex not NULL on algorithm Entry");
    return;
  }
  g_lock = Orvo::Mutex::Create("AFPDlibLock");
  if (g_lock == nullptr) PDLIB_ENTRY_ERROR("Could not create AFPDlibLock");
}

void RegisterAlgoInterface(const VekAlgoInterface* algoInterface) {
  if (algoInterface == nullptr) {
    PDLIB_ENTRY_ERROR("Invalid argument: algoInterface is NULL");
    return;
  }
  g_VekAlgoInterface = *algoInterface;
  if (g_VekAlgoInterface.pfnSetComponent == nullptr) return;
  const PDLibComponentInfo info{sizeof(PDLibComponentInfo), kComponentName, 0};
  static_assert(sizeof(PDLibComponentInfo) == 24);
  g_VekAlgoInterface.pfnSetComponent(&info);
}

int PDGetCapabilities(void* /*capabilities*/) {
  return kPDLibSuccess;
}

int PDLibQueryVendorTag(PDLibVendorTagQuery* query) {
  if (query == nullptr) {
    PDLIB_ENTRY_ERROR("Invalid argument: pQueryVendorTag is NULL");
    return kPDLibInvalidPointer;
  }
  if (query->size < sizeof(PDLibVendorTagQuery)) {
    PDLIB_ENTRY_ERROR("pQueryVendorTag is smaller than expected");
    return kPDLibFailed;
  }
  query->tagSectionCount = 0;
  return kPDLibSuccess;
}
static_assert(sizeof(PDLibVendorTagQuery) == 16);

bool IsUsable(const PDLibCallbacks* callbacks) {
  if (callbacks == nullptr) {
    PDLIB_ENTRY_ERROR("Invalid argument: pCallBacks is NULL");
    return false;
  }
  if (callbacks->size < sizeof(PDLibCallbacks)) {
    PDLIB_ENTRY_ERROR("pCallBacks is smaller than expected");
    return false;
  }
  return true;
}

void SelectProfile(uint32_t cameraId) {
  m_profile =
      pdlib::plugin::IsCameraId(cameraId) ? g_profileData[cameraId].profile.load() : nullptr;
}

// `status` of the core that filled `size` bytes, as an answer to PDLibGetParam.
int AnswerParam(PDLibParamData& output, int status, size_t size) {
  if (status == kPDStatusOk) {
    output.size = static_cast<uint32_t>(size);
    return kPDLibSuccess;
  }
  std::memset(output.data, 0, sizeof(uint32_t));
  output.size = 0;
  return kPDLibFailed;
}

}  // namespace

namespace pdlib::plugin {

TableLock::TableLock() : mutex_(g_lock) {
  if (mutex_ != nullptr) mutex_->Lock();
}

TableLock::~TableLock() {
  if (mutex_ != nullptr) mutex_->Unlock();
}

}  // namespace pdlib::plugin

extern "C" void VekPDLibraryEntry(PDLibCallbacks* callbacks) {
  PDLIB_ENTRY_INFO("VekPDLibrarEntry");
  if (IsUsable(callbacks)) {
    callbacks->pfnGetCapabilities = PDGetCapabilities;
    callbacks->pfnQueryVendorTag = PDLibQueryVendorTag;
    callbacks->pfnCreate = CreatePDLib;
    callbacks->pfnRegisterAlgoInterface = RegisterAlgoInterface;
  }
  CreateLock();
}

int PDLibConfigure(VekPDLib* /*lib*/, const void* /*params*/) {
  return kPDLibSuccess;
}

int PDLibGetParam(VekPDLib* lib, PDLibGetParamRequest* request) {
  if (lib == nullptr || request == nullptr) return kPDLibFailed;
  PDLibParamData& output = request->output;
  if (output.data == nullptr) {
    PDLIB_ERROR("null data pointer for type %u", request->type);
    return kPDLibFailed;
  }
  switch (request->type) {
    case kGetHardwareConfig: {
      auto* config = static_cast<PDHwConfig*>(output.data);
      return AnswerParam(output, PDLibGetHardwareConfig(lib->pPrivate, config), sizeof(*config));
    }
    case kGetSWInfo: {
      auto* info = static_cast<PDSwInfo*>(output.data);
      return AnswerParam(output, PDLibGetSWInfo(lib->pPrivate, info), sizeof(*info));
    }
    default: return kPDLibSuccess;
  }
}

int PDLibProcess(VekPDLib* lib, const PDLibInputs* inputs, PDLibOutputData* outputs) {
  if (lib == nullptr || inputs == nullptr || outputs == nullptr) return kPDLibInvalidPointer;
  SelectProfile(inputs->param.cameraInfo.cameraId);
  const PDLibParam param = inputs->param;
  const int status = PDLibPhaseDetection(lib->pPrivate, &param, inputs->linesWritten, outputs);
  const PDLibDefocusInfo& first = outputs->defocusInfo[0];
  PDLIB_VERBOSE("PDAF log buffer %p pdaf PDresult %d defocus %d conf %d pd %f processingResult %d",
                static_cast<const void*>(param.PDBuffer), status, first.defocus,
                static_cast<int>(first.confidence), static_cast<double>(first.phaseDiff),
                static_cast<int>(outputs->processingResult));
  return status == kPDStatusOk ? kPDLibSuccess : kPDLibFailed;
}

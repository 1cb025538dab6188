// Initialisation of a session: tuning, LCR part of the init record, profile block, learnt data.
#include "afpdlibelements.h"
#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "core/pdlib.h"
#include "orvo/memory.h"
#include "orvopdlibinterface_internal.h"
#include "tuningsetmanager.h"

using afpdlibelements::tessarinePDLibType;
using pdlib::plugin::IsCameraId;

namespace {

// What the caller hands over, else what its manager holds for the session's branch of modes. The
// record stays in use as long as the manager lives.
const tessarinePDLibType* FindTuning(const PDLibCreateParams& createParams) {
  if (createParams.initParam.tuningData != nullptr) return createParams.initParam.tuningData;
  TuningSetManager* manager = createParams.tuningManager;
  if (manager == nullptr) return nullptr;
  return manager->GetModule_tessarinePDLib(createParams.tuningModes, createParams.tuningModeCount,
                                           nullptr);
}

// The second session of a camera finds the core running and leaves it as it is.
bool InitializeCore(VekPDLib& lib, const PDLibInitParam& init, const tessarinePDLibType& tuning) {
  if (lib.pPrivate != nullptr) {
    PDLIB_INFO("PDLib already initialized, IGNORE");
    return true;
  }
  const int status = PDLibInit(&lib.pPrivate, &init, &tuning);
  pdlib::plugin::SetUpProfile(init);
  return status == kPDStatusOk;
}

void RestoreLearntData(VekPDLib& lib, uint32_t cameraId) {
  alignas(uint64_t) uint8_t data[kAdaptiveDataSize] = {};
  if (!IsCameraId(cameraId) || PDLibLoadAdaptiveData(data, sizeof(data), cameraId) != 0) {
    PDLIB_INFO("Can not load adaptive PDAF data - using defaults");
  } else if (PDLibSetAdaptiveData(lib.pPrivate, data, sizeof(data)) != kPDStatusOk) {
    PDLIB_ERROR("Set pdlib adaptive k data failed");
  }
}

// Bytes that a pixel takes in the LCR buffer. A format that LCR can't read becomes format 1.
float LcrBufferMultiplier(PDAFBufferDataFormat& format) {
  if (format == kBufferUnpacked16) return 2.0f;
  format = kBufferFormat1;
  return 1.25f;
}

uint32_t AlignedStride(uint32_t width, float multiplier) {
  constexpr uint64_t kAlignment = 16;
  constexpr uint64_t kHighest = UINT32_MAX / kAlignment * kAlignment;
  const uint64_t bytes = pdlib::ToUint32(static_cast<float>(width) * multiplier);
  const uint64_t stride = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  return static_cast<uint32_t>(stride < kHighest ? stride : kHighest);
}

PDLibProfile* CreateProfile(const PDLibInitParam& init) {
  auto* profile = static_cast<PDLibProfile*>(OrvoCalloc(sizeof(PDLibProfile)));
  if (profile == nullptr) {
    PDLIB_ERROR("out of memory for the profile block of camera %u", init.cameraInfo.cameraId);
    return nullptr;
  }
  pdlib::AddProfileModule(*profile, pdlib::kProfileInit, true);
  pdlib::AddProfileModule(*profile, pdlib::kProfilePhaseDetect, true);
  pdlib::AddProfileModule(*profile, pdlib::kProfileLrCenterWindow, true);
  pdlib::AddProfileModule(*profile, pdlib::kProfileLcrCenterWindow, true);
  pdlib::AddProfileModule(*profile, pdlib::kProfilePeripheralWindow, true);
  pdlib::AddProfileModule(*profile, pdlib::kProfileEndToEnd, false);
  profile->name = "PDLIB";
  profile->interval = 1;
  profile->enabled = 1;
  profile->cameraId = init.cameraInfo.cameraId;
  profile->flags = init.profileFlags;
  return profile;
}

}  // namespace

namespace pdlib::plugin {

void RetireProfile(ProfileSlot& slot) {
  m_profile = nullptr;
  slot.profile = nullptr;
}

void ReleaseProfile(ProfileSlot& slot) {
  RetireProfile(slot);
  OrvoFree(slot.owned);
  slot.owned = nullptr;
  slot.count = 0;
}

void SetUpProfile(const PDLibInitParam& init) {
  if (!IsCameraId(init.cameraInfo.cameraId)) return;
  const TableLock lock;
  ProfileSlot& slot = g_profileData[init.cameraInfo.cameraId];
  if ((init.profileFlags & kProfileFlagOn) == 0) {
    ReleaseProfile(slot);
    return;
  }
  if (slot.count != 0) return;
  ReleaseProfile(slot);
  slot.owned = CreateProfile(init);
  if (slot.owned == nullptr) return;
  slot.profile = slot.owned;
  slot.count = 1;
  m_profile = slot.owned;
  LogProfileModules(*slot.owned);
  const ProfileFrame initFrame(kProfileInit);
}

}  // namespace pdlib::plugin

int PDLibInitialize(VekPDLib* lib, const PDLibCreateParams* createParams) {
  if (lib == nullptr || createParams == nullptr) return kPDLibInvalidPointer;
  const tessarinePDLibType* tuning = FindTuning(*createParams);
  if (tuning == nullptr) {
    PDLIB_ERROR("PDLib tuning is not being provided.");
    return kPDLibFailed;
  }
  PDLibInitParam init = createParams->initParam;
  PDLibLCRConfigure(&init, tuning);  // a sensor without LCR is no failure
  if (!InitializeCore(*lib, init, *tuning)) return kPDLibFailed;
  RestoreLearntData(*lib, init.cameraInfo.cameraId);
  return kPDLibSuccess;
}

int PDLibLCRConfigure(PDLibInitParam* init, const tessarinePDLibType* tuning) {
  if (init == nullptr || tuning == nullptr) return kPDLibInvalidPointer;
  PDLibSensorNativeInfo& sensor = init->nativePatternInfo;
  PDLibLcrBufferData& buffer = init->bufferDataInfo.lcrBufferData;
  PDLibLcrBlockPattern pattern;
  if (PDLibGetLcrNativePattern(&pattern, &sensor, tuning) != kPDStatusOk) return kPDLibFailed;
  sensor.lcrBlockPattern = pattern;
  buffer.isp1BlockPattern = pattern;

  PDLIB_INFO("LCR buffer format %d", static_cast<int>(buffer.bufferFormat));
  const float multiplier = LcrBufferMultiplier(buffer.bufferFormat);
  PDLIB_INFO("BufMultiplier %f", static_cast<double>(multiplier));
  buffer.isp1BufferWidth = sensor.currentImageWidth;
  buffer.ispBufferHeight = sensor.currentImageHeight;
  buffer.isp2BufferWidth = 0;
  buffer.imageOverlap = 0;
  buffer.isp1BufferStride = AlignedStride(sensor.currentImageWidth, multiplier);
  return kPDLibSuccess;
}

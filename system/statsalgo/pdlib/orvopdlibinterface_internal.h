// What the plug-in's own files share; nothing of this is exported.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/pdlib_profile.h"
#include "orvo/mutex.h"
#include "orvopdlibinterface.h"

namespace pdlib::plugin {

// The profile block of one camera. The block is freed with the camera's instance and no sooner: a
// session may close while another one's frame is still writing into it.
struct ProfileSlot {
  std::atomic<PDLibProfile*> profile;  // what frames that begin now measure into; null: nothing
  PDLibProfile* owned;
  uint8_t count;
};

// Holds the lock of both tables, which exists from the first VekPDLibraryEntry on; without it the
// plug-in works unlocked.
class TableLock {
 public:
  TableLock();
  ~TableLock();
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;

 private:
  Orvo::Mutex* mutex_;
};

constexpr bool IsCameraId(uint32_t cameraId) {
  return cameraId < kMaxCameras;
}

// The session's profile block, made or taken down by the init record's flags. Takes the lock.
void SetUpProfile(const PDLibInitParam& init);
// Frames that begin from now on are not measured. Under the lock.
void RetireProfile(ProfileSlot& slot);
// Frees the block of a slot; no frame of its camera runs any more. Under the lock.
void ReleaseProfile(ProfileSlot& slot);

}  // namespace pdlib::plugin

// Slot = camera id. Guarded by the lock, but for the frame's look at its own camera's profile.
extern VekPDLib* g_pPDLibData[kMaxCameras];
extern pdlib::plugin::ProfileSlot g_profileData[kMaxCameras];

// The operations of the VekPDLib table and the callbacks.
int PDLibInitialize(VekPDLib* lib, const PDLibCreateParams* createParams);
int PDLibDestroy(VekPDLib* lib, const PDLibParamList* params);
int PDLibConfigure(VekPDLib* lib, const void* params);
int PDLibGetParam(VekPDLib* lib, PDLibGetParamRequest* request);
int PDLibProcess(VekPDLib* lib, const PDLibInputs* inputs, PDLibOutputData* outputs);
int CreatePDLib(VekPDLib** lib, const PDLibParamList* params);

// Prepares the LCR part of an init record: native pattern, format and geometry of the LCR buffer.
int PDLibLCRConfigure(PDLibInitParam* init, const afpdlibelements::tessarinePDLibType* tuning);

// The learnt coefficients of a camera, a file without header. A file shorter than `size` counts as
// none, with an error line; the buffer then holds no data.
int PDLibLoadAdaptiveData(void* buffer, size_t size, uint32_t cameraId);
int PDLibStoreAdaptiveData(const void* buffer, size_t size, uint32_t cameraId);

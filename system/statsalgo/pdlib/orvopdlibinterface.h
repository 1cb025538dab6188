// The plug-in: what the camera stack sees of the PD library.
//
// One entry function is exported, VekPDLibraryEntry. It hands out the callbacks below; CreatePDLib
// then gives one VekPDLib per camera id, shared by reference count between the sessions of that
// camera. One instance is called from one thread at a time; creation, initialisation and
// destruction may come from any thread.
//
// Results of this layer: kPDLibSuccess, kPDLibFailed, kPDLibInvalidPointer. No exception leaves it.
#pragma once

#include <cstdint>

#include "base/pdlib_common.h"

inline constexpr int kPDLibSuccess = 0;
inline constexpr int kPDLibFailed = 1;
inline constexpr int kPDLibInvalidPointer = 5;

// Cameras with an id from 0 to 7 are served; the value 8 stands for a missing id.
inline constexpr uint32_t kMaxCameras = 8;

// ---- Parameter lists of CreatePDLib and PDLibDestroy
// ------------------------------------------------------

enum PDLibCreateEntryType : uint32_t {
  kCreateOverrideCameraOpen = 0,  // data: 32-bit word, 1 for an actual open
  kCreateCameraInfo = 2,          // data: PDLibCameraInfo
};

enum PDLibDestroyEntryType : uint32_t {
  kDestroyOverrideCameraClose = 0,  // data: 32-bit word, 1 for an actual close
  kDestroyCameraInfo = 1,           // data: PDLibCameraInfo
};

struct PDLibListEntry {
  uint32_t type;
  const void* data;
  uint32_t size;  // bytes of data
};

struct PDLibParamList {
  const PDLibListEntry* entries;
  uint32_t count;
};

// ---- PDLibGetParam
// ----------------------------------------------------------------------------------------

enum PDLibGetParamType : uint32_t {
  kGetHardwareConfig = 0,  // data: PDHwConfig
  kGetSWInfo = 1,          // data: PDSwInfo
};

struct PDLibParamData {
  void* data;     // the caller's, large enough for the record asked for
  uint32_t size;  // written: bytes of the record, 0 on failure
};

struct PDLibGetParamRequest {
  uint32_t type;
  PDLibParamData output;
};

// ---- The object of one camera
// -----------------------------------------------------------------------------

struct VekPDLib {
  int (*pfnInitialize)(VekPDLib* lib, const PDLibCreateParams* createParams);
  int (*pfnDestroy)(VekPDLib* lib, const PDLibParamList* params);
  int (*pfnConfigure)(VekPDLib* lib, const void* params);
  int (*pfnGetParam)(VekPDLib* lib, PDLibGetParamRequest* request);
  int (*pfnProcess)(VekPDLib* lib, const PDLibInputs* inputs, PDLibOutputData* outputs);
  void* pPrivate;  // handle of the core
  uint32_t instanceCount;
};

// ---- The entry
// --------------------------------------------------------------------------------------------

// Asked for vendor tags; the library publishes none.
struct PDLibVendorTagQuery {
  uint32_t size;             // bytes of this record
  uint64_t tagSectionCount;  // written: 0
};

// What the library tells the registered interface of itself.
struct PDLibComponentInfo {
  uint32_t size;     // 24
  const char* name;  // "com.zyn.stats.pdlib"
  uint64_t reserved;
};

// The interface that the camera stack registers: six 64-bit words, the fifth a function (or null).
struct VekAlgoInterface {
  uint64_t words[4];
  void (*pfnSetComponent)(const PDLibComponentInfo* info);
  uint64_t lastWord;
};
static_assert(sizeof(VekAlgoInterface) == 48);

// Filled by VekPDLibraryEntry. `size` is set by the caller to at least sizeof(PDLibCallbacks).
struct PDLibCallbacks {
  uint32_t size;
  uint64_t reserved;
  int (*pfnGetCapabilities)(void* capabilities);
  int (*pfnQueryVendorTag)(PDLibVendorTagQuery* query);
  int (*pfnCreate)(VekPDLib** lib, const PDLibParamList* params);
  void (*pfnRegisterAlgoInterface)(const VekAlgoInterface* algoInterface);
};
static_assert(sizeof(PDLibCallbacks) == 48);

// Hands out the callbacks and prepares the library. A null or too small record is logged and left
// alone.
extern "C" __attribute__((visibility("default"))) void VekPDLibraryEntry(PDLibCallbacks* callbacks);

// The file of learnt coefficients, one per camera.
#include <cstdio>

#include "base/pdlib_log.h"
#include "orvo/osutils.h"
#include "orvopdlibinterface_internal.h"

namespace {

namespace OsUtils = Orvo::OsUtils;

constexpr size_t kMaxPath = 4096;

FILE* OpenFile(uint32_t cameraId, const char* mode) {
  char path[kMaxPath];
  std::snprintf(path, sizeof(path), "%s%s%s%u%s", "/var/cache/camera", "/", "pdlibdata", cameraId,
                ".bin");
  PDLIB_INFO("pFilePath is %s", path);
  return OsUtils::FOpen(path, mode);
}

}  // namespace

int PDLibLoadAdaptiveData(void* buffer, size_t size, uint32_t cameraId) {
  if (buffer == nullptr) return kPDLibFailed;
  FILE* file = OpenFile(cameraId, "r");
  if (file == nullptr) {
    // No error: nothing was learnt yet.
    PDLIB_INFO("Failed to open the adaptive k data file");
    return kPDLibFailed;
  }
  const size_t read = OsUtils::FRead(buffer, size, 1, size, file);
  OsUtils::FClose(file);
  if (read == size) return kPDLibSuccess;
  // Zeros in place of what it lacks would count as learnt, and stop the lens.
  PDLIB_ERROR("The adaptive k data file holds %zu of %zu bytes", read, size);
  return kPDLibFailed;
}

int PDLibStoreAdaptiveData(const void* buffer, size_t size, uint32_t cameraId) {
  if (buffer == nullptr) return kPDLibFailed;
  FILE* file = OpenFile(cameraId, "wb");
  if (file == nullptr) {
    PDLIB_ERROR("Failed to open the adaptive k data file");
    return kPDLibFailed;
  }
  const bool isWritten = OsUtils::FWrite(buffer, 1, size, file) == size;
  const bool isClosed = OsUtils::FClose(file) == 0;
  if (isWritten && isClosed) return kPDLibSuccess;
  PDLIB_ERROR("Failed to write the adaptive k data file");
  return kPDLibFailed;
}

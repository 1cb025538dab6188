#include "frame/pdlib_utils_result.h"

#include <cstring>

#include "base/pdlib_log.h"

bool is_buffer_usable(const PDLibParam& param, uint64_t requiredBytes) {
  if (param.PDBuffer == nullptr) {
    PDLIB_ERROR("null PD buffer");
    return false;
  }
  if (param.PDBufferSize >= 0 && static_cast<uint64_t>(param.PDBufferSize) >= requiredBytes)
    return true;
  PDLIB_ERROR("PD buffer of %lld bytes is too small, the PD area needs %llu",
              static_cast<long long>(param.PDBufferSize),
              static_cast<unsigned long long>(requiredBytes));
  return false;
}

void log_frame_result(uint32_t frameIndex, const PDLibDefocusInfo& result,
                      float actuatorSensitivity, int lensPosition, const PDLibOutputData& output) {
  PDLIB_INFO(
      "frame_idx: %d, phaseDiff %.2f, defocus_um: %.1f conf_level %d cur_lens_pos %d "
      "processingResult %d isPeripheralValid %d",
      static_cast<int>(frameIndex), static_cast<double>(result.phaseDiff),
      static_cast<double>(static_cast<float>(result.defocus) * actuatorSensitivity),
      static_cast<int>(result.confidence), lensPosition, static_cast<int>(output.processingResult),
      output.isPeripheralValid);
}

void copy_results(const PDLibOutputData& from, PDLibOutputData* to) {
  std::memcpy(static_cast<void*>(to), &from, offsetof(PDLibOutputData, depthMap));
}

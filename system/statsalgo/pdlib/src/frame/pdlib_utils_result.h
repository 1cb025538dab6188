// How a call of a frame is taken and answered.
#pragma once

#include <cstdint>

#include "base/pdlib_common.h"

// Whether the frame comes with a buffer of at least `requiredBytes`; logs it if not.
bool is_buffer_usable(const PDLibParam& param, uint64_t requiredBytes);

// The line that each call of a frame ends with; `result` is the one to be told.
void log_frame_result(uint32_t frameIndex, const PDLibDefocusInfo& result,
                      float actuatorSensitivity, int lensPosition, const PDLibOutputData& output);

// Copies everything but the depth map, which stays the caller's in flows that make none.
void copy_results(const PDLibOutputData& from, PDLibOutputData* to);

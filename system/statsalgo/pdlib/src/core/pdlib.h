// The core: plain functions between the plug-in and the flows.
//
// A handle serves one camera and is used from one thread at a time; the core takes no lock. Results
// are the kPDStatus values. No exception leaves the core.
#pragma once

#include <cstdint>

#include "base/pdlib_common.h"
#include "driver/pdlib_hw_config.h"

// Chooses the flow, creates and initialises it. The handle is stored even when the flow failed, so
// that PDLibDeinit can release what exists; without memory for the handle itself it becomes null.
// `init` and `tuning` need to live for the call only, what they point to as long as the handle.
int PDLibInit(void** handle, const PDLibInitParam* init,
              const afpdlibelements::tessarinePDLibType* tuning);
int PDLibDeinit(void* handle);

// One call of a frame: `lines` PD lines are in the buffer. A failed flow leaves the fail state in
// `output`; a refused call leaves `output` alone.
int PDLibPhaseDetection(void* handle, const PDLibParam* param, uint32_t lines,
                        PDLibOutputData* output);

// Makes the windows of a failed frame read as a sure result of no movement.
void PDLibFailState(PDLibOutputData* output);

int PDLibGetVersion(PDLibVersion* version);

// The learnt coefficients: a blob of kAdaptiveDataSize bytes that stays the flow's. Without one,
// `data` becomes null and `size` 0.
int PDLibGetAdaptiveData(void* handle, const void** data, int* size);
int PDLibSetAdaptiveData(void* handle, const void* data, int size);

// What the PD hardware block has to be programmed with; `enable` is 0 for a software flow.
int PDLibGetHardwareConfig(void* handle, PDHwConfig* config);
int PDLibGetSWInfo(void* handle, PDSwInfo* info);

int PDLibGetLcrNativePattern(PDLibLcrBlockPattern* pattern, const PDLibSensorNativeInfo* sensor,
                             const afpdlibelements::tessarinePDLibType* tuning);

// The grids of a window: correlation cells, result windows, the windows around the ROI.
#pragma once

#include "dense/pdlib_dpd_context.h"

// Takes over the frame's values and, when the window changed, builds its grids. 0, or 1 when there
// are none: then every frame fails alike until the window changes again.
int SetDPDContextParamInfo(dpd_context_t* context, const PDLibParam& param);

// Builds all grids and line buffers of the stored window: 0, or 1 with a log line and nothing left
// behind.
int AllocateDPDGridMemoryAndConfig(dpd_context_t* context);

// The eight windows around the ROI: 0, or 1 without memory.
int AllocateDPDMemoryForPeripheral(dpd_context_t* context);

void FreeDPDGridMemory(dpd_context_t* context);

// Hands the frame's exposure to the line jobs: 0, or 1 without grids.
int DPDGridSetRealtimeParams(dpd_context_t* context);

// How bright the scene is by the exposure in force: 0 dark (or unknown), 2 bright, 1 between.
int DPDGetLuxLevel(const dpd_context_t& context);

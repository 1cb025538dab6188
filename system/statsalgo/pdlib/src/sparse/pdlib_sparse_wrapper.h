// The way of one frame through the sparse horizontal kernels.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// Skip control: 1 when this call does no work because the lens stands still and the tuned rate is
// reached.
int PdlibSkipControlProcess(pdaf_context_t* context, const PDLibParam* param, uint32_t lines);

// One step of the frame: the centre grid once, then the peripheral windows if the centre found
// nothing.
void pd_incremental_processing(pdaf_context_t* context, uint16_t lines);

// The centre grid; gives the processing result.
uint32_t pd_process_center_window(pdaf_context_t* context, uint16_t lines, PDLibOutputData* output);

// The peripheral windows from `first` to the last one that `lines` allows.
void pd_process_peripheral_window(pdaf_context_t* context, uint16_t lines, PDLibOutputData* output,
                                  uint16_t first);

// Share of the block rows to parse, 0 to 1: keeps the parsed area near 9 percent of the image for a
// large ROI, 25 percent of a peripheral window.
float pd_process_get_subsample_ratio(const pdaf_context_t& context, int centre);

// Parses and cleans the row of windows [first, end) of the active grid.
void pdaf_window_process_optimized(pdaf_context_t* context, uint16_t first, uint16_t end);

// Correlates the windows [first, end) of one row of the active grid.
void calculate_sad_vector(pdaf_context_t* context, uint16_t first, uint16_t end);

// Turns the vector of one window of the active grid into its result; whether its confidence exceeds
// the threshold. A window beyond the results, the sum of kMaxWindows ones, is not stored.
bool calculate_pd_and_conf(pdaf_context_t* context, PDLibDefocusInfo* results, uint16_t window);

// From an ROI to grids: the centre grid with its overlap and sum window, the eight peripheral
// windows, and all frame buffers. Runs when the configuration changes, never on an ordinary frame.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// x and y of the first PD block in the image, pixels.
void get_global_offset_info(const sensor_logic_t& sensor, int* x, int* y);

// Sample buffers and both grids for the installed window. 0, or 1 without memory.
int allocate_pdaf_grid_memory_and_config(pdaf_context_t* context, const PDLibParam& param);
int configure_center_window(pdaf_context_t* context, const PDLibParam& param);
int configure_peripheral_window(pdaf_context_t* context, const PDLibParam& param);

// Releases everything that allocate_pdaf_grid_memory_and_config made; nothing there is fine.
void free_pdaf_grid_memory(pdaf_context_t* context);

// Copies one frame's input; a context that waits for a window takes it and counts as configured
// from then on.
void set_pd_context_param_info(pdaf_context_t* context, const PDLibParam& param);

// The state machine of the first frames and of changed windows: calibrates once, rebuilds the grids
// when the window differs, copies the input. 0, or 1 with a log line; the next frame tries again.
int configure_pd_context_info(pdaf_context_t* context, const PDLibParam& param);

// LCR on the sparse context: where the sparse flow hands over to the line kernels.
//
// This version measures no lines: the context keeps the memory, the bias and the decision whether a
// frame runs LCR, and the results of the PD pixels stand.
#pragma once

#include "base/pdlib_common.h"

struct pdaf_context_t;

// Builds the line tables from the pattern.
void pdaf_lcr_calculate_parse_info(pdaf_context_t* context);

// Measures the lines of the centre grid and replaces the results that LCR knows better.
void pdaf_lcr_process_center_window(pdaf_context_t* context, PDLibOutputData* output);

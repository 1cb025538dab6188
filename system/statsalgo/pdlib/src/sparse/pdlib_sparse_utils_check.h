// The flat-field test of a sensor's PD pattern.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// Reports, for each PD pixel position of a block, the statistics over the ROI of a flat image,
// judges them against the context's criteria and dumps the right samples. The context must be
// configured for the frame.
void check_data(pdaf_context_t* context, const PDLibParam* param);

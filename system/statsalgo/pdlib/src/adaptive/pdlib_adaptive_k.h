// Adaptive DCC: the online estimation of the defocus conversion coefficient.
//
// This version has the state and the points where the flows call it; the estimation itself is
// switched off, whatever the tuning says. A disabled module keeps nothing, and the calibrated
// coefficients stay in force.
#pragma once

#include <cstdint>

#include "afpdlibelements.h"
#include "core/pdlib_common.h"

struct pdaf_adaptive_k_t {
  uint32_t enable;  // 0: flows do not use the module
};

void adaptive_k_pd_init(pdaf_adaptive_k_t* state,
                        const afpdlibelements::tessarineTuningAdaptiveK* tuning,
                        const int16_t* calibrationTable, uint16_t dccQFormat, int width,
                        int height);
void adaptive_k_deinit(pdaf_adaptive_k_t* state);
// Deactivates every window.
void adaptive_k_reset(pdaf_adaptive_k_t* state);

// Window rectangles are in PD blocks.
void adaptive_k_config_window(pdaf_adaptive_k_t* state, PDLibRoiType roiType, int startX, int endX,
                              int startY, int endY, int window);
void adaptive_k_configure_peripheral_window(pdaf_adaptive_k_t* state, int startX, int endX,
                                            int startY, int endY, int window);
void adaptive_k_print_active_gridID(const pdaf_adaptive_k_t* state);

// The coefficient of a window for this sign of phase difference; not called while the module is
// disabled.
int16_t adaptive_k_get_interpolated_DCC(const pdaf_adaptive_k_t* state, float phaseDiff,
                                        int window);
int16_t adaptive_k_get_interpolated_DCC_peripheral(const pdaf_adaptive_k_t* state, float phaseDiff,
                                                   int window);

// Learns from one frame's results.
void adaptive_k_process_frame(pdaf_adaptive_k_t* state, float actuatorSensitivity, int lensPosition,
                              const PDLibOutputData* output);

// The blob of what was learnt: a disabled module reports size 0 and leaves the buffer alone. 1 on
// success.
int adaptive_k_get_data(const pdaf_adaptive_k_t* state, int16_t* buffer, int* size);
int adaptive_k_set_data(pdaf_adaptive_k_t* state, const int16_t* buffer, int size);

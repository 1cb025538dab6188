// From the calibration record to the maps that the frame path reads: a gain per pixel position and
// a conversion coefficient per window.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// The fractional bits of the DCC table.
uint16_t dcc_q_format(const _pdaf_cal_param_t& calibration);

// Expands the gain maps, crops and mirrors them and the DCC table for the sensor mode. 0, or 1 with
// a log line when a map can't be used or there is no memory; the context then holds no maps.
int pdaf_calibration_init(pdaf_context_t* context);

// DCC of the window of blocks [x0, x1) by [y0, y1).
int16_t interpolate_dcc(const pdaf_context_t& context, uint32_t x0, uint32_t x1, uint32_t y0,
                        uint32_t y1);

// The calibration of a dual-PD module: dense gain maps, conversion coefficients, phase offsets.
#pragma once

#include "dense/pdlib_dpd_context.h"

// Crops, flips and widens the maps of the calibration. 0, or 1 with nothing usable.
int InitDPDCalibration(dpd_context_t* context, const _pdaf_cal_param_t& calibration);

// The conversion coefficient of a rectangle in an image of `width` by `height` sites: a whole
// number, the mean magnitude of the four entries around its middle. A table that isn't 8 by 6 gives
// its first entry, with its sign.
int16_t DPDInterpolateKValue(const dpd_context_t& context, int start_x, int end_x, int start_y,
                             int end_y, int width, int height);

// The phase offset of a rectangle, full-resolution pixels: 0 without a usable offset map. On a
// flipped sensor each call flips the stored map, so that calls see it flipped and as calibrated in
// turn: that is the intended behaviour.
float InterpolateOffset(dpd_context_t* context, int start_x, int end_x, int start_y, int end_y,
                        int width, int height);

// The offset at a lens position: times the ratio of the table's last entry at or below it. Without
// a table, outside of it and where neighbours are equal the offset stands.
float refineOffset(const dpd_offset_ratios_t& table, float offset, int32_t lens);

// How every flow takes the sensor's description and its calibration.
#pragma once

#include <cstdint>

#include "base/pdlib_common.h"

// The image's flips: false, with a log line, for an orientation that doesn't exist.
bool read_orientation(PDAFOrientation orientation, bool* mirror, bool* flip);

// The sensor's phase offset as flows honour it: 0 unless it lies inside (-10, 10) pixels.
float honoured_pd_offset(float offset);

// The bits of a pixel: 10 for a depth outside 1 to 16.
uint8_t honoured_pixel_depth(uint32_t depth);

// Whether the gain maps of a calibration have 1 to kGainMapEntries entries; logs it if not.
bool has_usable_gain_maps(const _pdaf_cal_param_t& calibration);

// ---- Conversion table

// The usual size of a calibrated table of conversion coefficients.
inline constexpr int kDccColumns = 8;
inline constexpr int kDccRows = 6;

// The first of the two lines of a map, along an axis of `size` lines, around a relative position (0
// to 1). Never negative; with less than two lines it is 0.
int first_map_line(double relative, int size);

// Mean of the four table entries around a relative position (0 to 1, from the image's top left).
// The position inside a cell doesn't weigh: the four count alike.
int16_t dcc_lookup(const int16_t* table, double relativeX, double relativeY);

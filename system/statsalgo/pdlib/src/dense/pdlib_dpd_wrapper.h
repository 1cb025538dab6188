// From the SAD curve of a grid cell to a phase difference and a confidence.
//
// A curve holds one 64-bit total per trial shift: |far - near| + 1 of them. Totals are not
// negative; of curves that are, results are defined but mean nothing. The order per cell is: bias
// on the raw curve, temporal filter from the raw into the filtered one, matching on both, detection
// of repeating patterns on the filtered one. Free functions that allocate nothing.
#pragma once

#include <cstdint>

#include "dense/pdlib_dpd_records.h"

// sad[i] = bias[i] * sad[i] in Q12, modulo 2^64.
void dpd_sad_bias(int64_t* sad, const uint16_t* bias, int16_t count);

// filtered[i] = trunc(filtered[i] * max(1 - weight, 0)) + trunc(sad[i] * weight), single-precision
// products. A weight of 1 has no memory, 0 freezes the filtered curve.
void dpd_sad_temporal_filter(const int64_t* sad, int64_t* filtered, float weight, int16_t count);

// Finds the lowest entry of the raw curve, the first of equal ones, refines it by a parabola
// through the filtered curve, and returns the confidence: 1024 - 1024 * minimum / mean within
// `width` entries around the minimum; 1024 for a minimum of 0, 0 where all entries are 0.
// `pd` is the displacement in shifts, entry 0 standing for -far; on the curve's ends it is not
// refined. `integer_pd` = near + the lowest entry's index. `min` and `max` are of the raw curve.
// `range_low` and `range_high` bound the entries up to (1 + range_factor) * minimum: their indices
// (see dpd_compute_out_range) - |far|.
uint16_t dpd_FindMatching(const int64_t* sad, const int64_t* filtered, int near, int far, int width,
                          float* integer_pd, float* pd, int64_t* min, int64_t* max,
                          float range_factor, int* range_low, int* range_high);

// The same for hardware curves, whose entry 0 stands for the near limit: a refined `pd` is near +
// the position. One that is not refined is the plain index, without near: intended.
uint16_t dpd_HW_FindMatching(const int64_t* sad, const int64_t* filtered, int near, int far,
                             int width, float* integer_pd, float* pd, int64_t* min, int64_t* max,
                             float range_factor, int* range_low, int* range_high);

// The first entry from the start, and the first from the end, that is at most (1 + range_factor)
// times the minimum; neither lies beyond the minimum's index, and -1 stands for none (the product,
// in single precision, may come out below the minimum). A curve always has entry 0, whatever
// `count`. Returns 0.
int dpd_compute_out_range(const int64_t* sad, int count, float range_factor, int* low, int* high,
                          int* min_index);

// Score from 0 to 1 for a curve that keeps turning at regular distances: the match on a repeating
// texture is worth nothing. 0 if the distances are not regular or `config` is null.
float dpd_repeat_patten_detect(const int64_t* curve, uint16_t count,
                               const PDLibRepeatPatternDetect* config);

// Adds `*count` entries of `part` to `total`: 0, or 1 on a null pointer.
int dpd_HW_SumSADCoeff(int64_t* total, const int64_t* part, const int* count);
// Adds `*part_count` curves, as far as they are not null: 0, or 1 on a null pointer.
int dpd_HW_SumGridSADs(int64_t* total, const int* part_count, const int* count, void** parts);

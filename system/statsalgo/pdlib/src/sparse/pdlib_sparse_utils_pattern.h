// From the PD block of a sensor to tables: which buffer offset holds which pixel, which pixels fold
// into one sample, and where each finds its gain.
#pragma once

#include "sparse/pdlib_sparse_context.h"

void swap_data(pdaf_pix_info_t* first, pdaf_pix_info_t* second);

// Sorts entries `low` to `high` by x, ascending: a quick sort around the middle element. Not
// stable; the order that it gives to equal x is part of the result.
void pixel_sort_x(pdaf_pix_info_t* pixels, int low, int high);

// Pairs native and buffer pixels and sorts them by native x into `left` and `right`, pixelCount / 2
// entries each. A native pixel of type 0 is paired with a buffer pixel of type 1 and the other way
// round: this crossing is a convention of the system. 0, or 1 with a log line when the patterns
// don't hold enough pixels of both polarities.
int sort_pd_pixel(const PDLibBlockPattern& native, const PDLibBlockPattern& buffer,
                  pdaf_pix_info_t* left, pdaf_pix_info_t* right);

int count_num_of_ones(const uint8_t* flags, int count);

// Fills all tables of the pattern from the sensor and buffer descriptions of the context. 0, or 1
// with a log line when the description can't be used.
int calculate_pd_pixel_offset(pdaf_context_t* context);

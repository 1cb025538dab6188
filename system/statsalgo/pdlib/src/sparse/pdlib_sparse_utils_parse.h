// From the PD buffer to sample images: gather, black level, gain, folding of a column's pixels.
//
// Rectangles are in PD blocks, ends exclusive. `left` and `right` hold the context's samples per
// block for each parsed row of blocks, without padding.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// Parses the rows that the context's subsample ratio selects; fills leftSum and rightSum.
void pd_core_parse_pd_pixel(pdaf_context_t* context, uint16_t* left, uint16_t* right, uint32_t x0,
                            uint32_t x1, uint32_t y0, uint32_t y1);

// The same from gain maps with one entry per PD pixel, with whole rows corrected at once.
void pd_core_parse_pd_pixel_optimized(pdaf_context_t* context, uint16_t* left, uint16_t* right,
                                      uint32_t x0, uint32_t x1, uint32_t y0, uint32_t y1);

// One block of 16-bit pixels. `pixelOffset` counts from the line's start to the block; the gain map
// is read from the sum of both gain offsets on. Samples go behind those that the context has
// counted.
void pd_core_parse_pd_pixel_in_a_block_16bpp(pdaf_context_t* context, const uint8_t* line,
                                             uint16_t* left, uint16_t* right, int pixelOffset,
                                             int gainOffsetX, int gainOffsetY);

// Adds up `factor` (1, 2 or 4) neighbouring samples into one, `count` results on both sides. With
// factor 4 the third and fourth sample of a right result are left ones; this mixing is required.
void merge_samples(uint16_t* left, uint16_t* right, size_t count, uint32_t factor);

// Unpacks the blocks `first` to `end` of one row of blocks of packed 10-bit pixels; the pixels of
// the first group that lie before the window stay in front, their number goes to the context.
void process_zyn10_to_uint16(pdaf_context_t* context, const uint8_t* source, uint16_t* destination,
                             const PDLibBlockPattern& pattern, uint32_t first, uint32_t end);

// The line pipeline of the dense dual-PD flows: from a stretch of the frame to two gain-corrected,
// filtered lines, and from these to the SAD of each trial shift. Free functions of a line job; they
// allocate nothing and keep nothing between calls.
//
// Bad input never stops them: what can't be filled is logged, and filter and SAD then run on what
// the line buffers hold.
#pragma once

#include <cstdint>

#include "dense/pdlib_dpd_records.h"
#include "dense/pdlib_dpd_utils_fill.h"

// ---- Lines

// Fills the two sample lines for line `request.start_y`, and filters them. 0.
int dpd_core_parse_and_preprocess(dpd_line_arg_t* line_arg);
// The same for column `request.start_x` of the vertical layout; only 16-bit words are filled.
int dpd_core_parse_and_preprocess_vertical(dpd_line_arg_t* line_arg);

// Fills without filtering, for the check of raw data. In frames of 8 bits the lines lie half as far
// apart as in the parse, which is intended. 0.
int dpd_core_line_preprocess(dpd_line_arg_t* line_arg);
// Writes the filled lines as row `row` of interleaved 10-bit samples, `request.end_x` sites a row,
// half as many in HDR.
void dpd_core_line_interleave_gmout(const dpd_line_arg_t* line_arg, uint16_t* out, int row);

// Keeps every second site of both lines, moved to their front, and clears the rest.
void dpd_line_fill_buffer_hdr(uint16_t* left, uint16_t* right,
                              const dpd_input_line_request_t* request);

// ---- Filter

// A transposed second-order section in single precision, fused, that starts as if the line had
// always held its first sample. Results are rounded half away from zero, limited to 16 bits and
// offset by 0x8000. `a` and `b` have three entries, a[0] is not read. `out` may be `in`. A length
// of 0 or less does nothing.
void dpd_2nd_iir_float(const uint16_t* in, uint16_t* out, int length, const float* a,
                       const float* b);
// The same on two lines, each with a state of its own; side by side where the processor can.
void dpd_line_IIR_optimized(const uint16_t* left_in, const uint16_t* right_in, uint16_t* left_out,
                            uint16_t* right_out, const float* a, const float* b, int length);

// ---- Line SAD

// For the |far - near| + 1 trial shifts (counted in 16 bits) the sum of |left - right| over what
// all shifts share, at least one sample: max(length - shifts, 0) + 1. Entry k stands for a
// displacement of k - far: it compares left[k + j] with right[j], the left line taken from sample
// -far, or the right one from sample far, whichever is above 0. Sums are modulo 2^32. `min_value`
// becomes the first lowest entry and `min_index` its index, which stays as it was if no entry is
// below 0x7fffffff. Reads no sample but those; see kDpdLinePadding.
void dpd_line_sad_optimized(const uint16_t* left, const uint16_t* right, int length, int near,
                            int far, int* min_index, int* min_value, int* sad);
// The same for up to 32 shifts; more are not computed.
void dpd_line_sad_optimized_neon(const uint16_t* left, const uint16_t* right, int length, int near,
                                 int far, int* min_index, int* min_value, int* sad);

// ---- Dense gain maps

// Widens both small maps of gains: 0, or 1 on a bad combination of sizes.
int dpd_DenseGainmapCreate(int out_width, int out_height, uint16_t* left_out, uint16_t* right_out,
                           int in_width, int in_height, const uint16_t* left_in,
                           const uint16_t* right_in);
// Widens a map in one direction, corners on corners, the other size being the same: 0. Any other
// combination, equal sizes included, is logged and gives 1.
int dpd_GainMapUpsample(const uint16_t* in, int in_width, int in_height, uint16_t* out,
                        int out_width, int out_height);

// Filling of the sample lines: one family over depth, packing and bin, with an entry by name for
// each member.
//
// Position i of a line is site `start_x` + i, summed over `bin_lines` lines modulo 2^16, limited by
// the cap of the bin (frames of 8 bits: not limited), multiplied by its gain and shifted right by
// dpd_get_final_right_shift_bits; 16 bits are kept. So a sum that is limited may still wrap by its
// gain: intended.
#pragma once

#include <cstdint>

#include "dense/pdlib_dpd_records.h"

// A fill routine. `source` is the first sample of the frame's line (vertical: of the column), a
// gain row the gain of the first output position (vertical: of the column's first row). Returns the
// final right shift. An empty stretch fills nothing.
using dpd_fill_t = int8_t(const uint8_t* source, uint16_t* left, uint16_t* right,
                          const dpd_input_line_request_t* request, const uint16_t* left_gain,
                          const uint16_t* right_gain);

// log2 of the bin - 4 + depth, in 8 bits: a full-scale sample with a gain of 1024 gives 2^14 at any
// depth and bin.
int8_t dpd_get_final_right_shift_bits(const dpd_input_line_request_t* request, uint8_t log2_bin);

// ---- By number of lines: `bin_lines` other than 1, 2, 4, 8, 16 is logged and fills nothing.

extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_10bpp_unpacked;
// A stretch of odd length is written one position past its end.
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_10bpp_packed;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8bpp_unpacked;
// Output n belongs to row n of the stretch, `bin_lines` pairs of words wide; there are at most
// `end_y` - `start_y` of them. Sites above type 3 are paired by rows. A nonzero `flip_vertical`
// swaps the two outputs, not the gains.
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical;

// ---- By packing or arrangement of rows, and bin

extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_10bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_10bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_10bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_10bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_10bpp_unpacked;

extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_10bpp_packed;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_10bpp_packed;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_10bpp_packed;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_10bpp_packed;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_10bpp_packed;

extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_8bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_8bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_8bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_8bpp_unpacked;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_8bpp_unpacked;

// An output a row; rows without samples of the flow's direction are left out.
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin1;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin2;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin4;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin8;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin16;

// An output two rows; the result is twice as high as in the other family, which is intended.
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin1;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin2;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin4;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin8;
extern dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin16;

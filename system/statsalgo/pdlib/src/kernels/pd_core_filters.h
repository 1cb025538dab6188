// Cleaning of the parsed samples, and the packed 10-bit format.
//
// Images are unsigned 16-bit samples, `rows` rows of `cols` samples without padding, changed in
// place; `rows` or `cols` of 0 or less leaves them alone.
#pragma once

#include <cstdint>

// Each sample becomes sample * gain >> 8, cut to 16 bits; the cols % 4 samples at the end of a row
// use `shift` (0 to 31) in place of 8, as the target does.
void pd_core_gain(uint16_t* samples, int rows, int cols, uint32_t gain, int shift);

// Limits each inner sample to a band of threshold/1024 around the mean of its two original
// neighbours. `threshold` is limited to 0 to 1024.
void pd_core_bpc(uint16_t* samples, int rows, int cols, int threshold);

// Evens out alternating spacing: odd samples below cols - 1 move toward their right (direction 1)
// or left (-1) neighbour by weight/256. `weight` is Q8.
void pd_core_resample(uint16_t* samples, int rows, int cols, int16_t direction, int weight);

// Horizontal boxes: sample c becomes the floored mean of samples c-1..c or c-3..c as they were. The
// first 1 or 3 samples of a row stay. In pd_core_box1x4 the groups of eight from sample 3 on add in
// 16 bits, as the target's vectors do, and what remains of a row adds exactly.
void pd_core_box1x2(uint16_t* samples, int rows, int cols);
void pd_core_box1x4(uint16_t* samples, int rows, int cols);

// Vertical boxes: row r becomes the floored mean of rows r..r+n-1; the last n-1 rows stay.
void pd_core_box2x1(uint16_t* samples, int rows, int cols);
void pd_core_box4x1(uint16_t* samples, int rows, int cols);
void pd_core_box8x1(uint16_t* samples, int rows, int cols);
void pd_core_box16x1(uint16_t* samples, int rows, int cols);

// Band-pass filter along each row, fused single precision; the result is offset by 32768.
void pd_core_iir(uint16_t* samples, int rows, int cols);

// Unpacks `height` lines of `width` 10-bit pixels, six to a little-endian 64-bit word. After a line
// the source advances by `stride` bytes and the destination by `stride` samples: one number for
// both is intended.
void zyn10_to_uint16(const uint8_t* source, uint16_t* destination, uint16_t width, uint16_t stride,
                     uint16_t height);

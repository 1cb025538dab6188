// Correlation: from two one-dimensional PD images to a SAD vector, and from that to a phase
// difference and a confidence. Pure functions.
//
// A SAD vector holds `sad_len` signed 32-bit sums; index k stands for the trial shift k -
// shift_offset in PD samples, so index 0 is the upper end of the search range and the last index
// its lower end.
#pragma once

#include <cstdint>

namespace pdlib {

// Vectors up to this many shifts are normalised once, longer ones row by row.
inline constexpr int kSadTotalMaxShifts = 24;

}  // namespace pdlib

// The right shift that normalises a sum over `rows` rows: the smallest s from 0 to 15 with 1 << s
// >= rows, else 16.
uint16_t norm_shift(uint16_t rows);

// Fills out[k], k < sad_len, with the normalised sum over `rows` rows and all positions i of
// |left[i+k] - right[i]|. There are max(width - sad_len, 0) + 1 positions; the right image is read
// from sample max(shift_offset, 0), the left one from max(-shift_offset, 0); rows start `stride`
// samples apart. Up to 24 shifts the total is shifted once by norm_shift(rows) and limited to
// 0x7fffffff; from 25 on every row's sum is shifted before it is added, with no limit. That the two
// differ is intended. Sums are modulo 2^32. A null `out` does nothing; `rows` <= 0 gives zeros.
// Reads no sample but those.
void pd_core_sad(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width,
                 int16_t stride, int* out, int16_t shift_offset, int16_t sad_len);

// sad[k] = sad[k] * bias[k] in Q12, by a 64-bit product and an arithmetic shift, cut to 32 bits.
void pd_core_sad_bias(int* sad, const unsigned short* bias, int16_t sad_len);

// state[k] = trunc(state[k] * max(1 - weight, 0)) + trunc(fresh[k] * weight), single-precision
// products. A weight of 1 has no memory, 0 freezes the state.
void pd_core_sad_temporal_filter(const int* fresh, int* state, float weight, int16_t sad_len);

// Phase difference, in pixels, of the vector's minimum at `min_index`: a parabola through the
// minimum and its neighbours, whole samples at the edges and for a flat vector. `pd_unit` is pixels
// per sample.
void pd_core_pd(const int* sad, int16_t sad_len, int16_t shift_offset, int16_t min_index,
                int16_t pd_unit, float* phase_diff);
// The same for hardware vectors, whose first shift has the opposite sign.
void pd_core_pd_hw(const int* sad, int16_t sad_len, int16_t shift_offset, int16_t min_index,
                   int16_t pd_unit, float* phase_diff);

// Confidence, 0 to 1023: how far the minimum lies below the mean of the vector within `half_width`
// around it, times `scale` / 140. With `min_mean_sad_level` above 0 a vector whose mean lies below
// it gives 0: too flat to trust.
void pd_core_conf(const int* sad, int16_t sad_len, int16_t min_index, int16_t half_width,
                  int16_t scale, int16_t min_mean_sad_level, unsigned short* confidence);
// The same for 64-bit vectors, without the level test.
void pd_core_conf(const long* sad, int16_t sad_len, int16_t min_index, int16_t half_width,
                  int16_t scale, unsigned short* confidence);

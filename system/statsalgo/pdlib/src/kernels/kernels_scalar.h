// The scalar kernels: the definition of every result, and what a fast form falls back on.
#pragma once

#include "kernels/kernel_table.h"

namespace pdlib::scalar {

void Sad(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width, int16_t stride,
         int32_t* out, int16_t shiftOffset, int16_t sadLen);
void Gain(uint16_t* samples, int rows, int cols, uint32_t gain, int shift);
void Bpc(uint16_t* samples, int rows, int cols, int threshold);
void Box1x2(uint16_t* samples, int rows, int cols);
void Box1x4(uint16_t* samples, int rows, int cols);
void BoxNx1(uint16_t* samples, int rows, int cols, int log2Taps);
void Iir(uint16_t* samples, int rows, int cols);
void Parse(const ParseRow& row, ParseSink& sink);
void ParseOptimized(const OptimizedParseRow& row, uint16_t* left, uint16_t* right, float* leftSum,
                    float* rightSum);

// In kernels_dense.cpp.
void FillBytes(const DenseFill& fill);
void FillPacked(const DenseFill& fill);
void FillWords(const DenseFill& fill);
void FilterLine(const uint16_t* in, uint16_t* out, int length, const float* a, const float* b);
void FilterLines(const LinePair& lines, int length, const float* a, const float* b);
void LineSad(const uint16_t* left, const uint16_t* right, int positions, int shifts, int32_t* out);

}  // namespace pdlib::scalar

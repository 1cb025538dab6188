// The hot kernels of the flows and their fast forms.
//
// The scalar form is the definition of each result; every fast form gives the same bits. One table
// is in force at a time: the best of the processor from the start, another by name for tests and
// benchmarks. Kernels are pure functions on arrays and know nothing of a flow's context. Sample
// images are unsigned 16-bit, `rows` rows of `cols` samples without padding, filtered in place;
// `rows` or `cols` of 0 or less leaves them alone.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pdlib {

// One row of PD blocks in the buffer and where its pixels go.
struct ParseRow {
  // Source
  const uint8_t* line;  // first byte of the first block; 16-bit pixels need not be aligned
  int bytesPerPixel;    // 1 or 2
  int blockCount;       // blocks to read
  uint32_t blockStep;   // pixels from one block to the next
  // Tables of the pattern, one entry per pair
  int pairCount;
  const uint32_t* leftOffset;  // pixels from the block's start
  const uint32_t* rightOffset;
  const uint8_t* leftLast;  // not 0: this pixel ends a sample; what a block leaves open is dropped
  const uint8_t* rightLast;
  const uint16_t* gainIndex;  // entry of the gain map, from the block's own
  // Correction
  const uint16_t* leftGain;  // gain map at the first block
  const uint16_t* rightGain;
  uint32_t gainStep;  // gain entries from one block to the next
  uint32_t blackLevel;
  int shift;  // 0 to 14
};

// Where a parsed row ends up; the pointers and sums are advanced by the kernel.
struct ParseSink {
  uint16_t* left;
  uint16_t* right;
  uint16_t* leftRaw;  // plain corrected pixels, one per pair; null: not wanted
  uint16_t* rightRaw;
  // Running sums of the corrected pixels, added in scan order in single precision: whole numbers.
  float leftSum;
  float rightSum;
};

// One row of blocks for the optimised parser: every PD pixel has a gain of its own.
struct OptimizedParseRow {
  const uint8_t* line;
  int bytesPerPixel;
  int blockCount;
  uint32_t blockStep;
  int pairCount;
  const uint32_t* leftOffset;
  const uint32_t* rightOffset;
  const uint16_t* leftGain;  // blockCount * pairCount entries in the order of the pixels
  const uint16_t* rightGain;
  uint32_t blackLevel;
};

// One line of a dense dual-PD image, made of 2^log2Bin lines of the frame. A site holds a left
// sample and then a right one; a sum is taken modulo 2^16, limited to `cap`, multiplied by the
// site's gain and shifted right.
struct DenseFill {
  const uint8_t* source;  // first byte of the first line; samples need not be aligned
  size_t lineStride;      // bytes from one line to the next
  int firstSite;          // of the stretch, in its line
  int sites;
  int log2Bin;  // 0 to 4
  uint16_t cap;
  int8_t shift;  // 0 to 16 for depths of 4 to 16 bits; see ShiftProduct in kernels_dense.cpp
  const uint16_t* leftGain;  // one entry a site
  const uint16_t* rightGain;
  uint16_t* left;  // `sites` results, apart from the source
  uint16_t* right;
};

// Where two packed sites lie in their line, bytes: `site` is the first of them. The target counts
// in 16 bits.
constexpr size_t PackedPairOffset(int site) {
  return static_cast<uint16_t>(site * 5 >> 1);
}

// Two lines that go through the same filter.
struct LinePair {
  const uint16_t* left;
  const uint16_t* right;
  uint16_t* leftOut;
  uint16_t* rightOut;
};

struct KernelTable {
  const char* name;  // "scalar", "sse2", "avx2", "neon"

  // See pd_core_sad; `out` is not null.
  void (*sad)(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width,
              int16_t stride, int32_t* out, int16_t shiftOffset, int16_t sadLen);
  void (*gain)(uint16_t* samples, int rows, int cols, uint32_t gain, int shift);  // shift 0 to 63
  void (*bpc)(uint16_t* samples, int rows, int cols, int threshold);
  void (*box1x2)(uint16_t* samples, int rows, int cols);
  void (*box1x4)(uint16_t* samples, int rows, int cols);
  // Vertical boxes of 2^log2Taps rows (1 to 4): see pd_core_box2x1 to pd_core_box16x1.
  void (*boxNx1)(uint16_t* samples, int rows, int cols, int log2Taps);
  void (*iir)(uint16_t* samples, int rows, int cols);
  // Corrects, folds and stores one row of blocks.
  void (*parseRow)(const ParseRow& row, ParseSink& sink);
  // Gathers and corrects one row of blocks into left[], right[] (blockCount * pairCount samples
  // each) and adds to the sums; merging is the caller's.
  void (*parseRowOptimized)(const OptimizedParseRow& row, uint16_t* left, uint16_t* right,
                            float* leftSum, float* rightSum);

  // Dense lines by packing: a byte a sample; 10 bits, two sites in five bytes, an even number of
  // sites; a 16-bit word.
  void (*fillBytes)(const DenseFill& fill);
  void (*fillPacked)(const DenseFill& fill);
  void (*fillWords)(const DenseFill& fill);
  // Second-order filter with the three coefficients a and b, a[0] unused: see dpd_2nd_iir_float. A
  // line's output may be the line itself.
  void (*filterLine)(const uint16_t* in, uint16_t* out, int length, const float* a, const float* b);
  void (*filterLines)(const LinePair& lines, int length, const float* a, const float* b);
  // out[k], k < shifts, = sum of |left[i + k] - right[i]| over `positions`, modulo 2^32.
  void (*lineSad)(const uint16_t* left, const uint16_t* right, int positions, int shifts,
                  int32_t* out);
};

// The table in force.
const KernelTable& Kernels();

// The forms that this processor can run, the scalar one first, the best one last. Ends with null.
const KernelTable* const* AvailableKernels();

// Puts the table of that name in force; false (and no change) if the processor doesn't have it.
// "best" is the last of AvailableKernels. For tests and benchmarks: not to be called while a frame
// is processed.
bool SelectKernels(const char* name);

}  // namespace pdlib

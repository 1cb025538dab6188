// A small camera with a sparse PD sensor: its records, and frames whose phase difference is known.
#pragma once

#include "support/camera.h"

namespace test {

// One PD pixel of a block. `left` pixels have native type 0 and buffer type 1, right ones the
// opposite.
struct PdPixel {
  uint32_t nativeX;
  uint32_t nativeY;
  bool left;
  uint32_t bufferX;
  uint32_t bufferY;
};

// Four columns, 4 pixels apart, of `rowsPerColumn` pixels of each side, at their native places in
// the buffer.
std::vector<PdPixel> FourColumns(uint32_t rowsPerColumn);

// Smoothed noise of 100 to 900 codes along a row of blocks; every row has its own.
int Texture(int x, int blockRow);

// 16 by 16 pixels a block, one sample every 4 pixels, two pixels to a sample; 16-bit data of 10
// bits above a black level of 64; gains of 1; one call per frame over 3 by 3 overlapping windows
// with a search range of 12 samples to both sides.
struct SparseCamera : PdCamera {
  explicit SparseCamera(uint32_t columns = 60, uint32_t rows = 24);

  // Replaces the pattern by `pixels` in this order; both blocks keep their sizes.
  void setPixels(const std::vector<PdPixel>& newPixels);
  void setBlockCounts(uint32_t columns, uint32_t rows);
  // Splits the delivery over two processors from this block on, the second with a block of its own
  // place and size.
  void addSecondProcessor(uint32_t firstBlock, uint32_t overlapPixels);

  // Writes the frame: each PD pixel gets black level + codes(left, native x, row of blocks).
  void expose(const std::function<int(bool left, int x, int blockRow)>& codes);
  // The texture, with the right view `shift` pixels ahead of the left one: the phase difference is
  // -shift.
  void exposeShifted(int shift);

  afpdlibelements::tessarineTuningPreProcess& preProcess() { return tuning.preProcess; }

  std::vector<PdPixel> pixels;

 private:
  size_t pixelPosition(uint32_t blockX, uint32_t blockY, const PdPixel& pixel) const;
  uint32_t secondFirstBlock_ = UINT32_MAX;
};

}  // namespace test

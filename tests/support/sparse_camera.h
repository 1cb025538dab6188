// A small camera with a sparse PD sensor: its records, and frames whose phase difference is known.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "afpdlibelements.h"
#include "base/pdlib_common.h"

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
// with a search range of 12 samples to both sides. Tests change the records before they use them.
struct SparseCamera {
  explicit SparseCamera(uint32_t columns = 60, uint32_t rows = 24);
  SparseCamera(const SparseCamera&) = delete;  // the records point into the object
  SparseCamera& operator=(const SparseCamera&) = delete;

  // Replaces the pattern by `pixels` in this order; both blocks keep their sizes.
  void setPixels(const std::vector<PdPixel>& newPixels);
  void setBlockCounts(uint32_t columns, uint32_t rows);
  void setWindows(uint32_t columns, uint32_t rows, PDLibRoiType roiType = kRoiDefault);
  void setRoi(float startX, float startY, float endX, float endY);
  // Splits the delivery over two processors from this block on, the second with a block of its own
  // place and size.
  void addSecondProcessor(uint32_t firstBlock, uint32_t overlapPixels);

  // Adds a named parameter to the tuning.
  void addExtension(const char* name, float value = 1.0f, int32_t enabled = 1, uint32_t count = 1);

  // Writes the frame: each PD pixel gets black level + codes(left, native x, row of blocks).
  void expose(const std::function<int(bool left, int x, int blockRow)>& codes);
  // The texture, with the right view `shift` pixels ahead of the left one: the phase difference is
  // -shift.
  void exposeShifted(int shift);

  uint32_t imageHeight() const { return init.nativePatternInfo.currentImageHeight; }
  afpdlibelements::tessarineTuningPreProcess& preProcess() { return tuning.preProcess; }

  std::vector<PdPixel> pixels;
  _pdaf_cal_param_t calibration{};
  afpdlibelements::tessarinePDLibType tuning{};
  PDLibInitParam init{};
  PDLibParam param{};
  std::vector<uint8_t> frame;  // exactly as large as the geometry needs

 private:
  size_t pixelPosition(uint32_t blockX, uint32_t blockY, const PdPixel& pixel) const;
  uint32_t secondFirstBlock_ = UINT32_MAX;
  std::vector<statsglobalelements::statsExtensionParamType> extensions_;
  std::deque<std::string> extensionNames_;
  std::deque<float> extensionValues_;
};

}  // namespace test

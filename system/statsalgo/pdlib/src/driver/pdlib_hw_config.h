// The register-level description of the PD hardware block, as the camera stack gets it.
//
// The block sits on the sensor's data path: it crops its input, separates and resamples left and
// right PD pixels, corrects black level and gain, bins, filters and computes SAD values for a grid
// of regions at up to 32 phases. The order of the members is a contract with the camera stack.
#pragma once

#include <cstdint>
#include <type_traits>

inline constexpr int kHwGainEntries = 221;  // at most 17 by 13
inline constexpr int kHwExtractorLines = 16;
inline constexpr int kHwSeparatorEntries = 128;
inline constexpr int kHwResamplerInstructions = 32;
inline constexpr int kHwPixelMapSize = 64;

struct PDHwResamplerInstruction {
  uint16_t S[8];  // source indices
  float O[16];    // factors
};

struct PDHwConfig {
  uint32_t enable;  // 1 while the hardware block is in use
  uint32_t pathSelect;
  uint32_t interruptEnable;
  uint32_t interruptLine;     // line at which the block signals software
  uint32_t firstPixelSelect;  // which polarity comes first in a pixel pair

  // Crop: inclusive bounds.
  uint32_t cropEnable;
  uint32_t firstPixel;
  uint32_t lastPixel;
  uint32_t firstLine;
  uint32_t lastLine;

  // Gain map: grid size minus 2; phases and steps with 20 fractional bits.
  uint32_t gainMapEnable;
  uint32_t gainMapHorizontalCount;
  uint32_t gainMapVerticalCount;
  uint32_t gainMapHorizontalInit;
  uint32_t gainMapVerticalInit;
  uint32_t gainMapHorizontalStep;
  uint32_t gainMapVerticalStep;
  uint16_t gainMapLeft[kHwGainEntries];  // row by row
  uint16_t gainMapRight[kHwGainEntries];

  // Binning.
  uint32_t binEnable;
  uint32_t verticalBinningLine;     // lines binned minus 1
  uint32_t verticalDecimateCount;   // decimation minus 1
  uint32_t horizontalBinningPixel;  // pixels binned minus 1
  uint32_t horizontalBinningSkip;
  uint32_t verticalBinningSkip;

  uint32_t blackLevel[2];  // both from the one value

  // HDR.
  uint32_t hdrEnable;
  uint32_t hdrMergeSelect;
  uint32_t hdrMode;  // 0, 1 or 2
  float hdrThreshold;
  float hdrRatio;

  // IIR: a1 and a2 are held negated, since the block adds these terms.
  uint32_t iirEnable;
  float init0;
  float init1;
  float a1;
  float a2;
  float b0;
  float b1;
  float b2;

  // SAD.
  uint32_t sadEnable;
  uint32_t sadSelect;
  uint32_t horizontalOffset;  // first region, pixels inside the crop
  uint32_t verticalOffset;
  uint32_t regionWidth;  // minus 1
  uint32_t regionHeight;
  uint32_t horizontalNum;  // regions minus 1
  uint32_t verticalNum;
  uint32_t sadShift;
  uint32_t config0Phase;  // bit 31: shift -1, downwards
  uint32_t config1Phase;  // bit 0: shift 0, upwards

  // LCR.
  uint32_t lcrEnable;
  uint32_t lcrFirstLine;
  uint32_t lcrLastLine;
  uint32_t lcrFirstPixel;
  uint32_t lcrLastPixel;
  uint32_t lcrPeriod;           // block height minus 1
  uint32_t lcrChannelMask;      // low four bits, one per position of a 2 by 2 Bayer cell
  uint32_t lcrBinningShift[4];  // all the same
  uint32_t lcrLineMask[2];      // lines to take, low word first
  uint32_t lcrFlushMask[2];     // lines at which a bin is complete, low word first

  uint32_t modeSelect;  // 0 for dual PD, else 1

  // Line extractor: sizes minus 1.
  uint16_t lineExtractorFirstLine;
  uint16_t blockHeight;
  uint16_t pdPixelWidth;
  uint16_t verticalBlockCount;
  uint16_t blockPDRowCount;
  uint16_t lineXOffset[kHwExtractorLines];
  uint16_t lineYOffset[kHwExtractorLines];
  uint32_t lineHalf[kHwExtractorLines];

  // Pixel separator: sizes minus 1.
  uint16_t separatorInputWidth;
  uint16_t separatorInputHeight;
  uint16_t separatorOutputWidth;
  uint16_t separatorOutputHeight;
  uint16_t leftMap[kHwSeparatorEntries];
  uint16_t rightMap[kHwSeparatorEntries];

  // Resampler: sizes minus 1.
  uint32_t resamplerEnable;
  PDHwResamplerInstruction resamplerInstruction[kHwResamplerInstructions];
  uint16_t resamplerInputWidth;
  uint16_t resamplerInputHeight;
  uint16_t resamplerOutputWidth;
  uint16_t resamplerOutputHeight;

  // FIR.
  uint32_t firEnable;
  uint32_t firReserved;
  float firTap[4];
  uint16_t firShift;

  // Pixel extractor: inclusive bounds.
  uint32_t pixelExtractorEnable;
  uint32_t pixelExtractorMode;
  uint32_t extractorFirstPixel;
  uint32_t extractorLastPixel;
  uint32_t extractorFirstLine;
  uint32_t extractorLastLine;
  uint16_t extractorBlockHeight;
  uint16_t extractorBlockWidth;
  uint32_t pixelMap[kHwPixelMapSize][kHwPixelMapSize];  // 1: a PD pixel; row y, column x
};
static_assert(std::is_trivially_copyable_v<PDHwConfig>);

// The working state of one sparse flow: sensor geometry, tables of the PD pattern, maps, grids and
// the frame at hand.
//
// Filled in three steps: at Init (tables), at the first frame (calibration), whenever the window
// changes (grids). The per-frame path only follows what stands here.
#pragma once

#include <cstdint>

#include "adaptive/pdlib_adaptive_k.h"
#include "afpdlibelements.h"
#include "base/owned_array.h"
#include "base/pdlib_common.h"
#include "frame/pdlib_utils_window.h"

inline constexpr int kMaxPairs = kMaxPatternPixels / 2;
inline constexpr int kMaxNativePixels = 64;

// One PD pixel after sorting.
struct pdaf_pix_info_t {
  uint32_t x;  // in the buffer's block
  uint32_t y;
  uint32_t type;
  uint32_t nativeX;  // in the sensor's block
  uint32_t nativeY;
  uint32_t index;  // rank within its polarity, in the order of the pattern
};

struct sensor_logic_t {
  uint32_t imageWidth;  // image of the current mode, pixels
  uint32_t imageHeight;
  bool flip;
  bool mirror;
  uint32_t horizontalBlockCount;
  uint32_t verticalBlockCount;
  int32_t cropX;
  int32_t cropY;
  uint32_t cropWidth;
  uint32_t cropHeight;
  int32_t pixelCount;
  pdaf_pix_info_t pixels[kMaxNativePixels];  // the first of the native pattern: x, y, type
  uint32_t horizontalPDOffset;               // of the first block in the image, pixels
  uint32_t verticalPDOffset;
  uint32_t blockWidth;
  uint32_t blockHeight;
  float cropFraction[4];  // crop x, y, width, height over the original image size
  float pdOffset;         // pixels, added to every phase difference
};

// One window of a grid. Block coordinates; the end is exclusive.
struct pd_grid_arg_t {
  uint32_t start_x;
  uint32_t start_y;
  uint32_t end_x;
  uint32_t end_y;
  uint32_t width;  // peripheral windows only
  uint32_t height;
  int16_t dcc;                              // defocus conversion coefficient, Q of dcc_q_format
  pdlib::OwnedArray<int32_t> sad;           // this frame's vector
  pdlib::OwnedArray<int32_t> sad_filtered;  // survives from frame to frame
  pdlib::OwnedArray<int32_t> lc_sad;        // LCR vectors, 2 * lcr_sad_len + 1 entries
  pdlib::OwnedArray<int32_t> rc_sad;
  uint8_t lcrFlag;
};

// A grid of entries in row order, `columns` to a row. The sum window, where there is one, follows
// the rows.
using pd_grid_t = pdlib::OwnedArray<pd_grid_arg_t>;

enum PdafContextStatus : int32_t {
  kContextClosed = 0,
  kContextInitialised = 1,
  kContextCalibrated = 2,
  kContextConfigured = 3,
};

struct pdaf_context_t {
  sensor_logic_t sensor;

  // Input of the frame
  const uint8_t* pdBuffer;
  const uint8_t* lcrBuffer;
  int16_t lensPosition;  // actuator codes
  int16_t previousLensPosition;
  float fps;
  float integrationTime;
  int32_t gain;  // truncated sensor gain
  PDLibRoiType roiType;

  // Copies of the init record
  _pdaf_cal_param_t calibration;
  PDLibSensorNativeInfo nativePatternInfo;
  PDLibDataBufferInfo bufferDataInfo;
  float actuatorSensitivity;  // microns per defocus unit
  uint32_t blackLevel;
  uint32_t pixelDepth;
  uint16_t dcc_q_format;

  // Tables per PD pixel pair. Offsets count pixels of the buffer's width from the block's start.
  int pairCount;
  uint32_t leftOffset[kMaxPairs];
  uint32_t rightOffset[kMaxPairs];
  uint8_t leftLast[kMaxPairs];  // 1: the pixel ends a sample
  uint8_t rightLast[kMaxPairs];
  uint16_t gainIndex[kMaxPairs];

  // Results of the pattern
  uint16_t unique_num_L_pixel;  // samples per block
  uint16_t unique_num_R_pixel;
  uint32_t uniqueColumn[kMaxPairs];  // native x of each left sample
  uint32_t gainStepX;                // gain map columns and rows per block
  uint32_t gainStepY;
  uint32_t gainMapStepBlock;
  uint16_t gainMapStepRow;  // gain entries from one block row to the next, 16 bits
  uint32_t bytesPerPixel;
  uint32_t lineStride;        // bytes from one line of the buffer to the next, both processors
  uint64_t bufferOffset;      // bytes to the first processor's first block
  uint64_t isp2BufferOffset;  // bytes to the second processor's first block
  uint32_t isp2FirstBlock;    // blocks from here on come from the second processor
  PDLibBlockDimension isp1Block;
  PDLibBlockDimension isp2Block;
  uint32_t zynRemainder;         // pixels of the first packed group before the window
  uint64_t requiredBufferBytes;  // what a frame's buffer must hold for the whole PD area

  // Resampling of uneven columns
  int16_t resampleDirection;
  int resampleWeight;  // Q8

  // Correlation
  int16_t pd_unit;       // pixels per sample
  int16_t shift_offset;  // upper end of the search range, samples
  int16_t shift_end;     // lower end
  int16_t sad_len;
  pdlib::OwnedArray<uint16_t> biasVector;  // Q12
  float biasStrength;
  int16_t confScale;
  int16_t confHalfWidth;  // samples
  int bpcThreshold;       // 1/1024
  float temporalWeight;
  float subsampleRatio;  // share of block rows that are parsed
  int16_t minMeanSADLevel;

  // LCR
  bool lcrEnabled;
  bool skipLcr;        // this frame runs without LCR
  bool lcrFirstFrame;  // no frame has been measured yet; the first one runs without LCR
  int16_t lcrShiftTo;  // pixels
  int16_t lcrShiftFrom;
  int16_t lcr_sad_len;
  pdlib::OwnedArray<uint16_t> lcrBiasVector;
  float lcrBiasStrength;

  // Tuning
  afpdlibelements::tessarinePDLibType tuning;
  int verticalBinningControl;
  int skipLCRInMonitorAndSmallPD;
  float skipLCRPDThreshold;
  int LCRParsingMode;
  float xCFA_factor;
  bool optimizedParsing;
  bool overlapSumByColumns;  // overlapping windows sum their own four entries in any grid
  uint32_t parsingMergeFactor;
  uint8_t iirEnabled;

  // Calibration as the frame path reads it
  int16_t dccMap[kDccMapEntries];  // cropped and mirrored
  pdlib::OwnedArray<uint16_t> leftGain;
  pdlib::OwnedArray<uint16_t> rightGain;
  uint32_t gainWidth;
  uint32_t gainHeight;
  pdlib::OwnedArray<uint16_t> centerGain;
  uint32_t centerGainWidth;
  uint32_t centerGainHeight;

  // Sample images of one row of windows, `unique_num_L_pixel` samples per block
  pdlib::OwnedArray<uint16_t> leftSamples;
  pdlib::OwnedArray<uint16_t> rightSamples;
  pdlib::OwnedArray<uint16_t> leftRaw;  // one entry per pair, for LCR
  pdlib::OwnedArray<uint16_t> rightRaw;
  size_t rawPosition;
  size_t leftCount;  // samples parsed so far
  size_t rightCount;
  float leftSum;  // of the pixels last parsed
  float rightSum;
  pdlib::OwnedArray<uint8_t>
      lineBuffers[2];  // kept for the camera stack's accounting, no stage reads them
  pdlib::OwnedArray<uint8_t> lcrWork[5];

  // Grids
  pd_grid_t centerGrid;
  pd_grid_t peripheralGrid;
  bool isPeripheralMode;
  uint32_t gridOverlap;  // 0 or 1
  bool hasSumWindow;
  win_config_t window;

  // Frame bookkeeping
  PdafContextStatus status;
  uint32_t frameIndex;
  PDLibOutputData output;      // of the frame at hand
  PDLibOutputData lastOutput;  // of the last frame that was measured

  // Skip control
  int staticCount;  // calls since the lens last moved
  float accumRatio;

  // Adaptive DCC
  pdaf_adaptive_k_t adaptiveK;
  int16_t adaptiveData[kAdaptiveDataSize / sizeof(int16_t)];

  // Flat-field test
  bool testMode;
  float testCriteria[4];

  uint32_t gridColumns() const { return window.horizontalWindowCount + gridOverlap; }
  uint32_t gridRows() const { return window.verticalWindowCount + gridOverlap; }
  pd_grid_t& activeGrid() { return isPeripheralMode ? peripheralGrid : centerGrid; }
};

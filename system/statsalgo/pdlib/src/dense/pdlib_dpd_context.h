// The working state of one software flow for dual-PD sensors: sensor, tuning, grids and the frame
// at hand.
//
// Filled in two steps: at Init (sensor, tuning, gain maps, bias) and whenever the window changes
// (grids and line buffers). The per-frame path only follows what stands here. Positions count PD
// sites.
#pragma once

#include <cstdint>

#include "adaptive/pdlib_adaptive_k.h"
#include "afpdlibelements.h"
#include "base/owned_array.h"
#include "base/pdlib_common.h"
#include "dense/pdlib_dpd_records.h"
#include "frame/pdlib_utils_map.h"
#include "frame/pdlib_utils_window.h"

struct dpd_sensor_logic_t {
  uint32_t imageWidth;  // image of the current mode, pixels
  uint32_t imageHeight;
  MapCrop crop;  // the mode's part of the calibrated image
  float horizontalDownscaleFactor;
  float verticalDownscaleFactor;
  float pdOffset;  // pixels, from which every phase difference is taken
  bool mirror;
  bool flip;
};

// How much of the offset map counts at which lens position.
struct dpd_offset_ratios_t {
  bool enabled;
  int32_t PdOffsetRatios;  // valid entries
  float pd_offset_ratio[10];
  int32_t pd_offset_lens[10];  // actuator codes, rising
};

// Where the samples of a vertical layout start. Of the four values only the first is read: words
// from the frame's start.
struct dpd_vertical_layout_t {
  bool enabled;
  uint16_t VerticalLayoutExt[4];
};

// Cells with the curves that they point to.
struct dpd_grid_t {
  pdlib::OwnedArray<dpd_grid_arg_t> cells;
  pdlib::OwnedArray<int64_t> curves;

  dpd_grid_arg_t& operator[](size_t index) { return cells[index]; }
  void reset() {
    cells.reset();
    curves.reset();
  }
};

enum DpdFlowStatus : int32_t {
  kDpdClosed = 0,
  kDpdGridsWanted = 2,
  kDpdGridsConfigured = 3,  // or their configuration failed: then no grid exists
};

struct dpd_context_t {
  bool isVertical;  // upper and lower samples, columns instead of lines
  DpdFlowStatus status;

  // From the init record
  dpd_sensor_logic_t sensor;
  _pdaf_cal_param_t calibration;
  PDLibSensorNativeInfo nativePatternInfo;
  PDLibDataBufferInfo bufferDataInfo;
  int16_t macroDac;
  int16_t infinityDac;
  float actuatorSensitivity;  // microns per defocus unit
  uint32_t blackLevel;
  uint32_t pixelOrderType;
  bool isMirrored;         // left and right come exchanged: range, gain maps and sign turn round
  uint8_t horizontalStep;  // full-resolution pixels a site
  uint8_t verticalStep;

  // The repeating block, samples
  bool hasBlock;
  uint32_t block_width;
  uint32_t block_height;
  uint32_t block_type[kMaxPatternPixels];  // site types at x + y * block_width

  // Tuning
  afpdlibelements::tessarinePDLibType tuning;  // the pointers inside stay the caller's
  PDLibRepeatPatternDetect repeatPattern;
  dpd_offset_ratios_t offsetRatios;
  dpd_vertical_layout_t verticalLayout;
  bool testMode;
  float testThreshold;

  // Lines
  dpd_line_config_t line;
  dpd_sad_request_t sadRequest;
  dpd_filter_t filters[kDpdFilterSets];
  pdlib::OwnedArray<uint16_t> bias;  // sad_count gains, Q12
  pdlib::OwnedArray<uint16_t> leftDenseGain;
  pdlib::OwnedArray<uint16_t> rightDenseGain;
  uint16_t denseGainWidth;
  uint16_t denseGainHeight;
  bool hasOffsetMap;
  uint64_t requiredBufferBytes;  // that a frame must have, so that no line reads past it

  // Window and grids
  win_config_t window;
  PDLibRoiType windowRoiType;
  uint16_t overlap;  // 1: there is one more row and column of cells than of result windows
  uint32_t columns;  // of correlation cells
  uint32_t rows;
  dpd_grid_t pCenterCorrelationGrids;  // the cells that lines add into
  dpd_grid_t pCenterPostProcessGrids;  // one a window, and one for the whole ROI
  dpd_grid_t p_dpd_peripheral_window;
  pdlib::OwnedArray<dpd_grid_common_t> p_dpd_grid_common;  // one; none without grids
  pdlib::OwnedArray<uint16_t> lineBuffers[4];
  pdlib::OwnedArray<int32_t> lineSad;
  size_t lineCapacity;  // entries of the two filtered lines

  // Frame
  const uint8_t* pdBuffer;
  PDLibRoiType roiType;
  float fps;
  float integrationTime;
  int32_t gain;  // sensor gain, truncated
  int32_t lensPosition;
  int32_t previousLensPosition;
  int32_t offsetLensPosition;
  float temporalWeight;
  bool isPeripheralMode;
  uint32_t frameIndex;
  PDLibOutputData output;  // the running result

  // Learning
  pdaf_adaptive_k_t adaptiveK;
  int16_t adaptiveData[kAdaptiveDataSize / 2];
};

// Whether the lens stands where it stood in the previous processed frame.
inline bool lens_stands(const dpd_context_t& context) {
  return context.lensPosition == context.previousLensPosition;
}

// Trial shifts that are computed: fewer than `sad_count` in HDR.
inline int computed_shifts(const dpd_sad_request_t& request) {
  const int span = request.far_limit - request.near_limit;
  return (span < 0 ? -span : span) + 1;
}

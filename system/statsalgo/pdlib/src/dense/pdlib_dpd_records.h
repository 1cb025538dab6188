// What the dense dual-PD flows hand to their line pipeline and keep per grid cell.
//
// A site of the PD image holds two samples: left and right, or upper and lower in the vertical
// layout ("left" lines then carry the first of the two). Positions count sites unless said
// otherwise.
#pragma once

#include <cstdint>

#include "afpdlibelements.h"

// How samples lie in the frame.
enum dpd_buffer_type_t : uint32_t {
  kDpdBuffer8Bits = 0,           // one byte a sample
  kDpdBufferNotFilled = 1,       // no routine reads such a frame: line buffers keep what they hold
  kDpdBuffer10BitsPacked = 2,    // four samples in five bytes
  kDpdBuffer10BitsUnpacked = 5,  // one 16-bit word a sample
};

// The stretch of samples that a fill routine turns into one line.
struct dpd_input_line_request_t {
  uint16_t start_x;  // horizontal: first site of the stretch; vertical: the current column
  uint16_t start_y;  // horizontal: the current line; vertical: first row of the stretch
  uint16_t end_x;    // one past the last site
  uint16_t end_y;
  uint16_t line_stride;  // bytes from one buffer line to the next
  uint16_t pd_width;     // size of the PD image
  uint16_t pd_height;
  uint16_t gain_map_width;  // of the dense gain map, entries; set by the vertical parse
  uint16_t bin_lines;       // lines (vertical: column pairs) that are summed: 1, 2, 4, 8 or 16
  uint32_t buffer_type;     // dpd_buffer_type_t
  uint32_t hdr_mode;        // 1: exposures are interleaved, every second site counts
  uint8_t pixel_depth;      // bits a sample
  uint16_t pixel_clamp;     // clamp of a single sample
  uint32_t block_width;     // PD block, samples
  uint32_t block_height;
  uint32_t block_type[4];  // site types of its first positions: 0, 1 horizontal pair, 2, 3 vertical
                           // pair, above 3 sites that are paired by rows
  uint32_t flip_vertical;  // the sensor is read from bottom to top
  uint32_t row_has_pair[4];  // nonzero where a block row holds samples of the flow's direction
};

// What is correlated, and how often.
struct dpd_sad_request_t {
  uint16_t horizontal_interval;  // 4; 1 in the check of raw data. Nothing reads it.
  uint16_t vertical_interval;    // lines from one processed line to the next
  int8_t near_limit;             // shifts
  int8_t far_limit;
  uint16_t sad_count;  // candidate shifts
  uint8_t sad_step;    // full-resolution pixels a shift
};

// One cell of a grid.
struct dpd_grid_arg_t {
  uint16_t start_x;
  uint16_t start_y;
  uint16_t end_x;
  uint16_t end_y;
  uint16_t conf;      // last confidence, 0 to 1024
  float pd;           // phase difference, full-resolution pixels, sign corrected
  float pd_offset;    // from the map of PD offsets
  int16_t range_low;  // bounds of the shifts nearly as good as the best, times sad_step
  int16_t range_high;
  int16_t dcc;              // conversion coefficient
  int64_t* p_sad;           // raw curve, `sad_count` totals
  int64_t* p_sad_filtered;  // curve filtered over time; null in correlation cells
};

// Where the frame's samples lie; the same for all lines.
struct dpd_line_config_t {
  uint32_t hdr_mode;
  uint16_t pd_width;
  uint16_t pd_height;
  uint16_t line_stride;
  uint32_t buffer_type;
  uint8_t pixel_depth;
  uint16_t pixel_clamp;  // 1023, which nothing reads: line jobs carry 0xFFFF
};

// A second-order filter; a[0] is not read.
struct dpd_filter_t {
  float a[3];
  float b[3];
};

inline constexpr int kDpdFilterSets = 3;

// What all line jobs of a flow share.
struct dpd_grid_common_t {
  uint16_t gain_map_width;  // dense gain maps, entries
  uint16_t gain_map_height;
  const uint16_t* p_left_gain;
  const uint16_t* p_right_gain;
  dpd_filter_t* p_filters;  // kDpdFilterSets of them
  dpd_sad_request_t* p_sad_req;
  const uint8_t** p_pd_buffer;
  dpd_line_config_t* p_line_config;
  float fps;
  float integrationTime;
  int32_t gain;           // sensor gain, truncated
  uint16_t* p_left_line;  // gain-corrected samples; padded, see kDpdLinePadding
  uint16_t* p_right_line;
  uint16_t* p_left_filtered;
  uint16_t* p_right_filtered;
  int32_t* p_line_sad;  // `sad_count` entries
  uint16_t overlap;     // 1 where result windows are made of two by two cells
  const afpdlibelements::tessarinePDLibType* p_tuning;
  const uint16_t* p_bias;  // `sad_count` gains, Q12
};

// Entries that a line buffer has past its line. The line SAD starts up to 128 shifts into a line
// and has up to 256 of them, whatever the length, so that it reads up to 255 samples past the end
// of a cell; a packed stretch of odd length is written one site past its end.
inline constexpr int kDpdLinePadding = 256;

// One line job.
struct dpd_line_arg_t {
  dpd_grid_common_t* p_dpd_grid_common;
  dpd_input_line_request_t request;
  dpd_filter_t* p_filter;
  dpd_sad_request_t* p_sad_req;
  const uint8_t* p_pd_buffer;  // first byte of the PD frame
  uint16_t* p_left_line;
  uint16_t* p_right_line;
  uint16_t* p_left_filtered;
  uint16_t* p_right_filtered;
  int32_t line_min_index;  // minimum of the last line SAD
  int32_t line_min_sad;
  int32_t* p_line_sad;  // the last line SAD
};

// The tuning extension that tells repeating textures.
struct PDLibRepeatPatternDetect {
  int32_t enabled;                 // 1 when the extension was found
  int32_t repeatPatternMaxRevCnt;  // reversals that count as a full score
  float repeatPatternChangeThr;    // relative step that counts as rising or falling
  float repeatPatternRevDisTol;    // tolerated deviation of the spacing, share of its mean
  float repeatPatternConfThr;      // score above which the confidence is dropped
};

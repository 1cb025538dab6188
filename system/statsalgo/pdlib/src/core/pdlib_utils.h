// What flows share: small maps, window geometry, extension parameters, the closing of results.
#pragma once

#include <cstdint>

#include "afpdlibelements.h"
#include "core/owned_array.h"
#include "core/pdlib_common.h"

// ---- Maps
//
// A map is `width` by `height` values, row by row. Positions are in map columns and rows. Blends
// are fused single-precision steps from the nearer to the farther neighbour; neighbours beyond the
// edge repeat the edge.

// The value at (x, y), blended in x and then in y, truncated.
unsigned bilinear_fast(const uint16_t* map, int width, int height, float x, float y);

// Resizes with corners on corners; a single destination column or row repeats the first. The plain
// form blends as bilinear_fast does; the optimized one in y first, once per source column, and then
// in x.
void imresize_bilinear(const uint16_t* source, int sourceWidth, int sourceHeight,
                       uint16_t* destination, int destinationWidth, int destinationHeight);
void imresize_bilinear_optimized(const uint16_t* source, int sourceWidth, int sourceHeight,
                                 uint16_t* destination, int destinationWidth,
                                 int destinationHeight);

// A rectangle in fractions of a map.
struct MapCrop {
  float x;
  float y;
  float w;
  float h;
};

// Cuts a crop out of a map and stretches it to the destination. A crop narrower than 0.01 or whose
// corner lies outside 0 to 0.99 counts as the whole map.
void imcrop_bilinear(const uint16_t* source, int sourceWidth, int sourceHeight, const MapCrop& crop,
                     uint16_t* destination, int destinationWidth, int destinationHeight);
void imcrop_bilinear(const int16_t* source, int sourceWidth, int sourceHeight, const MapCrop& crop,
                     int16_t* destination, int destinationWidth, int destinationHeight);

// In-place mirrors, left to right and top to bottom, through a temporary copy: 0, or 1 when there
// is no memory for it.
int fliplr_uint16(uint16_t* map, int width, int height);
int fliplr_int16(int16_t* map, int width, int height);
int fliplr_float(float* map, int width, int height);
int flipud_uint16(uint16_t* map, int width, int height);
int flipud_int16(int16_t* map, int width, int height);
int flipud_float(float* map, int width, int height);

// ---- Sensor and calibration

// The image's flips: false, with a log line, for an orientation that doesn't exist.
bool read_orientation(PDAFOrientation orientation, bool* mirror, bool* flip);

// The sensor's phase offset as flows honour it: 0 unless it lies inside (-10, 10) pixels.
float honoured_pd_offset(float offset);

// The bits of a pixel: 10 for a depth outside 1 to 16.
uint8_t honoured_pixel_depth(uint32_t depth);

// Whether the gain maps of a calibration have 1 to kGainMapEntries entries; logs it if not.
bool has_usable_gain_maps(const _pdaf_cal_param_t& calibration);

// Q12 weights of the shifts `firstShift`, `firstShift` - step, ... (pixels, 16 bits): with strength
// 0 all are 4096; a higher one favours small shifts. False without memory.
bool build_bias_vector(pdlib::OwnedArray<uint16_t>* vector, int length, int firstShift, int step,
                       float strength);

// ---- Windows

// A window as a flow keeps it. Fractions of the image; w and h are the distances between the
// corners.
struct win_config_t {
  uint32_t updated;
  uint32_t valid;
  uint32_t horizontalWindowCount;
  uint32_t verticalWindowCount;
  float x;
  float y;
  float w;
  float h;
};

// Installs a configuration and sets both flags.
void set_window_configure_info(win_config_t* window, const PDLibWindowConfig& config);

// Whether counts and corners differ from the installed window, without tolerance.
bool window_differs(const win_config_t& window, const PDLibWindowConfig& config);

// A window that can be measured: finite corners within 0 to 1, start not behind end.
bool is_window_valid(const PDLibWindow& window);

// Whether the results of the grid, the sum window of the default ROI included, fit into
// `defocusInfo`.
bool window_count_fits(const PDLibWindowConfig& config);

// Blocks of the PD area and where they start, pixels.
struct BlockGeometry {
  int globalX;
  int globalY;
  int blockWidth;
  int blockHeight;
  int horizontalBlockCount;
  int verticalBlockCount;
};

// A window of fractions in blocks. The last block that it touches counts fully, so that it is never
// empty.
void get_grid_configure(int imageWidth, int imageHeight, float x, float y, float width,
                        float height, const BlockGeometry& blocks, int* blockX, int* blockY,
                        int* blockColumns, int* blockRows);

// A crop in pixels in blocks: only blocks wholly inside it count, so that it may be empty.
void get_crop_configure(int cropWidth, int cropHeight, int x, int y, const BlockGeometry& blocks,
                        int* blockX, int* blockY, int* blockColumns, int* blockRows);

// The eight rectangles around the ROI in the order of `peripheralInfo`.
struct PeripheralRectangle {
  const char* name;
  float x;
  float y;
  float width;
  float height;
};
// Where a peripheral window lies in the 3 by 3 tiling around the ROI.
struct PeripheralPlace {
  int column;
  int row;
};
PeripheralPlace peripheral_place(uint32_t index);
PeripheralRectangle peripheral_rectangle(const win_config_t& roi, uint32_t index);

// The part of the ROI that `lines` PD lines cover: below 0 before its top, 1 and more when
// complete.
float written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines);

// The same; where it is negative, 0 and a log line.
float checked_written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines);

// Grid rows whose lines have arrived. Only a ratio inside (0, 1) reduces them: one of 0
// leaves the grid whole.
uint32_t ready_rows(uint32_t rows, float ratio);

// ---- Conversion table

// The usual size of a calibrated table of conversion coefficients.
inline constexpr int kDccColumns = 8;
inline constexpr int kDccRows = 6;

// The first of the two lines of a map, along an axis of `size` lines, around a relative position (0
// to 1). Never negative; with less than two lines it is 0.
int first_map_line(double relative, int size);

// Mean of the four table entries around a relative position (0 to 1, from the image's top left).
// The position inside a cell doesn't weigh: the four count alike.
int16_t dcc_lookup(const int16_t* table, double relativeX, double relativeY);

// ---- Tuning

// The first value of an extension parameter that is enabled and holds data; null when `entry` is
// none.
const float* extension_value(const statsglobalelements::statsExtensionParamType& entry);

// ---- Frame

// Whether the windows of a frame can be measured and their results stored; logs it if not.
bool is_window_usable(const PDLibWindowConfig& config);

// Whether the frame comes with a buffer of at least `requiredBytes`; logs it if not.
bool is_buffer_usable(const PDLibParam& param, uint64_t requiredBytes);

// Weight of the new frame against the curves of earlier ones.
float temporal_weight(const afpdlibelements::tessarineTuningPostProcess& weights, bool lensStands);

// The line that each call of a frame ends with; `result` is the one to be told.
void log_frame_result(uint32_t frameIndex, const PDLibDefocusInfo& result,
                      float actuatorSensitivity, int lensPosition, const PDLibOutputData& output);

// ---- Results

// Copies everything but the depth map, which stays the caller's in flows that make none.
void copy_results(const PDLibOutputData& from, PDLibOutputData* to);

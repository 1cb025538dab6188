// What flows share: small maps, window geometry, extension parameters, the closing of results.
#pragma once

#include <cstdint>

#include "afpdlibelements.h"
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
PeripheralRectangle peripheral_rectangle(const win_config_t& roi, uint32_t index);

// The part of the ROI that `lines` PD lines cover: below 0 before its top, 1 and more when
// complete.
float written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines);

// ---- Conversion table

// The usual size of a calibrated table of conversion coefficients.
inline constexpr int kDccColumns = 8;
inline constexpr int kDccRows = 6;

// Mean of the four table entries around a relative position (0 to 1, from the image's top left).
// The position inside a cell doesn't weigh: the four count alike.
int16_t dcc_lookup(const int16_t* table, double relativeX, double relativeY);

// ---- Tuning

// The first value of an extension parameter that is enabled and holds data; null when `entry` is
// none.
const float* extension_value(const statsglobalelements::statsExtensionParamType& entry);

// ---- Results

// Copies everything but the depth map, which stays the caller's in flows that make none.
void copy_results(const PDLibOutputData& from, PDLibOutputData* to);

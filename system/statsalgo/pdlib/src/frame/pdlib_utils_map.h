// Small maps of a calibration: blended look-up, resize, crop, mirrors.
#pragma once

#include <cstdint>

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

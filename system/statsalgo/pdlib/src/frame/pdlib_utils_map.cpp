#include "frame/pdlib_utils_map.h"

#include <cmath>

#include "base/numeric.h"
#include "base/owned_array.h"

using pdlib::Clamp;

namespace {

// One axis of a blend: the two neighbours and the fraction between them.
struct Neighbours {
  int first;
  int second;
  float fraction;
};

Neighbours neighbours_at(float position, int size) {
  const float inside = std::fmin(std::fmax(position, 0.0F), static_cast<float>(size - 1));
  const int first = pdlib::ToInt32(inside);
  return {first, Clamp(first + 1, 0, size - 1), inside - static_cast<float>(first)};
}

float blend(float first, float second, float fraction) {
  return std::fma(fraction, second - first, first);
}

template <class Value>
float sample_blended(const Value* map, int width, int height, float x, float y) {
  const Neighbours column = neighbours_at(x, width);
  const Neighbours row = neighbours_at(y, height);
  const auto blended_row = [&](int index) {
    const Value* values = map + static_cast<size_t>(index) * width;
    return blend(values[column.first], values[column.second], column.fraction);
  };
  return blend(blended_row(row.first), blended_row(row.second), row.fraction);
}

uint16_t to_entry(float value, uint16_t) {
  return static_cast<uint16_t>(pdlib::ToUint32(value));
}
int16_t to_entry(float value, int16_t) {
  return static_cast<int16_t>(pdlib::ToInt32(value));
}

// Source positions per destination position; 0 where there is but one destination.
float resize_step(int sourceSize, int destinationSize) {
  if (destinationSize <= 1) return 0.0F;
  return static_cast<float>(sourceSize - 1) / static_cast<float>(destinationSize - 1);
}

bool usable_crop(const MapCrop& crop) {
  const auto corner_inside = [](float corner) { return corner >= 0.0F && corner <= 0.99F; };
  return crop.w >= 0.01F && crop.h >= 0.01F && corner_inside(crop.x) && corner_inside(crop.y);
}

// Where destination entry `index` of `count` lies in a source of `sourceSize`.
float crop_position(int index, int count, float start, float extent, int sourceSize) {
  const float unit = count > 1 ? static_cast<float>(index) / static_cast<float>(count - 1) : 0.0F;
  return (unit * extent + start) * static_cast<float>(sourceSize - 1);
}

template <class Value>
void crop_map(const Value* source, int sourceWidth, int sourceHeight, const MapCrop& wanted,
              Value* destination, int destinationWidth, int destinationHeight) {
  const MapCrop crop = usable_crop(wanted) ? wanted : MapCrop{0.0F, 0.0F, 1.0F, 1.0F};
  for (int row = 0; row < destinationHeight; ++row) {
    const float y = crop_position(row, destinationHeight, crop.y, crop.h, sourceHeight);
    for (int column = 0; column < destinationWidth; ++column) {
      const float x = crop_position(column, destinationWidth, crop.x, crop.w, sourceWidth);
      *destination++ = to_entry(sample_blended(source, sourceWidth, sourceHeight, x, y), Value{});
    }
  }
}

// Rewrites the map from a copy of itself: `source(row, column)` names the entry that comes to (row,
// column).
template <class Value, class Source>
int rearrange(Value* map, int width, int height, Source source) {
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  pdlib::OwnedArray<Value> copy;
  if (!copy.allocate(count)) return 1;
  for (size_t i = 0; i < count; ++i) copy[i] = map[i];
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) *map++ = copy[source(row, column)];
  }
  return 0;
}

template <class Value>
int flip_left_right(Value* map, int width, int height) {
  return rearrange(map, width, height, [=](int row, int column) {
    return static_cast<size_t>(row) * width + static_cast<size_t>(width - 1 - column);
  });
}

template <class Value>
int flip_up_down(Value* map, int width, int height) {
  return rearrange(map, width, height, [=](int row, int column) {
    return static_cast<size_t>(height - 1 - row) * width + static_cast<size_t>(column);
  });
}

}  // namespace

unsigned bilinear_fast(const uint16_t* map, int width, int height, float x, float y) {
  return pdlib::ToUint32(sample_blended(map, width, height, x, y));
}

void imresize_bilinear(const uint16_t* source, int sourceWidth, int sourceHeight,
                       uint16_t* destination, int destinationWidth, int destinationHeight) {
  const float stepX = resize_step(sourceWidth, destinationWidth);
  const float stepY = resize_step(sourceHeight, destinationHeight);
  for (int row = 0; row < destinationHeight; ++row) {
    for (int column = 0; column < destinationWidth; ++column) {
      *destination++ = static_cast<uint16_t>(bilinear_fast(source, sourceWidth, sourceHeight,
                                                           static_cast<float>(column) * stepX,
                                                           static_cast<float>(row) * stepY));
    }
  }
}

void imresize_bilinear_optimized(const uint16_t* source, int sourceWidth, int sourceHeight,
                                 uint16_t* destination, int destinationWidth,
                                 int destinationHeight) {
  const float stepX = resize_step(sourceWidth, destinationWidth);
  const float stepY = resize_step(sourceHeight, destinationHeight);
  for (int rowIndex = 0; rowIndex < destinationHeight; ++rowIndex) {
    const Neighbours row = neighbours_at(static_cast<float>(rowIndex) * stepY, sourceHeight);
    const uint16_t* upper = source + static_cast<size_t>(row.first) * sourceWidth;
    const uint16_t* lower = source + static_cast<size_t>(row.second) * sourceWidth;
    int cachedColumn = -1;
    float left = 0.0F;
    float right = 0.0F;
    for (int columnIndex = 0; columnIndex < destinationWidth; ++columnIndex) {
      const Neighbours column = neighbours_at(static_cast<float>(columnIndex) * stepX, sourceWidth);
      if (column.first != cachedColumn) {
        left = blend(upper[column.first], lower[column.first], row.fraction);
        right = blend(upper[column.second], lower[column.second], row.fraction);
        cachedColumn = column.first;
      }
      *destination++ = to_entry(blend(left, right, column.fraction), uint16_t{});
    }
  }
}

void imcrop_bilinear(const uint16_t* source, int sourceWidth, int sourceHeight, const MapCrop& crop,
                     uint16_t* destination, int destinationWidth, int destinationHeight) {
  crop_map(source, sourceWidth, sourceHeight, crop, destination, destinationWidth,
           destinationHeight);
}

void imcrop_bilinear(const int16_t* source, int sourceWidth, int sourceHeight, const MapCrop& crop,
                     int16_t* destination, int destinationWidth, int destinationHeight) {
  crop_map(source, sourceWidth, sourceHeight, crop, destination, destinationWidth,
           destinationHeight);
}

int fliplr_uint16(uint16_t* map, int width, int height) {
  return flip_left_right(map, width, height);
}
int fliplr_int16(int16_t* map, int width, int height) {
  return flip_left_right(map, width, height);
}
int fliplr_float(float* map, int width, int height) {
  return flip_left_right(map, width, height);
}
int flipud_uint16(uint16_t* map, int width, int height) {
  return flip_up_down(map, width, height);
}
int flipud_int16(int16_t* map, int width, int height) {
  return flip_up_down(map, width, height);
}
int flipud_float(float* map, int width, int height) {
  return flip_up_down(map, width, height);
}

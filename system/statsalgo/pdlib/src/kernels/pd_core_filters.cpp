#include "kernels/pd_core_filters.h"

#include <algorithm>
#include <cstddef>

#include "kernels/kernel_table.h"

namespace {

constexpr int kPixelsPerGroup = 6;
constexpr int kBytesPerGroup = 8;

bool IsEmpty(const uint16_t* samples, int rows, int cols) {
  return samples == nullptr || rows < 1 || cols < 1;
}

void BoxNx1(uint16_t* samples, int rows, int cols, int log2Taps) {
  if (!IsEmpty(samples, rows, cols)) pdlib::Kernels().boxNx1(samples, rows, cols, log2Taps);
}

// Pixel `index` of a packed group; touches no byte but its two.
uint16_t PackedPixel(const uint8_t* group, int index) {
  const int bit = 10 * index;
  const uint8_t* bytes = group + bit / 8;
  return static_cast<uint16_t>((bytes[0] | bytes[1] << 8) >> bit % 8 & 0x3ff);
}

}  // namespace

void pd_core_gain(uint16_t* samples, int rows, int cols, uint32_t gain, int shift) {
  if (IsEmpty(samples, rows, cols)) return;
  pdlib::Kernels().gain(samples, rows, cols, gain, std::clamp(shift, 0, 63));
}

void pd_core_bpc(uint16_t* samples, int rows, int cols, int threshold) {
  if (!IsEmpty(samples, rows, cols)) pdlib::Kernels().bpc(samples, rows, cols, threshold);
}

void pd_core_resample(uint16_t* samples, int rows, int cols, int16_t direction, int weight) {
  if (IsEmpty(samples, rows, cols) || (direction != 1 && direction != -1)) return;
  const int64_t own = int64_t{256} - weight;
  for (int row = 0; row < rows; ++row, samples += cols) {
    for (int c = 1; c < cols - 1; c += 2) {
      const int64_t blend = own * samples[c] + int64_t{weight} * samples[c + direction];
      samples[c] = static_cast<uint16_t>(blend >> 8);
    }
  }
}

void pd_core_box1x2(uint16_t* samples, int rows, int cols) {
  if (!IsEmpty(samples, rows, cols)) pdlib::Kernels().box1x2(samples, rows, cols);
}

void pd_core_box1x4(uint16_t* samples, int rows, int cols) {
  if (!IsEmpty(samples, rows, cols)) pdlib::Kernels().box1x4(samples, rows, cols);
}

void pd_core_box2x1(uint16_t* samples, int rows, int cols) {
  BoxNx1(samples, rows, cols, 1);
}
void pd_core_box4x1(uint16_t* samples, int rows, int cols) {
  BoxNx1(samples, rows, cols, 2);
}
void pd_core_box8x1(uint16_t* samples, int rows, int cols) {
  BoxNx1(samples, rows, cols, 3);
}
void pd_core_box16x1(uint16_t* samples, int rows, int cols) {
  BoxNx1(samples, rows, cols, 4);
}

void pd_core_iir(uint16_t* samples, int rows, int cols) {
  if (!IsEmpty(samples, rows, cols)) pdlib::Kernels().iir(samples, rows, cols);
}

void zyn10_to_uint16(const uint8_t* source, uint16_t* destination, uint16_t width, uint16_t stride,
                     uint16_t height) {
  for (int y = 0; y < height; ++y, source += stride, destination += stride) {
    const uint8_t* group = source;
    for (int x = 0; x < width; x += kPixelsPerGroup, group += kBytesPerGroup) {
      const int pixels = std::min(width - x, kPixelsPerGroup);
      for (int i = 0; i < pixels; ++i) destination[x + i] = PackedPixel(group, i);
    }
  }
}

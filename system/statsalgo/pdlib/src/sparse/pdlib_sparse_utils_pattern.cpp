#include "sparse/pdlib_sparse_utils_pattern.h"

#include <algorithm>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/quick_sort.h"

namespace {

// A block is sampled by the gain map every 16 pixels at most.
constexpr uint32_t kMaxGainSpacing = 16;

struct PixelList {
  pdaf_pix_info_t pixels[kMaxPatternPixels];
  int count = 0;

  void add(const PDLibPixelCoordinate& pixel) {
    pdaf_pix_info_t& entry = pixels[count];
    entry = {};
    entry.x = pixel.x;
    entry.y = pixel.y;
    entry.type = pixel.type;
    entry.index = static_cast<uint32_t>(count++);
  }
};

// Entry i takes the buffer position of the pixel that has the rank of the i-th native pixel.
bool pair_up(const PixelList& native, const PixelList& buffer, int pairCount,
             pdaf_pix_info_t* out) {
  for (int i = 0; i < pairCount; ++i) {
    const pdaf_pix_info_t& nativePixel = native.pixels[i];
    if (nativePixel.index >= static_cast<uint32_t>(buffer.count)) return false;
    out[i] = buffer.pixels[nativePixel.index];
    out[i].nativeX = nativePixel.x;
    out[i].nativeY = nativePixel.y;
  }
  return true;
}

uint32_t bytes_per_pixel(PDAFBufferDataFormat format) {
  switch (format) {
    case kBufferUnpacked16: return 2;
    case kBufferFormat0:
    case kBufferFormat1:
    case kBufferFormat3:
    case kBufferFormat4: return 1;
    default: return 0;
  }
}

// Bytes from a part's start to its first block.
uint64_t first_block_offset(const PDLibBlockPattern& pattern, uint64_t stride, uint64_t bytes) {
  return bytes * pattern.horizontalPDOffset + stride * pattern.verticalPDOffset;
}

// Where the two processors' parts start in the buffer; the stride that offsets inside a block are
// counted with. PD pixels that stay inside the frame alone start behind an offset and share their
// lines with the second processor.
uint64_t place_processors(pdaf_context_t* context) {
  const PDLibDataBufferInfo& buffer = context->bufferDataInfo;
  const PDLibBlockPattern& native = context->nativePatternInfo.blockPattern;
  const bool inFrame = buffer.sensorType == kSensorSparseInFrame;
  const bool twoProcessors = buffer.imageOverlap != 0;
  const uint64_t stride =
      uint64_t{buffer.isp1BufferStride} + (inFrame && twoProcessors ? buffer.isp2BufferStride : 0);
  context->bufferOffset =
      inFrame ? first_block_offset(buffer.isp1BlockPattern, stride, context->bytesPerPixel) : 0;
  context->isp2BufferOffset =
      buffer.isp1BufferStride +
      first_block_offset(buffer.isp2BlockPattern, stride, context->bytesPerPixel);
  const int64_t start =
      int64_t{buffer.imageOverlap} + buffer.isp2ImageOffset - native.horizontalPDOffset;
  const int64_t block = native.blockDimension.width == 0 ? 0 : start / native.blockDimension.width;
  context->isp2FirstBlock =
      static_cast<uint32_t>(pdlib::Clamp<int64_t>(block, 0, context->sensor.horizontalBlockCount));
  return stride;
}

uint64_t pixel_offset(const pdaf_pix_info_t& pixel, uint64_t stride, uint32_t bytes) {
  return (stride * pixel.y + uint64_t{bytes} * pixel.x) >> (bytes - 1);
}

bool fill_offsets(const pdaf_pix_info_t* pixels, int count, uint64_t stride, uint32_t bytes,
                  uint32_t* offsets) {
  for (int i = 0; i < count; ++i) {
    const uint64_t offset = pixel_offset(pixels[i], stride, bytes);
    offsets[i] = static_cast<uint32_t>(offset);
    if (offset == offsets[i]) continue;
    PDLIB_ERROR("PD pixel (%u, %u) lies too far into the buffer", pixels[i].x, pixels[i].y);
    return false;
  }
  return true;
}

void list_columns(const pdaf_pix_info_t* left, int count, uint32_t* columns) {
  for (int i = 0; i < count; ++i) {
    if (i == 0 || left[i].nativeX != left[i - 1].nativeX) *columns++ = left[i].nativeX;
  }
}

// Marks the pixels that end a sample: consecutive pixels of one native column fold into one.
void mark_samples(const pdaf_pix_info_t* pixels, int count, uint8_t* last) {
  for (int i = 0; i < count; ++i) {
    last[i] = i + 1 == count || pixels[i + 1].nativeX != pixels[i].nativeX;
  }
}

void fill_gain_geometry(pdaf_context_t* context, const pdaf_pix_info_t* left) {
  const sensor_logic_t& sensor = context->sensor;
  context->gainStepX = sensor.blockWidth / std::min(sensor.blockWidth, kMaxGainSpacing);
  context->gainStepY = sensor.blockHeight / std::min(sensor.blockHeight, kMaxGainSpacing);
  context->gainMapStepBlock = context->gainStepX;
  context->gainMapStepRow =
      static_cast<uint16_t>(sensor.horizontalBlockCount * context->gainStepX * context->gainStepY);
  const uint32_t spacing = sensor.blockWidth / context->gainStepX;
  const uint32_t mapWidth = context->gainStepX * sensor.horizontalBlockCount;
  for (int i = 0; i < context->pairCount; ++i) {
    const uint8_t column = static_cast<uint8_t>(left[i].nativeX / spacing);
    const uint8_t row = static_cast<uint8_t>(left[i].nativeY / spacing);
    context->gainIndex[i] = static_cast<uint16_t>(column + mapWidth * row);
  }
}

}  // namespace

void swap_data(pdaf_pix_info_t* first, pdaf_pix_info_t* second) {
  std::swap(*first, *second);
}

void pixel_sort_x(pdaf_pix_info_t* pixels, int low, int high) {
  pdlib::QuickSort(
      pixels, low, high, [](const pdaf_pix_info_t& pixel) { return pixel.x; }, swap_data);
}

int sort_pd_pixel(const PDLibBlockPattern& native, const PDLibBlockPattern& buffer,
                  pdaf_pix_info_t* left, pdaf_pix_info_t* right) {
  PixelList nativeType0;
  PixelList nativeOther;
  PixelList bufferType0;
  PixelList bufferType1;
  for (int i = 0; i < buffer.pixelCount; ++i) {
    const PDLibPixelCoordinate& inBuffer = buffer.pixelCoordinate[i];
    if (inBuffer.type == kShieldHorizontal1) bufferType1.add(inBuffer);
    if (inBuffer.type == kShieldHorizontal0) bufferType0.add(inBuffer);
    const PDLibPixelCoordinate& inSensor = native.pixelCoordinate[i];
    (inSensor.type == kShieldHorizontal0 ? nativeType0 : nativeOther).add(inSensor);
  }
  pixel_sort_x(nativeType0.pixels, 0, nativeType0.count - 1);
  pixel_sort_x(nativeOther.pixels, 0, nativeOther.count - 1);
  const int pairCount = buffer.pixelCount / 2;
  const bool enough = nativeType0.count >= pairCount && nativeOther.count >= pairCount;
  if (enough && pair_up(nativeType0, bufferType1, pairCount, left) &&
      pair_up(nativeOther, bufferType0, pairCount, right)) {
    return 0;
  }
  PDLIB_ERROR(
      "PD pattern needs %d pixels of each polarity: native has %d of type 0 and %d others, "
      "buffer has %d of type 1 and %d of type 0",
      pairCount, nativeType0.count, nativeOther.count, bufferType1.count, bufferType0.count);
  return 1;
}

int count_num_of_ones(const uint8_t* flags, int count) {
  return static_cast<int>(std::count(flags, flags + count, 1));
}

int calculate_pd_pixel_offset(pdaf_context_t* context) {
  const PDLibDataBufferInfo& buffer = context->bufferDataInfo;
  context->bytesPerPixel = bytes_per_pixel(buffer.bufferFormat);
  if (context->bytesPerPixel == 0) {
    PDLIB_ERROR("PD buffer format %u can't be read", buffer.bufferFormat);
    return 1;
  }
  const uint64_t stride = place_processors(context);
  pdaf_pix_info_t left[kMaxPairs];
  pdaf_pix_info_t right[kMaxPairs];
  if (sort_pd_pixel(context->nativePatternInfo.blockPattern, buffer.isp1BlockPattern, left,
                    right) != 0) {
    return 1;
  }
  const int pairs = buffer.isp1BlockPattern.pixelCount / 2;
  context->pairCount = pairs;
  if (!fill_offsets(left, pairs, stride, context->bytesPerPixel, context->leftOffset) ||
      !fill_offsets(right, pairs, stride, context->bytesPerPixel, context->rightOffset)) {
    return 1;
  }
  list_columns(left, pairs, context->uniqueColumn);
  mark_samples(left, pairs, context->leftLast);
  mark_samples(right, pairs, context->rightLast);
  context->unique_num_L_pixel = static_cast<uint16_t>(count_num_of_ones(context->leftLast, pairs));
  context->unique_num_R_pixel = static_cast<uint16_t>(count_num_of_ones(context->rightLast, pairs));
  fill_gain_geometry(context, left);
  context->isp1Block = buffer.isp1BlockPattern.blockDimension;
  context->isp2Block = buffer.isp2BlockPattern.blockDimension;
  context->lineStride = buffer.isp1BufferStride + buffer.isp2BufferStride;
  return 0;
}

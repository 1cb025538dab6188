#include "sparse/pdlib_sparse_utils_validate.h"

#include <algorithm>
#include <limits>

#include "base/pdlib_log.h"

namespace {

constexpr uint32_t kMaxCount = std::numeric_limits<uint16_t>::max();  // blocks, lines, block sizes
constexpr uint32_t kMaxBytes = 1U << 24;                              // strides and offsets
constexpr uint32_t kMaxRows = std::numeric_limits<int16_t>::max();    // correlation's rows
constexpr uint64_t kMaxArea = 1ULL << 28;                             // pixels of the PD area
constexpr uint64_t kMaxSamples = 1ULL << 27;                          // PD pairs of one frame

bool within(const char* what, uint64_t value, uint64_t low, uint64_t high) {
  if (value >= low && value <= high) return true;
  PDLIB_ERROR("Invalid sensor description: %s is %llu, expected %llu to %llu", what,
              static_cast<unsigned long long>(value), static_cast<unsigned long long>(low),
              static_cast<unsigned long long>(high));
  return false;
}

bool valid_pixel_count(const char* what, int32_t count) {
  if (count >= 0 && count <= kMaxPatternPixels) return true;
  PDLIB_ERROR("Invalid sensor description: %s is %d, expected 0 to %d", what, count,
              kMaxPatternPixels);
  return false;
}

bool valid_block(const char* what, const PDLibBlockDimension& block) {
  return within(what, block.width, 1, kMaxCount) && within(what, block.height, 1, kMaxCount);
}

bool valid_offsets(const char* what, const PDLibBlockPattern& pattern) {
  return within(what, pattern.horizontalPDOffset, 0, kMaxCount) &&
         within(what, pattern.verticalPDOffset, 0, kMaxCount);
}

// Native pixels must lie inside their block: the gain map has entries for nothing else.
bool valid_native_pixels(const PDLibBlockPattern& native, int count) {
  for (int i = 0; i < count; ++i) {
    const PDLibPixelCoordinate& pixel = native.pixelCoordinate[i];
    if (!within("native pixel x", pixel.x, 0, native.blockDimension.width - 1) ||
        !within("native pixel y", pixel.y, 0, native.blockDimension.height - 1)) {
      return false;
    }
  }
  return true;
}

bool valid_buffer_pixels(const PDLibBlockPattern& pattern) {
  for (int i = 0; i < pattern.pixelCount; ++i) {
    const PDLibPixelCoordinate& pixel = pattern.pixelCoordinate[i];
    if (!within("buffer pixel x", pixel.x, 0, kMaxCount) ||
        !within("buffer pixel y", pixel.y, 0, kMaxCount)) {
      return false;
    }
  }
  return true;
}

bool valid_area(const PDLibSensorNativeInfo& native) {
  const PDLibBlockDimension& block = native.blockPattern.blockDimension;
  const uint64_t width = uint64_t{native.horizontalBlockCount} * block.width;
  const uint64_t height = uint64_t{native.verticalBlockCount} * block.height;
  return within("pixel count of the PD area", width * height, 1, kMaxArea);
}

// Bytes from the buffer's start to behind the last pixel of a part of `columns` blocks.
uint64_t part_end(const pdaf_context_t& context, uint64_t start, uint64_t columns,
                  const PDLibBlockDimension& block, uint64_t columnStep) {
  uint32_t farthest = 0;
  for (int i = 0; i < context.pairCount; ++i) {
    farthest = std::max({farthest, context.leftOffset[i], context.rightOffset[i]});
  }
  const uint64_t lastRow =
      (context.sensor.verticalBlockCount - 1ULL) * block.height * context.lineStride;
  const uint64_t lastPixel = (columns - 1) * columnStep + farthest;
  return start + lastRow + (lastPixel + 1) * context.bytesPerPixel;
}

uint64_t required_bytes(const pdaf_context_t& context) {
  const uint64_t columns = context.sensor.horizontalBlockCount;
  if (context.bufferDataInfo.imageOverlap == 0) {
    return part_end(context, context.bufferOffset, columns, context.isp1Block,
                    context.isp1Block.width);
  }
  uint64_t end = 0;
  const uint64_t first = context.isp2FirstBlock;
  if (first > 0) {
    end =
        part_end(context, context.bufferOffset, first, context.isp1Block, context.isp1Block.width);
  }
  if (first < columns) {
    // A window that starts inside this part counts its first block in widths of the first
    // processor.
    const uint64_t step = std::max(context.isp1Block.width, context.isp2Block.width);
    end = std::max(
        end, part_end(context, context.isp2BufferOffset, columns - first, context.isp2Block, step));
  }
  return end;
}

}  // namespace

int validate_sensor_description(const PDLibSensorNativeInfo& native,
                                const PDLibDataBufferInfo& buffer) {
  const PDLibBlockPattern& isp1 = buffer.isp1BlockPattern;
  const bool valid =
      valid_pixel_count("native pixel count", native.blockPattern.pixelCount) &&
      valid_pixel_count("buffer pixel count", isp1.pixelCount) &&
      within("native pixel count", static_cast<uint64_t>(native.blockPattern.pixelCount),
             static_cast<uint64_t>(isp1.pixelCount), kMaxPatternPixels) &&
      valid_block("native block size", native.blockPattern.blockDimension) &&
      valid_block("buffer block size", isp1.blockDimension) &&
      (buffer.imageOverlap == 0 ||
       valid_block("second buffer block size", buffer.isp2BlockPattern.blockDimension)) &&
      within("horizontal block count", native.horizontalBlockCount, 1, kMaxCount) &&
      within("vertical block count", native.verticalBlockCount, 1, kMaxRows) &&
      valid_area(native) &&
      within("second buffer block height", buffer.isp2BlockPattern.blockDimension.height, 0,
             kMaxCount) &&
      within("image width", native.currentImageWidth, 1, kMaxCount) &&
      within("image height", native.currentImageHeight, 1, kMaxCount) &&
      valid_offsets("native PD offset", native.blockPattern) &&
      valid_offsets("buffer PD offset", isp1) &&
      valid_offsets("second buffer PD offset", buffer.isp2BlockPattern) &&
      within("first buffer stride", buffer.isp1BufferStride, 0, kMaxBytes) &&
      within("second buffer stride", buffer.isp2BufferStride, 0, kMaxBytes) &&
      within("image overlap", buffer.imageOverlap, 0, kMaxBytes) &&
      within("second image offset", buffer.isp2ImageOffset, 0, kMaxBytes) &&
      within("PD pairs of a frame",
             static_cast<uint64_t>(native.horizontalBlockCount) * native.verticalBlockCount *
                 static_cast<uint64_t>(isp1.pixelCount / 2),
             0, kMaxSamples) &&
      valid_native_pixels(native.blockPattern, isp1.pixelCount) && valid_buffer_pixels(isp1);
  return valid ? 0 : 1;
}

int validate_tables(pdaf_context_t* context) {
  context->requiredBufferBytes = required_bytes(*context);
  const uint64_t bufferBytes =
      static_cast<uint64_t>(context->lineStride) * context->bufferDataInfo.ispBufferHeight;
  const uint64_t rowSamples =
      static_cast<uint64_t>(context->unique_num_L_pixel) * context->sensor.horizontalBlockCount;
  const bool valid =
      within("byte behind the last PD pixel", context->requiredBufferBytes, 1, bufferBytes) &&
      within("row of samples and search range", rowSamples + context->sad_len, 1,
             std::numeric_limits<int16_t>::max());
  return valid ? 0 : 1;
}

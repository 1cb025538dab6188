#include "sparse/pdlib_sparse_utils_parse.h"

#include <cstdlib>

#include "base/numeric.h"
#include "kernels/kernel_table.h"
#include "kernels/pd_core_filters.h"

using pdlib::Clamp;

namespace {

// Takes a share of the block rows, spread evenly: a row is parsed when the running sum of the ratio
// reaches 1.
class RowSelector {
 public:
  explicit RowSelector(float ratio) : ratio_(ratio) {}

  bool takes_next() {
    sum_ += ratio_;
    if (!(sum_ >= 1.0F)) return false;
    sum_ -= 1.0F;
    return true;
  }

 private:
  float ratio_;
  float sum_ = 0.0F;
};

void clear_counters(pdaf_context_t* context) {
  context->leftCount = 0;
  context->rightCount = 0;
  context->leftSum = 0.0F;
  context->rightSum = 0.0F;
}

// Only the centre grid's pixels are kept for LCR: its rows of windows don't overlap, so that they
// fit.
bool wants_raw(const pdaf_context_t& context) {
  return context.lcrEnabled && !context.skipLcr && !context.isPeripheralMode;
}

// Parses `blocks` blocks, `blockStep` pixels apart, whose first starts at `line`.
void parse_blocks(pdaf_context_t* context, const uint8_t* line, uint32_t bytesPerPixel,
                  uint16_t* left, uint16_t* right, size_t gainOffset, uint32_t blocks,
                  uint32_t blockStep) {
  pdlib::ParseRow row = {};
  row.line = line;
  row.bytesPerPixel = static_cast<int>(bytesPerPixel);
  row.blockCount = static_cast<int>(blocks);
  row.blockStep = blockStep;
  row.pairCount = context->pairCount;
  row.leftOffset = context->leftOffset;
  row.rightOffset = context->rightOffset;
  row.leftLast = context->leftLast;
  row.rightLast = context->rightLast;
  row.gainIndex = context->gainIndex;
  row.leftGain = context->leftGain.data() + gainOffset;
  row.rightGain = context->rightGain.data() + gainOffset;
  row.gainStep = context->gainMapStepBlock;
  row.blackLevel = context->blackLevel;
  row.shift = std::abs(static_cast<int>(context->pixelDepth) - 2);

  pdlib::ParseSink sink = {};
  sink.left = left + context->leftCount;
  sink.right = right + context->rightCount;
  sink.leftSum = context->leftSum;
  sink.rightSum = context->rightSum;
  if (wants_raw(*context)) {
    sink.leftRaw = context->leftRaw.data() + context->rawPosition;
    sink.rightRaw = context->rightRaw.data() + context->rawPosition;
    context->rawPosition += static_cast<size_t>(blocks) * static_cast<size_t>(context->pairCount);
  }
  pdlib::Kernels().parseRow(row, sink);
  context->leftCount = static_cast<size_t>(sink.left - left);
  context->rightCount = static_cast<size_t>(sink.right - right);
  context->leftSum = sink.leftSum;
  context->rightSum = sink.rightSum;
}

size_t gain_offset(const pdaf_context_t& context, uint32_t x, uint32_t y) {
  return static_cast<size_t>(x) * context.gainMapStepBlock +
         static_cast<size_t>(y) * context.gainMapStepRow;
}

const uint8_t* line_of_block_row(const pdaf_context_t& context, uint64_t partOffset,
                                 uint32_t blockHeight, uint32_t y) {
  return context.pdBuffer + partOffset + static_cast<size_t>(y) * blockHeight * context.lineStride;
}

void parse_first_processor(pdaf_context_t* context, uint16_t* left, uint16_t* right, uint32_t x0,
                           uint32_t x1, uint32_t y) {
  if (x0 >= x1) return;
  const PDLibBlockDimension& block = context->isp1Block;
  const uint8_t* line = line_of_block_row(*context, context->bufferOffset, block.height, y) +
                        static_cast<size_t>(x0) * block.width * context->bytesPerPixel;
  parse_blocks(context, line, context->bytesPerPixel, left, right, gain_offset(*context, x0, y),
               x1 - x0, block.width);
}

void parse_second_processor(pdaf_context_t* context, uint16_t* left, uint16_t* right, uint32_t x0,
                            uint32_t x1, uint32_t y) {
  if (x0 >= x1) return;
  const PDLibBlockDimension& block = context->isp2Block;
  // A window that starts inside this part counts the blocks before it in widths of the first
  // processor.
  const size_t skipped =
      static_cast<size_t>(x0 - context->isp2FirstBlock) * context->isp1Block.width;
  const uint8_t* line = line_of_block_row(*context, context->isp2BufferOffset, block.height, y) +
                        skipped * context->bytesPerPixel;
  parse_blocks(context, line, context->bytesPerPixel, left, right, gain_offset(*context, x0, y),
               x1 - x0, block.width);
}

void parse_optimized_row(pdaf_context_t* context, uint16_t* left, uint16_t* right, uint32_t x0,
                         uint32_t x1, uint32_t y) {
  const PDLibBlockDimension& block = context->isp1Block;
  const size_t pairs = static_cast<size_t>(context->pairCount);
  const size_t gain = (static_cast<size_t>(y) * context->sensor.horizontalBlockCount + x0) * pairs;
  pdlib::OptimizedParseRow row = {};
  row.line = line_of_block_row(*context, context->bufferOffset, block.height, y) +
             static_cast<size_t>(x0) * block.width * context->bytesPerPixel;
  row.bytesPerPixel = static_cast<int>(context->bytesPerPixel);
  row.blockCount = static_cast<int>(x1 - x0);
  row.blockStep = block.width;
  row.pairCount = context->pairCount;
  row.leftOffset = context->leftOffset;
  row.rightOffset = context->rightOffset;
  row.leftGain = context->leftGain.data() + gain;
  row.rightGain = context->rightGain.data() + gain;
  row.blackLevel = context->blackLevel;
  pdlib::Kernels().parseRowOptimized(row, left, right, &context->leftSum, &context->rightSum);
}

}  // namespace

void pd_core_parse_pd_pixel(pdaf_context_t* context, uint16_t* left, uint16_t* right, uint32_t x0,
                            uint32_t x1, uint32_t y0, uint32_t y1) {
  clear_counters(context);
  const bool twoProcessors = context->bufferDataInfo.imageOverlap != 0;
  const uint32_t split = twoProcessors ? Clamp(context->isp2FirstBlock, x0, x1) : x1;
  RowSelector selector(context->subsampleRatio);
  for (uint32_t y = y0; y < y1; ++y) {
    if (!selector.takes_next()) continue;
    parse_first_processor(context, left, right, x0, split, y);
    parse_second_processor(context, left, right, split, x1, y);
  }
}

void pd_core_parse_pd_pixel_optimized(pdaf_context_t* context, uint16_t* left, uint16_t* right,
                                      uint32_t x0, uint32_t x1, uint32_t y0, uint32_t y1) {
  clear_counters(context);
  const size_t rowSamples = static_cast<size_t>(context->unique_num_L_pixel) * (x1 - x0);
  RowSelector selector(context->subsampleRatio);
  for (uint32_t y = y0; y < y1; ++y) {
    if (!selector.takes_next()) continue;
    parse_optimized_row(context, left, right, x0, x1, y);
    merge_samples(left, right, rowSamples, context->parsingMergeFactor);
    left += rowSamples;
    right += rowSamples;
  }
}

void pd_core_parse_pd_pixel_in_a_block_16bpp(pdaf_context_t* context, const uint8_t* line,
                                             uint16_t* left, uint16_t* right, int pixelOffset,
                                             int gainOffsetX, int gainOffsetY) {
  parse_blocks(context, line + static_cast<ptrdiff_t>(pixelOffset) * 2, 2, left, right,
               static_cast<size_t>(gainOffsetX) + static_cast<size_t>(gainOffsetY), 1, 0);
}

void merge_samples(uint16_t* left, uint16_t* right, size_t count, uint32_t factor) {
  if (factor == 2) {
    for (size_t j = 0; j < count; ++j) {
      left[j] = static_cast<uint16_t>(left[2 * j] + left[2 * j + 1]);
      right[j] = static_cast<uint16_t>(right[2 * j] + right[2 * j + 1]);
    }
  } else if (factor == 4) {
    // The right side first: it reads left samples as they were.
    for (size_t j = 0; j < count; ++j) {
      right[j] = static_cast<uint16_t>(right[4 * j] + right[4 * j + 1] + left[4 * j + 2] +
                                       left[4 * j + 3]);
    }
    for (size_t j = 0; j < count; ++j) {
      left[j] =
          static_cast<uint16_t>(left[4 * j] + left[4 * j + 1] + left[4 * j + 2] + left[4 * j + 3]);
    }
  }
}

void process_zyn10_to_uint16(pdaf_context_t* context, const uint8_t* source, uint16_t* destination,
                             const PDLibBlockPattern& pattern, uint32_t first, uint32_t end) {
  constexpr uint32_t kPixelsPerGroup = 6;
  constexpr uint32_t kBytesPerGroup = 8;
  const PDLibBlockDimension& block = pattern.blockDimension;
  const uint32_t firstPixel = pattern.horizontalPDOffset + first * block.width;
  context->zynRemainder = firstPixel % kPixelsPerGroup;
  const uint32_t width = context->zynRemainder + (end - first) * block.width;
  const uint32_t stride =
      context->bufferDataInfo.isp1BufferStride + context->bufferDataInfo.isp2BufferStride;
  zyn10_to_uint16(source + static_cast<size_t>(firstPixel / kPixelsPerGroup) * kBytesPerGroup,
                  destination, static_cast<uint16_t>(width), static_cast<uint16_t>(stride),
                  static_cast<uint16_t>(block.height));
}

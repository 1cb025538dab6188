// One row of windows: parse, balance, repair, resample, filter, correlate.
#include <algorithm>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "kernels/pd_core_correlation.h"
#include "kernels/pd_core_filters.h"
#include "sparse/pdlib_sparse_utils_parse.h"
#include "sparse/pdlib_sparse_wrapper.h"

namespace {

// The two images of a row of windows.
struct SampleImages {
  uint16_t* left;
  uint16_t* right;
  int rows;
  int cols;

  template <class Kernel, class... Arguments>
  void apply(Kernel kernel, Arguments... arguments) const {
    kernel(left, rows, cols, arguments...);
    kernel(right, rows, cols, arguments...);
  }
};

// Block rows of a window that are parsed.
int parsed_rows(const pdaf_context_t& context, const pd_grid_arg_t& window) {
  return pdlib::ToInt32(static_cast<float>(window.end_y - window.start_y) * context.subsampleRatio);
}

// Raises the darker channel to the level of the other.
void balance(const pdaf_context_t& context, const SampleImages& images) {
  const bool leftIsDarker = context.leftSum < context.rightSum;
  const float smaller = std::min(context.leftSum, context.rightSum);
  const float larger = std::max(context.leftSum, context.rightSum);
  const uint32_t gain = pdlib::ToUint32(larger / smaller * 256.0F);
  pd_core_gain(leftIsDarker ? images.left : images.right, images.rows, images.cols, gain, 8);
}

void smooth_rows(const SampleImages& images, int boxLength) {
  switch (boxLength) {
    case 0: break;
    case 2: images.apply(pd_core_box1x2); break;
    case 4: images.apply(pd_core_box1x4); break;
    default:
      images.apply(pd_core_box1x2);
      PDLIB_ERROR("Box filter length is NOT supported! Use 1x2 box filter.");
  }
}

// The tuned binning count of the region of the frame's gain.
int vertical_binning_count(const pdaf_context_t& context) {
  const auto& sets = context.tuning.preProcess.filterTrigger.filterSet;
  const float gain = static_cast<float>(context.gain);
  if (gain >= sets[0].AECTrigger.gain_start) return sets[0].verticalMode;
  if (gain >= sets[1].AECTrigger.gain_start) return sets[1].verticalMode;
  return sets[2].verticalMode;
}

void bin_columns(const SampleImages& images, int count) {
  switch (count) {
    case 1: break;
    case 2: images.apply(pd_core_box2x1); break;
    case 4: images.apply(pd_core_box4x1); break;
    case 8: images.apply(pd_core_box8x1); break;
    case 16: images.apply(pd_core_box16x1); break;
    default: PDLIB_ERROR("Unsupported binning count %d", count);
  }
}

void clean(const pdaf_context_t& context, const SampleImages& images) {
  balance(context, images);
  images.apply(pd_core_bpc, context.bpcThreshold);
  if (context.resampleDirection != 0) {
    images.apply(pd_core_resample, context.resampleDirection, context.resampleWeight);
  }
  smooth_rows(images, context.tuning.preProcess.boxFilterLength);
  if (context.verticalBinningControl != 0) bin_columns(images, vertical_binning_count(context));
  if (context.iirEnabled != 0) images.apply(pd_core_iir);
}

}  // namespace

void pdaf_window_process_optimized(pdaf_context_t* context, uint16_t first, uint16_t end) {
  const pd_grid_arg_t& from = context->activeGrid()[first];
  const pd_grid_arg_t& to = context->activeGrid()[end - 1U];
  uint16_t* left = context->leftSamples.data();
  uint16_t* right = context->rightSamples.data();
  const auto parse =
      context->optimizedParsing ? pd_core_parse_pd_pixel_optimized : pd_core_parse_pd_pixel;
  parse(context, left, right, from.start_x, to.end_x, from.start_y, to.end_y);
  if (!(context->leftSum > 0.0F) || !(context->rightSum > 0.0F)) {
    PDLIB_ERROR("PDLIB: all pd pixel values after black level correction is 0");
    return;
  }
  const int cols = static_cast<int>(context->unique_num_L_pixel * (to.end_x - from.start_x));
  clean(*context, {left, right, parsed_rows(*context, from), cols});
}

void calculate_sad_vector(pdaf_context_t* context, uint16_t first, uint16_t end) {
  pd_grid_t& grid = context->activeGrid();
  const uint32_t samplesPerBlock = context->unique_num_L_pixel;
  const int16_t stride =
      static_cast<int16_t>(samplesPerBlock * (grid[end - 1U].end_x - grid[first].start_x));
  const uint16_t* left = context->leftSamples.data();
  const uint16_t* right = context->rightSamples.data();
  for (uint32_t index = first; index < end; ++index) {
    pd_grid_arg_t& window = grid[index];
    const uint32_t ownWidth = samplesPerBlock * (window.end_x - window.start_x);
    // A window borrows samples from its right neighbour to correlate over its full width. The last
    // one of the row has none and correlates over less; this asymmetry is intended.
    const bool hasNeighbour = index + 1U < end;
    const uint32_t width =
        ownWidth + (hasNeighbour ? static_cast<uint32_t>(context->sad_len - 1) : 0);
    pd_core_sad(left, right, static_cast<int16_t>(parsed_rows(*context, window)),
                static_cast<int16_t>(width), stride, window.sad.data(), context->shift_offset,
                context->sad_len);
    left += ownWidth;
    right += ownWidth;
  }
}

#include "sparse/pdlib_sparse_wrapper.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_profile.h"
#include "frame/pdlib_utils_curve.h"
#include "frame/pdlib_utils_window.h"
#include "sparse/pdlib_sparse_lcr.h"

using pdlib::Clamp;
using pdlib::ToInt32;

namespace {

// Calls without lens movement from which the scene counts as still.
constexpr int kStillCount = 6;
// Area of a ROI of 30 percent by 30 percent; larger ones are parsed more sparsely.
constexpr float kFullCoverage = 0.09F;
constexpr float kPeripheralShare = 0.25F;
// Windows 5 to 7 lie below the ROI and wait for the last lines of the frame.
constexpr uint16_t kFirstWindowBelowRoi = 5;

bool lens_stands(const pdaf_context_t& context) {
  return context.lensPosition == context.previousLensPosition;
}

// Ends of the ROI in lines, as the progress lines of the log report them.
struct RoiLines {
  int top;
  int bottom;
};

RoiLines roi_lines(const pdaf_context_t& context) {
  const float height = static_cast<float>(context.sensor.imageHeight);
  const win_config_t& roi = context.window;
  return {ToInt32(roi.y * height), ToInt32((roi.y + roi.h) * height)};
}

void decide_lcr(pdaf_context_t* context, const PDLibOutputData& output) {
  if (context->lcrBuffer == nullptr || !context->lcrEnabled) {
    context->skipLcr = true;
    PDLIB_VERBOSE("Skip LCR processing as LCR flag: %d or p_input_raw buffer: %p",
                  context->lcrEnabled, static_cast<const void*>(context->lcrBuffer));
    return;
  }
  const bool smallPhase = context->skipLCRPDThreshold > std::fabs(output.defocusInfo[0].phaseDiff);
  const bool still = context->staticCount >= kStillCount &&
                     context->skipLCRInMonitorAndSmallPD == 1 && smallPhase &&
                     !pdlib::ProfileRunning();
  context->skipLcr = context->lcrFirstFrame || still;
  if (context->skipLcr) PDLIB_VERBOSE("Dynamic skip LCR processing");
}

// Overwrites the vector of result window `index` with the sum of the four entries from `first` on.
// Entries past the grid add nothing.
void sum_overlapping(pdaf_context_t* context, uint32_t index, uint32_t first) {
  const uint32_t columns = context->gridColumns();
  const uint32_t entries = columns * context->gridRows();
  const uint32_t sources[4] = {first, first + 1, first + columns, first + columns + 1};
  for (int16_t k = 0; k < context->sad_len; ++k) {
    uint32_t sum = 0;
    for (const uint32_t source : sources) {
      if (source < entries)
        sum += static_cast<uint32_t>(context->centerGrid[source].sad[static_cast<size_t>(k)]);
    }
    context->centerGrid[index].sad[static_cast<size_t>(k)] = static_cast<int32_t>(sum);
  }
}

bool measure_result_windows(pdaf_context_t* context, PDLibOutputData* output) {
  bool found = false;
  // The row step is the row count, not the column count, and the summing runs in place over what
  // earlier windows left: both are required, and differ from the plain sum only for grids that
  // aren't square. With the column count no window sums what another one has overwritten.
  const uint32_t rowStep =
      context->overlapSumByColumns ? context->gridColumns() : context->gridRows();
  for (uint32_t row = 0; row < context->window.verticalWindowCount; ++row) {
    for (uint32_t column = 0; column < context->window.horizontalWindowCount; ++column) {
      const uint32_t index = row * context->window.horizontalWindowCount + column;
      if (context->gridOverlap != 0) sum_overlapping(context, index, row * rowStep + column);
      found |= calculate_pd_and_conf(context, output->defocusInfo, static_cast<uint16_t>(index));
    }
  }
  return found;
}

// The sum of all result windows, as biased. Under overlap its index is an ordinary entry of the
// grid, whose filtered vector then carries the temporal state of the sum.
bool measure_sum_window(pdaf_context_t* context, PDLibOutputData* output) {
  if (!context->hasSumWindow) return false;
  const uint32_t sumIndex =
      context->window.horizontalWindowCount * context->window.verticalWindowCount;
  for (int16_t k = 0; k < context->sad_len; ++k) {
    uint32_t sum = 0;
    for (uint32_t i = 0; i < sumIndex; ++i) {
      sum += static_cast<uint32_t>(context->centerGrid[i].sad[static_cast<size_t>(k)]);
    }
    context->centerGrid[sumIndex].sad[static_cast<size_t>(k)] = static_cast<int32_t>(sum);
  }
  return calculate_pd_and_conf(context, output->defocusInfo, static_cast<uint16_t>(sumIndex));
}

void process_grid_row(pdaf_context_t* context, uint32_t row) {
  const uint16_t first = static_cast<uint16_t>(row * context->gridColumns());
  const uint16_t end = static_cast<uint16_t>(first + context->gridColumns());
  pdaf_window_process_optimized(context, first, end);
  calculate_sad_vector(context, first, end);
}

void log_center_progress(const pdaf_context_t& context, uint16_t lines, uint32_t rows,
                         float ratio) {
  const RoiLines roi = roi_lines(context);
  PDLIB_VERBOSE(
      "PD_LINE_INFO verticalWindowCount %d, num_of_lines %d horizontalWindowCount %d "
      "original_window_number_ver %d original_window_number_hor %d start_line_of_roi %d, "
      "end_line_of_roi %d ratio %f",
      static_cast<int>(rows), lines, static_cast<int>(context.gridColumns()),
      static_cast<int>(context.window.verticalWindowCount),
      static_cast<int>(context.window.horizontalWindowCount), roi.top, roi.bottom,
      static_cast<double>(ratio));
}

void log_peripheral_progress(const pdaf_context_t& context, uint16_t lines, float ratio) {
  const RoiLines roi = roi_lines(context);
  PDLIB_VERBOSE(
      "PD_LINE_INFO Peripheral verticalWindowCount %d, num_of_lines %d horizontalWindowCount %d "
      "original_window_number_ver %d original_window_number_hor %d start_line_of_roi %d, "
      "end_line_of_roi %d ratio %f",
      static_cast<int>(context.gridRows()), lines, static_cast<int>(context.gridColumns()),
      static_cast<int>(context.window.verticalWindowCount),
      static_cast<int>(context.window.horizontalWindowCount), roi.top, roi.bottom,
      static_cast<double>(ratio));
}

void process_peripheral(pdaf_context_t* context, uint16_t lines) {
  PDLibOutputData& output = context->output;
  if (output.processingResult == kResultLowConfidence) {
    const bool onlyBelow = lines == context->sensor.imageHeight && output.isPeripheralValid == 1;
    output.isPeripheralValid = 1;
    pd_process_peripheral_window(context, lines, &output,
                                 onlyBelow ? kFirstWindowBelowRoi : uint16_t{0});
  }
  if (context->roiType == kRoiDefault && output.isPeripheralValid == 0) {
    // A change of scene must not pick up what the windows remember.
    for (pd_grid_arg_t& window : context->peripheralGrid) window.sad_filtered.clear_values();
  }
}

}  // namespace

int PdlibSkipControlProcess(pdaf_context_t* context, const PDLibParam* param, uint32_t lines) {
  const int target = Clamp(ToInt32(param->fps), 10, 30);
  const auto& control = context->tuning.skipControl;
  const int16_t lensPosition = static_cast<int16_t>(param->lensPosition);
  const bool still = lensPosition == context->previousLensPosition;
  context->staticCount =
      still ? std::min(context->staticCount, std::numeric_limits<int>::max() - 1) + 1 : 0;
  if (context->staticCount < control.staticFrameCountThres) {
    context->accumRatio = 1.0F;
    return 0;
  }
  const int skip = context->accumRatio < 1.0F ? 1 : 0;
  if (skip != 0) {
    PDLIB_INFO(
        "Idx: %d curPos: %d, prevPos: %d staticCnt: %d, staticCntThres: %d, fps: %f, "
        "targetFps: %d, accumRatio: %f, skipResult: %s",
        static_cast<int>(context->frameIndex), lensPosition, context->previousLensPosition,
        context->staticCount, control.staticFrameCountThres, static_cast<double>(param->fps),
        target, static_cast<double>(context->accumRatio), "skip");
  }
  // A partial call doesn't advance the accumulator.
  if (lines < context->sensor.imageHeight) return skip;
  const float step = static_cast<float>(control.maxFrameRate) / static_cast<float>(target);
  context->accumRatio =
      context->accumRatio >= 1.0F ? step + context->accumRatio - 1.0F : step + context->accumRatio;
  return skip;
}

void pd_incremental_processing(pdaf_context_t* context, uint16_t lines) {
  context->temporalWeight = temporal_weight(context->tuning.postProcess, lens_stands(*context));
  PDLibOutputData& output = context->output;
  if (output.processingResult == kResultNone) pd_process_center_window(context, lines, &output);
  if (context->tuning.enablePeripheralWindows != 0) process_peripheral(context, lines);
  output.horizontalWindowCount = context->window.horizontalWindowCount;
  output.verticalWindowCount = context->window.verticalWindowCount;
}

uint32_t pd_process_center_window(pdaf_context_t* context, uint16_t lines,
                                  PDLibOutputData* output) {
  const float ratio = checked_written_ratio(context->window, context->sensor.imageHeight, lines);
  const uint32_t allRows = context->gridRows();
  const uint32_t rows = ready_rows(allRows, ratio);
  decide_lcr(context, *output);
  log_center_progress(*context, lines, rows, ratio);
  output->processingResult = kResultStarted;
  context->isPeripheralMode = false;
  context->rawPosition = 0;
  context->subsampleRatio = pd_process_get_subsample_ratio(*context, 1);
  {
    const pdlib::ProfileScope profile(pdlib::kProfileLrCenterWindow);
    for (uint32_t row = 0; row < rows; ++row) process_grid_row(context, row);
    if (rows == allRows) {
      const bool windowFound = measure_result_windows(context, output);
      const bool sumFound = measure_sum_window(context, output);
      if (!windowFound && !sumFound) output->processingResult = kResultLowConfidence;
    }
  }
  if (context->skipLcr) {
    context->lcrFirstFrame = false;
  } else {
    const pdlib::ProfileScope profile(pdlib::kProfileLcrCenterWindow);
    pdaf_lcr_process_center_window(context, output);
  }
  return output->processingResult;
}

void pd_process_peripheral_window(pdaf_context_t* context, uint16_t lines, PDLibOutputData* output,
                                  uint16_t first) {
  const pdlib::ProfileScope profile(pdlib::kProfilePeripheralWindow);
  const float ratio = checked_written_ratio(context->window, context->sensor.imageHeight, lines);
  uint16_t last = ratio >= 1.0F ? kFirstWindowBelowRoi : 1;
  if (lines == context->sensor.imageHeight) last = kPeripheralWindows;
  log_peripheral_progress(*context, lines, ratio);
  context->isPeripheralMode = true;
  context->subsampleRatio = pd_process_get_subsample_ratio(*context, 0);
  for (uint16_t window = first; window < last; ++window) {
    PDLIB_VERBOSE("Processing peripheral %d", window);
    const uint16_t end = static_cast<uint16_t>(window + 1);
    pdaf_window_process_optimized(context, window, end);
    calculate_sad_vector(context, window, end);
    calculate_pd_and_conf(context, output->peripheralInfo, window);
  }
}

float pd_process_get_subsample_ratio(const pdaf_context_t& context, int centre) {
  const auto& level = centre != 0 ? context.tuning.singleWindowProcessingLevel
                                  : context.tuning.PeripheralProcessing;
  const float percent = static_cast<float>(context.staticCount < kStillCount ? level.dynamicLevel
                                                                             : level.staticLevel);
  float base = kPeripheralShare;
  if (centre != 0) {
    const float coverage = context.window.w * context.window.h;
    base = coverage > kFullCoverage ? kFullCoverage / coverage : 1.0F;
  }
  float ratio = base;
  switch (level.processingMode) {
    case 0:
    case 5: ratio = base * percent / 100.0F; break;
    case 1: ratio = base * 0.5F; break;
    case 4: ratio = percent / 100.0F; break;
    default: break;
  }
  // A level above 100 percent can't parse more rows than there are.
  ratio = std::fmin(std::fmax(ratio, 0.0F), 1.0F);
  PDLIB_VERBOSE("Current subsample ratio: %f", static_cast<double>(ratio));
  return ratio;
}

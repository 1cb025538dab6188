#include "dense/dpd_software_flow_frame.h"

#include <algorithm>
#include <cmath>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_profile.h"
#include "dense/dpd_software_flow_calibration.h"
#include "dense/pdlib_dpd_utils.h"
#include "dense/pdlib_dpd_wrapper.h"
#include "frame/pdlib_utils_curve.h"
#include "frame/pdlib_utils_window.h"

using pdlib::ToInt32;

namespace {

constexpr uint16_t kDefaultInterval = 8;  // lines
constexpr uint16_t kPeripheralInterval = 128;
constexpr uint16_t kPeripheralBin = 4;
// Windows 5 to 7 lie below the ROI and wait for the last lines of the frame.
constexpr uint32_t kFirstWindowBelowRoi = 5;

dpd_grid_t& active_grid(dpd_context_t* context) {
  return context->isPeripheralMode ? context->p_dpd_peripheral_window
                                   : context->pCenterCorrelationGrids;
}

// ---- The line job

const afpdlibelements::tessarinePDLIBPreprocessingFilterSettings& filter_set(
    const dpd_context_t& context) {
  const auto& preProcess =
      context.isVertical ? context.tuning.preProcessVertical : context.tuning.preProcess;
  const auto& sets = preProcess.filterTrigger.filterSet;
  const float gain = static_cast<float>(context.gain);
  if (gain >= sets[0].AECTrigger.gain_start) return sets[0];
  return gain >= sets[1].AECTrigger.gain_start ? sets[1] : sets[2];
}

// 100 over the level in percent, a whole number; 0 for levels above 100, 1 for absurd ones.
int level_divisor(const dpd_context_t& context) {
  constexpr int32_t kMaxLevel = 800;
  const auto& tuned = context.tuning.singleWindowProcessingLevel;
  const int32_t level = lens_stands(context) ? tuned.staticLevel : tuned.dynamicLevel;
  return level >= 1 && level <= kMaxLevel ? 100 / level : 1;
}

// Scaled so that the work a second stays that of an ROI of a third by a third of a 12 megapixel
// image at 30 frames a second.
uint16_t balanced_interval(const dpd_context_t& context) {
  constexpr uint64_t kReferencePixels = 0xBA0C00;
  constexpr float kReferenceArea = 0.11108889F;
  constexpr float kReferenceRate = 30.0F;
  const uint64_t pixels = uint64_t{context.sensor.imageWidth} * context.sensor.imageHeight;
  const float images = static_cast<float>(pixels / kReferencePixels);
  const float base = 8.0F * static_cast<float>(level_divisor(context));
  const float area = context.window.w * context.window.h / kReferenceArea;
  return static_cast<uint16_t>(ToInt32(images * base * area * (context.fps / kReferenceRate)));
}

// Lines from one processed line to the next; 0 counts as 1.
uint16_t center_interval(const dpd_context_t& context) {
  uint16_t interval = kDefaultInterval;
  switch (context.tuning.singleWindowProcessingLevel.processingMode) {
    case 0:
    case 2: break;
    case 1: interval = 16; break;
    case 3: interval = 4; break;
    case 4: interval = static_cast<uint16_t>((level_divisor(context) & 0x1FFF) * 8); break;
    case 5: interval = balanced_interval(context); break;
    default: PDLIB_INFO("Unsupported processing mode, use default"); break;
  }
  return std::max<uint16_t>(interval, 1);
}

bool row_has_pair(const dpd_context_t& context, uint32_t row) {
  const uint64_t first = uint64_t{row} * context.block_width;
  const uint32_t type = first < kMaxPatternPixels ? context.block_type[first] : 0;
  return context.isVertical ? type > kShieldHorizontal1
                            : type != kShieldVertical2 && type != kShieldVertical3;
}

void set_block(const dpd_context_t& context, dpd_input_line_request_t* request) {
  request->block_width = context.block_width;
  request->block_height = context.block_height;
  if (!context.hasBlock) return;
  std::copy_n(context.block_type, 4, request->block_type);
  request->flip_vertical = context.sensor.flip ? 1 : 0;
  for (uint32_t row = 0; row < std::min(context.block_height, 4U); ++row)
    request->row_has_pair[row] = row_has_pair(context, row) ? 1 : 0;
}

// Blocks whose first rows alone have horizontal pairs: these are summed, block by block.
void restrict_to_paired_rows(const dpd_context_t& context, dpd_line_arg_t* line_arg) {
  const uint32_t* flags = line_arg->request.row_has_pair;
  const uint32_t paired = static_cast<uint32_t>(std::find(flags, flags + 4, 0U) - flags);
  if (paired == context.block_height) return;
  if (paired == 0) {
    PDLIB_INFO("Warning: Input Pixel didn't have Left / Right pixels to begin");
    return;
  }
  line_arg->request.bin_lines = static_cast<uint16_t>(paired);
  line_arg->p_sad_req->vertical_interval =
      std::max<uint16_t>(static_cast<uint16_t>(context.block_height), 1);
}

// The stretch of the job's cells, with room for the search range behind it where the frame has it.
void set_stretch(const dpd_context_t& context, const dpd_grid_arg_t& first,
                 const dpd_grid_arg_t& last, dpd_input_line_request_t* request) {
  const int shifts = computed_shifts(context.sadRequest);
  const auto end_of = [shifts](uint16_t end, uint16_t size) {
    return static_cast<uint16_t>(end + shifts > size ? end : end + shifts);
  };
  request->start_x = first.start_x;
  request->start_y = first.start_y;
  request->end_x = context.isVertical ? last.end_x : end_of(last.end_x, context.line.pd_width);
  request->end_y = context.isVertical ? end_of(last.end_y, context.line.pd_height) : last.end_y;
}

bool is_legal_bin(uint16_t bin) {
  return bin == 1 || bin == 2 || bin == 4 || bin == 8 || bin == 16;
}

// The last cell of a job: that before `end_cell` of a row, `end_cell` itself of a column.
uint32_t last_cell(const dpd_context_t& context, uint32_t end_cell) {
  return context.isVertical && !context.isPeripheralMode ? end_cell : end_cell - 1;
}

// The cells that a job adds to: a row from its first one, a column from row `first_cell` on (so
// that its rows above keep their sums from frame to frame: intended), or one peripheral cell.
struct JobCells {
  uint32_t first;
  uint32_t step;
  uint32_t count;
};

JobCells cleared_cells(const dpd_context_t& context, uint32_t first_cell) {
  if (context.isPeripheralMode) return {first_cell, 1, 1};
  if (!context.isVertical) return {first_cell, 1, context.columns};
  const uint32_t rows = context.rows > first_cell ? context.rows - first_cell : 0;
  return {first_cell + first_cell * context.columns, context.columns, rows};
}

JobCells summed_cells(const dpd_context_t& context, uint32_t first_cell) {
  if (context.isPeripheralMode) return {first_cell, 1, 1};
  if (!context.isVertical) return {first_cell, 1, context.columns};
  return {first_cell, context.columns, context.rows};
}

// ---- Line SAD

// Whether the correlation of a cell stays inside the line buffers, up to the end of its last
// vector.
bool fits_line(const dpd_context_t& context, int offset, int length) {
  constexpr int kVectorOverrun = 31;
  const dpd_sad_request_t& request = context.sadRequest;
  const int shifts = computed_shifts(request);
  const int samples = std::max(length - shifts, 0) + 1;
  const int start = std::abs(static_cast<int>(request.far_limit));
  return static_cast<size_t>(offset + start + shifts + samples + kVectorOverrun) <=
         context.lineCapacity;
}

void add_line_sad(const dpd_context_t& context, dpd_line_arg_t* line_arg, int offset, int length,
                  dpd_grid_arg_t* cell) {
  if (length < 0 || !fits_line(context, offset, length)) return;
  dpd_line_sad_optimized(line_arg->p_left_filtered + offset, line_arg->p_right_filtered + offset,
                         length, context.sadRequest.near_limit, context.sadRequest.far_limit,
                         &line_arg->line_min_index, &line_arg->line_min_sad, line_arg->p_line_sad);
  for (int k = 0; k < context.sadRequest.sad_count; ++k) cell->p_sad[k] += line_arg->p_line_sad[k];
}

void process_line(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell) {
  dpd_core_parse_and_preprocess(line_arg);
  DPDCoreLineSAD(context, line_arg, first_cell);
}

void process_column(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell) {
  dpd_core_parse_and_preprocess_vertical(line_arg);
  DPDCoreLineSAD(context, line_arg, first_cell);
}

// A job whose last cell ends before its first one begins has no lines, or empty ones.
bool has_stretch(const dpd_context_t& context, const dpd_input_line_request_t& request) {
  return context.isVertical ? request.end_y > request.start_y : request.end_x > request.start_x;
}

void process_job(dpd_context_t* context, uint32_t first_cell, uint32_t end_cell) {
  dpd_line_arg_t line_arg = DPDPrepareLineArg(context, first_cell, end_cell);
  DPDProcessGridLine(context, &line_arg, first_cell, end_cell);
}

// ---- Results

// A result that the record has no room for counts as not there.
bool has_result(const PDLibDefocusInfo* infos, uint32_t index) {
  return index < kMaxWindows && infos[index].confidence != 0;
}

void add_curve(const dpd_grid_arg_t& from, int count, dpd_grid_arg_t* to) {
  for (int k = 0; k < count; ++k) to->p_sad[k] += from.p_sad[k];
}

void sum_window(dpd_context_t* context, uint32_t row, uint32_t column, dpd_grid_arg_t* window) {
  const int count = context->sadRequest.sad_count;
  std::fill_n(window->p_sad, count, int64_t{0});
  for (uint32_t down = 0; down <= context->overlap; ++down) {
    for (uint32_t right = 0; right <= context->overlap; ++right) {
      const uint32_t cell = (row + down) * context->columns + column + right;
      add_curve(context->pCenterCorrelationGrids[cell], count, window);
    }
  }
}

void measure_windows(dpd_context_t* context, PDLibOutputData* output) {
  const win_config_t& window = context->window;
  for (uint32_t row = 0; row < window.verticalWindowCount; ++row) {
    for (uint32_t column = 0; column < window.horizontalWindowCount; ++column) {
      const uint32_t index = row * window.horizontalWindowCount + column;
      sum_window(context, row, column, &context->pCenterPostProcessGrids[index]);
      ComputePDAndConfidence(context, output->defocusInfo, index);
    }
  }
}

bool has_learnt_dcc(const dpd_context_t& context, int index) {
  if (context.adaptiveK.enable != 1) return false;
  return context.isPeripheralMode ? adaptive_k_has_peripheral_window(index)
                                  : adaptive_k_has_window(index);
}

void take_learnt_dcc(dpd_context_t* context, float phaseDiff, int index, dpd_grid_arg_t* cell) {
  if (!has_learnt_dcc(*context, index)) return;
  cell->dcc =
      context->isPeripheralMode
          ? adaptive_k_get_interpolated_DCC_peripheral(&context->adaptiveK, phaseDiff, index)
          : adaptive_k_get_interpolated_DCC(&context->adaptiveK, phaseDiff, index);
}

// Sites of the confidence window; without a step it is empty.
int confidence_width(const dpd_context_t& context) {
  const auto& post =
      context.isVertical ? context.tuning.postProcessVertical : context.tuning.postProcess;
  const int step = context.isVertical ? context.verticalStep : context.horizontalStep;
  return step == 0 ? 0 : post.confIntegralWidth / step;
}

bool is_repeating(const dpd_context_t& context, const dpd_grid_arg_t& cell) {
  if (context.repeatPattern.enabled != 1) return false;
  const float score = dpd_repeat_patten_detect(cell.p_sad_filtered, context.sadRequest.sad_count,
                                               &context.repeatPattern);
  if (!(score > context.repeatPattern.repeatPatternConfThr)) return false;
  PDLIB_INFO("Repeat pattern detected, set confidence to zero");
  return true;
}

// Matches the cell's curve: phase difference in full-resolution pixels, range, confidence.
void match(dpd_context_t* context, dpd_grid_arg_t* cell) {
  const dpd_sad_request_t& request = context->sadRequest;
  const int16_t count = static_cast<int16_t>(request.sad_count);
  dpd_sad_bias(cell->p_sad, context->bias.data(), count);
  dpd_sad_temporal_filter(cell->p_sad, cell->p_sad_filtered, context->temporalWeight, count);
  float integerPd = 0.0F;
  float pd = 0.0F;
  int64_t lowest = 0;
  int64_t highest = 0;
  int low = 0;
  int high = 0;
  const uint16_t confidence =
      dpd_FindMatching(cell->p_sad, cell->p_sad_filtered, request.near_limit, request.far_limit,
                       confidence_width(*context), &integerPd, &pd, &lowest, &highest,
                       context->tuning.correlation.PDRangeControl, &low, &high);
  cell->conf = is_repeating(*context, *cell) ? uint16_t{0} : confidence;
  cell->range_low = static_cast<int16_t>(request.sad_step * low);
  cell->range_high = static_cast<int16_t>(request.sad_step * high);
  cell->pd = static_cast<float>(request.sad_step) * pd;
  if (context->isMirrored) cell->pd = -cell->pd;
}

float phase_difference(const dpd_context_t& context, const dpd_grid_arg_t& cell) {
  if (!context.hasOffsetMap) return context.sensor.pdOffset - cell.pd;
  const float sum =
      refineOffset(context.offsetRatios, cell.pd_offset, context.offsetLensPosition) + cell.pd;
  PDLIB_INFO("pd:%f pd_offset:%f (pd + pd_offset):%f", static_cast<double>(cell.pd),
             static_cast<double>(cell.pd_offset), static_cast<double>(sum));
  return -sum;
}

// ---- Steps of the frame

void process_ready_lines(dpd_context_t* context, uint32_t ready, const PDLibOutputData& output) {
  if (!context->isVertical) {
    for (uint32_t row = 0; row < ready; ++row) {
      const uint32_t first = row * context->columns;
      if (!has_result(output.defocusInfo, first))
        process_job(context, first, first + context->columns);
    }
    return;
  }
  for (uint32_t column = 0; ready > 0 && column < context->columns; ++column) {
    if (!has_result(output.defocusInfo, column))
      process_job(context, column, column + (ready - 1) * context->columns);
  }
}

void copy_window_counts(dpd_context_t* context) {
  context->output.horizontalWindowCount = context->window.horizontalWindowCount;
  context->output.verticalWindowCount = context->window.verticalWindowCount;
}

// A change of scene must not pick up what the windows remember.
void forget_peripheral_curves(dpd_context_t* context) {
  for (dpd_grid_arg_t& cell : context->p_dpd_peripheral_window.cells)
    std::fill_n(cell.p_sad_filtered, context->sadRequest.sad_count, int64_t{0});
}

}  // namespace

dpd_line_arg_t DPDPrepareLineArg(dpd_context_t* context, uint32_t first_cell, uint32_t end_cell) {
  dpd_line_arg_t line_arg = {};
  dpd_grid_common_t& common = context->p_dpd_grid_common[0];
  line_arg.p_dpd_grid_common = &common;
  line_arg.p_sad_req = &context->sadRequest;
  line_arg.p_filter = &context->filters[1];
  dpd_input_line_request_t& request = line_arg.request;
  dpd_grid_t& grid = active_grid(context);
  set_stretch(*context, grid[first_cell], grid[last_cell(*context, end_cell)], &request);
  request.pixel_clamp = 0xFFFF;
  request.line_stride = context->line.line_stride;
  request.pd_width = context->line.pd_width;
  request.pd_height = context->line.pd_height;
  request.buffer_type = context->line.buffer_type;
  request.pixel_depth = context->line.pixel_depth;
  request.hdr_mode = context->line.hdr_mode;
  set_block(*context, &request);
  if (context->isPeripheralMode) {
    request.bin_lines = kPeripheralBin;
    context->sadRequest.vertical_interval = kPeripheralInterval;
  } else {
    request.bin_lines = static_cast<uint16_t>(filter_set(*context).verticalMode);
    context->sadRequest.vertical_interval = center_interval(*context);
  }
  line_arg.p_pd_buffer = context->pdBuffer;
  if (context->isVertical) {
    if (context->verticalLayout.enabled)
      line_arg.p_pd_buffer += context->verticalLayout.VerticalLayoutExt[0] * sizeof(uint16_t);
  } else if (context->hasBlock) {
    restrict_to_paired_rows(*context, &line_arg);
  }
  line_arg.p_left_line = common.p_left_line;
  line_arg.p_right_line = common.p_right_line;
  line_arg.p_left_filtered = common.p_left_filtered;
  line_arg.p_right_filtered = common.p_right_filtered;
  line_arg.p_line_sad = common.p_line_sad;
  return line_arg;
}

void DPDProcessGridLine(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell,
                        uint32_t end_cell) {
  dpd_grid_t& grid = active_grid(context);
  const JobCells cleared = cleared_cells(*context, first_cell);
  for (uint32_t i = 0; i < cleared.count; ++i) {
    std::fill_n(grid[cleared.first + i * cleared.step].p_sad, context->sadRequest.sad_count,
                int64_t{0});
  }
  dpd_input_line_request_t& request = line_arg->request;
  if (!has_stretch(*context, request)) return;
  if (!is_legal_bin(request.bin_lines)) {
    if (context->isVertical) {
      PDLIB_ERROR("Number of binned lines %d is not compatible", request.bin_lines);
    } else {
      PDLIB_ERROR("ERROR of Lines!!!!");
    }
    return;
  }
  const int interval = context->sadRequest.vertical_interval;
  if (context->isVertical) {
    const int64_t block = context->block_width;
    const int end = grid[first_cell].end_x;
    for (int64_t x = grid[first_cell].start_x; x + request.bin_lines * block < end;
         x += interval * block) {
      request.start_x = static_cast<uint16_t>(x);
      process_column(context, line_arg, first_cell);
    }
    return;
  }
  const int end = grid[last_cell(*context, end_cell)].end_y;
  for (int y = grid[first_cell].start_y; y + request.bin_lines < end; y += interval) {
    request.start_y = static_cast<uint16_t>(y);
    process_line(context, line_arg, first_cell);
  }
}

void DPDCoreLineSAD(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell) {
  dpd_grid_t& grid = active_grid(context);
  const JobCells cells = summed_cells(*context, first_cell);
  const auto length_of = [context](const dpd_grid_arg_t& cell) {
    return context->isVertical ? cell.end_y - cell.start_y : cell.end_x - cell.start_x;
  };
  const int halved = context->line.hdr_mode == 1 ? 1 : 0;
  // Cells of unequal width, too, lie at multiples of the first one's.
  const int distance = length_of(grid[first_cell]);
  for (uint32_t k = 0; k < cells.count; ++k) {
    dpd_grid_arg_t& cell = grid[cells.first + k * cells.step];
    const int64_t offset = int64_t{k} * distance >> halved;
    if (offset < 0 || offset > static_cast<int64_t>(context->lineCapacity)) continue;
    add_line_sad(*context, line_arg, static_cast<int>(offset), length_of(cell) >> halved, &cell);
  }
}

bool ComputePDAndConfidence(dpd_context_t* context, PDLibDefocusInfo* infos, uint32_t index) {
  dpd_grid_arg_t& cell = context->isPeripheralMode ? context->p_dpd_peripheral_window[index]
                                                   : context->pCenterPostProcessGrids[index];
  match(context, &cell);
  const float phaseDiff = phase_difference(*context, cell);
  take_learnt_dcc(context, phaseDiff, static_cast<int>(index), &cell);
  if (index < kMaxWindows) {
    PDLibDefocusInfo& info = infos[index];
    info.phaseDiff = phaseDiff;
    info.defocus = ToInt32(static_cast<float>(cell.dcc) * phaseDiff);
    info.rangeLow = static_cast<int16_t>(-(cell.range_low * cell.dcc));
    info.rangeHigh = static_cast<int16_t>(-(cell.range_high * cell.dcc));
    info.confidence = cell.conf;
  }
  return static_cast<float>(cell.conf) > context->tuning.correlation.defocusConfidenceThreshold;
}

bool ComputeSADSingleWindow(dpd_context_t* context, PDLibOutputData* output) {
  const int count = context->sadRequest.sad_count;
  const uint32_t index = static_cast<uint32_t>(context->pCenterPostProcessGrids.cells.size() - 1);
  dpd_grid_arg_t& whole = context->pCenterPostProcessGrids[index];
  std::fill_n(whole.p_sad, count, int64_t{0});
  for (const dpd_grid_arg_t& cell : context->pCenterCorrelationGrids.cells)
    add_curve(cell, count, &whole);
  return ComputePDAndConfidence(context, output->defocusInfo, index);
}

void DPDGetPDCenterWindow(dpd_context_t* context, uint32_t lines, PDLibOutputData* output) {
  const pdlib::ProfileScope profile(pdlib::kProfileLrCenterWindow);
  output->processingResult = kResultStarted;
  context->isPeripheralMode = false;
  const float ratio = checked_written_ratio(context->window, context->sensor.imageHeight, lines);
  const uint32_t ready = ready_rows(context->rows, ratio);
  process_ready_lines(context, ready, *output);
  if (ready != context->rows) return;
  measure_windows(context, output);
  if (!ComputeSADSingleWindow(context, output)) output->processingResult = kResultLowConfidence;
}

void DPDGetPDPeripheralWindow(dpd_context_t* context, uint32_t lines, PDLibOutputData* output) {
  const pdlib::ProfileScope profile(pdlib::kProfilePeripheralWindow);
  context->isPeripheralMode = true;
  const float ratio = written_ratio(context->window, context->sensor.imageHeight, lines);
  uint32_t count = ratio < 1.0F ? 1 : kFirstWindowBelowRoi;
  if (lines == context->sensor.imageHeight) count = kPeripheralWindows;
  for (uint32_t i = 0; i < count; ++i) {
    if (has_result(output->peripheralInfo, i)) continue;
    process_job(context, i, i + 1);
    ComputePDAndConfidence(context, output->peripheralInfo, i);
  }
  context->isPeripheralMode = false;
}

void DPDIncrementalProcessing(dpd_context_t* context, uint32_t lines) {
  context->temporalWeight = temporal_weight(context->tuning.postProcess, lens_stands(*context));
  PDLibOutputData& output = context->output;
  if (output.processingResult == kResultNone) DPDGetPDCenterWindow(context, lines, &output);
  PDLIB_INFO("enable_peripheral %d roiType %d result %d", context->tuning.enablePeripheralWindows,
             static_cast<int>(context->roiType), static_cast<int>(output.processingResult));
  copy_window_counts(context);
  if (context->tuning.enablePeripheralWindows == 0) return;
  const bool hasPeripheral = context->roiType == kRoiDefault;
  if (output.processingResult == kResultLowConfidence) {
    if (!hasPeripheral) {
      output.processingResult = kResultStarted;
      return;
    }
    output.isPeripheralValid = 1;
    DPDGetPDPeripheralWindow(context, lines, &output);
  }
  if (hasPeripheral && output.isPeripheralValid == 0) forget_peripheral_curves(context);
}

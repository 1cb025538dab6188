#include "sparse/pdlib_sparse_utils_window.h"

#include <cstdio>
#include <cstdlib>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "frame/pdlib_utils_window.h"
#include "sparse/pdlib_sparse_utils_calibration.h"

namespace {

constexpr size_t kLcrWorkBytes[5] = {32000, 8000, 8000, 32000, 32000};
constexpr size_t kLcrWorkBuffers = 3;
constexpr size_t kLcrWorkBuffersPerChannel = 5;  // with separate lines per channel

struct BlockWindow {
  int x;
  int y;
  int width;
  int height;
};

BlockWindow window_in_blocks(const sensor_logic_t& sensor, float x, float y, float width,
                             float height) {
  BlockGeometry blocks = {};
  get_global_offset_info(sensor, &blocks.globalX, &blocks.globalY);
  blocks.blockWidth = static_cast<int>(sensor.blockWidth);
  blocks.blockHeight = static_cast<int>(sensor.blockHeight);
  blocks.horizontalBlockCount = static_cast<int>(sensor.horizontalBlockCount);
  blocks.verticalBlockCount = static_cast<int>(sensor.verticalBlockCount);
  BlockWindow window = {};
  get_grid_configure(static_cast<int>(sensor.imageWidth), static_cast<int>(sensor.imageHeight), x,
                     y, width, height, blocks, &window.x, &window.y, &window.width, &window.height);
  return window;
}

size_t sample_count(const pdaf_context_t& context) {
  return static_cast<size_t>(context.sensor.horizontalBlockCount) *
         context.sensor.verticalBlockCount * static_cast<size_t>(context.pairCount);
}

// Correlation reads past a row's end: a window borrows a search range from its right neighbour, and
// shifted ranges start later.
size_t sample_slack(const pdaf_context_t& context) {
  return 2 * static_cast<size_t>(context.sad_len) +
         static_cast<size_t>(std::abs(static_cast<int>(context.shift_offset)));
}

bool allocate_samples(pdaf_context_t* context) {
  const size_t count = sample_count(*context) + sample_slack(*context);
  return context->leftSamples.allocate(count) && context->rightSamples.allocate(count);
}

bool allocate_line_buffers(pdaf_context_t* context) {
  const size_t rowBytes = static_cast<size_t>(context->lineStride) * 2;
  return context->lineBuffers[0].allocate(rowBytes * context->isp1Block.height) &&
         context->lineBuffers[1].allocate(rowBytes * context->isp2Block.height);
}

bool allocate_lcr_work(pdaf_context_t* context) {
  if (!context->lcrEnabled) return true;
  const size_t buffers = context->LCRParsingMode == 1 ? kLcrWorkBuffersPerChannel : kLcrWorkBuffers;
  for (size_t i = 0; i < buffers; ++i) {
    if (!context->lcrWork[i].allocate(kLcrWorkBytes[i])) return false;
  }
  return true;
}

bool allocate_buffers(pdaf_context_t* context) {
  const size_t samples = sample_count(*context);
  return allocate_samples(context) && allocate_line_buffers(context) &&
         allocate_lcr_work(context) && context->leftRaw.allocate(samples) &&
         context->rightRaw.allocate(samples);
}

bool allocate_sad_vectors(const pdaf_context_t& context, pd_grid_arg_t* entry) {
  const size_t length = static_cast<size_t>(context.sad_len);
  return entry->sad.allocate(length) && entry->sad_filtered.allocate(length);
}

int fail_entry(pd_grid_arg_t* entry, const char* what) {
  PDLIB_ERROR("mem allocation error for Center window %s sum vectors\n", what);
  entry->sad.reset();
  entry->sad_filtered.reset();
  entry->lc_sad.reset();
  entry->rc_sad.reset();
  return 1;
}

int allocate_center_vectors(const pdaf_context_t& context, pd_grid_arg_t* entry) {
  const size_t lcrLength = 2 * static_cast<size_t>(context.lcr_sad_len) + 1;
  if (!allocate_sad_vectors(context, entry)) return fail_entry(entry, "SAD");
  if (!entry->lc_sad.allocate(lcrLength)) return fail_entry(entry, "LC SAD");
  if (!entry->rc_sad.allocate(lcrLength)) return fail_entry(entry, "RC SAD");
  entry->lcrFlag = 0;
  return 0;
}

// Cells of equal size; what the division leaves goes to the last column and row.
void place_cell(const BlockWindow& grid, uint32_t columns, uint32_t rows, uint32_t column,
                uint32_t row, pd_grid_arg_t* entry) {
  const uint32_t gridWidth = static_cast<uint32_t>(grid.width);
  const uint32_t gridHeight = static_cast<uint32_t>(grid.height);
  const uint32_t width = gridWidth / columns;
  const uint32_t height = gridHeight / rows;
  entry->start_x = static_cast<uint32_t>(grid.x) + column * width;
  entry->start_y = static_cast<uint32_t>(grid.y) + row * height;
  entry->end_x = entry->start_x + width + (column + 1 == columns ? gridWidth % columns : 0);
  entry->end_y = entry->start_y + height + (row + 1 == rows ? gridHeight % rows : 0);
}

int fill_center_entries(pdaf_context_t* context, const BlockWindow& grid) {
  const uint32_t columns = context->gridColumns();
  const uint32_t rows = context->gridRows();
  for (uint32_t index = 0; index < rows * columns; ++index) {
    pd_grid_arg_t* entry = &context->centerGrid[index];
    place_cell(grid, columns, rows, index % columns, index / columns, entry);
    if (allocate_center_vectors(*context, entry) != 0) return 1;
    PDLIB_INFO(
        "CENTER_WINDOW[%d] grid coordinates are  [start_x = %d start_y = %d end_x = %d end_y = %d] "
        "\n",
        static_cast<int>(index), static_cast<int>(entry->start_x), static_cast<int>(entry->start_y),
        static_cast<int>(entry->end_x), static_cast<int>(entry->end_y));
  }
  return 0;
}

// The sum window spans the grid. Under overlap its result takes an ordinary entry's place, and
// these vectors rest.
int add_sum_window(pdaf_context_t* context, uint32_t entries) {
  pd_grid_arg_t* sum = &context->centerGrid[entries];
  const pd_grid_arg_t& first = context->centerGrid[0];
  const pd_grid_arg_t& last = context->centerGrid[entries - 1];
  sum->start_x = first.start_x;
  sum->start_y = first.start_y;
  sum->end_x = last.end_x;
  sum->end_y = last.end_y;
  if (!allocate_sad_vectors(*context, sum)) return fail_entry(sum, "SAD");
  context->hasSumWindow = true;
  return 0;
}

// Windows beyond those that Adaptive DCC has room for keep to the calibration.
bool learns_dcc(const pdaf_context_t& context, uint32_t window) {
  return context.adaptiveK.enable == 1 && adaptive_k_has_window(static_cast<int>(window));
}

// The span of result window (row, column): its own entry, or with overlap that and the entry
// diagonally below it.
void assign_window_dcc(pdaf_context_t* context, PDLibRoiType roiType, uint32_t row,
                       uint32_t column) {
  const uint32_t first = row * context->gridColumns() + column;
  const uint32_t last = first + context->gridOverlap * (context->gridColumns() + 1);
  const pd_grid_arg_t& from = context->centerGrid[first];
  const pd_grid_arg_t& to = context->centerGrid[last];
  const uint32_t window = row * context->window.horizontalWindowCount + column;
  if (learns_dcc(*context, window)) {
    adaptive_k_config_window(&context->adaptiveK, roiType, static_cast<int>(from.start_x),
                             static_cast<int>(to.end_x), static_cast<int>(from.start_y),
                             static_cast<int>(to.end_y), static_cast<int>(window));
  } else {
    context->centerGrid[window].dcc =
        interpolate_dcc(*context, from.start_x, to.end_x, from.start_y, to.end_y);
  }
}

void assign_sum_dcc(pdaf_context_t* context, PDLibRoiType roiType, uint32_t entries) {
  const pd_grid_arg_t& first = context->centerGrid[0];
  const pd_grid_arg_t& last = context->centerGrid[entries - 1];
  const uint32_t window =
      context->window.horizontalWindowCount * context->window.verticalWindowCount;
  if (roiType == kRoiDefault) {
    context->centerGrid[window].dcc =
        interpolate_dcc(*context, first.start_x, last.end_x, first.start_y, last.end_y);
  }
  if (learns_dcc(*context, window) && adaptive_k_serves(roiType)) {
    adaptive_k_config_window(&context->adaptiveK, roiType, static_cast<int>(first.start_x),
                             static_cast<int>(last.end_x), static_cast<int>(first.start_y),
                             static_cast<int>(last.end_y), static_cast<int>(window));
  }
}

// Grids in which a row of overlapping windows does not begin at its own entries.
void warn_of_uneven_overlap(const pdaf_context_t& context) {
  const win_config_t& window = context.window;
  const bool isAffected = context.gridOverlap != 0 && !context.overlapSumByColumns &&
                          window.verticalWindowCount > 1 &&
                          window.horizontalWindowCount != window.verticalWindowCount;
  if (!isAffected) return;
  PDLIB_INFO(
      "%u x %u overlapping windows sum entries of other places than their own, set "
      "OverlapSumByColumns to sum their own",
      window.horizontalWindowCount, window.verticalWindowCount);
}

void log_peripheral_windows(const pdaf_context_t& context) {
  char text[kPeripheralWindows * 64];
  size_t length = 0;
  for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
    const pd_grid_arg_t& entry = context.peripheralGrid[i];
    const int written =
        std::snprintf(text + length, sizeof(text) - length, "%s%s [%u %u %u %u]",
                      i == 0 ? "" : ", ", peripheral_rectangle(context.window, i).name,
                      entry.start_x, entry.start_y, entry.end_x, entry.end_y);
    length += written < 0 ? 0 : static_cast<size_t>(written);
    if (length >= sizeof(text)) break;
  }
  PDLIB_INFO("Peripheral windows [start_x start_y end_x end_y]: %s", text);
}

int install_window(pdaf_context_t* context, const PDLibParam& param) {
  set_pd_context_param_info(context, param);
  if (allocate_pdaf_grid_memory_and_config(context, param) == 0) return 0;
  free_pdaf_grid_memory(context);
  context->status = kContextCalibrated;
  PDLIB_ERROR("mem allocation error\n");
  return 1;
}

}  // namespace

void get_global_offset_info(const sensor_logic_t& sensor, int* x, int* y) {
  *x = static_cast<int>(sensor.horizontalPDOffset);
  *y = static_cast<int>(sensor.verticalPDOffset);
}

int allocate_pdaf_grid_memory_and_config(pdaf_context_t* context, const PDLibParam& param) {
  if (!allocate_buffers(context)) {
    PDLIB_ERROR("mem allocation failed\n");
    free_pdaf_grid_memory(context);
    return 1;
  }
  const bool single =
      context->window.horizontalWindowCount == 1 && context->window.verticalWindowCount == 1;
  context->gridOverlap = !single && context->tuning.postProcess.enableGridOverlap != 0;
  if (configure_center_window(context, param) != 0) {
    PDLIB_ERROR("mem allocation error for center window\n");
    return 1;
  }
  if (configure_peripheral_window(context, param) != 0) {
    PDLIB_ERROR("mem allocation error for peripheral window\n");
    return 1;
  }
  context->output = {};
  return 0;
}

int configure_center_window(pdaf_context_t* context, const PDLibParam& param) {
  const PDLibRoiType roiType = param.windowConfig.roiType;
  const uint32_t entries = context->gridColumns() * context->gridRows();
  context->hasSumWindow = false;
  if (!context->centerGrid.allocate(entries + (roiType == kRoiDefault ? 1 : 0))) {
    PDLIB_ERROR("mem allocation error for Center window\n");
    return 1;
  }
  const win_config_t& roi = context->window;
  const BlockWindow grid = window_in_blocks(context->sensor, roi.x, roi.y, roi.w, roi.h);
  if (fill_center_entries(context, grid) != 0) return 1;
  if (roiType == kRoiDefault && add_sum_window(context, entries) != 0) return 1;
  for (uint32_t row = 0; row < roi.verticalWindowCount; ++row) {
    for (uint32_t column = 0; column < roi.horizontalWindowCount; ++column) {
      assign_window_dcc(context, roiType, row, column);
    }
  }
  assign_sum_dcc(context, roiType, entries);
  warn_of_uneven_overlap(*context);
  if (context->adaptiveK.enable == 1) adaptive_k_print_active_gridID(&context->adaptiveK);
  return 0;
}

int configure_peripheral_window(pdaf_context_t* context, const PDLibParam&) {
  if (!context->peripheralGrid.allocate(kPeripheralWindows)) {
    PDLIB_ERROR("mem allocation error for peripheral window\n");
    return 1;
  }
  for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
    const PeripheralRectangle rectangle = peripheral_rectangle(context->window, i);
    const BlockWindow blocks = window_in_blocks(context->sensor, rectangle.x, rectangle.y,
                                                rectangle.width, rectangle.height);
    pd_grid_arg_t& entry = context->peripheralGrid[i];
    entry.start_x = static_cast<uint32_t>(blocks.x);
    entry.start_y = static_cast<uint32_t>(blocks.y);
    entry.width = static_cast<uint32_t>(blocks.width);
    entry.height = static_cast<uint32_t>(blocks.height);
    entry.end_x = entry.start_x + entry.width;
    entry.end_y = entry.start_y + entry.height;
    entry.lcrFlag = 0;
    if (!allocate_sad_vectors(*context, &entry)) {
      PDLIB_ERROR("Memory allocation failed");
      return 1;
    }
    entry.dcc = interpolate_dcc(*context, entry.start_x, entry.end_x, entry.start_y, entry.end_y);
  }
  log_peripheral_windows(*context);
  if (context->adaptiveK.enable == 1) {
    for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
      const pd_grid_arg_t& entry = context->peripheralGrid[i];
      adaptive_k_configure_peripheral_window(
          &context->adaptiveK, static_cast<int>(entry.start_x), static_cast<int>(entry.end_x),
          static_cast<int>(entry.start_y), static_cast<int>(entry.end_y), static_cast<int>(i));
    }
  }
  return 0;
}

void free_pdaf_grid_memory(pdaf_context_t* context) {
  context->leftSamples.reset();
  context->rightSamples.reset();
  for (auto& buffer : context->lineBuffers) buffer.reset();
  for (auto& buffer : context->lcrWork) buffer.reset();
  context->leftRaw.reset();
  context->rightRaw.reset();
  context->centerGrid.reset();
  context->peripheralGrid.reset();
  context->hasSumWindow = false;
}

void set_pd_context_param_info(pdaf_context_t* context, const PDLibParam& param) {
  context->pdBuffer = param.PDBuffer;
  context->lcrBuffer = param.lcrBuffer;
  context->roiType = param.windowConfig.roiType;
  context->fps = param.fps;
  context->integrationTime = param.integrationTime;
  context->lensPosition = static_cast<int16_t>(param.lensPosition);
  context->gain = pdlib::ToInt32(param.gain);
  if (context->status == kContextCalibrated) {
    set_window_configure_info(&context->window, param.windowConfig);
    context->status = kContextConfigured;
  }
}

int configure_pd_context_info(pdaf_context_t* context, const PDLibParam& param) {
  if (context->status == kContextInitialised) {
    const int result = pdaf_calibration_init(context);
    if (result != 0) return result;
    context->status = kContextCalibrated;
  }
  if (context->status == kContextConfigured &&
      window_differs(context->window, param.windowConfig)) {
    free_pdaf_grid_memory(context);
    context->status = kContextCalibrated;
    if (context->adaptiveK.enable == 1) adaptive_k_reset(&context->adaptiveK);
  }
  if (context->status == kContextCalibrated) return install_window(context, param);
  set_pd_context_param_info(context, param);
  return 0;
}

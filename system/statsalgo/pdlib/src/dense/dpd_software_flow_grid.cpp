#include "dense/dpd_software_flow_grid.h"

#include <algorithm>
#include <cmath>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "dense/dpd_software_flow_calibration.h"
#include "frame/pdlib_utils_window.h"

using pdlib::ToInt32;

namespace {

// Numbered by the camera stack: ROIs that begin at the image's left edge, and ones that reach to
// its right edge, wherever the stack puts them.
bool starts_at_left_edge(PDLibRoiType type) {
  return type == 3 || type == 6 || type == 8;
}
bool ends_at_right_edge(PDLibRoiType type) {
  return type == 5 || type == 7 || type == 10;
}

uint16_t to_site(int position) {
  return static_cast<uint16_t>(position);
}

// Rounded half away from zero.
int rounded_sites(int size, float fraction) {
  return ToInt32(std::round(static_cast<double>(static_cast<float>(size) * fraction)));
}

int even(int value) {
  return value & ~1;
}

bool is_packed(const dpd_context_t& context) {
  return context.line.buffer_type == kDpdBuffer10BitsPacked;
}

// How the ROI is cut into correlation cells.
struct CellLayout {
  int startX;
  int width;
  int height;
  int restX;  // what the division leaves, for the last column and row
  int restY;
};

CellLayout layout_cells(const dpd_context_t& context) {
  const win_config_t& roi = context.window;
  const int columns = static_cast<int>(context.columns);
  const int rows = static_cast<int>(context.rows);
  const int width = rounded_sites(context.line.pd_width, roi.w);
  const int height = rounded_sites(context.line.pd_height, roi.h);
  CellLayout layout = {rounded_sites(context.line.pd_width, roi.x), width / columns, height / rows,
                       width % columns, height % rows};
  if (context.line.hdr_mode == 1) {
    layout.restX = even(layout.restX);
    layout.restY = even(layout.restY);
  }
  // Pairs of sites share bytes when packed, and an exposure when interleaved.
  if (context.line.hdr_mode == 1 || is_packed(context)) {
    layout.startX = even(layout.startX);
    layout.width = even(layout.width);
  }
  return layout;
}

int row_start(const dpd_context_t& context, uint32_t row) {
  const float share = static_cast<float>(row) * context.window.h / static_cast<float>(context.rows);
  const double start = static_cast<double>(share) + static_cast<double>(context.window.y);
  return ToInt32(std::round(start * context.line.pd_height));
}

// A cell that would have no room to its right for the search range is taken back to the image's
// edge, all but those of the last column.
void place_columns(const dpd_context_t& context, const CellLayout& layout, uint32_t column,
                   dpd_grid_arg_t* cell) {
  const int imageWidth = context.line.pd_width;
  const int shifts = context.sadRequest.sad_count;
  int start = layout.startX + static_cast<int>(column) * layout.width;
  int end = start + layout.width - 1;
  if (column + 1 == context.columns) {
    end += layout.restX;
  } else if (end + shifts > imageWidth) {
    start = end - layout.width - (shifts - 1);
    end = imageWidth;
  }
  cell->start_x = to_site(start);
  cell->end_x = to_site(end);
}

void place_rows(const dpd_context_t& context, const CellLayout& layout, uint32_t row,
                dpd_grid_arg_t* cell) {
  const int start = row_start(context, row);
  // The last row ends one line earlier than the rest would let it: intended.
  const int rest = row + 1 == context.rows ? layout.restY - 1 : 0;
  cell->start_y = to_site(start);
  cell->end_y = to_site(start + layout.height - 1 + rest);
}

bool is_inside_frame(const dpd_context_t& context, const dpd_grid_arg_t& cell) {
  const dpd_line_config_t& line = context.line;
  if (cell.end_x > line.pd_width) {
    PDLIB_ERROR(
        "end x coordinate of cropped resolution cannot be less than the end x coordinate of ROI "
        "from the original resolution, Please check sensor settings %d %d",
        line.pd_width, cell.end_x);
    return false;
  }
  if (cell.end_y > line.pd_height) {
    PDLIB_ERROR(
        "end y coordinate of cropped resolution cannot be less than the end y coordinate of ROI "
        "from the original resolution, Please check sensor settings %d %d",
        line.pd_height, cell.end_y);
    return false;
  }
  return true;
}

// Gives each cell its curves out of one block: the raw one, and the filtered one where wanted.
bool allocate_curves(const dpd_context_t& context, dpd_grid_t* grid, bool isFiltered) {
  const size_t length = context.sadRequest.sad_count;
  const size_t curvesPerCell = isFiltered ? 2 : 1;
  if (!grid->curves.allocate(grid->cells.size() * curvesPerCell * length)) return false;
  int64_t* curve = grid->curves.data();
  for (dpd_grid_arg_t& cell : grid->cells) {
    cell.p_sad = curve;
    if (isFiltered) cell.p_sad_filtered = curve + length;
    curve += curvesPerCell * length;
  }
  return true;
}

bool make_correlation_grid(dpd_context_t* context) {
  dpd_grid_t& grid = context->pCenterCorrelationGrids;
  if (!grid.cells.allocate(size_t{context->rows} * context->columns)) {
    PDLIB_ERROR("pCenterCorrelationGrids NULL");
    return false;
  }
  if (!allocate_curves(*context, &grid, false)) {
    PDLIB_ERROR("Center correlation grids mem allocation fail");
    return false;
  }
  const CellLayout layout = layout_cells(*context);
  for (uint32_t row = 0; row < context->rows; ++row) {
    for (uint32_t column = 0; column < context->columns; ++column) {
      dpd_grid_arg_t& cell = grid[row * context->columns + column];
      place_columns(*context, layout, column, &cell);
      place_rows(*context, layout, row, &cell);
      if (!is_inside_frame(*context, cell)) return false;
    }
  }
  return true;
}

void span_cells(const dpd_grid_arg_t& first, const dpd_grid_arg_t& last, dpd_grid_arg_t* span) {
  span->start_x = first.start_x;
  span->start_y = first.start_y;
  span->end_x = last.end_x;
  span->end_y = last.end_y;
}

void place_windows(dpd_context_t* context) {
  dpd_grid_t& cells = context->pCenterCorrelationGrids;
  dpd_grid_t& windows = context->pCenterPostProcessGrids;
  const win_config_t& window = context->window;
  for (uint32_t row = 0; row < window.verticalWindowCount; ++row) {
    for (uint32_t column = 0; column < window.horizontalWindowCount; ++column) {
      const uint32_t first = row * context->columns + column;
      const uint32_t last = first + context->overlap * (context->columns + 1);
      span_cells(cells[first], cells[last], &windows[row * window.horizontalWindowCount + column]);
    }
  }
  span_cells(cells[0], cells[cells.cells.size() - 1], &windows[windows.cells.size() - 1]);
}

// Conversion coefficient and phase offset. Windows that the learning serves get neither here; the
// learning's own room for windows is limited.
void set_coefficients(dpd_context_t* context, uint32_t index) {
  dpd_grid_arg_t& window = context->pCenterPostProcessGrids[index];
  const dpd_line_config_t& line = context->line;
  const bool learns = context->adaptiveK.enable == 1 && adaptive_k_serves(context->windowRoiType) &&
                      adaptive_k_has_window(static_cast<int>(index));
  if (learns) {
    adaptive_k_config_window(&context->adaptiveK, context->windowRoiType, window.start_x,
                             window.end_x, window.start_y, window.end_y, static_cast<int>(index));
    return;
  }
  window.dcc = DPDInterpolateKValue(*context, window.start_x, window.end_x, window.start_y,
                                    window.end_y, line.pd_width, line.pd_height);
  window.pd_offset = InterpolateOffset(context, window.start_x, window.end_x, window.start_y,
                                       window.end_y, line.pd_width, line.pd_height);
}

bool make_result_windows(dpd_context_t* context) {
  const win_config_t& window = context->window;
  const uint32_t count = window.horizontalWindowCount * window.verticalWindowCount + 1;
  dpd_grid_t& grid = context->pCenterPostProcessGrids;
  if (!grid.cells.allocate(count)) {
    PDLIB_ERROR("pCenterPostProcessGrids NULL");
    return false;
  }
  if (!allocate_curves(*context, &grid, true)) {
    PDLIB_ERROR("Center post process grid mem allocation fail");
    return false;
  }
  place_windows(context);
  for (uint32_t index = 0; index < count; ++index) set_coefficients(context, index);
  if (context->adaptiveK.enable == 1) adaptive_k_print_active_gridID(&context->adaptiveK);
  return true;
}

// The three stretches into which the ROI cuts an axis. Unsigned, as the camera stack has it: left
// of a ROI that starts at 0 lies the whole image.
struct AxisStretches {
  uint32_t start[3];
  uint32_t end[3];
};

AxisStretches cut_axis(uint32_t size, uint32_t roiStart, uint32_t roiSize) {
  const uint32_t last = size - 1;
  const uint32_t roiEnd = roiStart + roiSize;
  return {{0, roiStart, roiEnd}, {std::min(last, roiStart - 1), std::min(last, roiEnd - 1), last}};
}

void place_peripheral_windows(dpd_context_t* context) {
  const win_config_t& roi = context->window;
  const dpd_line_config_t& line = context->line;
  int startX = rounded_sites(line.pd_width, roi.x);
  if (is_packed(*context)) startX = even(startX);
  const AxisStretches x = cut_axis(line.pd_width, static_cast<uint32_t>(startX),
                                   static_cast<uint32_t>(rounded_sites(line.pd_width, roi.w)));
  const AxisStretches y =
      cut_axis(line.pd_height, static_cast<uint32_t>(rounded_sites(line.pd_height, roi.y)),
               static_cast<uint32_t>(rounded_sites(line.pd_height, roi.h)));
  for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
    dpd_grid_arg_t& cell = context->p_dpd_peripheral_window[i];
    const auto [column, row] = peripheral_place(i);
    cell.start_x = static_cast<uint16_t>(x.start[column]);
    cell.end_x = static_cast<uint16_t>(x.end[column]);
    cell.start_y = static_cast<uint16_t>(y.start[row]);
    cell.end_y = static_cast<uint16_t>(y.end[row]);
  }
}

// What a line buffer holds past its line: the widest correlation reads 31 samples past the last one
// compared, a limit of up to 128 shifts may come before the first one.
constexpr size_t kSearchPadding = 2 * 256 + kDpdLinePadding;

bool make_lines(dpd_context_t* context) {
  const size_t length = context->isVertical ? context->line.pd_height : context->line.pd_width;
  context->lineCapacity = length + 1 + kSearchPadding;
  for (auto& buffer : context->lineBuffers) {
    if (!buffer.allocate(context->lineCapacity)) return false;
  }
  return context->lineSad.allocate(context->sadRequest.sad_count);
}

bool make_grid_common(dpd_context_t* context) {
  if (!context->p_dpd_grid_common.allocate(1) || !make_lines(context)) {
    PDLIB_ERROR("p_dpd_grid_common NULL");
    return false;
  }
  dpd_grid_common_t& common = context->p_dpd_grid_common[0];
  common.gain_map_width = context->denseGainWidth;
  common.gain_map_height = context->denseGainHeight;
  common.p_left_gain = context->leftDenseGain.data();
  common.p_right_gain = context->rightDenseGain.data();
  common.p_filters = context->filters;
  common.p_sad_req = &context->sadRequest;
  common.p_pd_buffer = &context->pdBuffer;
  common.p_line_config = &context->line;
  common.p_left_line = context->lineBuffers[0].data();
  common.p_right_line = context->lineBuffers[1].data();
  common.p_left_filtered = context->lineBuffers[2].data();
  common.p_right_filtered = context->lineBuffers[3].data();
  common.p_line_sad = context->lineSad.data();
  common.overlap = context->overlap;
  common.p_tuning = &context->tuning;
  common.p_bias = context->bias.data();
  return true;
}

void set_cell_counts(dpd_context_t* context) {
  const win_config_t& window = context->window;
  const bool isSingle = window.horizontalWindowCount == 1 && window.verticalWindowCount == 1;
  context->overlap =
      !isSingle && context->tuning.postProcess.enableGridOverlap != 0 ? uint16_t{1} : uint16_t{0};
  context->columns = window.horizontalWindowCount + context->overlap;
  context->rows = window.verticalWindowCount + context->overlap;
}

void store_window(dpd_context_t* context, const PDLibWindowConfig& config) {
  set_window_configure_info(&context->window, config);
  context->windowRoiType = config.roiType;
}

// The grids of a changed window. The window is stored a second time, since the grids of some ROI
// types move it: compared as it was asked for, it doesn't change with every frame.
int install_window(dpd_context_t* context, const PDLibWindowConfig& config) {
  store_window(context, config);
  const int result = AllocateDPDGridMemoryAndConfig(context);
  store_window(context, config);
  if (result == 0) return 0;
  PDLIB_ERROR("mem allocation error");
  return 1;
}

}  // namespace

int AllocateDPDMemoryForPeripheral(dpd_context_t* context) {
  dpd_grid_t& grid = context->p_dpd_peripheral_window;
  if (!grid.cells.allocate(kPeripheralWindows)) {
    PDLIB_ERROR("Peripheral_window allocation error");
    return 1;
  }
  if (!allocate_curves(*context, &grid, true)) {
    PDLIB_ERROR("Peripheral mem allocation error");
    return 1;
  }
  place_peripheral_windows(context);
  for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
    dpd_grid_arg_t& window = grid[i];
    if (context->adaptiveK.enable == 1) {
      adaptive_k_configure_peripheral_window(&context->adaptiveK, window.start_x, window.end_x,
                                             window.start_y, window.end_y, static_cast<int>(i));
    } else {
      window.dcc =
          DPDInterpolateKValue(*context, window.start_x, window.end_x, window.start_y, window.end_y,
                               context->line.pd_width, context->line.pd_height);
    }
  }
  return 0;
}

int AllocateDPDGridMemoryAndConfig(dpd_context_t* context) {
  set_cell_counts(context);
  win_config_t& window = context->window;
  if (starts_at_left_edge(context->windowRoiType)) window.x = 0.0F;
  if (ends_at_right_edge(context->windowRoiType)) window.w = 1.0F - window.x;
  const bool isMade =
      make_correlation_grid(context) && make_result_windows(context) &&
      (context->windowRoiType != kRoiDefault || AllocateDPDMemoryForPeripheral(context) == 0) &&
      make_grid_common(context);
  if (!isMade) {
    FreeDPDGridMemory(context);
    return 1;
  }
  context->output = {};
  return 0;
}

void FreeDPDGridMemory(dpd_context_t* context) {
  context->pCenterCorrelationGrids.reset();
  context->pCenterPostProcessGrids.reset();
  context->p_dpd_peripheral_window.reset();
  context->p_dpd_grid_common.reset();
  for (auto& buffer : context->lineBuffers) buffer.reset();
  context->lineSad.reset();
}

int DPDGridSetRealtimeParams(dpd_context_t* context) {
  if (context->p_dpd_grid_common.empty()) return 1;
  dpd_grid_common_t& common = context->p_dpd_grid_common[0];
  common.fps = context->fps;
  common.integrationTime = context->integrationTime;
  common.gain = context->gain;
  return 0;
}

int SetDPDContextParamInfo(dpd_context_t* context, const PDLibParam& param) {
  const PDLibWindowConfig& config = param.windowConfig;
  if (context->status == kDpdGridsConfigured &&
      (window_differs(context->window, config) || context->windowRoiType != config.roiType)) {
    FreeDPDGridMemory(context);
    context->status = kDpdGridsWanted;
    if (context->adaptiveK.enable == 1) adaptive_k_reset(&context->adaptiveK);
  }
  if (context->status == kDpdGridsWanted) {
    // Tried once for a window: without grids all its frames fail.
    context->status = kDpdGridsConfigured;
    if (install_window(context, config) != 0) return 1;
  }
  context->fps = param.fps;
  context->integrationTime = param.integrationTime;
  context->gain = ToInt32(param.gain);
  context->lensPosition = param.lensPosition;
  context->roiType = config.roiType;
  context->offsetLensPosition = param.offsetLensPosition;
  return DPDGridSetRealtimeParams(context);
}

int DPDGetLuxLevel(const dpd_context_t& context) {
  if (!(context.fps > 0.0F)) return 0;
  const float frameTime = 1.0F / context.fps;
  if (context.gain >= 8 && frameTime <= context.integrationTime) return 0;
  return context.integrationTime <= 0.6F * frameTime ? 2 : 1;
}

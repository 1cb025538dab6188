#include "adaptive/pdlib_adaptive_k_data.h"

#include <algorithm>
#include <limits>

#include "base/numeric.h"

namespace {

bool is_cell(int cell) {
  return cell >= 0 && cell < kAdaptiveKCells;
}

bool is_direction(adaptive_k_dir_type direction) {
  return direction == kAdaptiveKNearTarget || direction == kAdaptiveKFarTarget;
}

const int16_t* history_of(const adaptive_k_data_grid_t& cell, adaptive_k_dir_type direction) {
  return direction == kAdaptiveKNearTarget ? cell.nearTargetHistory : cell.farTargetHistory;
}

// First and last unit of one of the equal parts along an axis. 64 bits: rounding in single
// precision can push the end of a frame near the largest integer past it.
struct Part {
  int64_t start;
  int64_t end;
};

Part part_of_axis(int size, int64_t partSize, int index) {
  const int64_t start = index * partSize;
  const int64_t end = start + partSize - 1;
  return {start, end > size ? int64_t{size} - 1 : end};
}

int32_t middle_of(const Part& part) {
  return static_cast<int32_t>((part.start + part.end) >> 1);
}

// The calibrated coefficient as a whole number. The shift counts modulo 32, and the last of them
// gives a negative divisor, beyond all coefficients.
int16_t whole_coefficient(int16_t calibrated, uint16_t dccQFormat) {
  const int32_t divisor = static_cast<int32_t>(1u << (dccQFormat & 31));
  return static_cast<int16_t>(calibrated / divisor);
}

// Neither the lowest nor the highest of four can be the middle of them and a fifth.
int16_t middle_of_five(const int16_t (&v)[5]) {
  const int16_t a = std::max(std::min(v[0], v[1]), std::min(v[2], v[3]));
  const int16_t b = std::min(std::max(v[0], v[1]), std::max(v[2], v[3]));
  return std::max(std::min(a, b), std::min(std::max(a, b), v[4]));
}

struct Bounds {
  int16_t upper;
  int16_t lower;
};

// A bound that 16 bits cannot hold stops at their end, so that it keeps its sign.
int16_t bound(float tolerance, int16_t initial) {
  return pdlib::SaturateTo<int16_t>(tolerance * static_cast<float>(initial));
}

Bounds bounds_of(const adaptive_k_data_t& data, const adaptive_k_data_grid_t& cell,
                 adaptive_k_dir_type direction) {
  if (direction == kAdaptiveKNearTarget) {
    return {bound(data.tolNearTargetUpperBound, cell.nearTargetInitDCC),
            bound(data.tolNearTargetLowerBound, cell.nearTargetInitDCC)};
  }
  return {bound(data.tolFarTargetUpperBound, cell.farTargetInitDCC),
          bound(data.tolFarTargetLowerBound, cell.farTargetInitDCC)};
}

void print_row(const adaptive_k_data_t& data, int row, adaptive_k_print_data_type type,
               adaptive_k_dir_type direction) {
  int16_t values[kAdaptiveKColumns];
  for (int column = 0; column < kAdaptiveKColumns; ++column) {
    const int cell = row * kAdaptiveKColumns + column;
    values[column] = type == kAdaptiveKPrintMedian
                         ? adaptive_k_util_get_dataGrid_DCC(&data, cell, direction)
                         : history_of(data.grid[cell], direction)[0];
  }
  ADAPTK_DEBUG(1, "ADAPTK: %s - %s target %s, row %d: %6d %6d %6d %6d %6d %6d %6d %6d",
               direction == kAdaptiveKNearTarget ? "S020" : "S021",
               direction == kAdaptiveKNearTarget ? "near" : "far",
               type == kAdaptiveKPrintMedian ? "median" : "newest", row, values[0], values[1],
               values[2], values[3], values[4], values[5], values[6], values[7]);
}

}  // namespace

void adaptive_k_layout_dataGrid(adaptive_k_data_t* data, int width, int height) {
  data->width = width;
  data->height = height;
  const int64_t cellWidth = pdlib::ToInt32(static_cast<float>(width) * 0.125F);
  const int64_t cellHeight = pdlib::ToInt32(static_cast<float>(height) / 6.0F);
  for (int i = 0; i < kAdaptiveKCells; ++i) {
    adaptive_k_data_grid_t& cell = data->grid[i];
    const Part x = part_of_axis(width, cellWidth, i % kAdaptiveKColumns);
    const Part y = part_of_axis(height, cellHeight, i / kAdaptiveKColumns);
    cell.start_x = static_cast<int32_t>(x.start);
    cell.start_y = static_cast<int32_t>(y.start);
    cell.end_x = static_cast<int32_t>(x.end);
    cell.end_y = static_cast<int32_t>(y.end);
    cell.center = {middle_of(x), middle_of(y)};
  }
}

void adaptive_k_init_data(adaptive_k_data_t* data, const int16_t* calibrationTable,
                          uint16_t dccQFormat, adaptive_k_mapping_type mapping, uint32_t debug) {
  if (calibrationTable == nullptr) {
    PDLIB_ERROR("ADAPTK: S001 - Sending the NULL calibration data pointer ");
    return;
  }
  ADAPTK_DEBUG(debug, "ADAPTK: S001 - Data from a table with Q format %u, mapping %u", dccQFormat,
               static_cast<unsigned>(mapping));
  for (int i = 0; i < kAdaptiveKCells; ++i) {
    adaptive_k_data_grid_t& cell = data->grid[i];
    const int16_t initial = whole_coefficient(calibrationTable[i], dccQFormat);
    cell.farTargetInitDCC = initial;
    cell.nearTargetInitDCC = initial;
    if (mapping == kAdaptiveKMapInitial) continue;
    std::fill_n(cell.farTargetHistory, kAdaptiveKHistory, initial);
    std::fill_n(cell.nearTargetHistory, kAdaptiveKHistory, initial);
  }
  if (mapping == kAdaptiveKMapAll) data->history_locked = 0;
  if (debug != 0) {
    adaptive_k_print_data(data, kAdaptiveKPrintNewest, kAdaptiveKNearTarget);
    adaptive_k_print_data(data, kAdaptiveKPrintNewest, kAdaptiveKFarTarget);
  }
}

void adaptive_k_update_data_history(adaptive_k_data_t* data, int cell, int16_t k,
                                    adaptive_k_dir_type direction) {
  if (!is_direction(direction) || !is_cell(cell)) {
    PDLIB_ERROR("ADAPTK: S099 - Error in Adaptive K update data!");
    return;
  }
  adaptive_k_data_grid_t& grid = data->grid[cell];
  const Bounds bounds = bounds_of(*data, grid, direction);
  int16_t* history =
      direction == kAdaptiveKNearTarget ? grid.nearTargetHistory : grid.farTargetHistory;
  std::copy_backward(history, history + kAdaptiveKHistory - 1, history + kAdaptiveKHistory);
  history[0] = std::max(std::min(k, bounds.upper), bounds.lower);
}

void adaptive_k_take_blob(adaptive_k_data_t* data, const int16_t* blob) {
  const int16_t* near = blob;
  const int16_t* far = blob + kAdaptiveKBlobEntries / 2;
  for (adaptive_k_data_grid_t& cell : data->grid) {
    for (int i = 0; i < kAdaptiveKHistory; ++i, ++near, ++far) {
      if (*near == 0) continue;
      cell.nearTargetHistory[i] = *near;
      cell.farTargetHistory[i] = *far;
    }
  }
}

void adaptive_k_give_blob(const adaptive_k_data_t& data, int16_t* blob) {
  int16_t* near = blob;
  int16_t* far = blob + kAdaptiveKBlobEntries / 2;
  for (const adaptive_k_data_grid_t& cell : data.grid) {
    near = std::copy_n(cell.nearTargetHistory, kAdaptiveKHistory, near);
    far = std::copy_n(cell.farTargetHistory, kAdaptiveKHistory, far);
  }
}

int adaptive_k_util_get_filter_size(const adaptive_k_data_t& data) {
  return pdlib::Clamp(data.filterSize, 1, kAdaptiveKHistory);
}

int adaptive_k_util_get_dataGrid_idx(const adaptive_k_data_t* data,
                                     const adaptive_k_coordinate_t* point) {
  for (int row = 0; row < kAdaptiveKCells; row += kAdaptiveKColumns) {
    const adaptive_k_data_grid_t& first = data->grid[row];
    if (point->y < first.start_y || point->y > first.end_y) continue;
    for (int i = row; i < row + kAdaptiveKColumns; ++i) {
      if (point->x >= data->grid[i].start_x && point->x <= data->grid[i].end_x) return i;
    }
  }
  return 0;
}

int16_t adaptive_k_util_get_dataGrid_DCC(const adaptive_k_data_t* data, int cell,
                                         adaptive_k_dir_type direction) {
  if (!is_direction(direction) || !is_cell(cell)) {
    PDLIB_ERROR("ADAPTK: S006 - PDLIB error in Adaptive K get data grid K(DCC)!");
    return 0;
  }
  return adaptive_k_util_get_median(history_of(data->grid[cell], direction),
                                    adaptive_k_util_get_filter_size(*data));
}

int16_t adaptive_k_util_get_median(const int16_t* values, int count) {
  const int used = pdlib::Clamp(count, 1, kAdaptiveKHistory);
  // Filled up in turn from below and above, which makes the lower middle the middle of five.
  int16_t five[kAdaptiveKHistory];
  std::copy_n(values, used, five);
  for (int i = used; i < kAdaptiveKHistory; ++i) {
    five[i] = (i - used) % 2 == 0 ? std::numeric_limits<int16_t>::min()
                                  : std::numeric_limits<int16_t>::max();
  }
  return middle_of_five(five);
}

int adaptive_k_util_get_mean(int a, int b) {
  return pdlib::ToInt32((static_cast<float>(a) + static_cast<float>(b)) * 0.5F);
}

void adaptive_k_print_data(const adaptive_k_data_t* data, adaptive_k_print_data_type type,
                           adaptive_k_dir_type direction) {
  if (!is_direction(direction)) {
    PDLIB_ERROR("ADAPTK: S020-S021 PDLIB error in adaptive K data!");
    return;
  }
  for (int row = 0; row < kAdaptiveKRows; ++row) print_row(*data, row, type, direction);
}

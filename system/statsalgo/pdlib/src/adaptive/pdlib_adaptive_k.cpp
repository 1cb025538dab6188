#include "adaptive/pdlib_adaptive_k.h"

#include <cstdio>
#include <cstring>

#include "base/numeric.h"
#include "base/pdlib_switches.h"

namespace {

bool has_tuning(const afpdlibelements::tessarineTuningAdaptiveK* tuning) {
  if (tuning != nullptr) return true;
  PDLIB_ERROR("ADAPTK: S100 - Sending the NULL tuning pointer ");
  return false;
}

bool has_calibration(const int16_t* table) {
  if (table != nullptr) return true;
  PDLIB_ERROR("ADAPTK: S100 - Sending the NULL calibration pointer ");
  return false;
}

void print_cells(const adaptive_k_data_t& data) {
  for (int i = 0; i < kAdaptiveKCells; ++i) {
    const adaptive_k_data_grid_t& cell = data.grid[i];
    ADAPTK_DEBUG(1, "ADAPTK: S000 - Data grid[%02d] x %d to %d, y %d to %d, center %d %d", i,
                 cell.start_x, cell.end_x, cell.start_y, cell.end_y, cell.center.x, cell.center.y);
  }
}

// The focus-map windows stay as they are: only their configuration writes them.
void init_state(pdaf_adaptive_k_t* state, const afpdlibelements::tessarineTuningAdaptiveK& tuning,
                const int16_t* table, uint16_t dccQFormat, int width, int height) {
  state->debug = PDLIB_LOG == 3 ? 1 : 0;
  ADAPTK_DEBUG(state->debug, "ADAPTK: S100 - Init, enable %d, %d x %d", tuning.enable, width,
               height);
  if (tuning.enable == 0) return;
  state->enable = static_cast<uint32_t>(tuning.enable);
  adaptive_k_data_t& data = state->data;
  data.filterSize = tuning.filterSize;
  data.tolNearTargetUpperBound = tuning.tolNearTargetUpperBound;
  data.tolNearTargetLowerBound = tuning.tolNearTargetLowerBound;
  data.tolFarTargetUpperBound = tuning.tolFarTargetUpperBound;
  data.tolFarTargetLowerBound = tuning.tolFarTargetLowerBound;
  adaptive_k_layout_dataGrid(&data, width, height);
  if (state->debug != 0) print_cells(data);
  adaptive_k_init_data(&data, table, dccQFormat, kAdaptiveKMapAll, state->debug);
  adaptive_k_init_estimator(&state->estimator, tuning, state->debug);
  for (auto& grid : state->interpolator.grid) adaptive_k_init_interpolatorGrid(&grid);
  for (auto& grid : state->interpolator.peripheralGrid) adaptive_k_init_interpolatorGrid(&grid);
}

adaptive_k_coordinate_t middle_of(int startX, int endX, int startY, int endY) {
  return {adaptive_k_util_get_mean(startX, endX), adaptive_k_util_get_mean(startY, endY)};
}

int16_t dcc_for(const adaptive_k_interpolator_grid_t& grid, float phaseDiff) {
  return phaseDiff > 0.0F ? grid.farTargetDCC : grid.nearTargetDCC;
}

}  // namespace

void adaptive_k_pd_init(pdaf_adaptive_k_t* state,
                        const afpdlibelements::tessarineTuningAdaptiveK* tuning,
                        const int16_t* calibrationTable, uint16_t dccQFormat, int width,
                        int height) {
  if (!has_tuning(tuning) || !has_calibration(calibrationTable)) return;
  init_state(state, *tuning, calibrationTable, dccQFormat, width, height);
}

void adaptive_k_dpd_init(pdaf_adaptive_k_t* state,
                         const afpdlibelements::tessarineTuningAdaptiveK* tuning,
                         const int16_t* calibrationTable, uint16_t dccQFormat, int width,
                         int height) {
  if (!has_tuning(tuning)) return;
  has_calibration(calibrationTable);  // says so, and goes on
  init_state(state, *tuning, calibrationTable, dccQFormat, width >> 1, height);
}

void adaptive_k_deinit(pdaf_adaptive_k_t* state) {
  ADAPTK_DEBUG(state->debug, "ADAPTK: S108 - Deinit");
}

void adaptive_k_reset(pdaf_adaptive_k_t* state) {
  ADAPTK_DEBUG(state->debug, "ADAPTK: S107 - Reset");
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    if (state->estimator.active[i] != 1) continue;
    state->estimator.active[i] = 0;
    adaptive_k_reset_estimatorGrid(&state->estimator.grid[i], state->debug);
  }
}

void adaptive_k_config_window(pdaf_adaptive_k_t* state, PDLibRoiType roiType, int startX, int endX,
                              int startY, int endY, int window) {
  ADAPTK_DEBUG(state->debug, "ADAPTK: S101 - Window %d, ROI type %u, x %d to %d, y %d to %d",
               window, static_cast<unsigned>(roiType), startX, endX, startY, endY);
  if (!adaptive_k_has_window(window)) return;
  adaptive_k_estimator_grid_t& estimator = state->estimator.grid[window];
  adaptive_k_config_estimatorGrid(&estimator, state->estimator.param, state->debug);
  estimator.coordinate = middle_of(startX, endX, startY, endY);
  adaptive_k_place_interpolatorGrid(&state->interpolator.grid[window], state->data,
                                    estimator.coordinate);
  state->estimator.active[window] = 1;
}

void adaptive_k_configure_peripheral_window(pdaf_adaptive_k_t* state, int startX, int endX,
                                            int startY, int endY, int window) {
  ADAPTK_DEBUG(state->debug, "ADAPTK: S102 - Peripheral window %d, x %d to %d, y %d to %d", window,
               startX, endX, startY, endY);
  if (!adaptive_k_has_peripheral_window(window)) return;
  adaptive_k_place_interpolatorGrid(&state->interpolator.peripheralGrid[window], state->data,
                                    middle_of(startX, endX, startY, endY));
}

void adaptive_k_configure_focus_map(pdaf_adaptive_k_t* state, int startX, int endX, int startY,
                                    int endY, int window) {
  ADAPTK_DEBUG(state->debug, "ADAPTK: S102 - Focus-map window %d, x %d to %d, y %d to %d", window,
               startX, endX, startY, endY);
  if (!adaptive_k_has_focus_map_window(window)) return;
  adaptive_k_place_interpolatorGrid(&state->interpolator.focusMapGrid[window], state->data,
                                    middle_of(startX, endX, startY, endY));
}

void adaptive_k_print_active_gridID(const pdaf_adaptive_k_t* state) {
  if (state->debug == 0) return;
  char text[kAdaptiveKWindows * 3 + 1] = "";
  size_t length = 0;
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    if (state->estimator.active[i] != 1) continue;
    length += static_cast<size_t>(std::snprintf(text + length, sizeof(text) - length, " %02d", i));
  }
  ADAPTK_DEBUG(state->debug, "ADAPTK: S103 - Active grids:%s", text);
}

int16_t adaptive_k_get_interpolated_DCC(const pdaf_adaptive_k_t* state, float phaseDiff,
                                        int window) {
  if (!adaptive_k_has_window(window)) return 0;
  const int16_t dcc = dcc_for(state->interpolator.grid[window], phaseDiff);
  ADAPTK_DEBUG(state->debug, "ADAPTK: S104 - Window %d, PD %f, DCC %d", window,
               static_cast<double>(phaseDiff), dcc);
  return dcc;
}

int16_t adaptive_k_get_interpolated_DCC_peripheral(const pdaf_adaptive_k_t* state, float phaseDiff,
                                                   int window) {
  if (!adaptive_k_has_peripheral_window(window)) return 0;
  const int16_t dcc = dcc_for(state->interpolator.peripheralGrid[window], phaseDiff);
  ADAPTK_DEBUG(state->debug, "ADAPTK: S105 - Peripheral window %d, PD %f, DCC %d", window,
               static_cast<double>(phaseDiff), dcc);
  return dcc;
}

int16_t adaptive_k_get_interpolated_DCC_focus_map(const pdaf_adaptive_k_t* state, float phaseDiff,
                                                  int window) {
  if (!adaptive_k_has_focus_map_window(window)) return 0;
  const int16_t dcc = dcc_for(state->interpolator.focusMapGrid[window], phaseDiff);
  ADAPTK_DEBUG(state->debug, "ADAPTK: S105 - Focus-map window %d, PD %f, DCC %d", window,
               static_cast<double>(phaseDiff), dcc);
  return dcc;
}

void adaptive_k_process_frame(pdaf_adaptive_k_t* state, float actuatorSensitivity, int lensPosition,
                              const PDLibOutputData* output) {
  adaptive_k_estimator_t& estimator = state->estimator;
  const uint32_t debug = state->debug;
  ADAPTK_DEBUG(debug, "ADAPTK: S106 - Frame at lens position %d, sensitivity %f", lensPosition,
               static_cast<double>(actuatorSensitivity));
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    if (estimator.active[i] != 1) continue;
    const PDLibDefocusInfo& result = output->defocusInfo[i];
    adaptive_k_estimator_grid_t& grid = estimator.grid[i];
    adaptive_k_update_estimatorGrid_inputs(
        &grid, lensPosition, static_cast<int32_t>(result.confidence), result.phaseDiff, debug);
    adaptive_k_process_estimation(&grid, &estimator.param, &state->interpolator.grid[i],
                                  &state->data, actuatorSensitivity, debug);
    if (state->data.history_locked != 0) continue;  // spares the search for the cell
    adaptive_k_propagate_init_data(&state->data, &estimator, &state->interpolator,
                                   adaptive_k_util_get_dataGrid_idx(&state->data, &grid.coordinate),
                                   debug);
  }
}

int adaptive_k_get_data(const pdaf_adaptive_k_t* state, int16_t* buffer, int* size) {
  if (buffer == nullptr || size == nullptr) {
    PDLIB_ERROR("ADAPTK: Getting adaptive K data failed - Null Pointer!");
    return 0;
  }
  *size = state->enable == 1 ? kAdaptiveDataSize : 0;
  if (state->enable == 1) adaptive_k_give_blob(state->data, buffer);
  return 1;
}

int adaptive_k_set_data(pdaf_adaptive_k_t* state, const int16_t* buffer, int size) {
  if (buffer == nullptr) {
    PDLIB_ERROR("ADAPTK: Setting adaptive K data failed - Null Pointer!");
    return 0;
  }
  if (size != kAdaptiveDataSize) {
    PDLIB_ERROR("ADAPTK: Setting adaptive K data filed - Wrong data size!");
    return 0;
  }
  adaptive_k_take_blob(&state->data, buffer);
  state->data.history_locked = 1;
  if (state->debug != 0) {
    // The same text whichever camera the file belongs to.
    ADAPTK_DEBUG(1, "ADAPTK: Setting adaptive K data from pdlibdata0.bin");
    adaptive_k_print_data(&state->data, kAdaptiveKPrintNewest, kAdaptiveKNearTarget);
    adaptive_k_print_data(&state->data, kAdaptiveKPrintNewest, kAdaptiveKFarTarget);
  }
  return 1;
}

void adaptive_k_hand_out(const pdaf_adaptive_k_t& state, int16_t* buffer, const void** data,
                         int* size) {
  adaptive_k_get_data(&state, buffer, size);
  *data = buffer;
}

void adaptive_k_take_over(pdaf_adaptive_k_t* state, int16_t* buffer, const void* data, int size) {
  const int copied = pdlib::Clamp(size, 0, kAdaptiveDataSize);
  std::memcpy(buffer, data, static_cast<size_t>(copied));
  adaptive_k_set_data(state, buffer, size);
}

#include "adaptive/pdlib_adaptive_k_estimator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "base/numeric.h"

namespace {

// Through a copy: two short ones are faster than one that may overlap.
template <class Value, size_t count>
void push_front(Value (&values)[count], Value newest) {
  Value older[count - 1];
  std::copy_n(values, count - 1, older);
  values[0] = newest;
  std::copy_n(older, count - 1, values + 1);
}

int stable_count(int tuned) {
  return pdlib::Clamp(tuned, 0, kAdaptiveKBuffer);
}

// NaN fails every one of the comparisons below: it neither starts nor ends a measurement.

// The lens has just moved, after standing still at a confident, large phase difference. Entry 0 is
// the first frame after the start of the move, so entry 1 is the last one before it.
bool has_started(const adaptive_k_estimator_grid_t& grid,
                 const adaptive_k_estimator_param_t& param) {
  if (grid.buffer_lens_pos[0] == grid.buffer_lens_pos[1]) return false;
  const int frames = stable_count(param.state0StableCntThres);
  for (int i = 1; i < frames; ++i) {
    const bool stands = grid.buffer_lens_pos[i] == grid.buffer_lens_pos[1];
    const bool large = std::fabs(grid.buffer_pd[i]) >= param.state0PhaseDiffThres;
    const bool confident = grid.buffer_conf[i] >= param.state0ConfThres;
    if (!stands || !large || !confident) return false;
  }
  return true;
}

bool has_settled(const adaptive_k_estimator_grid_t& grid,
                 const adaptive_k_estimator_param_t& param) {
  const int frames = stable_count(param.state1StableCntThres);
  for (int i = 0; i < frames; ++i) {
    const bool stands = grid.buffer_lens_pos[i] == grid.buffer_lens_pos[0];
    const bool small = std::fabs(grid.buffer_pd[i]) <= param.state1PhaseDiffThres;
    const bool confident = grid.buffer_conf[i] >= param.state1ConfThres;
    if (!stands || !small || !confident) return false;
  }
  return true;
}

void wait_for_start(adaptive_k_estimator_grid_t* grid, const adaptive_k_estimator_param_t& param,
                    uint32_t debug) {
  if (grid->buffer_lens_pos[0] == 0) return;  // no position yet
  if (!has_started(*grid, param)) return;
  grid->state = ADAPTIVE_K_STATE_1;
  grid->LensPos_S = static_cast<float>(grid->buffer_lens_pos[1]);
  grid->PD_S = grid->buffer_pd[1];
  ADAPTK_DEBUG(debug, "ADAPTK: S010 - ADAPTIVE_K_STATE_1 from LensPos_S %f, PD_S %f",
               static_cast<double>(grid->LensPos_S), static_cast<double>(grid->PD_S));
  adaptive_k_clear_estimatorGrid_buffer(grid, debug);
}

void end_measurement(adaptive_k_estimator_grid_t* grid, const adaptive_k_estimator_param_t& param,
                     uint32_t debug) {
  grid->state = ADAPTIVE_K_STATE_2;
  grid->PD_E = grid->buffer_pd[0];
  grid->LensPos_E = static_cast<float>(grid->buffer_lens_pos[0]);
  ADAPTK_DEBUG(debug, "ADAPTK: S010 - ADAPTIVE_K_STATE_2 at LensPos_E %f, PD_E %f",
               static_cast<double>(grid->LensPos_E), static_cast<double>(grid->PD_E));
  adaptive_k_clear_estimatorGrid_buffer(grid, debug);
  const int delta = pdlib::ToInt32(std::fabs(grid->LensPos_S - grid->LensPos_E));
  if (delta >= param.minimumLensPosDelta) return;
  ADAPTK_DEBUG(debug, "ADAPTK: S010 - LensPos delta is too small delta %d, minimum %d", delta,
               param.minimumLensPosDelta);
  adaptive_k_reset_estimatorGrid(grid, debug);
}

// The frame that ends a measurement counts too, so a limit of one frame lets none through.
void wait_for_end(adaptive_k_estimator_grid_t* grid, const adaptive_k_estimator_param_t& param,
                  uint32_t debug) {
  if (grid->buffer_lens_pos[0] != 0 && has_settled(*grid, param)) {
    end_measurement(grid, param, debug);
  }
  ++grid->counter;
  if (grid->counter < param.timeoutFrameCntThres) return;
  ADAPTK_DEBUG(debug, "ADAPTK: S010 - Time-out! counter %d, thres %d", grid->counter,
               param.timeoutFrameCntThres);
  adaptive_k_reset_estimatorGrid(grid, debug);
}

void store_measurement(adaptive_k_estimator_grid_t* grid,
                       adaptive_k_interpolator_grid_t* interpolator, adaptive_k_data_t* data,
                       float sensitivity, uint32_t debug) {
  const int16_t k = adaptive_k_calculate_estimatorGrid_K(grid, sensitivity);
  const int cell = adaptive_k_util_get_dataGrid_idx(data, &grid->coordinate);
  const adaptive_k_dir_type direction =
      grid->LensPos_S > grid->LensPos_E ? kAdaptiveKNearTarget : kAdaptiveKFarTarget;
  adaptive_k_update_data_history(data, cell, k, direction);
  adaptive_k_update_interpolatorGrid(interpolator, data, direction, debug);
  if (debug != 0) adaptive_k_print_data(data, kAdaptiveKPrintNewest, direction);
  ADAPTK_DEBUG(debug,
               "ADAPTK: S010 - Update data grid[%02d] with estimated K %d, from LensPos_S %f, "
               "LensPos_E %f, PD_S %f, PD_E %f",
               cell, k, static_cast<double>(grid->LensPos_S), static_cast<double>(grid->LensPos_E),
               static_cast<double>(grid->PD_S), static_cast<double>(grid->PD_E));
  adaptive_k_reset_estimatorGrid(grid, debug);
}

// Whether a cell holds one value alone, as it does until it is measured. The ten entries are
// neighbours.
bool is_uniform(const adaptive_k_data_grid_t& cell) {
  constexpr size_t kEntry = sizeof(cell.farTargetHistory[0]);
  const auto* entries = reinterpret_cast<const unsigned char*>(&cell) +
                        offsetof(adaptive_k_data_grid_t, farTargetHistory);
  return std::memcmp(entries, entries + kEntry, (2 * kAdaptiveKHistory - 1) * kEntry) == 0;
}

// Whether the median of a cell has moved away from the oldest entry that takes part in it.
bool has_new_median(const adaptive_k_data_t& data, const int16_t* history, int16_t median) {
  return median != history[adaptive_k_util_get_filter_size(data) - 1];
}

void spread(int16_t dcc, adaptive_k_data_t* data, const adaptive_k_estimator_t& estimator,
            adaptive_k_interpolator_t* interpolator) {
  for (adaptive_k_data_grid_t& cell : data->grid) {
    std::fill(std::begin(cell.farTargetHistory), std::end(cell.farTargetHistory), dcc);
    std::fill(std::begin(cell.nearTargetHistory), std::end(cell.nearTargetHistory), dcc);
  }
  data->history_locked = 1;
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    if (estimator.active[i] != 1) continue;
    adaptive_k_config_interpolatorGrid(&interpolator->grid[i], dcc, dcc);
  }
}

}  // namespace

void adaptive_k_init_estimator(adaptive_k_estimator_t* estimator,
                               const afpdlibelements::tessarineTuningAdaptiveK& tuning,
                               uint32_t debug) {
  estimator->param = {
      .state0StableCntThres = tuning.state0StableCntThres,
      .state0PhaseDiffThres = tuning.state0PhaseDiffThres,
      .state0ConfThres = tuning.state0ConfThres,
      .state1StableCntThres = tuning.state1StableCntThres,
      .state1PhaseDiffThres = tuning.state1PhaseDiffThres,
      .state1ConfThres = tuning.state1ConfThres,
      .timeoutFrameCntThres = tuning.timeoutFrameCntThres,
      .minimumLensPosDelta = tuning.minimumLensPosDelta,
  };
  for (adaptive_k_estimator_grid_t& grid : estimator->grid) {
    adaptive_k_init_estimatorGrid(&grid, debug);
  }
  std::fill(std::begin(estimator->active), std::end(estimator->active), 0u);
}

void adaptive_k_init_estimatorGrid(adaptive_k_estimator_grid_t* grid, uint32_t debug) {
  ADAPTK_DEBUG(debug, "ADAPTK: S002 - Init estimator");
  grid->is_first_run = 1;
  grid->coordinate = {};
  adaptive_k_reset_estimatorGrid(grid, debug);
  adaptive_k_clear_estimatorGrid_inputs(grid, debug);
}

void adaptive_k_reset_estimatorGrid(adaptive_k_estimator_grid_t* grid, uint32_t debug) {
  ADAPTK_DEBUG(debug, "ADAPTK: S003 - ADAPTIVE_K_STATE_0 by reset");
  grid->state = ADAPTIVE_K_STATE_0;
  grid->LensPos_S = 0.0F;
  grid->LensPos_E = 0.0F;
  grid->PD_S = 0.0F;
  grid->PD_E = 0.0F;
  adaptive_k_clear_estimatorGrid_buffer(grid, debug);
}

void adaptive_k_clear_estimatorGrid_buffer(adaptive_k_estimator_grid_t* grid, uint32_t debug) {
  ADAPTK_DEBUG(debug, "ADAPTK: S004 - Clear buffers");
  grid->counter = 0;
  std::fill(std::begin(grid->buffer_lens_pos), std::end(grid->buffer_lens_pos), 0);
  std::fill(std::begin(grid->buffer_conf), std::end(grid->buffer_conf), 0);
  std::fill(std::begin(grid->buffer_pd), std::end(grid->buffer_pd), 0.0F);
}

void adaptive_k_clear_estimatorGrid_inputs(adaptive_k_estimator_grid_t* grid, uint32_t debug) {
  ADAPTK_DEBUG(debug, "ADAPTK: S005 - Clear inputs");
  std::fill(std::begin(grid->lens_pos), std::end(grid->lens_pos), 0);
  std::fill(std::begin(grid->conf), std::end(grid->conf), 0);
  std::fill(std::begin(grid->pd), std::end(grid->pd), 0.0F);
}

void adaptive_k_config_estimatorGrid(adaptive_k_estimator_grid_t* grid,
                                     const adaptive_k_estimator_param_t& param, uint32_t debug) {
  if (grid->is_first_run == 1) {
    adaptive_k_reset_estimatorGrid(grid, debug);
    grid->is_first_run = 0;
    return;
  }
  const int significant = adaptive_k_get_estimatorGrid_significant_input_idx(grid);
  adaptive_k_reset_estimatorGrid(grid, debug);
  const float phaseDiff = grid->pd[significant];
  // Strictly above both thresholds, unlike a start in state 0.
  if (!(param.state0PhaseDiffThres < std::fabs(phaseDiff)) ||
      !(param.state0ConfThres < grid->conf[significant])) {
    return;
  }
  grid->state = ADAPTIVE_K_STATE_1;
  grid->LensPos_S = static_cast<float>(grid->lens_pos[significant]);
  grid->PD_S = phaseDiff;
  ADAPTK_DEBUG(debug, "ADAPTK: S010 - ADAPTIVE_K_STATE_1 carried over, LensPos_S %f, PD_S %f",
               static_cast<double>(grid->LensPos_S), static_cast<double>(grid->PD_S));
}

int adaptive_k_get_estimatorGrid_significant_input_idx(const adaptive_k_estimator_grid_t* grid) {
  return std::fabs(grid->pd[1]) >= std::fabs(grid->pd[0]) ? 1 : 0;
}

void adaptive_k_update_estimatorGrid_inputs(adaptive_k_estimator_grid_t* grid, int lensPosition,
                                            int confidence, float phaseDiff, uint32_t debug) {
  push_front(grid->lens_pos, lensPosition);
  push_front(grid->conf, confidence);
  push_front(grid->pd, phaseDiff);
  ADAPTK_DEBUG(debug, "ADAPTK: S007 - Inputs: LensPos %d, conf %d, PD %f", lensPosition, confidence,
               static_cast<double>(phaseDiff));
}

void adaptive_k_update_estimatorGrid_buffer(adaptive_k_estimator_grid_t* grid, int lensPosition,
                                            int confidence, float phaseDiff, uint32_t debug) {
  push_front(grid->buffer_lens_pos, lensPosition);
  push_front(grid->buffer_conf, confidence);
  push_front(grid->buffer_pd, phaseDiff);
  ADAPTK_DEBUG(debug, "ADAPTK: S008 - Buffers: LensPos %d %d %d, state %d, counter %d",
               grid->buffer_lens_pos[0], grid->buffer_lens_pos[1], grid->buffer_lens_pos[2],
               grid->state, grid->counter);
}

void adaptive_k_process_estimation(adaptive_k_estimator_grid_t* grid,
                                   const adaptive_k_estimator_param_t* param,
                                   adaptive_k_interpolator_grid_t* interpolator,
                                   adaptive_k_data_t* data, float sensitivity, uint32_t debug) {
  adaptive_k_update_estimatorGrid_buffer(grid, grid->lens_pos[0], grid->conf[0], grid->pd[0],
                                         debug);
  switch (grid->state) {
    case ADAPTIVE_K_STATE_0: return wait_for_start(grid, *param, debug);
    case ADAPTIVE_K_STATE_1: return wait_for_end(grid, *param, debug);
    case ADAPTIVE_K_STATE_2: return store_measurement(grid, interpolator, data, sensitivity, debug);
    default: PDLIB_ERROR("ADAPTK: S099 - Error in Adaptive K State!");
  }
}

int16_t adaptive_k_calculate_estimatorGrid_K(const adaptive_k_estimator_grid_t* grid,
                                             float sensitivity) {
  const float travel = grid->LensPos_S - grid->LensPos_E;
  const float k = std::fabs(travel / ((grid->PD_S - grid->PD_E) * sensitivity));
  // Through 32 bits, of which the low 16 stay.
  return static_cast<int16_t>(pdlib::ToInt32(k));
}

void adaptive_k_propagate_init_data(adaptive_k_data_t* data,
                                    const adaptive_k_estimator_t* estimator,
                                    adaptive_k_interpolator_t* interpolator, int cell,
                                    uint32_t debug) {
  if (data->history_locked != 0 || cell < 0 || cell >= kAdaptiveKCells) return;
  const adaptive_k_data_grid_t& grid = data->grid[cell];
  if (is_uniform(grid)) return;
  const int16_t far = adaptive_k_util_get_dataGrid_DCC(data, cell, kAdaptiveKFarTarget);
  if (has_new_median(*data, grid.farTargetHistory, far)) {
    spread(far, data, *estimator, interpolator);
    ADAPTK_DEBUG(debug, "ADAPTK: S021 - Propagate first estimated to all data [Near2Far].");
    if (debug != 0) adaptive_k_print_data(data, kAdaptiveKPrintMedian, kAdaptiveKFarTarget);
  }
  // After the histories have just been made uniform there is nothing left to find.
  const int16_t near = adaptive_k_util_get_dataGrid_DCC(data, cell, kAdaptiveKNearTarget);
  if (has_new_median(*data, grid.nearTargetHistory, near)) {
    spread(near, data, *estimator, interpolator);
    ADAPTK_DEBUG(debug, "ADAPTK: S020 - Propagate first estimated to all data [Far2Near].");
    if (debug != 0) adaptive_k_print_data(data, kAdaptiveKPrintMedian, kAdaptiveKNearTarget);
  }
}

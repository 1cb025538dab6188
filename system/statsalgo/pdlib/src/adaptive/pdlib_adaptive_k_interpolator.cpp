#include "adaptive/pdlib_adaptive_k_interpolator.h"

void adaptive_k_init_interpolatorGrid(adaptive_k_interpolator_grid_t* grid) {
  *grid = {};
}

void adaptive_k_reset_interpolatorGrid(adaptive_k_interpolator_grid_t* grid) {
  *grid = {};
}

void adaptive_k_config_interpolatorGrid(adaptive_k_interpolator_grid_t* grid, int16_t nearDCC,
                                        int16_t farDCC) {
  grid->nearTargetDCC = nearDCC;
  grid->farTargetDCC = farDCC;
}

void adaptive_k_place_interpolatorGrid(adaptive_k_interpolator_grid_t* grid,
                                       const adaptive_k_data_t& data,
                                       const adaptive_k_coordinate_t& center) {
  grid->coordinate = center;
  const int cell = adaptive_k_util_get_dataGrid_idx(&data, &center);
  adaptive_k_config_interpolatorGrid(
      grid, adaptive_k_util_get_dataGrid_DCC(&data, cell, kAdaptiveKNearTarget),
      adaptive_k_util_get_dataGrid_DCC(&data, cell, kAdaptiveKFarTarget));
}

void adaptive_k_update_interpolatorGrid(adaptive_k_interpolator_grid_t* grid,
                                        const adaptive_k_data_t* data,
                                        adaptive_k_dir_type direction, uint32_t debug) {
  const bool near = direction == kAdaptiveKNearTarget;
  if (!near && direction != kAdaptiveKFarTarget) {
    PDLIB_ERROR("ADAPTK: S099 - Error in Adaptive K update interpolator grid");
    return;
  }
  const int cell = adaptive_k_util_get_dataGrid_idx(data, &grid->coordinate);
  const int16_t dcc = adaptive_k_util_get_dataGrid_DCC(data, cell, direction);
  (near ? grid->nearTargetDCC : grid->farTargetDCC) = dcc;
  ADAPTK_DEBUG(debug, "ADAPTK: S009 - %s target DCC %d from data grid[%02d]", near ? "near" : "far",
               dcc, cell);
}

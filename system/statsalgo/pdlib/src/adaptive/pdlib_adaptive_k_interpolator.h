// What the flows read: per window one coefficient for each sign of phase difference, a copy of the
// medians of the cell under the window.
#pragma once

#include <cstddef>
#include <cstdint>

#include "adaptive/pdlib_adaptive_k_data.h"

// All three are counts of a flow's windows, not of cells.
inline constexpr int kAdaptiveKWindows = 48;
inline constexpr int kAdaptiveKPeripheralWindows = 36;
inline constexpr int kAdaptiveKFocusMapWindows = 400;

struct adaptive_k_interpolator_grid_t {
  int16_t farTargetDCC;   // for positive phase differences
  int16_t nearTargetDCC;  // for the others
  adaptive_k_coordinate_t coordinate;
};
static_assert(sizeof(adaptive_k_interpolator_grid_t) == 12);

struct adaptive_k_interpolator_t {
  adaptive_k_interpolator_grid_t grid[kAdaptiveKWindows];
  adaptive_k_interpolator_grid_t peripheralGrid[kAdaptiveKPeripheralWindows];
  adaptive_k_interpolator_grid_t focusMapGrid[kAdaptiveKFocusMapWindows];
};
static_assert(offsetof(adaptive_k_interpolator_t, peripheralGrid) == 576);
static_assert(sizeof(adaptive_k_interpolator_t) == 5808);

// Both zero the whole record.
void adaptive_k_init_interpolatorGrid(adaptive_k_interpolator_grid_t* grid);
void adaptive_k_reset_interpolatorGrid(adaptive_k_interpolator_grid_t* grid);

void adaptive_k_config_interpolatorGrid(adaptive_k_interpolator_grid_t* grid, int16_t nearDCC,
                                        int16_t farDCC);
// Moves the grid to `center` and takes both coefficients of the cell there.
void adaptive_k_place_interpolatorGrid(adaptive_k_interpolator_grid_t* grid,
                                       const adaptive_k_data_t& data,
                                       const adaptive_k_coordinate_t& center);
// Takes one coefficient anew from the cell under the grid's own coordinate.
void adaptive_k_update_interpolatorGrid(adaptive_k_interpolator_grid_t* grid,
                                        const adaptive_k_data_t* data,
                                        adaptive_k_dir_type direction, uint32_t debug);

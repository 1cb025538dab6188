// How K is measured on the live camera: per centre window a state machine that waits for a lens
// which stands at a confident, large phase difference and then starts to move (state 0), for the
// lens to settle at a small one (state 1), and then takes lens travel per unit of phase difference
// as K (state 2).
#pragma once

#include <cstddef>
#include <cstdint>

#include "adaptive/pdlib_adaptive_k_data.h"
#include "adaptive/pdlib_adaptive_k_interpolator.h"
#include "afpdlibelements.h"

inline constexpr int kAdaptiveKBuffer = 10;

enum adaptive_k_state : int32_t {
  ADAPTIVE_K_STATE_0 = 0,  // waiting for a start
  ADAPTIVE_K_STATE_1 = 1,  // waiting for the end
  ADAPTIVE_K_STATE_2 = 2,  // measured, to be stored
};

struct adaptive_k_estimator_param_t {
  int32_t state0StableCntThres;  // frames that make a stable start; counts as 0 to 10
  float state0PhaseDiffThres;    // smallest absolute phase difference of a start, pixels
  int32_t state0ConfThres;       // smallest confidence of a start
  int32_t state1StableCntThres;  // frames that make a stable end; counts as 0 to 10
  float state1PhaseDiffThres;    // largest absolute phase difference of an end, pixels
  int32_t state1ConfThres;       // smallest confidence of an end
  int32_t timeoutFrameCntThres;  // frames allowed between start and end
  int32_t minimumLensPosDelta;   // smallest usable travel, lens-position steps
};
static_assert(sizeof(adaptive_k_estimator_param_t) == 32);

struct adaptive_k_estimator_grid_t {
  uint32_t is_first_run;               // 1 until the window is first configured
  int32_t lens_pos[2];                 // the last two inputs, newest first
  int32_t conf[2];                     // likewise
  float pd[2];                         // likewise
  adaptive_k_coordinate_t coordinate;  // the window's centre
  int32_t state;
  int32_t counter;  // frames in state 1 since the buffers were last cleared
  int32_t buffer_lens_pos[kAdaptiveKBuffer];  // newest first
  int32_t buffer_conf[kAdaptiveKBuffer];
  float buffer_pd[kAdaptiveKBuffer];
  float LensPos_S;  // at the start of the measurement
  float LensPos_E;  // at its end
  float PD_S;
  float PD_E;
};
static_assert(sizeof(adaptive_k_estimator_grid_t) == 180);
static_assert(offsetof(adaptive_k_estimator_grid_t, coordinate) == 28);
static_assert(offsetof(adaptive_k_estimator_grid_t, buffer_lens_pos) == 44);

struct adaptive_k_estimator_t {
  uint32_t active[kAdaptiveKWindows];  // 1 for a window configured since the last reset
  adaptive_k_estimator_param_t param;
  adaptive_k_estimator_grid_t grid[kAdaptiveKWindows];
};
static_assert(offsetof(adaptive_k_estimator_t, grid) == 192 + 32);

// Thresholds from the tuning, no window active, all estimators as new.
void adaptive_k_init_estimator(adaptive_k_estimator_t* estimator,
                               const afpdlibelements::tessarineTuningAdaptiveK& tuning,
                               uint32_t debug);

// As new: to be configured for the first time, nothing remembered.
void adaptive_k_init_estimatorGrid(adaptive_k_estimator_grid_t* grid, uint32_t debug);
// Drops the measurement. The last two inputs stay.
void adaptive_k_reset_estimatorGrid(adaptive_k_estimator_grid_t* grid, uint32_t debug);
void adaptive_k_clear_estimatorGrid_buffer(adaptive_k_estimator_grid_t* grid, uint32_t debug);
void adaptive_k_clear_estimatorGrid_inputs(adaptive_k_estimator_grid_t* grid, uint32_t debug);

// The window of this estimator changes. A measurement may go on across the change: the more
// significant of the last two inputs becomes its start if it is clearly good enough.
void adaptive_k_config_estimatorGrid(adaptive_k_estimator_grid_t* grid,
                                     const adaptive_k_estimator_param_t& param, uint32_t debug);
// Which of the last two inputs has the larger phase difference: 0 or 1, 1 if equal.
int adaptive_k_get_estimatorGrid_significant_input_idx(const adaptive_k_estimator_grid_t* grid);

void adaptive_k_update_estimatorGrid_inputs(adaptive_k_estimator_grid_t* grid, int lensPosition,
                                            int confidence, float phaseDiff, uint32_t debug);
void adaptive_k_update_estimatorGrid_buffer(adaptive_k_estimator_grid_t* grid, int lensPosition,
                                            int confidence, float phaseDiff, uint32_t debug);

// One step of the state machine, on the newest input. A finished measurement goes into the history
// of the cell under the window, and from there into the window's interpolator.
void adaptive_k_process_estimation(adaptive_k_estimator_grid_t* grid,
                                   const adaptive_k_estimator_param_t* param,
                                   adaptive_k_interpolator_grid_t* interpolator,
                                   adaptive_k_data_t* data, float sensitivity, uint32_t debug);

// Lens travel per unit of phase difference and sensitivity, of a finished measurement. Equal phase
// differences or no sensitivity give what the conversion of infinity or NaN gives: -1 or 0, which
// the tolerances turn into the lower bound of a positive coefficient.
int16_t adaptive_k_calculate_estimatorGrid_K(const adaptive_k_estimator_grid_t* grid,
                                             float sensitivity);

// The first credible measurement stands for the whole image: once the median of this cell has left
// its oldest entry, it fills all histories and the interpolators of the active windows, and locks
// the histories against another spreading.
void adaptive_k_propagate_init_data(adaptive_k_data_t* data,
                                    const adaptive_k_estimator_t* estimator,
                                    adaptive_k_interpolator_t* interpolator, int cell,
                                    uint32_t debug);

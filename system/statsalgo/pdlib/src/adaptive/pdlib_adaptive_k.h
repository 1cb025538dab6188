// Adaptive DCC: the camera measures its own defocus conversion coefficient, per region of the image
// and direction of the move, and hands flows the median of what it measured instead of the
// calibrated value.
//
// A flow embeds one zero-filled pdaf_adaptive_k_t by value, initialises it once with tuning and
// calibration, passes a stored blob in, configures its windows for each grid, asks for the
// coefficient of each window as it computes its defocus, shows each frame's final results to
// adaptive_k_process_frame, and resets the windows when it frees its grid. It does so only while
// `enable` is 1; a window beyond the arrays (adaptive_k_has_window and its kin) keeps to the
// calibration. Nothing is allocated and nothing locks: all calls for one state come one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "adaptive/pdlib_adaptive_k_data.h"
#include "adaptive/pdlib_adaptive_k_estimator.h"
#include "adaptive/pdlib_adaptive_k_interpolator.h"
#include "afpdlibelements.h"
#include "base/pdlib_common.h"

struct pdaf_adaptive_k_t {
  uint32_t enable;  // as tuned; flows use the module when it is 1
  uint32_t debug;   // 1 when PDLIB_LOG was 3 at initialisation: the module's debug lines go out
  adaptive_k_data_t data;
  adaptive_k_estimator_t estimator;
  adaptive_k_interpolator_t interpolator;
};
static_assert(offsetof(pdaf_adaptive_k_t, data) == 8);
static_assert(offsetof(pdaf_adaptive_k_t, estimator) == 8 + sizeof(adaptive_k_data_t));
static_assert(offsetof(pdaf_adaptive_k_t, interpolator) ==
              offsetof(pdaf_adaptive_k_t, estimator) + sizeof(adaptive_k_estimator_t));
static_assert(std::is_trivially_copyable_v<pdaf_adaptive_k_t>);

// `calibrationTable` has 6 rows of 8 coefficients with `dccQFormat` fractional bits; width and
// height are those of the frame in which the windows will be given. Without tuning nothing changes;
// with `enable` 0 in it nothing but `debug`.
void adaptive_k_pd_init(pdaf_adaptive_k_t* state,
                        const afpdlibelements::tessarineTuningAdaptiveK* tuning,
                        const int16_t* calibrationTable, uint16_t dccQFormat, int width,
                        int height);
// For flows of dual-PD sensors, whose frame is half as wide as given. Unlike the other, it goes
// through without a table, and the cells then keep what they held.
void adaptive_k_dpd_init(pdaf_adaptive_k_t* state,
                         const afpdlibelements::tessarineTuningAdaptiveK* tuning,
                         const int16_t* calibrationTable, uint16_t dccQFormat, int width,
                         int height);
// Releases nothing: there is nothing to release.
void adaptive_k_deinit(pdaf_adaptive_k_t* state);

// Deactivates every window and drops its measurement; what was learnt stays.
void adaptive_k_reset(pdaf_adaptive_k_t* state);

// Whether the module has room for a window of this index. One without keeps its calibrated
// coefficient and is not learnt from.
constexpr bool adaptive_k_has_window(int window) {
  return window >= 0 && window < kAdaptiveKWindows;
}
constexpr bool adaptive_k_has_peripheral_window(int window) {
  return window >= 0 && window < kAdaptiveKPeripheralWindows;
}
constexpr bool adaptive_k_has_focus_map_window(int window) {
  return window >= 0 && window < kAdaptiveKFocusMapWindows;
}

// Tell where a window lies; the cell under its centre gives its coefficients. Centre windows become
// active, the others are never learnt from and change only here. An index without a window is
// ignored. `roiType` is only logged.
void adaptive_k_config_window(pdaf_adaptive_k_t* state, PDLibRoiType roiType, int startX, int endX,
                              int startY, int endY, int window);
void adaptive_k_configure_peripheral_window(pdaf_adaptive_k_t* state, int startX, int endX,
                                            int startY, int endY, int window);
void adaptive_k_configure_focus_map(pdaf_adaptive_k_t* state, int startX, int endX, int startY,
                                    int endY, int window);
// Logs, when debugging, which windows are active.
void adaptive_k_print_active_gridID(const pdaf_adaptive_k_t* state);

// The coefficient of a window, a whole number: the far one for a positive phase difference, else
// the near one. 0 for an index without a window.
int16_t adaptive_k_get_interpolated_DCC(const pdaf_adaptive_k_t* state, float phaseDiff,
                                        int window);
int16_t adaptive_k_get_interpolated_DCC_peripheral(const pdaf_adaptive_k_t* state, float phaseDiff,
                                                   int window);
int16_t adaptive_k_get_interpolated_DCC_focus_map(const pdaf_adaptive_k_t* state, float phaseDiff,
                                                  int window);

// Whether windows of such a frame are configured and learnt from.
constexpr bool adaptive_k_serves(PDLibRoiType roiType) {
  return roiType == kRoiDefault || roiType == kRoiLearning;
}

// Shows one frame's final results to the estimators of all active windows.
void adaptive_k_process_frame(pdaf_adaptive_k_t* state, float actuatorSensitivity, int lensPosition,
                              const PDLibOutputData* output);

// Writes the blob of kAdaptiveDataSize bytes. Unless `enable` is 1 the size becomes 0 and the
// buffer stays. Gives 1, or 0 for a null pointer.
int adaptive_k_get_data(const pdaf_adaptive_k_t* state, int16_t* buffer, int* size);
// Reads a blob back and locks the histories. Gives 1, or 0, with nothing changed, for a null buffer
// or a size in bytes other than kAdaptiveDataSize.
int adaptive_k_set_data(pdaf_adaptive_k_t* state, const int16_t* buffer, int size);

// A flow's two operations on the blob, by way of its own `buffer` of kAdaptiveDataSize bytes: what
// the camera stack passes in need not be aligned.
void adaptive_k_hand_out(const pdaf_adaptive_k_t& state, int16_t* buffer, const void** data,
                         int* size);
void adaptive_k_take_over(pdaf_adaptive_k_t* state, int16_t* buffer, const void* data, int size);

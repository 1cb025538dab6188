#include "adaptive/pdlib_adaptive_k.h"

#include "core/pdlib_log.h"

void adaptive_k_pd_init(pdaf_adaptive_k_t* state,
                        const afpdlibelements::tessarineTuningAdaptiveK* tuning, const int16_t*,
                        uint16_t, int, int) {
  state->enable = 0;
  if (tuning->enable != 0) {
    PDLIB_INFO("Adaptive DCC is not part of this version, the calibrated DCC stays in force");
  }
}

void adaptive_k_deinit(pdaf_adaptive_k_t*) {}
void adaptive_k_reset(pdaf_adaptive_k_t*) {}
void adaptive_k_config_window(pdaf_adaptive_k_t*, PDLibRoiType, int, int, int, int, int) {}
void adaptive_k_configure_peripheral_window(pdaf_adaptive_k_t*, int, int, int, int, int) {}
void adaptive_k_print_active_gridID(const pdaf_adaptive_k_t*) {}
int16_t adaptive_k_get_interpolated_DCC(const pdaf_adaptive_k_t*, float, int) {
  return 0;
}
int16_t adaptive_k_get_interpolated_DCC_peripheral(const pdaf_adaptive_k_t*, float, int) {
  return 0;
}
void adaptive_k_process_frame(pdaf_adaptive_k_t*, float, int, const PDLibOutputData*) {}

int adaptive_k_get_data(const pdaf_adaptive_k_t*, int16_t*, int* size) {
  *size = 0;
  return 1;
}

int adaptive_k_set_data(pdaf_adaptive_k_t*, const int16_t*, int) {
  return 1;
}

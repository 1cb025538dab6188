// From the vector of a window to its phase difference, confidence and defocus.
#include <algorithm>
#include <cstdlib>

#include "base/numeric.h"
#include "kernels/pd_core_correlation.h"
#include "sparse/pdlib_sparse_wrapper.h"

namespace {

bool has_learnt_dcc(const pdaf_context_t& context, int window) {
  if (context.adaptiveK.enable != 1) return false;
  return context.isPeripheralMode ? adaptive_k_has_peripheral_window(window)
                                  : adaptive_k_has_window(window);
}

// Defocus by the calibrated coefficient, or by the learnt one, which replaces it and has no
// fraction.
int32_t defocus_of(pdaf_context_t* context, pd_grid_arg_t* entry, float phaseDiff, int window) {
  if (!has_learnt_dcc(*context, window)) {
    const float scale = static_cast<float>(1 << context->dcc_q_format);
    return pdlib::ToInt32(static_cast<float>(std::abs(entry->dcc)) * phaseDiff / scale);
  }
  entry->dcc =
      context->isPeripheralMode
          ? adaptive_k_get_interpolated_DCC_peripheral(&context->adaptiveK, phaseDiff, window)
          : adaptive_k_get_interpolated_DCC(&context->adaptiveK, phaseDiff, window);
  const int32_t defocus = pdlib::ToInt32(static_cast<float>(std::abs(entry->dcc)) * phaseDiff);
  ADAPTK_DEBUG(context->adaptiveK.debug, "ADAPTK: S900 - %s window %d, PD %f, DCC %d, defocus %d",
               context->isPeripheralMode ? "peripheral" : "centre", window,
               static_cast<double>(phaseDiff), entry->dcc, defocus);
  return defocus;
}

}  // namespace

bool calculate_pd_and_conf(pdaf_context_t* context, PDLibDefocusInfo* results, uint16_t window) {
  pd_grid_arg_t& entry = context->activeGrid()[window];
  int32_t* filtered = entry.sad_filtered.data();
  const int16_t length = context->sad_len;
  pd_core_sad_bias(entry.sad.data(), context->biasVector.data(), length);
  pd_core_sad_temporal_filter(entry.sad.data(), filtered, context->temporalWeight, length);
  const int16_t minimum =
      static_cast<int16_t>(std::min_element(filtered, filtered + length) - filtered);

  float phaseDiff = 0.0F;
  uint16_t confidence = 0;
  pd_core_pd(filtered, length, context->shift_offset, minimum, context->pd_unit, &phaseDiff);
  pd_core_conf(filtered, length, minimum, context->confHalfWidth, context->confScale,
               context->minMeanSADLevel, &confidence);
  phaseDiff += context->sensor.pdOffset;
  if (context->sensor.mirror) phaseDiff = -phaseDiff;

  const int32_t defocus = defocus_of(context, &entry, phaseDiff, window);
  if (window < kMaxWindows) {
    results[window].phaseDiff = phaseDiff;
    results[window].defocus = defocus;
    results[window].confidence = confidence;
  }
  return static_cast<float>(confidence) > context->tuning.correlation.defocusConfidenceThreshold;
}

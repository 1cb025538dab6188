#include "frame/pdlib_utils_curve.h"

#include "base/numeric.h"

bool build_bias_vector(pdlib::OwnedArray<uint16_t>* vector, int length, int firstShift, int step,
                       float strength) {
  if (!vector->allocate(static_cast<size_t>(length))) return false;
  for (int i = 0; i < length; ++i) {
    const float d = static_cast<int16_t>(firstShift - i * step);
    const float weight = (strength * d * d / 4096.0F + (1.0F - strength)) * 4096.0F;
    (*vector)[static_cast<size_t>(i)] = static_cast<uint16_t>(pdlib::ToUint32(weight));
  }
  return true;
}

float temporal_weight(const afpdlibelements::tessarineTuningPostProcess& weights, bool lensStands) {
  return lensStands ? weights.temporalFilterStaticWeight : weights.temporalFilterDynamicWeight;
}

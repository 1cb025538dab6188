// What every flow does alike with the curves of its windows.
#pragma once

#include <cstdint>

#include "afpdlibelements.h"
#include "base/owned_array.h"

// Q12 weights of the shifts `firstShift`, `firstShift` - step, ... (pixels, 16 bits): with strength
// 0 all are 4096; a higher one favours small shifts. False without memory.
bool build_bias_vector(pdlib::OwnedArray<uint16_t>* vector, int length, int firstShift, int step,
                       float strength);

// Weight of the new frame against the curves of earlier ones.
float temporal_weight(const afpdlibelements::tessarineTuningPostProcess& weights, bool lensStands);

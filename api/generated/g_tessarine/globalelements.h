// Records that all tuning schemas share.
#pragma once

#include <cstdint>
#include <tuple>

#include "tuningfields.h"

namespace globalelements {

using tuning::ArrayField;
using tuning::EnumField;
using tuning::Field;
using tuning::FieldKind;

// The exposure region in which a setting applies.
struct trigger_pt_type_aec {
  float lux_idx_start;  // start of the lux index region
  float lux_idx_end;    // end of the lux index region
  float gain_start;     // start of the gain region
  float gain_end;       // end of the gain region
};

inline constexpr auto kFields_trigger_pt_type_aec =
    std::tuple{Field{"lux_idx_start", FieldKind::kFloat, &trigger_pt_type_aec::lux_idx_start},
               Field{"lux_idx_end", FieldKind::kFloat, &trigger_pt_type_aec::lux_idx_end},
               Field{"gain_start", FieldKind::kFloat, &trigger_pt_type_aec::gain_start},
               Field{"gain_end", FieldKind::kFloat, &trigger_pt_type_aec::gain_end}};
TUNING_RECORD(trigger_pt_type_aec)

}  // namespace globalelements

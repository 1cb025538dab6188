// Records that the schemas of the statistics algorithms share.
#pragma once

#include <cstdint>
#include <tuple>

#include "tuningfields.h"

namespace statsglobalelements {

using tuning::ArrayField;
using tuning::EnumField;
using tuning::Field;
using tuning::FieldKind;

// A named extension parameter: new switches reach the flows without a change of the record.
struct statsExtensionParamType {
  int32_t ID;          // identifier
  char* Name;          // a flow looks a parameter up by this name
  int32_t enableFlag;  // a flow uses the parameter only when this is 1
  uint32_t dataCount;
  uint32_t dataID;
  float* data;  // the values
};

inline constexpr auto kFields_statsExtensionParamType =
    std::tuple{Field{"ID", FieldKind::kInt32, &statsExtensionParamType::ID},
               Field{"Name", FieldKind::kString, &statsExtensionParamType::Name},
               Field{"enableFlag", FieldKind::kBoolean, &statsExtensionParamType::enableFlag},
               ArrayField{"data", FieldKind::kFloat, &statsExtensionParamType::dataCount,
                          &statsExtensionParamType::dataID, &statsExtensionParamType::data}};
TUNING_RECORD(statsExtensionParamType)

}  // namespace statsglobalelements

// The module class of the PD tuning record.
#pragma once

#include "afpdlibelements.h"
#include "generatedmodule.h"

template <>
struct tuning::RootTraits<afpdlibelements::tessarinePDLibType> {
  static constexpr const char* kClassName = "tessarinePDLibTypeClass";
  static constexpr VersionUnion kVersion{9, 0, 0};
  static bool Accepts(VersionUnion version) { return version == kVersion; }
};

namespace afpdlibelements {

using tessarinePDLibTypeClass = tuning::GeneratedModule<tessarinePDLibType>;

}  // namespace afpdlibelements

// The module class of raw records. It takes data of every schema version.
#pragma once

#include "generatedmodule.h"
#include "rawmodule.h"

namespace tuning {

template <>
struct RootTraits<RawModuleType> {
  static constexpr const char* kClassName = "RawModuleTypeClass";
  static constexpr VersionUnion kVersion{};
  static bool Accepts(VersionUnion) { return true; }
};

inline bool LoadRoot(RawModuleType& root, Entry& entry, uint32_t) {
  root.rawSize = 0;
  if (entry.GetSize() == 0) return true;
  root.rawData = static_cast<uint8_t*>(entry.GetTable()->Allocate(entry.GetSize()));
  if (root.rawData == nullptr) return false;
  root.rawSize = entry.GetSize();
  return entry.ReadBytes(root.rawData, root.rawSize, 1);
}

inline void UnloadRoot(RawModuleType& root, ParameterFileSymbolTable*) {
  pdaf_free(root.rawData);
  root.rawSize = 0;
}

// Without a schema there are no fields to name.
inline bool GetRootValue(const RawModuleType&, const char*, char*, uint32_t) {
  return false;
}
inline bool SetRootValue(RawModuleType&, const char*, const char*) {
  return false;
}
inline bool GetRootInfo(const RawModuleType&, const char*, InfoList&) {
  return false;
}

}  // namespace tuning

#include "frame/pdlib_utils_extension.h"

#include <cstring>

const float* extension_value(const statsglobalelements::statsExtensionParamType& entry) {
  const bool usable = entry.enableFlag == 1 && entry.dataCount != 0 && entry.data != nullptr;
  return usable ? entry.data : nullptr;
}

bool is_extension(const statsglobalelements::statsExtensionParamType& entry, const char* known) {
  return entry.Name != nullptr && std::strncmp(entry.Name, known, std::strlen(known)) == 0 &&
         extension_value(entry) != nullptr;
}

bool is_hv_selection(const statsglobalelements::statsExtensionParamType& entry) {
  return entry.Name != nullptr && std::strcmp(entry.Name, "HVSelection") == 0 &&
         entry.enableFlag == 1 && entry.data != nullptr;
}

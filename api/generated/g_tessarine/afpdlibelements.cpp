#include "afpdlibelements_class.h"

namespace afpdlibelements {

uint32_t tessarinePDLibType::GetModified() const {
  return static_cast<const tessarinePDLibTypeClass*>(this)->ParameterModule::GetModified();
}

void tessarinePDLibType::Release() {
  static_cast<tessarinePDLibTypeClass*>(this)->ParameterModule::Release();
}

}  // namespace afpdlibelements

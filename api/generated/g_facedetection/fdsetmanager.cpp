#include "fdsetmanager.h"

#include "moduleaccess.h"

#define TUNING_RAW_ACCESSOR(name)                                                      \
  tuning::RawModuleType* fdSetManager::GetModule_##name(                               \
      const TuningMode* branch, unsigned int count, tuning::RawModuleType* previous) { \
    return tuning::GetRecord(*this, #name, branch, count, previous);                   \
  }
FACE_DETECTION_SET_MODULES(TUNING_RAW_ACCESSOR)

#define TUNING_RAW_PROTOTYPE(name) \
  AddModule(new tuning::GeneratedModule<tuning::RawModuleType>(#name));
fdSetManager::fdSetManager(){FACE_DETECTION_SET_MODULES(TUNING_RAW_PROTOTYPE)}

GeneratedSetManager* fdSetManager::CreateEmpty() const {
  return new fdSetManager;
}

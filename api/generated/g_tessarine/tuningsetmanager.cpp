#include "tuningsetmanager.h"

#include "afpdlibelements_class.h"
#include "moduleaccess.h"

// NOLINTBEGIN(bugprone-macro-parentheses): types take none
#define TUNING_ACCESSOR(name, root)                                                      \
  root* TuningSetManager::GetModule_##name(const TuningMode* branch, unsigned int count, \
                                           root* previous) {                             \
    return tuning::GetRecord<root>(*this, #name, branch, count, previous);               \
  }
// NOLINTEND(bugprone-macro-parentheses)
#define TUNING_RAW_ACCESSOR(name) TUNING_ACCESSOR(name, tuning::RawModuleType)
TUNING_SET_MODULES(TUNING_RAW_ACCESSOR, TUNING_ACCESSOR)

#define TUNING_PROTOTYPE(name, root) AddModule(new tuning::GeneratedModule<root>(#name));
#define TUNING_RAW_PROTOTYPE(name) TUNING_PROTOTYPE(name, tuning::RawModuleType)
TuningSetManager::TuningSetManager() {
  CreateLink();
  TUNING_SET_MODULES(TUNING_RAW_PROTOTYPE, TUNING_PROTOTYPE)
}

TuningSetManager::~TuningSetManager() {
  StopLink();
}

GeneratedSetManager* TuningSetManager::CreateEmpty() const {
  return new TuningSetManager;
}

// The manager of the camera's tuning file, the one with a live link.
#pragma once

#include "afpdlibelements.h"
#include "generatedsetmanager.h"
#include "rawmodule.h"
#include "tuningsetmodules.h"

class PARAMETER_API TuningSetManager : public GeneratedSetManager {
 public:
  TuningSetManager();
  ~TuningSetManager() override;

  // One accessor a module, GetModule_<name>: the record for a branch of modes, or null. `previous`,
  // a record obtained earlier, is released.
// NOLINTBEGIN(bugprone-macro-parentheses): types take none
#define TUNING_ACCESSOR(name, root) \
  root* GetModule_##name(const TuningMode* branch, unsigned int count, root* previous);
// NOLINTEND(bugprone-macro-parentheses)
#define TUNING_RAW_ACCESSOR(name) TUNING_ACCESSOR(name, tuning::RawModuleType)
  TUNING_SET_MODULES(TUNING_RAW_ACCESSOR, TUNING_ACCESSOR)
#undef TUNING_RAW_ACCESSOR
#undef TUNING_ACCESSOR

 protected:
  GeneratedSetManager* CreateEmpty() const override;
};

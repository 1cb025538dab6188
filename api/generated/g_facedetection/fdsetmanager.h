// The manager of the face detection configuration.
#pragma once

#include "generatedsetmanager.h"
#include "rawmodule.h"

// Its modules, in the order in which their classes are made.
// clang-format off
#define FACE_DETECTION_SET_MODULES(RAW) \
  RAW(fdconfigdata)
// clang-format on

class PARAMETER_API fdSetManager : public GeneratedSetManager {
 public:
  fdSetManager();

  // One accessor a module, GetModule_<name>: the record for a branch of modes, or null. `previous`,
  // a record obtained earlier, is released.
#define TUNING_RAW_ACCESSOR(name)                                                       \
  tuning::RawModuleType* GetModule_##name(const TuningMode* branch, unsigned int count, \
                                          tuning::RawModuleType* previous);
  FACE_DETECTION_SET_MODULES(TUNING_RAW_ACCESSOR)
#undef TUNING_RAW_ACCESSOR

 protected:
  GeneratedSetManager* CreateEmpty() const override;
};

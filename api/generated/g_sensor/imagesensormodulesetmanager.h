// The manager of the sensor driver data.
#pragma once

#include "generatedsetmanager.h"
#include "rawmodule.h"

// Its modules, in the order in which their classes are made.
// clang-format off
#define SENSOR_SET_MODULES(RAW) \
  RAW(actuatorDriver)           \
  RAW(actuatorDriver1)          \
  RAW(EEbinDriver)              \
  RAW(EEPROMDriverData)         \
  RAW(flashDriverData)          \
  RAW(flashDriverDataSecondary) \
  RAW(cameraModuleData)         \
  RAW(OISDriver)                \
  RAW(PDConfigData)             \
  RAW(sensorDriverData)         \
  RAW(sensorBinSocIdMap)
// clang-format on

class PARAMETER_API ImageSensorModuleSetManager : public GeneratedSetManager {
 public:
  ImageSensorModuleSetManager();

  // One accessor a module, GetModule_<name>: the record for a branch of modes, or null. `previous`,
  // a record obtained earlier, is released.
#define TUNING_RAW_ACCESSOR(name)                                                       \
  tuning::RawModuleType* GetModule_##name(const TuningMode* branch, unsigned int count, \
                                          tuning::RawModuleType* previous);
  SENSOR_SET_MODULES(TUNING_RAW_ACCESSOR)
#undef TUNING_RAW_ACCESSOR

 protected:
  GeneratedSetManager* CreateEmpty() const override;
};

#include "imagesensormodulesetmanager.h"

#include "moduleaccess.h"

#define TUNING_RAW_ACCESSOR(name)                                                      \
  tuning::RawModuleType* ImageSensorModuleSetManager::GetModule_##name(                \
      const TuningMode* branch, unsigned int count, tuning::RawModuleType* previous) { \
    return tuning::GetRecord(*this, #name, branch, count, previous);                   \
  }
SENSOR_SET_MODULES(TUNING_RAW_ACCESSOR)

#define TUNING_RAW_PROTOTYPE(name) \
  AddModule(new tuning::GeneratedModule<tuning::RawModuleType>(#name));
ImageSensorModuleSetManager::ImageSensorModuleSetManager(){SENSOR_SET_MODULES(TUNING_RAW_PROTOTYPE)}

GeneratedSetManager* ImageSensorModuleSetManager::CreateEmpty() const {
  return new ImageSensorModuleSetManager;
}

// What the managers of generated modules have in common.
#pragma once

#include "parametersetmanager.h"

class PARAMETER_API GeneratedSetManager : public ParameterSetManager {
 public:
  ~GeneratedSetManager() override;

  // Takes the prototype of a module class; one without a type is ignored.
  void AddModule(ParameterModule* module);
  void SaveAndClearModules() override;
  DefaultModule* FindDefaultModule(const char* type) override;
  // Exchanges the tuning data under running clients; afterwards the manager is in buffer mode.
  bool UpdateBinaryParameters(const void* buffer, uint64_t length);

 protected:
  // Errors and warnings are logged, files are kept, and 17 modes stay in memory.
  GeneratedSetManager();
  // A new manager of the same class.
  virtual GeneratedSetManager* CreateEmpty() const = 0;
};

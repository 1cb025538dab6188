// What the accessors of the managers do.
#pragma once

#include "generatedmodule.h"
#include "parametersetmanager.h"
#include "rawmodule_class.h"

namespace tuning {

// The record of a module for a branch of modes, or null; `previous` is released.
template <class Root>
Root* GetRecord(ParameterSetManager& manager, const char* name, const TuningMode* branch,
                uint32_t count, Root* previous) {
  using Class = GeneratedModule<Root>;
  return static_cast<Class*>(manager.GetModule(name, branch, count, static_cast<Class*>(previous)));
}

}  // namespace tuning

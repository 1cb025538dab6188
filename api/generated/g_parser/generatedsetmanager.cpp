#include "generatedsetmanager.h"

namespace {

constexpr uint32_t kMaximumModes = 17;

}  // namespace

GeneratedSetManager::GeneratedSetManager() {
  SetLogLevels(true, true, false);
  SetMaximumModes(kMaximumModes);
  SetFileModeWanted(true);
}

GeneratedSetManager::~GeneratedSetManager() {
  DeleteDefaultModules();
}

void GeneratedSetManager::AddModule(ParameterModule* module) {
  if (module == nullptr || module->GetType()[0] == '\0') return;
  const ParameterWriteLock lock(dataMutex_);
  auto* added = new DefaultModule(module);
  if (added == nullptr) {
    delete module;
  } else if (!defaultModules_.Insert(module->GetType(), added)) {
    delete added;
  }
}

void GeneratedSetManager::SaveAndClearModules() {
  for (uint32_t i = 0; i < defaultModules_.Count(); ++i)
    defaultModules_.ValueAt(i)->MoveAll(replacedModules_);
}

DefaultModule* GeneratedSetManager::FindDefaultModule(const char* type) {
  const ParameterReadLock lock(dataMutex_);
  DefaultModule** found = defaultModules_.Find(type);
  if (found != nullptr) return *found;
  PARAMETER_ERROR(this, "Failed to find module %s in DefaultModuleMap\n", type);
  return nullptr;
}

bool GeneratedSetManager::UpdateBinaryParameters(const void* buffer, uint64_t length) {
  const ParameterWriteLock lock(dataMutex_);
  if (!IsLoadValid()) {
    SetError("UpdateBinaryParameters failed, original parameter load is invalid");
    return false;
  }
  if (IsFileMode() && !ReloadBinaryParameters(true)) {
    SetError("UpdateBinaryParameters failed to reload parameters in buffer mode");
    return false;
  }
  GeneratedSetManager* newManager = CreateEmpty();
  if (newManager != nullptr) newManager->DeleteLink();  // tools talk to this one
  bool updated = newManager != nullptr && newManager->LoadBinaryParameters(buffer, length);
  if (updated) {
    updated = UpdateParameters(*newManager);
  } else {
    SetError("UpdateBinaryParameters failed to load parameters");
  }
  if (newManager != nullptr && !replacedManagers_.Add(newManager)) delete newManager;
  return updated;
}

// Exchanging the tuning data under running clients.
#include <cstdio>

#include "orvo/osutils.h"
#include "parametersetmanager.h"

namespace {

// No tree of modes is as deep; the walk over one calls itself.
constexpr uint32_t kMaxTreeDepth = 256;

}  // namespace

void ParameterSetManager::FreeBinaryParameters() {
  PARAMETER_DEBUG(this, "FreeBinaryParameters called\n");
  const ParameterWriteLock lock(dataMutex_);
  ModuleChain instances;
  TakeInstances(instances);
  RetireLoaded(loaded_, instances);
  PublishTag();
  recentModes_.Clear();
}

// Moves all instances into a list of their own.
void ParameterSetManager::TakeInstances(ModuleChain& instances) {
  ModuleChain before;
  before.TakeAll(replacedModules_);
  SaveAndClearModules();
  instances.TakeAll(replacedModules_);
  replacedModules_.TakeAll(before);
}

void ParameterSetManager::FreeReplacedParameters() {
  PARAMETER_DEBUG(this, "FreeReplacedParameters called\n");
  const ParameterWriteLock lock(dataMutex_);
  replacedModules_.DeleteAll();
  for (uint32_t i = 0; i < replacedManagers_.Count(); ++i) delete replacedManagers_[i];
  replacedManagers_.Clear();
}

// What no client holds any more. Nobody ever gets a pointer out of a replaced manager.
void ParameterSetManager::FreeUnusedReplaced() {
  for (ModuleLink* link = replacedModules_.First(); link != nullptr;) {
    ModuleLink* next = link->next;
    if (!link->module->HasClients()) {
      replacedModules_.Unlink(link);
      link->module->UnloadModule();
      delete link;
    }
    link = next;
  }
  for (uint32_t i = 0; i < replacedManagers_.Count(); ++i) delete replacedManagers_[i];
  replacedManagers_.Clear();
}

bool ParameterSetManager::IsFileModified() const {
  const ParameterBinaryFile* file = loaded_.table == nullptr ? nullptr : loaded_.table->GetFile();
  return file != nullptr && file->IsModified();
}

// Several threads may find the file changed; the first one reloads it.
bool ParameterSetManager::ReloadIfModified() {
  const ParameterWriteLock lock(dataMutex_);
  return !IsFileModified() || ReloadBinaryParameters(false);
}

// The new data is built beside the old one, which comes back if the file can't be had.
bool ParameterSetManager::ReloadBinaryParameters(bool bufferMode) {
  const ParameterWriteLock lock(dataMutex_);
  if (loaded_.fileName[0] == '\0') {
    SetError("ReloadBinaryParameters called with empty file name");
    return false;
  }
  PARAMETER_DEBUG(this, "Reloading binary file %s%s\n", loaded_.fileName,
                  bufferMode ? " in buffer mode" : "");
  FreeUnusedReplaced();

  ModuleChain instances;
  TakeInstances(instances);
  LoadedData old = loaded_;
  loaded_ = {};
  PList<ModeEntry*> oldRecent;
  oldRecent.Swap(recentModes_);

  if (FinishLoad(bufferMode ? ReloadAsBuffer(old.fileName) : LoadFile(old.fileName, true))) {
    RetireLoaded(old, instances);
    return true;
  }
  ModuleChain rejected;
  TakeInstances(rejected);
  rejected.DeleteAll();
  DropLoaded();
  RestoreLoaded(old, instances);
  recentModes_.Swap(oldRecent);
  return false;
}

// The instances stay for the clients that hold them, and keep their symbol table; the tree goes.
void ParameterSetManager::RetireLoaded(LoadedData& loaded, ModuleChain& instances) {
  for (ModuleLink* link = instances.First(); link != nullptr; link = link->next)
    link->module->Retire();
  replacedModules_.TakeAll(instances);
  if (loaded.table != nullptr) {
    loaded.table->ForgetModes();
    loaded.table->RemoveUser();
  }
  delete loaded.tree;
  loaded = {};
}

void ParameterSetManager::RestoreLoaded(LoadedData& loaded, ModuleChain& instances) {
  while (ModuleLink* link = instances.First()) {
    instances.Unlink(link);
    FindDefaultModule(link->module->GetType())->RestoreLink(link);
  }
  loaded_ = loaded;
  PublishTag();
}

// ---- Update

bool ParameterSetManager::UpdateParameters(ParameterSetManager& newManager) {
  const ParameterWriteLock lock(dataMutex_);
  if (loaded_.tree == nullptr || newManager.loaded_.tree == nullptr) return false;
  // The modules keep the table that they came with; what they report goes to this manager.
  if (newManager.loaded_.table != nullptr) newManager.loaded_.table->SetManager(this);
  return UpdateNode(newManager, newManager.loaded_.tree->GetRoot(), loaded_.tree->GetRoot(), 0);
}

bool ParameterSetManager::UpdateNode(ParameterSetManager& newManager, ModeEntry* source,
                                     ModeEntry* target, uint32_t depth) {
  if (depth > kMaxTreeDepth) return false;
  if (target->GetLink() == nullptr) MoveModules(newManager, source, target);
  for (ModeEntry* child = source->GetFirstChild(); child != nullptr;
       child = child->GetNextSibling()) {
    ModeEntry* counterpart = target->FindChild(child->GetMode());
    if (counterpart == nullptr || !UpdateNode(newManager, child, counterpart, depth + 1))
      return false;
  }
  return true;
}

void ParameterSetManager::MoveModules(ParameterSetManager& newManager, ModeEntry* source,
                                      ModeEntry* target) {
  while (ParameterModule* module = source->TakeModule()) {
    ParameterModule* replaced = target->ReplaceModule(module);
    if (replaced == nullptr) continue;  // nobody can ask for it: it goes with the new manager
    JoinModule(newManager, module, source, target);
    if (replaced != module) RetireModule(replaced);
  }
}

// An instance that several modes share joins once; its own mode is the last word on where it
// belongs.
void ParameterSetManager::JoinModule(ParameterSetManager& newManager, ParameterModule* module,
                                     const ModeEntry* source, ModeEntry* target) {
  DefaultModule* from = newManager.FindDefaultModule(module->GetType());
  ModuleLink* link = from == nullptr ? nullptr : from->RemoveModule(module);
  if (link != nullptr) FindDefaultModule(module->GetType())->RestoreLink(link);
  const ModeEntry* own = newManager.loaded_.tree->GetModeEntry(module->GetData()->modeId);
  if (link != nullptr || own == source) module->SetMode(target);
}

// The same for an instance that is replaced: the first mode that gives it up retires it.
void ParameterSetManager::RetireModule(ParameterModule* module) {
  ModuleLink* link = FindDefaultModule(module->GetType())->RemoveModule(module);
  if (link == nullptr) return;
  module->Retire();
  replacedModules_.Append(link);
}

// Finding modules, and the bounded set of modes that file mode keeps in memory.
#include <algorithm>
#include <cstdio>

#include "parametersetmanager.h"

namespace {

constexpr uint32_t kMinRecentModes = 5;
constexpr uint32_t kMaxPathText = 1024;

// The branch as text, for log lines.
struct BranchText {
  BranchText(const TuningMode* branch, uint32_t count) {
    ParameterSetManager::GetPathFromModeBranch(branch, count, text, sizeof(text));
  }
  char text[kMaxPathText] = {};
};

// The place of a node as text, for log lines.
struct ModeText {
  explicit ModeText(const ModeEntry* mode) { mode->GetModePath(text, sizeof(text)); }
  char text[kMaxPathText] = {};
};

// The elements from `first` on that have one mode.
uint32_t GroupSize(const TuningMode* branch, uint32_t count, uint32_t first) {
  uint32_t end = first + 1;
  while (end < count && branch[end].mode == branch[first].mode) ++end;
  return end - first;
}

// Calls `visit` with each node along a branch behind the root; the last one, or null if a group
// leads nowhere, which ends the walk.
template <class Visit>
ModeEntry* WalkGroups(ModeEntry* root, const TuningMode* branch, uint32_t count, Visit visit) {
  ModeEntry* current = root;
  for (uint32_t i = 1; i < count;) {
    const uint32_t size = GroupSize(branch, count, i);
    current = current->FindMode(branch + i, size);
    if (current == nullptr) return nullptr;
    visit(current);
    i += size;
  }
  return current;
}

}  // namespace

struct ParameterSetManager::LookUp {
  ParameterName name;
  const TuningMode* branch;
  uint32_t count;
  ParameterModule* previous;
  ParameterModule* result = nullptr;
};

void ParameterSetManager::WarnOfBranch(const char* name, const TuningMode* branch,
                                       uint32_t count) const {
  if (branch == nullptr && count != 0) {
    PARAMETER_WARNING(this,
                      "GetModule(%s) called with modeBranch == null and modeCount = %d, will "
                      "return default mode module data\n",
                      name, static_cast<int>(count));
  } else if (count != 0 && (branch[0].mode != 0 || branch[0].subMode != 0)) {
    PARAMETER_WARNING(this,
                      "GetModule(%s) called with first mode != Default, might not return module "
                      "data from the desired mode path: %s\n",
                      name, BranchText(branch, count).text);
  }
}

ParameterModule* ParameterSetManager::GetModule(const char* name, const TuningMode* branch,
                                                uint32_t count, ParameterModule* previous) {
  if (name == nullptr) {
    const ParameterReadLock lock(dataMutex_);
    SetError("GetModule called with nullptr module name");
    if (previous != nullptr) ReleaseModule(previous);
    return nullptr;
  }
  LookUp request{name, branch, count, previous};
  // A reload needs all locks, so it runs between two attempts that hold them.
  if (!LookUpModule(request, false)) {
    ReloadIfModified();
    LookUpModule(request, true);
  }
  return request.result;
}

// False: the file has changed, and there is another attempt.
bool ParameterSetManager::LookUpModule(LookUp& request, bool lastAttempt) {
  const ParameterReadLock lock(dataMutex_);
  const char* name = request.name.text;
  if (!lastAttempt) WarnOfBranch(name, request.branch, request.count);
  if (request.branch == nullptr) request.count = 0;
  if (loaded_.tree == nullptr || loaded_.tree->GetRoot() == nullptr) {
    PARAMETER_ERROR(this, "GetModule %s called with no binary loaded\n", name);
  } else if (loaded_.fileName[0] == '\0') {
    request.result = WalkBranch(request);
  } else {
    const ParameterWriteLock loadLock(loadMutex_);
    const bool current = LoadModeInternal(request.branch, request.count, name);
    if (!current && !lastAttempt && IsFileModified()) return false;
    request.result = WalkBranch(request);
    if (request.result != nullptr && !ModeEntry::AddReference(request.result))
      request.result = nullptr;
  }
  if (request.result != nullptr) request.result->AddClient();
  if (request.previous != nullptr) ReleaseModule(request.previous);
  return true;
}

void ParameterSetManager::WarnOfEmptyManager(const char* name) const {
  const auto number = [](const void* address) { return reinterpret_cast<unsigned long>(address); };
  PARAMETER_ERROR(this,
                  "GetModule(%s) Uninitialized Set Manager. this: %lx, SymbolTable: %lx, Modes: "
                  "%lx, ModeCount: %d, RootMode: %lx\n",
                  name, number(this), number(loaded_.table), number(loaded_.tree),
                  static_cast<int>(loaded_.tree->GetModeCount()), number(loaded_.tree->GetRoot()));
}

// What modes inherit that don't hold the module themselves.
ParameterModule* ParameterSetManager::FindInRoot(const LookUp& request) {
  ParameterModule* module = loaded_.tree->GetRoot()->FindModule(request.name);
  if (module != nullptr) return EnsureLoaded(module) ? module : nullptr;
  constexpr TuningMode kDefault{0, 0};
  PARAMETER_WARNING(this, "GetModule %s module not found in default scenario (%s), mode path: %s\n",
                    request.name.text, BranchText(&kDefault, 1).text,
                    BranchText(request.branch, request.count).text);
  return nullptr;
}

ParameterModule* ParameterSetManager::WalkBranch(const LookUp& request) {
  const char* name = request.name.text;
  if (defaultModules_.Count() == 0) WarnOfEmptyManager(name);
  ParameterModule* result = FindInRoot(request);
  WalkGroups(loaded_.tree->GetRoot(), request.branch, request.count, [&](ModeEntry* mode) {
    ParameterModule* module = mode->FindModule(request.name);
    if (module == nullptr) return;
    if (EnsureLoaded(module)) {
      result = module;
    } else {
      PARAMETER_ERROR(this, "Failed to load module %s, path: %s, skipping\n", name,
                      BranchText(request.branch, request.count).text);
    }
  });
  if (result == nullptr)
    PARAMETER_ERROR(this, "GetModule %s failed to find a loaded module in %s, returning null\n",
                    name, BranchText(request.branch, request.count).text);
  return result;
}

bool ParameterSetManager::EnsureLoaded(ParameterModule* module) {
  if (module->IsLoaded()) return true;
  const ParameterWriteLock lock(loadMutex_);
  const ModuleData* data = module->GetData();
  if (data == nullptr || !module->LoadModule(data->symbolTable)) return false;
  TouchMode(data->mode);
  return true;
}

void ParameterSetManager::ReleaseModule(ParameterModule* module) {
  const ParameterReadLock lock(dataMutex_);
  if (loaded_.fileName[0] != '\0' && !module->IsRetired()) {
    const ParameterWriteLock loadLock(loadMutex_);
    ModeEntry::ReleaseReference(module);
  }
  module->RemoveClient();
}

bool ParameterSetManager::LoadMode(const TuningMode* branch, uint32_t count, const char* name) {
  for (const bool lastAttempt : {false, true}) {
    {
      const ParameterReadLock lock(dataMutex_);
      if (loaded_.tree == nullptr || loaded_.tree->GetRoot() == nullptr) {
        SetError("LoadMode called with no binary file loaded");
        return false;
      }
      if (loaded_.fileName[0] == '\0') {
        SetError("LoadMode is not valid in buffer mode");
        return false;
      }
      const ParameterWriteLock loadLock(loadMutex_);
      if (LoadModeInternal(branch, branch == nullptr ? 0 : count, name)) return true;
      if (lastAttempt || !IsFileModified()) return false;
    }
    ReloadIfModified();
  }
  return false;
}

// What a load of modes is for, and how often it has opened the file.
struct ParameterSetManager::LoadRequest {
  const char* name;
  const TuningMode* branch;
  uint32_t count;
  uint32_t fileReferences = 0;
};

// Loads the modes along a branch; the file stays open from the first one that needs it.
bool ParameterSetManager::LoadModeInternal(const TuningMode* branch, uint32_t count,
                                           const char* name) {
  LoadRequest request{name, branch, count};
  ModeEntry* root = loaded_.tree->GetRoot();
  bool loaded = LoadModules(root, request);
  WalkGroups(root, branch, count, [&](ModeEntry* mode) {
    if (!LoadModules(mode, request)) loaded = false;
  });
  if (request.fileReferences != 0)
    loaded_.table->FileReference(-static_cast<int32_t>(request.fileReferences));
  return loaded;
}

// A linked mode is told with the one that its modules stand in.
void ParameterSetManager::LogLoading(bool load, ModeEntry* mode, const LoadRequest& request) const {
  if (!logsDebug_) return;
  const BranchText branch(request.branch, request.count);
  const bool linked = mode->GetLink() != nullptr;
  PARAMETER_DEBUG(this, "%soading modules (GetModule:%s:%s): %s%s%s\n", load ? "L" : "Unl",
                  request.name == nullptr ? "Unknown" : request.name,
                  branch.text[0] == '\0' ? "Unknown" : branch.text, ModeText(mode).text,
                  linked ? "->" : "", linked ? ModeText(mode->Resolve()).text : "");
}

bool ParameterSetManager::LoadModules(ModeEntry* mode, LoadRequest& request) {
  if (mode == nullptr) {
    PARAMETER_ERROR(this, "LoadModules: mode is nullptr\n");
    return true;
  }
  ModeEntry* resolved = mode->Resolve();
  bool loaded = true;
  if (!resolved->IsLoaded()) {
    LogLoading(true, mode, request);
    loaded_.table->FileReference(1);
    ++request.fileReferences;
    loaded = LoadModulesOf(resolved);
  }
  if (resolved->GetModuleCount() != 0) TouchMode(resolved);
  TrimRecentModes();
  return loaded;
}

bool ParameterSetManager::LoadModulesOf(ModeEntry* mode) {
  mode->SetLoaded(true);
  for (uint32_t i = 0; i < mode->GetModuleCount(); ++i) {
    ParameterModule* module = mode->GetModuleAt(i);
    module->LoadModule(module->GetData()->symbolTable);
    TouchMode(module->GetData()->mode);  // an instance that another mode owns
    if (module->IsLoaded()) continue;
    mode->SetLoaded(false);
    return false;
  }
  return true;
}

bool ParameterSetManager::UnloadModules(ModeEntry* mode) {
  if (mode->IsResident()) return true;
  LogLoading(false, mode, {nullptr, nullptr, 0});
  for (uint32_t i = 0; i < mode->GetModuleCount(); ++i) {
    ParameterModule* module = mode->GetModuleAt(i);
    if (module->GetData()->mode != mode || !module->IsLoaded()) continue;
    const uint32_t references = mode->GetReferenceCount(module);
    if (references != 0) {
      PARAMETER_WARNING(this, "Unloading referenced module %s, Mode: %s, Ref count: %u\n",
                        module->GetName(), ModeText(mode).text, references);
    }
    module->UnloadModule();
  }
  mode->SetLoaded(false);
  if (mode->IsActive()) {
    PARAMETER_WARNING(this, "Unloading mode with %u unreleased modules: %s\n",
                      mode->GetReferenceCount(nullptr), ModeText(mode).text);
    mode->ReleaseReferences(this);
  }
  recentModes_.RemoveAt(recentModes_.IndexOf(mode));
  return true;
}

bool ParameterSetManager::UnloadMode(const TuningMode* branch, uint32_t count) {
  const ParameterReadLock lock(dataMutex_);
  if (loaded_.tree == nullptr || loaded_.tree->GetRoot() == nullptr) {
    SetError("UnloadMode root mode is nullptr");
    return false;
  }
  if (loaded_.fileName[0] == '\0') {
    SetError("UnloadMode is not valid in buffer mode");
    return false;
  }
  const ParameterWriteLock loadLock(loadMutex_);
  ModeEntry* mode = FindNode(branch, count);
  if (mode == nullptr) return false;
  const bool unloaded = UnloadModules(mode->Resolve());
  TrimRecentModes();
  return unloaded;
}

// The root and the modes of the sensors always stay, so they aren't counted.
void ParameterSetManager::TouchMode(ModeEntry* mode) {
  if (mode == nullptr || loaded_.fileName[0] == '\0' ||
      mode->GetMode().mode <= ModeEntry::kRootModes)
    return;
  if (recentModes_[0] == mode) return;
  recentModes_.RemoveAt(recentModes_.IndexOf(mode));
  recentModes_.Insert(0, mode);
}

// An active mode stays, so the list can exceed its bound.
void ParameterSetManager::TrimRecentModes() {
  const uint32_t bound = std::max(kMinRecentModes, maximumModes_);
  for (uint32_t i = recentModes_.Count(); i > bound; --i) {
    ModeEntry* mode = recentModes_[i - 1];
    if (maximumModes_ == 0 || mode->IsResident()) {
      recentModes_.RemoveAt(i - 1);
    } else if (!mode->IsActive()) {
      UnloadModules(mode);
    }
  }
}

ModeEntry* ParameterSetManager::FindNode(const TuningMode* branch, uint32_t count) const {
  ModeEntry* root = loaded_.tree == nullptr ? nullptr : loaded_.tree->GetRoot();
  if (root == nullptr || branch == nullptr) return root;
  return WalkGroups(root, branch, count, [](ModeEntry*) {});
}

ModeEntry* ParameterSetManager::GetModeEntry(const TuningMode* branch, uint32_t count) {
  const ParameterReadLock lock(dataMutex_);
  return FindNode(branch, count);
}

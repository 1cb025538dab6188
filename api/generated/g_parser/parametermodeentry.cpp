#include "parametermodeentry.h"

#include <cstdio>
#include <cstring>

#include "parameterlogging.h"
#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

// A group longer than any chain of nested modes, and a tree of links made to be searched for ever,
// find nothing.
constexpr uint32_t kMaxGroup = 64;
constexpr uint32_t kMaxLookUps = 100000;

}  // namespace

ModeEntry* ModeEntry::Resolve() {
  ModeEntry* entry = this;
  while (entry->link_ != nullptr) entry = entry->link_;
  return entry;
}

bool ModeEntry::AddMode(ModeEntry* child) {
  // A key that is taken keeps its first node; the later one is reached by its number alone.
  if (childByMode_.Find(child->mode_.Key()) == nullptr &&
      !childByMode_.Insert(child->mode_.Key(), child))
    return false;
  child->parent_ = this;
  (lastChild_ == nullptr ? firstChild_ : lastChild_->nextSibling_) = child;
  lastChild_ = child;
  return true;
}

bool ModeEntry::AddModule(ParameterModule* module) {
  auto& modules = Resolve()->modules_;
  return modules.Find(module->GetName()) != nullptr ||
         modules.Insert(module->GetName(), {module, 0});
}

ParameterModule* ModeEntry::ReplaceModule(ParameterModule* module) {
  auto& modules = Resolve()->modules_;
  ModuleUse* use = modules.Find(module->GetName());
  if (use == nullptr) return nullptr;
  ParameterModule* replaced = use->module;
  modules.Replace(module->GetName(), {module, 0});  // the key's text belongs to the instance
  return replaced;
}

ParameterModule* ModeEntry::TakeModule() {
  if (modules_.Count() == 0) return nullptr;
  ParameterModule* module = modules_.ValueAt(0).module;
  modules_.Erase(modules_.KeyAt(0));
  return module;
}

ModeEntry* ModeEntry::FindChild(ModeUnion mode) {
  ModeEntry* const* child = Resolve()->childByMode_.Find(mode.Key());
  return child == nullptr ? nullptr : *child;
}

ParameterModule* ModeEntry::FindModule(const ParameterName& name) {
  const ModuleUse* use = Resolve()->modules_.Find(name);
  return use == nullptr ? nullptr : use->module;
}

struct ModeEntry::Search {
  ModeEntry* Below(ModeEntry* entry, uint32_t depth) {
    for (uint32_t i = 0; i < count && lookUpsLeft != 0; ++i, --lookUpsLeft) {
      if (group[i].mode > UINT16_MAX) continue;
      ModeEntry* child = entry->FindChild({static_cast<uint16_t>(group[i].mode), group[i].subMode});
      if (child == nullptr) continue;
      if (depth + 1 >= count) return child;
      if (ModeEntry* end = Below(child, depth + 1)) return end;
      if (lookUpsLeft == 0) return nullptr;
    }
    return nullptr;
  }

  const TuningMode* group;
  uint32_t count;
  uint32_t lookUpsLeft = kMaxLookUps;
};

ModeEntry* ModeEntry::FindMode(const TuningMode* group, uint32_t count) {
  if (count == 0 || count > kMaxGroup) return nullptr;
  return Search{group, count}.Below(this, 0);
}

bool ModeEntry::IsAncestorOf(const ModeEntry* other) const {
  while (other != nullptr && other != this) other = other->parent_;
  return other == this;
}

// Writes from the leaf up, into a place of its own, since a tree may be deep.
bool ModeEntry::GetModePath(char* buffer, uint32_t size) const {
  constexpr uint32_t kMaxPath = 1024;
  char path[kMaxPath];
  uint32_t start = kMaxPath - 1;
  path[start] = '\0';
  for (const ModeEntry* entry = this; entry != nullptr; entry = entry->parent_) {
    char step[16];
    const int length = std::snprintf(step, sizeof(step), "%u.%u%s", entry->mode_.mode,
                                     entry->mode_.subMode, entry == this ? "" : "|");
    if (length < 0 || static_cast<uint32_t>(length) > start) return false;
    start -= static_cast<uint32_t>(length);
    std::memcpy(path + start, step, static_cast<size_t>(length));
  }
  uint32_t position = 0;
  return ParameterUtils::WriteString(path + start, buffer, size, &position, true, nullptr);
}

uint32_t ModeEntry::GetReferenceCount(const ParameterModule* module) const {
  uint32_t total = 0;
  for (uint32_t i = 0; i < modules_.Count(); ++i) {
    const ModuleUse& use = modules_.ValueAt(i);
    if (module == nullptr || use.module == module) total += use.references;
  }
  return total;
}

// The use of a module in the mode that owns it; null, with a log line, if there is none. `what` is
// "add reference to" or "release".
ModeEntry::ModuleUse* ModeEntry::FindUse(ParameterModule* module, const char* what) {
  const ModuleData* data = module->GetData();
  const IParameterLoggingAPI* logger = data == nullptr ? nullptr : data->setManager;
  const ModeUnion mode = module->GetMode();
  const char* name = module->GetName();
  if (data == nullptr || data->mode == nullptr) {
    PARAMETER_ERROR(logger,
                    "Attempt to %s module with a nullptr %s object.  Mode: %d, SubMode: %d, Module "
                    "%s\n",
                    what, data == nullptr ? "Data" : "Data->Mode", mode.mode, mode.subMode, name);
    return nullptr;
  }
  ModuleUse* use = data->mode->Resolve()->modules_.Find(name);
  if (use == nullptr || use->module != module) {
    PARAMETER_ERROR(logger,
                    "Attempt to %s a non-existant module.  Mode: %d, SubMode: %d, Module %s\n",
                    what, mode.mode, mode.subMode, name);
    return nullptr;
  }
  return use;
}

bool ModeEntry::AddReference(ParameterModule* module) {
  ModuleUse* use = FindUse(module, "add reference to");
  if (use == nullptr) return false;
  ++use->references;
  return true;
}

bool ModeEntry::ReleaseReference(ParameterModule* module) {
  ModuleUse* use = FindUse(module, "release");
  if (use == nullptr) return false;
  if (use->references == 0) {
    PARAMETER_WARNING(module->GetData()->setManager,
                      "Attempt to release unreferenced module.  Mode: %d, SubMode: %d, Module %s\n",
                      module->GetMode().mode, module->GetMode().subMode, module->GetName());
    return false;
  }
  --use->references;
  return true;
}

void ModeEntry::ReleaseReferences(const IParameterLoggingAPI* logger) {
  for (uint32_t i = 0; i < modules_.Count(); ++i) {
    ModuleUse& use = modules_.ValueAt(i);
    if (use.references == 0) continue;
    PARAMETER_WARNING(logger, "ReleaseReferences called with unreleased module: %s, RefCnt: %d\n",
                      use.module->GetName(), static_cast<int>(use.references));
    use.references = 0;
  }
}

// Queries of a tuning tool by text.
#include <cstdio>
#include <cstring>

#include "orvo/osutils.h"
#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

constexpr uint32_t kMaxValueText = 65535;
constexpr uint32_t kMaxPath = 1024;

// The first word of a path; what stands behind its point.
const char* SplitModuleName(const char* path, char* name) {
  const uint32_t length =
      ParameterUtils::GetSubString(path, '.', name, ParameterModule::kMaxName + 1);
  const char* rest = path + length;
  return *rest == '.' ? rest + 1 : (*rest == '\0' ? rest : nullptr);
}

bool JoinPath(const char* front, const char* back, size_t backLength, char* path) {
  const char* point = *front != '\0' && backLength != 0 ? "." : "";
  const int length =
      std::snprintf(path, kMaxPath, "%s%s%.*s", front, point, static_cast<int>(backLength), back);
  return length >= 0 && length < static_cast<int>(kMaxPath) && backLength < kMaxPath;
}

// An answer of "name=value" entries joined by ";".
class Answer {
 public:
  Answer(char* buffer, uint32_t size) : buffer_(buffer), size_(size) { buffer_[0] = '\0'; }

  // Reads one value; only what can be read becomes an entry. False when the buffer is full.
  bool AddValue(ParameterModule& module, const char* path, const char* name) {
    return ReadValue(module, path) ? Add(name) : true;
  }
  // The elements of an array, joined by ",".
  bool AddArray(ParameterModule& module, const char* path, const char* name, uint32_t count) {
    if (!HasScratch()) return false;
    pdlib::OwnedArray<char> elements;
    elements.swap(scratch_);
    uint32_t length = 0;
    for (uint32_t i = 0; i < count; ++i) {
      char element[kMaxPath];
      if (std::snprintf(element, sizeof(element), "%s[%u]", path, i) >= int{kMaxPath}) return false;
      if (!ReadValue(module, element)) continue;
      const size_t need = std::strlen(scratch_.data()) + 2;
      if (need > elements.size() - length) return false;
      length += static_cast<uint32_t>(std::snprintf(elements.data() + length, need, "%s%s",
                                                    length == 0 ? "" : ",", scratch_.data()));
    }
    elements[length] = '\0';
    scratch_.swap(elements);
    return Add(name);
  }
  bool IsEmpty() const { return length_ == 0; }

 private:
  bool HasScratch() { return !scratch_.empty() || scratch_.allocate(kMaxValueText + 1); }

  bool ReadValue(ParameterModule& module, const char* path) {
    return HasScratch() && module.GetValue(path, scratch_.data(), kMaxValueText);
  }

  bool Add(const char* name) {
    const int added = std::snprintf(buffer_ + length_, size_ - length_, "%s%s=%s",
                                    length_ == 0 ? "" : ";", name, scratch_.data());
    if (added < 0 || static_cast<uint32_t>(added) >= size_ - length_) {
      buffer_[length_] = '\0';  // whole entries alone
      return false;
    }
    length_ += static_cast<uint32_t>(added);
    return true;
  }

  char* buffer_;
  uint32_t size_;
  uint32_t length_ = 0;
  pdlib::OwnedArray<char> scratch_;
};

// All fields of a record, or the one that the path addresses.
bool AnswerFields(ParameterModule& module, const char* path, Answer& answer) {
  PList<ParameterParserInfo> fields(16);
  if (!module.GetInfo(path, fields))
    return answer.AddValue(module, path, ParameterUtils::GetLastName(path)) && !answer.IsEmpty();
  for (uint32_t i = 0; i < fields.Count(); ++i) {
    const ParameterParserInfo& field = fields[i];
    if (std::strcmp(field.type, "Module") == 0 || std::strcmp(field.type, "Structure") == 0)
      continue;
    char fieldPath[kMaxPath];
    bool added = false;
    if (field.name == nullptr) {
      added = answer.AddValue(module, path, ParameterUtils::GetLastName(path));
    } else if (!JoinPath(path, field.name, std::strlen(field.name), fieldPath)) {
      return false;
    } else if (field.isArray) {
      added = answer.AddArray(module, fieldPath, field.name, field.arrayCount);
    } else {
      added = answer.AddValue(module, fieldPath, field.name);
    }
    if (!added) return false;
  }
  return true;
}

bool AnswerNames(ParameterModule& module, const char* path, const char* names, Answer& answer) {
  while (*names != '\0') {
    const size_t length = std::strcspn(names, ",");
    char name[kMaxPath];
    char fieldPath[kMaxPath];
    if (!JoinPath("", names, length, name) || !JoinPath(path, names, length, fieldPath) ||
        !answer.AddValue(module, fieldPath, name))
      return false;
    names += length;
    if (*names == ',') ++names;
  }
  return !answer.IsEmpty();
}

}  // namespace

// Runs the operation on the module that a path names, with the rest of the path, while nobody else
// reads or changes records by text. A module that is replaced before that is asked for again.
template <class Operation>
bool ParameterSetManager::WithModule(const TuningMode* branch, uint32_t count,
                                     const char* modulePath, Operation operation) {
  char name[ParameterModule::kMaxName + 1];
  const char* rest = SplitModuleName(modulePath, name);
  if (rest == nullptr) return false;
  for (ParameterModule* module = nullptr;;) {
    module = GetModule(name, branch, count, module);
    if (module == nullptr) return false;
    const ParameterReadLock lock(dataMutex_);
    if (module->IsRetired()) continue;
    const ParameterWriteLock loadLock(loadMutex_);
    const bool result = operation(*module, rest);
    ReleaseModule(module);
    return result;
  }
}

bool ParameterSetManager::GetValue(const TuningMode* branch, uint32_t count, const char* modulePath,
                                   const char* names, char* buffer, uint32_t size) {
  if (branch == nullptr || count == 0 || modulePath == nullptr || buffer == nullptr || size == 0)
    return false;
  Answer answer(buffer, size);
  return WithModule(branch, count, modulePath, [&](ParameterModule& module, const char* path) {
    return names == nullptr || *names == '\0' ? AnswerFields(module, path, answer)
                                              : AnswerNames(module, path, names, answer);
  });
}

bool ParameterSetManager::SetValue(const TuningMode* branch, uint32_t count, const char* modulePath,
                                   const char* name, const char* value) {
  if (branch == nullptr || count == 0 || modulePath == nullptr || name == nullptr ||
      value == nullptr)
    return false;
  return WithModule(branch, count, modulePath, [&](ParameterModule& module, const char* path) {
    char fieldPath[kMaxPath];
    if (!JoinPath(path, name, std::strlen(name), fieldPath)) return false;
    if (!module.SetValue(fieldPath, value)) return false;
    ++valueChanges_;
    KeepChanged(&module);
    return true;
  });
}

// A mode that a tool has changed is never unloaded: that would lose the change.
void ParameterSetManager::KeepChanged(ParameterModule* module) {
  ModeEntry* mode = module->GetData()->mode;
  if (mode == nullptr || mode->IsResident()) return;
  mode->SetResident();
  recentModes_.RemoveAt(recentModes_.IndexOf(mode));
}

bool ParameterSetManager::GetInfo(const TuningMode* branch, uint32_t count, const char* path,
                                  PList<ParameterParserInfo>& list) {
  if (branch == nullptr || count == 0) {
    const ParameterReadLock lock(dataMutex_);
    PARAMETER_ERROR(this, "GetInfo called with null or empty modeBranch\n");
    return false;
  }
  if (path == nullptr || *path == '\0') return ListModules(branch, count, list);
  return WithModule(branch, count, path, [&](ParameterModule& module, const char* rest) {
    return module.GetInfo(rest, list);
  });
}

bool ParameterSetManager::ListModules(const TuningMode* branch, uint32_t count,
                                      PList<ParameterParserInfo>& list) {
  PList<const char*> names(64);  // of the prototypes, which live as long as the manager
  {
    const ParameterReadLock lock(dataMutex_);
    ModeEntry* root = loaded_.tree == nullptr ? nullptr : loaded_.tree->GetRoot();
    if (root == nullptr) return false;
    for (uint32_t i = 0; i < root->Resolve()->GetModuleCount(); ++i) {
      const char* type = root->Resolve()->GetModuleAt(i)->GetType();
      if (DefaultModule* found = FindDefaultModule(type))
        names.Add(found->GetPrototype()->GetName());
    }
  }
  bool complete = true;
  for (uint32_t i = 0; i < names.Count(); ++i) {
    const bool listed =
        WithModule(branch, count, names[i], [&](ParameterModule& module, const char*) {
          char path[kMaxPath] = {};
          char named[kMaxPath] = {};
          const ModeEntry* mode = module.GetData()->mode;
          if (mode != nullptr && mode->GetModePath(path, sizeof(path)))
            GetRondelModesString(path, named, sizeof(named));
          return list.Add(ParameterParserInfo(names[i], "Module", named));
        });
    complete = complete && listed;
  }
  return complete;
}

// ---- The forms with a text branch

bool ParameterSetManager::GetValue(const char* modes, const char* modulePath, const char* names,
                                   char* buffer, uint32_t size) {
  PList<TuningMode> branch(8);
  return GetModeBranchFromPath(modes, branch) &&
         GetValue(&branch[0], branch.Count(), modulePath, names, buffer, size);
}

bool ParameterSetManager::SetValue(const char* modes, const char* modulePath, const char* name,
                                   const char* value) {
  PList<TuningMode> branch(8);
  return GetModeBranchFromPath(modes, branch) &&
         SetValue(&branch[0], branch.Count(), modulePath, name, value);
}

bool ParameterSetManager::GetInfo(const char* modes, const char* path,
                                  PList<ParameterParserInfo>& list) {
  PList<TuningMode> branch(8);
  return GetModeBranchFromPath(modes, branch) && GetInfo(&branch[0], branch.Count(), path, list);
}

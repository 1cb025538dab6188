// The nodes of the mode tree.
#pragma once

#include <cstdint>

#include "parameterexport.h"
#include "parameterlogging.h"
#include "parametermap.h"
#include "parametermemory.h"
#include "parametermodule.h"
#include "parametertypes.h"

// A mode holds the modules that differ from its ancestors'. A linked mode borrows the children and
// modules of its target: every operation on them takes the end of the chain of links.
class PARAMETER_API ModeEntry : public OnOrvoHeap {
 public:
  static constexpr uint32_t kRootModes = 1;  // modes up to this number always stay in memory

  // Null if the number has no name.
  static const char* GetModeName(uint32_t mode);
  static const char* GetSubModeName(uint32_t mode, uint32_t subMode);

  ModeEntry(bool loaded, bool resident) : loaded_(loaded), resident_(resident) {}

  void Initialize(uint32_t id, ModeUnion mode) {
    id_ = id;
    mode_ = mode;
  }
  void SetLink(ModeEntry* target) { link_ = target; }
  // Appends a child; false without memory.
  bool AddMode(ModeEntry* child);
  // Enters a module under its name; an entry that is there stays. False without memory.
  bool AddModule(ParameterModule* module);
  // Puts an instance in the place of the one of its name; the one that was there, or null.
  ParameterModule* ReplaceModule(ParameterModule* module);
  // Takes the first module out; null if there is none.
  ParameterModule* TakeModule();

  ModeEntry* FindChild(ModeUnion mode);
  ParameterModule* FindModule(const ParameterName& name);
  // The chain of nested nodes that a group of alternatives names: every node is one of the `count`
  // elements, and the first element that leads to a full chain wins. Null if there is none.
  ModeEntry* FindMode(const TuningMode* group, uint32_t count);

  // References of clients in file mode. Null adds up all of the mode.
  uint32_t GetReferenceCount(const ParameterModule* module) const;
  static bool AddReference(ParameterModule* module);
  static bool ReleaseReference(ParameterModule* module);
  void ReleaseReferences(const IParameterLoggingAPI* logger);
  // A module of its own is referenced.
  bool IsActive() const { return GetReferenceCount(nullptr) != 0; }

  // The branch from the root, as "0.0|2.1"; false if it doesn't fit.
  bool GetModePath(char* buffer, uint32_t size) const;

  ModeEntry* Resolve();
  ModeEntry* GetLink() const { return link_; }
  uint32_t GetID() const { return id_; }
  ModeUnion GetMode() const { return mode_; }
  ModeEntry* GetParent() const { return parent_; }
  ModeEntry* GetFirstChild() const { return firstChild_; }
  ModeEntry* GetNextSibling() const { return nextSibling_; }
  bool IsAncestorOf(const ModeEntry* other) const;
  bool IsLoaded() const { return loaded_; }
  void SetLoaded(bool loaded) { loaded_ = loaded; }
  bool IsResident() const { return resident_; }
  void SetResident() { resident_ = true; }
  uint32_t GetModuleCount() const { return modules_.Count(); }
  ParameterModule* GetModuleAt(uint32_t index) const { return modules_.ValueAt(index).module; }

 private:
  struct ModuleUse {
    ParameterModule* module = nullptr;
    uint32_t references = 0;
  };
  struct Search;

  static ModuleUse* FindUse(ParameterModule* module, const char* what);

  uint32_t id_ = 0;
  ModeUnion mode_;
  bool loaded_;
  bool resident_;
  ModeEntry* link_ = nullptr;
  ModeEntry* parent_ = nullptr;
  ModeEntry* firstChild_ = nullptr;
  ModeEntry* lastChild_ = nullptr;
  ModeEntry* nextSibling_ = nullptr;
  ParameterMap<ParameterName, ModuleUse> modules_;
  ParameterMap<ParameterNumber, ModeEntry*> childByMode_;
};

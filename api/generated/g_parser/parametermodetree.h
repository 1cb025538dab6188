// The mode tree of one tuning file.
#pragma once

#include <cstdint>

#include "base/owned_array.h"
#include "parameterexport.h"
#include "parametermemory.h"
#include "parametermodeentry.h"
#include "parameterversion.h"

class ParameterSetManager;

// Owns its nodes. Several IDs can lead to one node.
class PARAMETER_API ParameterModeTree : public OnOrvoHeap {
 public:
  ParameterModeTree() = default;
  ~ParameterModeTree();
  ParameterModeTree(const ParameterModeTree&) = delete;
  ParameterModeTree& operator=(const ParameterModeTree&) = delete;

  static uint32_t GetModeEntrySize(VersionUnion version, uint32_t alignment);

  // One mode 0.0, for a file without a mode table.
  bool BuildDefault();
  // Reads the mode section. `loaded`: modes are loaded from the start, as in buffer mode. What is
  // wrong with the section goes to the manager's SetError.
  bool Build(const uint8_t* section, uint32_t size, VersionUnion version, uint32_t alignment,
             bool loaded, ParameterSetManager& manager);

  ModeEntry* GetRoot() const { return root_; }
  uint32_t GetModeCount() const { return static_cast<uint32_t>(places_.size()); }
  // The node of an ID; null if there is none.
  ModeEntry* GetModeEntry(uint32_t id) const;

 private:
  // An entry of the file.
  struct Record {
    ModeUnion mode;
    uint32_t parent = 0;
    uint32_t link = 0;
    bool resident = false;
    bool present = false;
  };

  bool ReadRecords(const uint8_t* entries, uint32_t count, uint32_t size, VersionUnion version,
                   uint32_t alignment, ParameterSetManager& manager);
  bool CheckRecord(uint32_t id, const Record& record, ParameterSetManager& manager) const;
  bool IsTop(uint32_t id) const;
  bool HasParentCycle();
  bool LeadsToParent(uint32_t id) const;
  ModeEntry* NodeOf(uint32_t id);
  bool MakeNodes(bool loaded);
  bool JoinNodes();
  bool HasLinkCycle();
  void ShortenLinks();

  pdlib::OwnedArray<Record> records_;    // by ID, while the tree is built
  pdlib::OwnedArray<uint32_t> inOrder_;  // IDs in the order of the file
  pdlib::OwnedArray<uint32_t> visit_;    // by ID: the walk that came by last, plus 1
  pdlib::OwnedArray<ModeEntry*> places_;
  pdlib::OwnedArray<ModeEntry*> owned_;
  ModeEntry* root_ = nullptr;
};

#include "parametermodetree.h"

#include <algorithm>
#include <cstring>

#include "parametersetmanager.h"

namespace {

constexpr VersionUnion kLinkVersion{2, 0, 0};
constexpr VersionUnion kPackedVersion{3, 0, 1};
constexpr VersionUnion kFlagsVersion{5, 0, 0};
constexpr uint32_t kNone = UINT32_MAX;  // no link; no entry
constexpr uint32_t kResidentFlag = 1;

uint32_t WordAt(const uint8_t* bytes) {
  uint32_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

ModeUnion ModeAt(const uint8_t* bytes) {
  ModeUnion mode;
  std::memcpy(&mode.mode, bytes, sizeof(mode.mode));
  std::memcpy(&mode.subMode, bytes + sizeof(mode.mode), sizeof(mode.subMode));
  return mode;
}

}  // namespace

ParameterModeTree::~ParameterModeTree() {
  for (ModeEntry* entry : owned_) delete entry;
}

uint32_t ParameterModeTree::GetModeEntrySize(VersionUnion version, uint32_t alignment) {
  if (alignment != 1) return version < kLinkVersion ? 24 : 32;
  if (version < kPackedVersion) return 16;
  return version < kFlagsVersion ? 20 : 24;
}

ModeEntry* ParameterModeTree::GetModeEntry(uint32_t id) const {
  return id < places_.size() ? places_[id] : nullptr;
}

bool ParameterModeTree::BuildDefault() {
  if (!places_.allocate(1) || !owned_.allocate(1)) return false;
  root_ = new ModeEntry(true, true);
  places_[0] = owned_[0] = root_;
  return root_ != nullptr;
}

bool ParameterModeTree::Build(const uint8_t* section, uint32_t size, VersionUnion version,
                              uint32_t alignment, bool loaded, ParameterSetManager& manager) {
  const uint32_t entrySize = GetModeEntrySize(version, alignment);
  const uint32_t count = size / entrySize;
  if (!records_.allocate(count) || !inOrder_.allocate(count) || !visit_.allocate(count) ||
      !places_.allocate(count) || !owned_.allocate(count)) {
    manager.SetError("ReadModeSection: Failed to allocate the mode table");
    return false;
  }
  const bool complete = ReadRecords(section, count, entrySize, version, alignment, manager);
  if (count == 0 || inOrder_[0] == kNone) return false;
  if (HasParentCycle()) {
    manager.SetError("ReadModeSection: Parent modes form a cycle");
    return false;
  }
  if (!MakeNodes(loaded) || !JoinNodes()) {
    manager.SetError("ReadModeSection: Failed to allocate the mode table");
    return false;
  }
  if (HasLinkCycle()) {
    manager.SetError("ReadModeSection: Link modes form a cycle");
    return false;
  }
  ShortenLinks();
  records_.reset();
  inOrder_.reset();
  visit_.reset();
  return complete;
}

bool ParameterModeTree::ReadRecords(const uint8_t* entries, uint32_t count, uint32_t size,
                                    VersionUnion version, uint32_t alignment,
                                    ParameterSetManager& manager) {
  const uint32_t word = std::max<uint32_t>(4, alignment);
  constexpr uint32_t kModeSize = 8;
  bool complete = true;
  uint32_t found = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t* entry = entries + size_t{i} * size;
    const uint8_t* behindMode = entry + word + kModeSize;
    const uint32_t id = WordAt(entry);
    Record record;
    record.mode = ModeAt(entry + word);
    record.parent = WordAt(behindMode);
    record.link = version < kLinkVersion ? kNone : WordAt(behindMode + word);
    record.resident =
        version >= kFlagsVersion && (WordAt(behindMode + 2 * word) & kResidentFlag) != 0;
    record.present = CheckRecord(id, record, manager);
    complete = complete && record.present;
    if (!record.present) continue;
    records_[id] = record;
    inOrder_[found++] = id;
  }
  for (uint32_t i = found; i < count; ++i) inOrder_[i] = kNone;
  return complete;
}

bool ParameterModeTree::CheckRecord(uint32_t id, const Record& record,
                                    ParameterSetManager& manager) const {
  const size_t count = records_.size();
  if (id >= count) {
    manager.SetError("ReadModeSection: Mode ID exceeds mode count");
  } else if (record.parent >= count) {
    manager.SetError("ReadModeSection: Parent Mode ID exceeds mode count");
  } else if (record.link != kNone && record.link >= count) {
    manager.SetError("ReadModeSection: Link Mode ID exceeds mode count");
  } else if (records_[id].present) {
    manager.SetError("ReadModeSection: Mode ID is given twice");
  } else {
    return true;
  }
  return false;
}

// The entry whose parent counts no more: the first one, and one that is its own parent.
bool ParameterModeTree::IsTop(uint32_t id) const {
  return id == inOrder_[0] || records_[id].parent == id;
}

// Follows each ID to a top or to one that an earlier walk has come by.
bool ParameterModeTree::HasParentCycle() {
  for (uint32_t start = 0; start < records_.size(); ++start) {
    uint32_t id = start;
    while (visit_[id] == 0) {
      visit_[id] = start + 1;
      if (IsTop(id)) break;
      id = records_[id].parent;
      if (visit_[id] == start + 1) return true;
    }
  }
  return false;
}

// An entry with its parent's key leads to its parent's node.
bool ParameterModeTree::LeadsToParent(uint32_t id) const {
  const Record& parent = records_[records_[id].parent];
  return !IsTop(id) && parent.present && parent.mode == records_[id].mode;
}

ModeEntry* ParameterModeTree::NodeOf(uint32_t id) {
  uint32_t end = id;
  while (places_[end] == nullptr && LeadsToParent(end)) end = records_[end].parent;
  ModeEntry* node = places_[end];
  for (; id != end; id = records_[id].parent) places_[id] = node;
  return node;
}

bool ParameterModeTree::MakeNodes(bool loaded) {
  for (uint32_t id : inOrder_) {
    if (id == kNone || LeadsToParent(id)) continue;
    const Record& record = records_[id];
    const bool stays = id == inOrder_[0] || record.mode.mode <= ModeEntry::kRootModes;
    places_[id] = owned_[id] = new ModeEntry(loaded || stays, record.resident || stays);
    if (owned_[id] == nullptr) return false;
    owned_[id]->Initialize(id, record.mode);
  }
  root_ = owned_[inOrder_[0]];
  return true;
}

bool ParameterModeTree::JoinNodes() {
  for (uint32_t id : inOrder_) {
    if (id != kNone) NodeOf(id);
  }
  for (uint32_t id : inOrder_) {
    if (id == kNone || owned_[id] == nullptr) continue;
    const Record& record = records_[id];
    ModeEntry* parent = places_[record.parent];
    if (record.link != kNone) owned_[id]->SetLink(places_[record.link]);
    if (owned_[id] == root_ || parent == nullptr || parent == owned_[id]) continue;
    if (!parent->AddMode(owned_[id])) return false;
  }
  return true;
}

// Follows the links of each node to their end, as with parents.
bool ParameterModeTree::HasLinkCycle() {
  visit_.clear_values();
  for (uint32_t start = 0; start < owned_.size(); ++start) {
    for (ModeEntry* entry = owned_[start]; entry != nullptr && visit_[entry->GetID()] == 0;) {
      visit_[entry->GetID()] = start + 1;
      entry = entry->GetLink();
      if (entry != nullptr && visit_[entry->GetID()] == start + 1) return true;
    }
  }
  return false;
}

// From here on a link leads straight to the end of its chain.
void ParameterModeTree::ShortenLinks() {
  for (ModeEntry* entry : owned_) {
    if (entry == nullptr) continue;
    ModeEntry* end = entry->Resolve();
    while (entry != end) {
      ModeEntry* next = entry->GetLink();
      entry->SetLink(end);
      entry = next;
    }
  }
}

// Objects that several fields of a tuning file share.
#include <cstring>

#include "parameterfilesymboltable.h"
#include "parametersetmanager.h"

namespace {

// Places of reading times differing counts; objects past it stay private. No schema comes near, and
// no file can have the search through a group take long.
constexpr uint32_t kMaxRecordsPerGroup = 64;

}  // namespace

PList<DupObjInfo*>* ParameterFileSymbolTable::GroupOf(bool isModule, uint32_t id) {
  Table& table = TableOf(isModule);
  const uint32_t group = table.lookup[id].group;
  return group == 0 || group >= table.groups.size() ? nullptr : &table.groups[group];
}

bool ParameterFileSymbolTable::IsReadAt(const DupObjInfo& record, const char* file, int line) {
  return record.line == line && std::strcmp(record.file, file) == 0;
}

DupObjInfo* ParameterFileSymbolTable::FindRecord(const PList<DupObjInfo*>& group, uint32_t count,
                                                 const char* file, int line) {
  for (uint32_t i = 0; i < group.Count(); ++i) {
    if (IsReadAt(*group[i], file, line) && group[i]->count == count) return group[i];
  }
  return nullptr;
}

void ParameterFileSymbolTable::LogOtherCounts(const PList<DupObjInfo*>& group, bool isModule,
                                              uint32_t id, uint32_t count, const char* file,
                                              int line) const {
  for (uint32_t i = 0; i < group.Count() && group[i]->count != count; ++i) {
    if (!IsReadAt(*group[i], file, line)) continue;
    PARAMETER_WARNING(GetLogger(),
                      "GetDupObject found duplicate objects with differing counts: IsModule: %d, "
                      "ID: %u, Count: %u, Found: %u, Loc: %s:%d\n",
                      isModule, id, count, group[i]->count, file, line);
  }
}

void* ParameterFileSymbolTable::GetDupObject(bool isModule, uint32_t id, uint32_t count,
                                             const char* file, int line) {
  const Table& table = TableOf(isModule);
  if (id == 0 || id >= table.lookup.size() || file == nullptr) {
    PARAMETER_ERROR(
        GetLogger(),
        "GetDupObject called with invalid values, This: %p, IsModule: %d, ID: %u, "
        "DupCount: %u, LookupCnt: %u, DupEntries: %p, EntryLookup: %p, Loc: %s:%d\n",
        static_cast<void*>(this), isModule, id, static_cast<uint32_t>(table.groups.size()),
        static_cast<uint32_t>(table.lookup.size()), static_cast<const void*>(table.groups.data()),
        static_cast<const void*>(table.lookup.data()), file == nullptr ? "" : file, line);
    return nullptr;
  }
  // Counting a user changes the record, so a shared lock would not do.
  const ParameterWriteLock lock(mutex_);
  const PList<DupObjInfo*>* group = GroupOf(isModule, id);
  if (group == nullptr) return nullptr;
  LogOtherCounts(*group, isModule, id, count, file, line);
  DupObjInfo* record = FindRecord(*group, count, file, line);
  if (record == nullptr || record->object == nullptr) return nullptr;
  ++record->references;
  return record->object;
}

DupObjInfo* ParameterFileSymbolTable::AddRecord(PList<DupObjInfo*>& group, uint32_t count,
                                                const char* file, int line) {
  if (group.Count() >= kMaxRecordsPerGroup) return nullptr;
  auto* record = new DupObjInfo;
  if (record == nullptr) return nullptr;
  record->count = count;
  record->file = file;
  record->line = line;
  if (group.Add(record)) return record;
  delete record;
  return nullptr;
}

void* ParameterFileSymbolTable::SetDupObject(bool isModule, uint32_t id, void* object,
                                             uint32_t count, const char* file, int line) {
  const Table& table = TableOf(isModule);
  if (object == nullptr || id == 0 || id >= table.lookup.size() || file == nullptr) {
    PARAMETER_ERROR(
        GetLogger(),
        "SetDupObject called with invalid values, This: %p, IsModule: %d, ID: %u, Obj: "
        "%p, DupCount: %u, LookupCnt: %u, DupEntries: %p, EntryLookup: %p, Loc: %s:%d\n",
        static_cast<void*>(this), isModule, id, object, static_cast<uint32_t>(table.groups.size()),
        static_cast<uint32_t>(table.lookup.size()), static_cast<const void*>(table.groups.data()),
        static_cast<const void*>(table.lookup.data()), file == nullptr ? "" : file, line);
    return nullptr;
  }
  const ParameterWriteLock lock(mutex_);
  PList<DupObjInfo*>* group = GroupOf(isModule, id);
  if (group == nullptr) return nullptr;
  DupObjInfo* record = FindRecord(*group, count, file, line);
  if (record == nullptr) record = AddRecord(*group, count, file, line);
  if (record == nullptr || record->object != nullptr) return nullptr;
  if (!sharedObjects_.Insert(ParameterNumber(object), record)) return nullptr;
  record->object = object;
  ++record->references;
  return object;
}

const DupObjInfo* ParameterFileSymbolTable::FindDupObject(const void* object) {
  const ParameterReadLock lock(mutex_);
  DupObjInfo* const* record = sharedObjects_.Find(ParameterNumber(object));
  return record == nullptr ? nullptr : *record;
}

bool ParameterFileSymbolTable::ReleaseDupObject(void* object) {
  const ParameterWriteLock lock(mutex_);
  DupObjInfo** found = sharedObjects_.Find(ParameterNumber(object));
  if (found == nullptr) return true;
  DupObjInfo* record = *found;
  if (--record->references > 0) return false;
  record->object = nullptr;
  sharedObjects_.Erase(ParameterNumber(object));
  return true;
}

void ParameterFileSymbolTable::DeleteRecords() {
  uint32_t unreleased = 0;
  for (Table* table : {&modules_, &objects_}) {
    for (PList<DupObjInfo*>& group : table->groups) {
      for (uint32_t i = 0; i < group.Count(); ++i) {
        unreleased += group[i]->references > 0 ? 1 : 0;
        delete group[i];
      }
    }
  }
  if (unreleased != 0)
    PARAMETER_WARNING(GetLogger(), "%d DupInfo object were not released\n",
                      static_cast<int>(unreleased));
}

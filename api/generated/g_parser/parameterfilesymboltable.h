// The symbol and data tables of a tuning file.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/owned_array.h"
#include "parameterbinaryfile.h"
#include "parameterexport.h"
#include "parameterfilesymboltableentry.h"
#include "parameterlist.h"
#include "parametermap.h"
#include "parametermemory.h"
#include "parametermodule.h"
#include "parametermutex.h"
#include "parameterversion.h"

class IModeTable;
class ParameterSetManager;

// An object that several fields share. The tool stores equal tables once: their entries carry one
// duplicate identifier. Fields share the object if they are read at the same place of the code as
// well, for the place stands for the element's type.
struct DupObjInfo : OnOrvoHeap {
  void* object = nullptr;  // null once the last user has gone
  uint32_t count = 0;
  const char* file = nullptr;
  int line = 0;
  uint32_t references = 0;
};

// Where the tables of a file stand; offsets from its start, sizes in bytes.
struct ParameterFileSections {
  uint32_t symbolOffset = 0;
  uint32_t symbolSize = 0;
  uint32_t dataTableOffset = 0;
  uint32_t dataTableSize = 0;
  uint32_t dataOffset = 0;
  uint32_t dataSize = 0;
};

// Lives as long as its manager needs it or a module made from it lives.
class PARAMETER_API ParameterFileSymbolTable : public OnOrvoHeap {
 public:
  // An ID has 24 bits: the top byte of a record's symbol counts its changes.
  static constexpr uint32_t kMaxId = 0xFFFFFF;

  ParameterFileSymbolTable(ParameterSetManager* manager, VersionUnion fileVersion);
  ~ParameterFileSymbolTable();
  ParameterFileSymbolTable(const ParameterFileSymbolTable&) = delete;
  ParameterFileSymbolTable& operator=(const ParameterFileSymbolTable&) = delete;

  // One more, or one less, that needs the table; the last one deletes it.
  void AddUser() { ++users_; }
  void RemoveUser();

  // Reads both tables and describes every module. In buffer mode `buffer` is the whole file, and
  // needed until FreeLookupData; in file mode it is null and the table takes `file` over.
  bool Load(const uint8_t* buffer, ParameterBinaryFile* file, uint32_t fileLength,
            const ParameterFileSections& sections, const IModeTable* modeTable, uint32_t alignment);

  static uint32_t GetSymbolEntrySize(VersionUnion version, uint32_t alignment);
  static uint32_t GetDataTableEntrySize(VersionUnion version);

  // A cursor at the start of an entry's data.
  bool Find(ParameterFileSymbolTableEntry& entry, uint32_t id, bool isModule);
  // Reads the ID at the entry's read position and finds it among the out-of-line objects.
  bool ReadPointerEntry(ParameterFileSymbolTableEntry& entry, ParameterFileSymbolTableEntry& target,
                        uint32_t alignment);

  // The shared object of an entry for a place of reading, with one more user; null if there is
  // none.
  void* GetDupObject(bool isModule, uint32_t id, uint32_t count, const char* file, int line);
  // Offers an object for sharing; null if it stays private.
  void* SetDupObject(bool isModule, uint32_t id, void* object, uint32_t count, const char* file,
                     int line);
  const DupObjInfo* FindDupObject(const void* object);
  // True: the caller was the last user and frees the object.
  bool ReleaseDupObject(void* object);

  // Zeroed memory for tuning data. What all loaded modules take together is bounded by the length
  // of the file, so that a crafted one can't have the same bytes copied without end.
  void* Allocate(uint64_t size);
  // False, with a log line, if that bound is passed.
  bool MayAllocate(uint64_t size) const;
  // Tells what was allocated since the last call, for GiveBack when that is unloaded.
  uint64_t TakeAllocated();
  void GiveBack(uint64_t size);

  // After this, entries are read from the file on demand; in buffer mode there are none any more.
  void FreeEntryData();
  void FreeLookupData();
  // The file stays open while it has references.
  void FileReference(int32_t adjust);

  // The manager that the table logs for, and that its modules belong to.
  void SetManager(ParameterSetManager* manager);
  // Forgets the nodes of a tree that goes away.
  void ForgetModes();

  const IParameterLoggingAPI* GetLogger() const;
  uint32_t GetAlignment() const { return alignment_; }
  ParameterBinaryFile* GetFile() const { return file_; }
  uint32_t GetModuleCount() const { return static_cast<uint32_t>(moduleData_.size()); }
  // Null if the entry makes no module.
  ModuleData* GetModuleData(uint32_t index);

 private:
  // One entry as it stands in a table.
  struct Symbol {
    uint32_t id = 0;
    char type[ModuleData::kMaxType + 1] = {};
    VersionUnion version;
    uint32_t modeId = 0;
    uint32_t dataOffset = 0;
    uint32_t dataSize = 0;
    uint32_t duplicateId = 0;
  };
  struct Place {
    uint32_t group;   // 0: shares with no other entry
    uint32_t offset;  // of the entry in its table; kNowhere: there is no such ID
  };
  struct Table {
    bool isModule = false;
    uint32_t offset = 0;  // in the file
    uint32_t size = 0;
    uint32_t step = 0;  // from one entry to the next
    uint32_t count = 0;
    pdlib::OwnedArray<Place> lookup;  // by ID, as the next ones
    pdlib::OwnedArray<Symbol> entries;
    pdlib::OwnedArray<PList<DupObjInfo*>> groups;
  };
  static constexpr uint32_t kNowhere = UINT32_MAX;

  Table& TableOf(bool isModule);
  uint32_t OccupiedSize(const Table& table) const;
  bool SizeTables(const ParameterFileSections& sections);
  bool SizeTable(Table& table, uint32_t offset, uint32_t size);
  bool AllocateTables();
  bool LoadTable(const uint8_t* buffer, Table& table);
  void ChooseStep(const uint8_t* bytes, Table& table);
  bool HasAllIds(const uint8_t* bytes, const Table& table) const;
  bool ReadTable(const uint8_t* bytes, Table& table);
  bool ReadSymbol(const uint8_t* bytes, uint64_t length, uint64_t position, bool isModule,
                  Symbol& symbol) const;
  void CheckDuplicateId(const Table& table, Symbol& symbol) const;
  bool NumberGroups(Table& table, const pdlib::OwnedArray<uint32_t>& duplicateOf);
  bool DescribeModules(const IModeTable* modeTable);
  void CheckRepeated(ModuleData& data);
  bool FindInFile(const Table& table, uint32_t id, ParameterFileSymbolTableEntry& entry);
  bool PointAt(const Symbol& symbol, ParameterFileSymbolTableEntry& entry);
  bool IsInsideData(const Symbol& symbol) const;

  PList<DupObjInfo*>* GroupOf(bool isModule, uint32_t id);
  static bool IsReadAt(const DupObjInfo& record, const char* file, int line);
  static DupObjInfo* FindRecord(const PList<DupObjInfo*>& group, uint32_t count, const char* file,
                                int line);
  void LogOtherCounts(const PList<DupObjInfo*>& group, bool isModule, uint32_t id, uint32_t count,
                      const char* file, int line) const;
  DupObjInfo* AddRecord(PList<DupObjInfo*>& group, uint32_t count, const char* file, int line);
  void DeleteRecords();

  ParameterSetManager* manager_;
  VersionUnion version_;
  ParameterBinaryFile* file_ = nullptr;
  uint32_t fileLength_ = 0;
  uint32_t dataOffset_ = 0;
  uint32_t dataSize_ = 0;
  const uint8_t* data_ = nullptr;  // the data section, in buffer mode
  uint32_t alignment_ = 1;
  Table modules_;
  Table objects_;
  bool hasDataTable_ = false;
  pdlib::OwnedArray<ModuleData> moduleData_;
  ParameterMap<ParameterNumber, DupObjInfo*> sharedObjects_;
  ParameterMutex mutex_;  // guards the groups and the map
  uint64_t allocatedTotal_ = 0;
  uint64_t allocatedNow_ = 0;
  std::atomic<uint32_t> users_{1};
};

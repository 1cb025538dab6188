// Reading the tables of a tuning file.
#include "parameterfilesymboltable.h"

#include <algorithm>
#include <cstring>

#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

constexpr VersionUnion kPackedVersion{3, 0, 1};
constexpr VersionUnion kDataTableVersion{4, 0, 0};

// Walks the fields of one entry. The caller has checked that they all stand in the bytes.
class FieldReader {
 public:
  FieldReader(const uint8_t* bytes, uint32_t alignment) : next_(bytes), alignment_(alignment) {}

  uint32_t Word() {
    uint32_t word;
    std::memcpy(&word, next_, sizeof(word));
    next_ += std::max<uint32_t>(sizeof(word), alignment_);
    return word;
  }
  uint64_t LongWord() {
    uint64_t word;
    std::memcpy(&word, next_, sizeof(word));
    next_ += std::max<uint32_t>(sizeof(word), alignment_);
    return word;
  }
  // `text` has one place more than the field.
  void Text(char* text, uint32_t size) {
    std::memcpy(text, next_, size);
    text[size] = '\0';
    Skip(size);
  }
  void Skip(uint32_t size) { next_ += ParameterUtils::Aligned(size, alignment_); }

 private:
  const uint8_t* next_;
  uint32_t alignment_;
};

constexpr uint32_t kReservedSize = 8;

bool HasReserved(VersionUnion version, uint32_t alignment) {
  return alignment == 1 && version < kPackedVersion;
}

}  // namespace

uint32_t ParameterFileSymbolTable::GetSymbolEntrySize(VersionUnion version, uint32_t alignment) {
  if (version > kPackedVersion) return 60;
  if (alignment != 1) return 76;
  return version < kPackedVersion ? 64 : 56;
}

uint32_t ParameterFileSymbolTable::GetDataTableEntrySize(VersionUnion version) {
  return version < kDataTableVersion ? 0 : 16;
}

ParameterFileSymbolTable::ParameterFileSymbolTable(ParameterSetManager* manager,
                                                   VersionUnion fileVersion)
    : manager_(manager), version_(fileVersion) {
  modules_.isModule = true;
}

ParameterFileSymbolTable::~ParameterFileSymbolTable() {
  DeleteRecords();
  delete file_;
}

void ParameterFileSymbolTable::RemoveUser() {
  if (--users_ == 0) delete this;
}

const IParameterLoggingAPI* ParameterFileSymbolTable::GetLogger() const {
  return manager_;
}

ParameterFileSymbolTable::Table& ParameterFileSymbolTable::TableOf(bool isModule) {
  return isModule || !hasDataTable_ ? modules_ : objects_;
}

// What the fields of an entry take, which an aligned table's stated entry size exceeds.
uint32_t ParameterFileSymbolTable::OccupiedSize(const Table& table) const {
  const uint32_t word = std::max<uint32_t>(4, alignment_);
  if (!table.isModule) return 4 * word;
  const uint32_t reserved = HasReserved(version_, alignment_) ? kReservedSize : 0;
  const uint32_t words = version_ > kPackedVersion ? 5 : 4;
  return words * word + ModuleData::kMaxType + static_cast<uint32_t>(sizeof(uint64_t)) + reserved;
}

bool ParameterFileSymbolTable::Load(const uint8_t* buffer, ParameterBinaryFile* file,
                                    uint32_t fileLength, const ParameterFileSections& sections,
                                    const IModeTable* modeTable, uint32_t alignment) {
  file_ = file;
  fileLength_ = fileLength;
  dataOffset_ = sections.dataOffset;
  dataSize_ = sections.dataSize;
  data_ = buffer == nullptr ? nullptr : buffer + dataOffset_;
  alignment_ = alignment;
  hasDataTable_ = sections.dataTableOffset != 0 && sections.dataTableSize != 0;
  if (!SizeTables(sections)) return false;
  if (!AllocateTables()) {
    PARAMETER_ERROR(GetLogger(), "Failed to allocate entry/lookup tables\n");
    return false;
  }
  if (!LoadTable(buffer, modules_) || !DescribeModules(modeTable)) {
    PARAMETER_ERROR(GetLogger(), "Failed to read symbol table from binary file\n");
    return false;
  }
  if (hasDataTable_ && !LoadTable(buffer, objects_)) {
    PARAMETER_ERROR(GetLogger(), "Failed to read data table from binary file\n");
    return false;
  }
  return true;
}

bool ParameterFileSymbolTable::SizeTables(const ParameterFileSections& sections) {
  const uint32_t stated = GetSymbolEntrySize(version_, alignment_);
  const uint32_t occupied = OccupiedSize(modules_);
  modules_.step = sections.symbolSize % stated == 0 ? stated : occupied;
  if (!SizeTable(modules_, sections.symbolOffset, sections.symbolSize)) {
    PARAMETER_ERROR(GetLogger(), "Invalid symbol table size: %d, expected: %d\n",
                    static_cast<int>(sections.symbolSize),
                    static_cast<int>(sections.symbolSize / stated * stated));
    return false;
  }
  if (!hasDataTable_) return true;
  objects_.step = GetDataTableEntrySize(version_);
  if (objects_.step == 0) {
    PARAMETER_ERROR(GetLogger(), "Data table entry size is zero\n");
    return false;
  }
  if (SizeTable(objects_, sections.dataTableOffset, sections.dataTableSize)) return true;
  PARAMETER_ERROR(GetLogger(), "Invalid data table size: %d, expected: %d\n",
                  static_cast<int>(sections.dataTableSize),
                  static_cast<int>(sections.dataTableSize / objects_.step * objects_.step));
  return false;
}

bool ParameterFileSymbolTable::SizeTable(Table& table, uint32_t offset, uint32_t size) {
  table.offset = offset;
  table.size = size;
  table.count = size / table.step;
  return size % table.step == 0 && table.count <= kMaxId;
}

// Place 0 stays empty, for IDs begin at 1.
bool ParameterFileSymbolTable::AllocateTables() {
  for (Table* table : {&modules_, &objects_}) {
    if (!table->lookup.allocate(size_t{table->count} + 1) ||
        !table->entries.allocate(size_t{table->count} + 1))
      return false;
    for (Place& place : table->lookup) place = {0, kNowhere};
  }
  return true;
}

bool ParameterFileSymbolTable::LoadTable(const uint8_t* buffer, Table& table) {
  if (buffer != nullptr) return ReadTable(buffer + table.offset, table);
  uint8_t* bytes = file_->Read(table.offset, table.size);
  if (bytes == nullptr) {
    PARAMETER_ERROR(GetLogger(),
                    table.isModule
                        ? "Failed to read symbol table buffer (offset: %d, size: %d) from binary "
                          "file\n"
                        : "Failed to read data table buffer (offset: %d, size: %d) from binary "
                          "file\n",
                    static_cast<int>(table.offset), static_cast<int>(table.size));
    return false;
  }
  const bool read = ReadTable(bytes, table);
  OrvoFree(bytes);
  return read;
}

bool ParameterFileSymbolTable::HasAllIds(const uint8_t* bytes, const Table& table) const {
  for (uint32_t i = 0; i < table.count; ++i) {
    const uint32_t id = FieldReader(bytes + size_t{i} * table.step, alignment_).Word();
    if (id == 0 || id > table.count) return false;
  }
  return true;
}

// In an aligned table the entries follow each other as their fields do, though the stated size is
// larger. Where that gives no sensible IDs and the stated size does, the file was written by it.
void ParameterFileSymbolTable::ChooseStep(const uint8_t* bytes, Table& table) {
  const uint32_t stated = table.step;
  table.step = OccupiedSize(table);
  if (table.step == stated || HasAllIds(bytes, table)) return;
  table.step = stated;
  if (!HasAllIds(bytes, table)) table.step = OccupiedSize(table);
}

bool ParameterFileSymbolTable::ReadTable(const uint8_t* bytes, Table& table) {
  pdlib::OwnedArray<uint32_t> duplicateOf;
  if (!duplicateOf.allocate(size_t{table.count} + 1)) return false;
  ChooseStep(bytes, table);
  uint32_t position = 0;
  for (uint32_t i = 0; i < table.count; ++i, position += table.step) {
    Symbol symbol;
    ReadSymbol(bytes, table.size, position, table.isModule, symbol);
    if (symbol.id == 0 || symbol.id > table.count) {
      PARAMETER_ERROR(GetLogger(), "Symbol table entry ID %d out of range 1 - %d\n",
                      static_cast<int>(symbol.id), static_cast<int>(table.count));
      break;  // the position doesn't move: nothing behind such an entry can be read
    }
    CheckDuplicateId(table, symbol);
    table.lookup[symbol.id].offset = position;
    table.entries[symbol.id] = symbol;
    duplicateOf[symbol.id] = symbol.duplicateId;
  }
  return NumberGroups(table, duplicateOf);
}

bool ParameterFileSymbolTable::ReadSymbol(const uint8_t* bytes, uint64_t length, uint64_t position,
                                          bool isModule, Symbol& symbol) const {
  const Table& table = isModule ? modules_ : objects_;
  if (position + OccupiedSize(table) > length) return false;
  FieldReader reader(bytes + position, alignment_);
  symbol.id = reader.Word();
  if (isModule) {
    reader.Text(symbol.type, ModuleData::kMaxType);
    symbol.version = VersionUnion(reader.LongWord());
    if (HasReserved(version_, alignment_)) reader.Skip(kReservedSize);
    symbol.modeId = reader.Word();
  }
  symbol.dataOffset = reader.Word();
  symbol.dataSize = reader.Word();
  symbol.duplicateId = isModule && version_ <= kPackedVersion ? symbol.id : reader.Word();
  return true;
}

void ParameterFileSymbolTable::CheckDuplicateId(const Table& table, Symbol& symbol) const {
  if (symbol.duplicateId <= table.count) return;
  PARAMETER_ERROR(GetLogger(),
                  table.isModule
                      ? "Invalid DuplicateID value %u, should be less than module table count: %u\n"
                      : "Invalid DuplicateID value %u, should be less than data table count: %u\n",
                  symbol.duplicateId, table.count);
  symbol.duplicateId = 0;
}

// Every duplicate identifier that occurs more than once gets a number from 1 on.
bool ParameterFileSymbolTable::NumberGroups(Table& table,
                                            const pdlib::OwnedArray<uint32_t>& duplicateOf) {
  pdlib::OwnedArray<uint32_t> numberOf;  // first the uses of an identifier, then its number
  if (!numberOf.allocate(size_t{table.count} + 1)) return false;
  for (uint32_t id = 1; id <= table.count; ++id) ++numberOf[duplicateOf[id]];
  numberOf[0] = 0;
  uint32_t groupCount = 1;
  for (uint32_t& number : numberOf) number = number > 1 ? groupCount++ : 0;
  for (uint32_t id = 1; id <= table.count; ++id) table.lookup[id].group = numberOf[duplicateOf[id]];
  return groupCount < 2 || table.groups.allocate(groupCount);
}

bool ParameterFileSymbolTable::DescribeModules(const IModeTable* modeTable) {
  if (modeTable == nullptr) {
    PARAMETER_ERROR(GetLogger(), "ModuleData called with nullptr modeTable parameter\n");
    return false;
  }
  if (!moduleData_.allocate(modules_.count)) return false;
  for (uint32_t id = 1; id <= modules_.count; ++id) {
    const Symbol& symbol = modules_.entries[id];
    if (symbol.type[0] == '\0') continue;  // an out-of-line object, or no entry
    ModuleData& data = moduleData_[id - 1];
    data.id = id;
    data.duplicateId = symbol.duplicateId;
    std::memcpy(data.type, symbol.type, sizeof(data.type));
    data.version = symbol.version;
    data.modeId = symbol.modeId;
    data.setManager = manager_;
    data.symbolTable = this;
    if (ModeEntry* mode = modeTable->GetModeEntry(symbol.modeId)) {
      data.mode = mode->Resolve();  // that is where its modules stand
    } else {
      PARAMETER_ERROR(GetLogger(),
                      "Failed to find ModeID %d in mode table when creating ModuleData\n",
                      static_cast<int>(symbol.modeId));
    }
  }
  for (ModuleData& data : moduleData_) CheckRepeated(data);
  return true;
}

// Modes share the instance of a module only with one of the same class.
void ParameterFileSymbolTable::CheckRepeated(ModuleData& data) {
  if (data.duplicateId == 0 || data.duplicateId == data.id) return;
  const ModuleData& repeated = moduleData_[data.duplicateId - 1];
  if (std::strcmp(repeated.type, data.type) == 0 && repeated.version == data.version) return;
  PARAMETER_ERROR(GetLogger(), "DuplicateID %u of module %u (%s) is of another module (%s)\n",
                  data.duplicateId, data.id, data.type, repeated.type);
  data.duplicateId = 0;
}

ModuleData* ParameterFileSymbolTable::GetModuleData(uint32_t index) {
  return index < moduleData_.size() && moduleData_[index].id != 0 ? &moduleData_[index] : nullptr;
}

bool ParameterFileSymbolTable::Find(ParameterFileSymbolTableEntry& entry, uint32_t id,
                                    bool isModule) {
  const Table& table = TableOf(isModule);
  if (id == 0 || id > table.count) {
    PARAMETER_ERROR(GetLogger(), "Find: Symbol table entry ID %d out of range 1 - %d\n",
                    static_cast<int>(id), static_cast<int>(table.count));
    return false;
  }
  entry.Init(this);
  if (!table.entries.empty() && data_ != nullptr) return PointAt(table.entries[id], entry);
  if (file_ != nullptr && !table.lookup.empty()) return FindInFile(table, id, entry);
  PARAMETER_ERROR(GetLogger(), "Find: Symbol table entry ID %u is no longer in memory\n", id);
  return false;
}

bool ParameterFileSymbolTable::IsInsideData(const Symbol& symbol) const {
  if (symbol.id != 0 && uint64_t{symbol.dataOffset} + symbol.dataSize <= dataSize_) return true;
  PARAMETER_ERROR(GetLogger(),
                  "Symbol table entry ID %u: data at %u of %u bytes stands outside the data "
                  "section of %u bytes\n",
                  symbol.id, symbol.dataOffset, symbol.dataSize, dataSize_);
  return false;
}

bool ParameterFileSymbolTable::PointAt(const Symbol& symbol, ParameterFileSymbolTableEntry& entry) {
  if (!IsInsideData(symbol)) return false;
  entry.Borrow(symbol.id, symbol.duplicateId, data_ + symbol.dataOffset, symbol.dataSize);
  return true;
}

bool ParameterFileSymbolTable::FindInFile(const Table& table, uint32_t id,
                                          ParameterFileSymbolTableEntry& entry) {
  constexpr uint32_t kMaxEntry = 128;
  uint8_t bytes[kMaxEntry];
  const uint32_t size = OccupiedSize(table);
  uint32_t position = table.lookup[id].offset;
  Symbol symbol;
  if (position == kNowhere) return IsInsideData(symbol);

  FileReference(1);
  uint8_t* data = nullptr;
  bool found = file_->Read(bytes, table.offset, &position, size, 1) &&
               ReadSymbol(bytes, size, 0, table.isModule, symbol) && symbol.id == id &&
               IsInsideData(symbol);
  if (found && symbol.dataSize != 0) {
    data = static_cast<uint8_t*>(Allocate(symbol.dataSize));
    uint32_t start = 0;
    found = data != nullptr &&
            file_->Read(data, dataOffset_ + symbol.dataOffset, &start, symbol.dataSize, 1);
  }
  FileReference(-1);
  if (found) {
    entry.Own(id, symbol.duplicateId, data, symbol.dataSize);
  } else {
    OrvoFree(data);
  }
  return found;
}

bool ParameterFileSymbolTable::ReadPointerEntry(ParameterFileSymbolTableEntry& entry,
                                                ParameterFileSymbolTableEntry& target,
                                                uint32_t alignment) {
  uint32_t id = 0;
  return entry.ReadWord(id, alignment) && Find(target, id, false);
}

bool ParameterFileSymbolTable::MayAllocate(uint64_t size) const {
  // Tables that the tool stored once are copied for each of their fields, and a record can be twice
  // its size in the file.
  constexpr uint64_t kRatio = 16;
  constexpr uint64_t kAlways = 1 << 20;
  const uint64_t limit = fileLength_ * kRatio + kAlways;
  if (size <= limit - std::min(allocatedTotal_, limit)) return true;
  PARAMETER_ERROR(GetLogger(), "Tuning data of %llu bytes is too large for a file of %u bytes\n",
                  static_cast<unsigned long long>(allocatedTotal_ + size), fileLength_);
  return false;
}

void* ParameterFileSymbolTable::Allocate(uint64_t size) {
  void* memory = MayAllocate(size) ? OrvoCalloc(size) : nullptr;
  if (memory == nullptr) return nullptr;
  allocatedTotal_ += size;
  allocatedNow_ += size;
  return memory;
}

uint64_t ParameterFileSymbolTable::TakeAllocated() {
  return std::exchange(allocatedNow_, 0);
}

void ParameterFileSymbolTable::GiveBack(uint64_t size) {
  allocatedTotal_ -= std::min(size, allocatedTotal_);
}

void ParameterFileSymbolTable::FreeEntryData() {
  modules_.entries.reset();
  objects_.entries.reset();
  data_ = nullptr;
}

void ParameterFileSymbolTable::FreeLookupData() {
  modules_.lookup.reset();
  objects_.lookup.reset();
}

void ParameterFileSymbolTable::FileReference(int32_t adjust) {
  if (file_ != nullptr) {
    file_->Reference(adjust);
    return;
  }
  PARAMETER_ERROR(GetLogger(),
                  "FileReference Adjust: %d, RefCount: %d, Binary File was null when file "
                  "reference was %u\n",
                  adjust, 0, 0u);
}

void ParameterFileSymbolTable::SetManager(ParameterSetManager* manager) {
  manager_ = manager;
  for (ModuleData& data : moduleData_) data.setManager = manager;
}

void ParameterFileSymbolTable::ForgetModes() {
  for (ModuleData& data : moduleData_) data.mode = nullptr;
}

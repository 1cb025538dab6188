#include "file_reader.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>

#include "json_values.h"
#include "modes.h"
#include "module_reader.h"
#include "served.h"

namespace tessarine {
namespace {

struct Section {
  uint32_t offset = 0;
  uint32_t size = 0;
};

// An entry of the symbol table or of the data table.
struct Entry {
  uint32_t id = 0;
  std::string type;  // symbols only, as the next two
  Version version;
  uint32_t modeId = 0;
  uint32_t offset = 0;
  uint32_t size = 0;
  uint32_t duplicateOf = 0;
};

class FileReader {
 public:
  explicit FileReader(const Bytes& file) : file_(file), format_(Version{}) {}

  FileReading Read();

 private:
  using EntryTable = std::map<uint32_t, Entry>;

  void Note(const std::string& place, const std::string& text) {
    reading_.defects.push_back(Printable(place + ": " + text));
  }
  // Bytes of a section; what lies outside the file is cut off.
  ByteReader At(uint64_t offset, uint64_t size) const;

  void CheckCrc();
  bool ReadHeader();
  bool CheckVersion();
  bool ReadSections();
  bool CheckSection(uint32_t type, const Section& section);
  void CheckOverlaps();
  void ReadModes();
  Mode TakeMode(ByteReader& reader) const;
  bool CheckMode(const Mode& mode, size_t count);
  void ReadSymbols();
  uint32_t SymbolStep(const Section& section, uint32_t count) const;
  bool HasAllIds(const Section& section, uint32_t count, uint32_t step) const;
  Entry TakeSymbol(ByteReader& reader) const;
  void ReadDataTable();
  void Enter(const char* what, const Entry& entry, uint32_t count, EntryTable& table);
  void CheckDuplicates(const char* what, const EntryTable& table);
  bool HoldSame(const Entry& a, const Entry& b) const;
  View DataOf(const Entry& entry) const;
  // Without a data table, objects are symbols.
  const EntryTable& Objects() const { return HasDataTable() ? data_ : symbols_; }
  bool HasDataTable() const {
    const auto section = sections_.find(kDataTableSection);
    return section != sections_.end() && section->second.size != 0;
  }
  void ReadModules();
  void ReadModule(const Entry& entry, ModuleReader& reader);
  Bytes Copy(const Entry& entry, ModuleReader& reader, const std::string& place) const;
  void KeepRawObjects(ModuleReader& reader);
  void CheckModuleNames();

  const Bytes& file_;
  Format format_;
  FileReading reading_;
  uint32_t sectionTable_ = 0;
  uint32_t sectionCount_ = 0;
  std::map<uint32_t, Section> sections_;
  EntryTable symbols_;
  EntryTable data_;
  std::map<uint32_t, size_t> modePlaces_;  // of the modes that could be read, by ID
};

std::string Number(uint64_t value) {
  return std::to_string(value);
}

std::string Named(const char* what, uint32_t id) {
  return std::string(what) + ' ' + Number(id);
}

ByteReader FileReader::At(uint64_t offset, uint64_t size) const {
  const uint64_t first = std::min<uint64_t>(offset, file_.size());
  const uint64_t length = std::min<uint64_t>(size, file_.size() - first);
  return ByteReader(View(file_).subspan(first, length), format_.Alignment());
}

void FileReader::CheckCrc() {
  const size_t covered = file_.size() - kCrcSize;
  const uint32_t stored = At(covered, kCrcSize).BareWord();
  const uint32_t computed = Checksum(View(file_).first(covered));
  char text[64];
  std::snprintf(text, sizeof(text), "expected %08x, found %08x", computed, stored);
  if (stored != computed) Note("checksum", text);
}

bool FileReader::CheckVersion() {
  if (format_.GetVersion() <= kNewestFormat) return true;
  Note("header", "format " + ToText(format_.GetVersion()) + " is newer than " +
                     ToText(kNewestFormat) + ", the newest that is known");
  return false;
}

bool FileReader::ReadHeader() {
  if (file_.size() <= kCrcSize) {
    Note("file", Number(file_.size()) + " bytes are too short for a tuning file");
    return false;
  }
  ByteReader reader = At(0, file_.size());
  const std::string tag = reader.Text(kHeaderTagSize);
  if (tag != kHeaderTag) {
    Note("header", "expected the tag '" + std::string(kHeaderTag) + "' of a tuning file");
    return false;
  }
  CheckCrc();
  const uint32_t headerSize = reader.BareWord();
  Model& model = reading_.model;
  model.format = reader.TakeVersion();
  format_ = Format(model.format);
  if (!CheckVersion()) return false;
  if (format_.HasTexts()) {
    model.tool = reader.Text(kToolSize);
    model.tag = reader.Text(kTagSize);
  }
  if (format_.HasFlags()) model.flags = reader.LongWord();
  sectionTable_ = reader.BareWord();
  sectionCount_ = reader.BareWord();
  if (reader.IsPastEnd()) {
    Note("header", "the file ends within it");
    return false;
  }
  if (headerSize != format_.HeaderSize())
    Note("header", "its size is stated as " + Number(headerSize) + ", its fields take " +
                       Number(format_.HeaderSize()));
  return true;
}

bool FileReader::CheckSection(uint32_t type, const Section& section) {
  const std::string place = "section of type " + Number(type);
  if (type >= kSectionTypes) {
    Note(place, "there is no such type");
    return false;
  }
  if (uint64_t{section.offset} + section.size > file_.size() - kCrcSize) {
    Note(place, "it reaches past the end of the file: offset " + Number(section.offset) +
                    ", size " + Number(section.size));
    return false;
  }
  if (sections_.count(type) != 0) Note(place, "it is given twice; the last one counts");
  if (section.offset == 0 && section.size != 0) {
    Note(place, "it begins at byte 0, which stands for a section that is missing");
    return false;
  }
  if (type == kDataTableSection && !format_.HasDataTable()) {
    Note(place, "format " + ToText(format_.GetVersion()) + " has no data table");
    return false;
  }
  return true;
}

void FileReader::CheckOverlaps() {
  for (const auto& [type, section] : sections_)
    for (const auto& [other, next] : sections_)
      if (type < other && section.size != 0 && next.size != 0 &&
          section.offset < next.offset + next.size && next.offset < section.offset + section.size)
        Note("section of type " + Number(other), "it overlaps the one of type " + Number(type));
}

bool FileReader::ReadSections() {
  constexpr uint32_t kFewest = 2;
  if (sectionCount_ < kFewest || sectionCount_ > kSectionTypes) {
    Note("header", "expected 2 to 4 sections, found " + Number(sectionCount_));
    return false;
  }
  if ((reading_.model.flags & kCompressedFlag) != 0) {
    Note("header", "the file is compressed, which no reader supports any more");
    return false;
  }
  ByteReader reader = At(sectionTable_, file_.size());
  for (uint32_t i = 0; i < sectionCount_; ++i) {
    const uint32_t type = reader.Word();
    Section section;
    section.offset = reader.Word();
    section.size = reader.Word();
    if (reader.IsPastEnd()) {
      Note("section table", "the file ends within it");
      break;
    }
    if (CheckSection(type, section)) sections_[type] = section;
  }
  // Its last field needs no padding.
  const uint64_t end = uint64_t{sectionTable_} + (sectionCount_ * 3 - 1) * format_.WordSize() + 4;
  if (end > kFileHead)
    Note("section table", "it reaches to byte " + Number(end) +
                              "; the library, which reads files by their first " +
                              Number(kFileHead) + " bytes, refuses the file");
  CheckOverlaps();
  for (uint32_t type : {kSymbolSection, kDataSection})
    if (sections_.count(type) == 0) Note("section of type " + Number(type), "it is missing");
  return true;
}

Mode FileReader::TakeMode(ByteReader& reader) const {
  Mode mode;
  mode.id = reader.Word();
  const uint64_t key = reader.LongWord();
  mode.key = {static_cast<uint16_t>(key), static_cast<uint16_t>(key >> 16)};
  mode.parent = reader.Word();
  if (format_.HasLinks()) mode.link = reader.Word();
  if (format_.HasModeFlags()) mode.flags = reader.Word();
  return mode;
}

bool FileReader::CheckMode(const Mode& mode, size_t count) {
  const std::string place = "mode " + Number(mode.id);
  const auto isThere = [&](uint32_t id) { return id < count; };
  if (!isThere(mode.id))
    Note(place, "the table has " + Number(count) + " modes, with IDs from 0");
  else if (modePlaces_.count(mode.id) != 0)
    Note(place, "it is given twice");
  else if (!isThere(mode.parent))
    Note(place, "its parent " + Number(mode.parent) + " is not in the table");
  else if (mode.link != kNoLink && !isThere(mode.link))
    Note(place, "its link " + Number(mode.link) + " is not in the table");
  else
    return true;
  return false;
}

void FileReader::ReadModes() {
  Model& model = reading_.model;
  const auto section = sections_.find(kModeSection);
  model.hasModeTable = section != sections_.end() && section->second.size != 0;
  if (!model.hasModeTable) {
    modePlaces_[0] = 0;
    model.modes.push_back(Mode{});
    return;
  }
  const auto [offset, size] = section->second;
  const uint32_t text = format_.HasModeText() ? kModeTextSize : 0;
  const uint32_t entries = size < text ? 0 : size - text;
  if (size < text || entries % format_.ModeEntrySize() != 0)
    Note("mode table", "its size of " + Number(size) + " is not made of entries of " +
                           Number(format_.ModeEntrySize()) + " bytes");
  ByteReader reader = At(offset, size);
  if (text != 0) model.modeText = reader.Text(text);
  const uint32_t count = entries / format_.ModeEntrySize();
  if (count == 0) Note("mode table", "it has no modes");
  for (uint32_t i = 0; i < count; ++i) {
    const Mode mode = TakeMode(reader);
    if (!CheckMode(mode, count)) continue;
    modePlaces_[mode.id] = model.modes.size();
    model.modes.push_back(mode);
  }
  for (const std::string& defect : MendModes(model.modes)) reading_.defects.push_back(defect);
}

bool FileReader::HasAllIds(const Section& section, uint32_t count, uint32_t step) const {
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t id = At(section.offset + uint64_t{i} * step, 4).BareWord();
    if (id == 0 || id > count) return false;
  }
  return true;
}

// Entries follow each other as their fields do. Where that gives no sensible IDs and the stated
// size does, the file was written by the stated size.
uint32_t FileReader::SymbolStep(const Section& section, uint32_t count) const {
  const uint32_t occupied = format_.OccupiedSymbolSize();
  const uint32_t stated = format_.StatedSymbolSize();
  const bool isWide = !HasAllIds(section, count, occupied) && HasAllIds(section, count, stated);
  return isWide ? stated : occupied;
}

Entry FileReader::TakeSymbol(ByteReader& reader) const {
  Entry entry;
  entry.id = reader.Word();
  entry.type = reader.Text(kModuleTypeSize);
  entry.version = reader.TakeVersion();
  if (format_.HasReserved()) reader.Skip(kReservedSize);
  entry.modeId = reader.Word();
  entry.offset = reader.Word();
  entry.size = reader.Word();
  entry.duplicateOf = format_.HasDuplicates() ? reader.Word() : entry.id;
  return entry;
}

void FileReader::ReadSymbols() {
  const auto found = sections_.find(kSymbolSection);
  if (found == sections_.end()) return;
  const Section section = found->second;
  const uint32_t stated = format_.StatedSymbolSize();
  const uint32_t occupied = format_.OccupiedSymbolSize();
  if (section.size % stated != 0)
    Note("symbol table", "its size of " + Number(section.size) + " is not made of entries of " +
                             Number(stated) + " bytes");
  const bool isClose = section.size % stated != 0 && section.size % occupied == 0;
  const uint32_t count = section.size / (isClose ? occupied : stated);
  const uint32_t step = isClose ? occupied : SymbolStep(section, count);
  reading_.model.hasWideSymbols = step != occupied;
  for (uint32_t i = 0; i < count; ++i) {
    ByteReader reader = At(section.offset + uint64_t{i} * step, occupied);
    Enter("module", TakeSymbol(reader), count, symbols_);
  }
  CheckDuplicates("module", symbols_);
}

void FileReader::ReadDataTable() {
  const auto found = sections_.find(kDataTableSection);
  reading_.model.hasDataTable = found != sections_.end() || !format_.HasDataTable();
  if (found == sections_.end()) return;
  const Section section = found->second;
  if (section.size % kDataEntrySize != 0)
    Note("data table", "its size of " + Number(section.size) + " is not made of entries of " +
                           Number(kDataEntrySize) + " bytes");
  const uint32_t count = section.size / kDataEntrySize;
  for (uint32_t i = 0; i < count; ++i) {
    ByteReader reader = At(section.offset + uint64_t{i} * kDataEntrySize, kDataEntrySize);
    Entry entry;
    entry.id = reader.Word();
    entry.offset = reader.Word();
    entry.size = reader.Word();
    entry.duplicateOf = reader.Word();
    Enter("object", entry, count, data_);
  }
  CheckDuplicates("object", data_);
}

void FileReader::Enter(const char* what, const Entry& entry, uint32_t count, EntryTable& table) {
  const std::string place = Named(what, entry.id);
  const auto data = sections_.find(kDataSection);
  const uint32_t dataSize = data == sections_.end() ? 0 : data->second.size;
  if (entry.id == 0 || entry.id > count)
    Note(place, "IDs go from 1 to " + Number(count) + " here");
  else if (uint64_t{entry.offset} + entry.size > dataSize)
    Note(place, "its data reach past the data section: offset " + Number(entry.offset) + ", size " +
                    Number(entry.size) + " of " + Number(dataSize));
  else if (!table.insert_or_assign(entry.id, entry).second)
    Note(place, "it is given twice; the last one counts");
}

void FileReader::CheckDuplicates(const char* what, const EntryTable& table) {
  for (const auto& [id, entry] : table) {
    if (entry.duplicateOf == 0 || entry.duplicateOf == id) continue;
    const auto first = table.find(entry.duplicateOf);
    const std::string other = Named(what, entry.duplicateOf);
    if (first == table.end())
      Note(Named(what, id), "it repeats " + other + ", which is not there");
    else if (first->second.type != entry.type || !HoldSame(first->second, entry))
      Note(Named(what, id), "it repeats " + other + ", which holds other data");
  }
}

bool FileReader::HoldSame(const Entry& a, const Entry& b) const {
  if (a.size != b.size) return false;
  const View first = DataOf(a);
  return a.offset == b.offset || std::equal(first.begin(), first.end(), DataOf(b).begin());
}

View FileReader::DataOf(const Entry& entry) const {
  // Without a data section, entries that were let through have no data.
  const auto section = sections_.find(kDataSection);
  if (section == sections_.end()) return {};
  return View(file_).subspan(section->second.offset + size_t{entry.offset}, entry.size);
}

void FileReader::ReadModule(const Entry& entry, ModuleReader& reader) {
  Module module{entry.id, entry.type, entry.version, {}, {}};
  const std::string place = Named("module", entry.id) + ' ' + module.Name();
  if (const ModuleSchema* schema = module.Schema())
    module.value = reader.Read(*schema->root, DataOf(entry), place);
  else
    module.raw = Copy(entry, reader, place);
  if (FindModule(module.type) != nullptr && module.Schema() == nullptr)
    Note(place, "its version " + ToText(entry.version) + " is not the library's, " +
                    ToText(FindModule(module.type)->version));
  if (!IsUtf8(module.type)) Note(place, "its name is no text");
  if (ShortType(module.type) != module.type)
    Note(place, "its name begins with the prefix that files leave out");
  const auto mode = modePlaces_.find(entry.modeId);
  if (mode == modePlaces_.end())
    Note(place, "its mode " + Number(entry.modeId) + " is not there");
  else
    reading_.model.modes[mode->second].modules.push_back(std::move(module));
}

Bytes FileReader::Copy(const Entry& entry, ModuleReader& reader, const std::string& place) const {
  const View data = DataOf(entry);
  return reader.Spend(place, data.size() / 64 + 1) ? Bytes(data.begin(), data.end()) : Bytes{};
}

void FileReader::ReadModules() {
  const EntryTable& objects = Objects();
  ModuleReader reader(
      format_,
      [&](uint32_t id) -> std::optional<View> {
        const auto found = objects.find(id);
        return found == objects.end() ? std::nullopt : std::optional(DataOf(found->second));
      },
      reading_.defects);
  for (const auto& [id, entry] : symbols_)
    if (!entry.type.empty()) ReadModule(entry, reader);
  KeepRawObjects(reader);
}

void FileReader::KeepRawObjects(ModuleReader& reader) {
  const EntryTable& objects = Objects();
  for (const auto& [id, entry] : objects)
    if (entry.type.empty() && reader.UsedObjects().count(id) == 0)
      reading_.model.objects.push_back({id, Copy(entry, reader, "object " + Number(id))});
  if (&objects == &symbols_) return;
  for (const auto& [id, entry] : symbols_)
    if (entry.type.empty()) Note("module " + Number(id), "it has no name");
}

// Of two modules of one name in one mode, the second is never found.
void FileReader::CheckModuleNames() {
  for (const Mode& mode : reading_.model.modes) {
    std::set<std::string> names;
    for (const Module& module : mode.modules)
      if (!names.insert(module.type).second)
        Note("mode " + Number(mode.id), "it has a second module " + module.Name());
  }
}

FileReading FileReader::Read() {
  if (!ReadHeader() || !ReadSections()) return std::move(reading_);
  ReadModes();
  ReadSymbols();
  ReadDataTable();
  ReadModules();
  CheckModuleNames();
  reading_.unserved = FindUnserved(reading_.model);
  const auto data = sections_.find(kDataSection);
  if (!symbols_.empty() && data != sections_.end() && data->second.size == 0)
    reading_.unserved.push_back("data section: it is empty, and the library reads no modules then");
  return std::move(reading_);
}

}  // namespace

FileReading ReadFile(const Bytes& file) {
  return FileReader(file).Read();
}

}  // namespace tessarine

#include "file_writer.h"

#include <algorithm>
#include <map>

#include "errors.h"

namespace tessarine {
namespace {

// An entry of the symbol table or of the data table, with its data.
struct Entry {
  uint32_t duplicateOf = 0;  // the ID of the entry whose data it shares, or its own
  std::string type;          // modules only, as the next two
  Version version;
  uint32_t modeId = 0;
  Bytes data;
  uint32_t dataOffset = 0;
};

// Entries by ID. New ones get the lowest free ID, from 1.
class EntryTable {
 public:
  void Claim(uint32_t id, const char* what) {
    if (!entries_.emplace(id, Entry{}).second)
      throw InputError(std::string(what) + ": the ID " + std::to_string(id) + " is given twice");
  }
  uint32_t Add() {
    while (entries_.count(next_) != 0) ++next_;
    entries_[next_].duplicateOf = next_;
    return next_++;
  }
  Entry& At(uint32_t id) { return entries_.at(id); }
  std::map<uint32_t, Entry>& All() { return entries_; }

  // Adds entries until there is none missing below the highest ID.
  void FillUp(const char* what) {
    const uint64_t highest = entries_.empty() ? 0 : entries_.rbegin()->first;
    if (highest - entries_.size() > kMostMissing)
      throw InputError(std::string(what) + ": below the ID " + std::to_string(highest) +
                       " more than " + std::to_string(kMostMissing) + " have no data");
    while (!entries_.empty() && entries_.rbegin()->first != entries_.size()) Add();
  }

  // IDs run from 1 to the number of entries.
  void CheckComplete(const char* what) const {
    if (entries_.empty() || entries_.rbegin()->first == entries_.size()) return;
    throw InputError(std::string(what) + ": the ID " + std::to_string(entries_.rbegin()->first) +
                     " is above the number of entries, " + std::to_string(entries_.size()));
  }

 private:
  // More are a mistake, and could take all memory.
  static constexpr uint32_t kMostMissing = 65536;

  std::map<uint32_t, Entry> entries_;
  uint32_t next_ = 1;
};

// The text that equal values of one type have in common, and no others.
void AppendKey(const Value& value, std::string& key) {
  key += std::to_string(value.bits) + "," + std::to_string(value.text.size()) + ":" + value.text +
         "[" + std::to_string(value.parts.size());
  for (const Value& part : value.parts) AppendKey(part, key);
}

class FileWriter {
 public:
  explicit FileWriter(const Model& model)
      : model_(model),
        format_(model.format),
        hasDataTable_(format_.HasDataTable() && model.hasDataTable),
        objects_(hasDataTable_ ? data_ : symbols_) {}

  Bytes Write();

 private:
  void NumberModules();
  void AddRawObjects();
  void EncodeModules();
  void EncodeRecord(const RecordSchema& record, const Value& value, ByteWriter& writer);
  void EncodeField(const FieldSchema& field, const Value& value, ByteWriter& writer);
  void EncodeOne(const FieldSchema& field, const Value& value, ByteWriter& writer);
  uint32_t AddText(const std::string& text);
  uint32_t AddArray(const FieldSchema& field, const Value& array);
  // Enters the data of an equal object, if there is one, as the entry's own.
  bool Shares(EntryTable& table, uint32_t id, const std::string& key);

  Bytes DataSection();
  void AppendData(EntryTable& table, ByteWriter& section);
  Bytes ModeTable() const;
  Bytes SymbolTable();
  Bytes DataTable();
  Bytes Header(uint32_t sections) const;

  const Model& model_;
  Format format_;
  bool hasDataTable_;
  EntryTable symbols_;
  EntryTable data_;
  EntryTable& objects_;  // where objects are entered: files without a data table have one table
  struct Numbered {
    const Module* module;
    uint32_t modeId;
  };
  std::map<uint32_t, Numbered> modules_;
  std::map<std::string, uint32_t> firstOf_;  // the first entry with some data
};

void FileWriter::NumberModules() {
  std::vector<Numbered> unnumbered;
  for (const Mode& mode : model_.modes) {
    for (const Module& module : mode.modules) {
      if (module.id == 0) {
        unnumbered.push_back({&module, mode.id});
        continue;
      }
      symbols_.Claim(module.id, "modules");
      symbols_.At(module.id).duplicateOf = module.id;
      modules_[module.id] = {&module, mode.id};
    }
  }
  AddRawObjects();
  for (const Numbered& numbered : unnumbered) modules_[symbols_.Add()] = numbered;
}

void FileWriter::AddRawObjects() {
  for (const RawObject& object : model_.objects) {
    objects_.Claim(object.id, "objects");
    objects_.At(object.id).duplicateOf = object.id;
  }
  for (const RawObject& object : model_.objects)
    if (!Shares(objects_, object.id,
                "object" + std::string(object.bytes.begin(), object.bytes.end())))
      objects_.At(object.id).data = object.bytes;
}

bool FileWriter::Shares(EntryTable& table, uint32_t id, const std::string& key) {
  if (!format_.HasDuplicates() || !model_.sharesEqual) return false;
  const auto [first, isNew] = firstOf_.emplace(key, id);
  if (!isNew) table.At(id).duplicateOf = first->second;
  return !isNew;
}

void FileWriter::EncodeModules() {
  for (const auto& [id, numbered] : modules_) {
    const Module& module = *numbered.module;
    Entry& entry = symbols_.At(id);
    entry.type = module.type;
    entry.version = module.version;
    entry.modeId = numbered.modeId;
    std::string key = "module " + module.type + " " + ToText(module.version) + " ";
    AppendKey(module.value, key);
    key.append(module.raw.begin(), module.raw.end());
    if (Shares(symbols_, id, key)) continue;
    ByteWriter writer(format_.Alignment());
    if (const ModuleSchema* schema = module.Schema())
      EncodeRecord(*schema->root, module.value, writer);
    else
      writer.Raw(module.raw);
    symbols_.At(id).data = writer.Take();
  }
}

void FileWriter::EncodeRecord(const RecordSchema& record, const Value& value, ByteWriter& writer) {
  for (size_t i = 0; i < record.fields.size(); ++i)
    EncodeField(record.fields[i], value.parts[i], writer);
}

void FileWriter::EncodeField(const FieldSchema& field, const Value& value, ByteWriter& writer) {
  if (field.isVariable) {
    writer.Word(static_cast<uint32_t>(value.parts.size()));
    writer.Word(value.parts.empty() ? 0 : AddArray(field, value));
  } else if (field.fixedCount != 0) {
    for (const Value& element : value.parts) EncodeOne(field, element, writer);
  } else {
    EncodeOne(field, value, writer);
  }
}

void FileWriter::EncodeOne(const FieldSchema& field, const Value& value, ByteWriter& writer) {
  if (field.record != nullptr) {
    EncodeRecord(*field.record, value, writer);
  } else if (field.kind == FieldKind::kString) {
    writer.Word(static_cast<uint32_t>(value.text.size()));
    writer.Word(value.text.empty() ? 0 : AddText(value.text));
  } else {
    writer.Word(value.bits);
  }
}

uint32_t FileWriter::AddText(const std::string& text) {
  const uint32_t id = objects_.Add();
  if (!Shares(objects_, id, "text " + text)) objects_.At(id).data.assign(text.begin(), text.end());
  return id;
}

// Records stand as they do in a module; scalars are packed.
uint32_t FileWriter::AddArray(const FieldSchema& field, const Value& array) {
  const uint32_t id = objects_.Add();
  std::string key = "array " + TypeText(field) + " ";
  AppendKey(array, key);
  if (Shares(objects_, id, key)) return id;
  ByteWriter writer(format_.Alignment());
  for (const Value& element : array.parts) {
    if (field.record != nullptr)
      EncodeRecord(*field.record, element, writer);
    else
      writer.BareWord(element.bits);
  }
  objects_.At(id).data = writer.Take();
  return id;
}

void FileWriter::AppendData(EntryTable& table, ByteWriter& section) {
  for (auto& [id, entry] : table.All()) {
    if (entry.duplicateOf != id) continue;
    entry.dataOffset = static_cast<uint32_t>(section.Size());
    section.Raw(entry.data);
    section.Align();
  }
}

Bytes FileWriter::DataSection() {
  ByteWriter section(format_.Alignment());
  AppendData(symbols_, section);
  AppendData(data_, section);
  return section.Take();
}

Bytes FileWriter::ModeTable() const {
  std::map<uint32_t, const Mode*> byId;
  for (const Mode& mode : model_.modes) byId[mode.id] = &mode;
  ByteWriter table(format_.Alignment());
  if (format_.HasModeText()) table.Text(model_.modeText, kModeTextSize);
  for (const auto& [id, mode] : byId) {
    table.Word(id);
    table.LongWord(mode->key.mode | uint64_t{mode->key.subMode} << 16);
    table.Word(mode->parent);
    if (format_.HasLinks()) table.Word(mode->link);
    if (format_.HasModeFlags()) table.Word(mode->flags);
  }
  return table.Take();
}

Bytes FileWriter::SymbolTable() {
  ByteWriter table(format_.Alignment());
  const uint32_t step =
      model_.hasWideSymbols ? format_.StatedSymbolSize() : format_.OccupiedSymbolSize();
  size_t end = 0;
  for (auto& [id, entry] : symbols_.All()) {
    table.Word(id);
    table.Text(entry.type, kModuleTypeSize);
    table.PutVersion(entry.version);
    if (format_.HasReserved()) table.LongWord(0);
    table.Word(entry.modeId);
    const Entry& source = symbols_.At(entry.duplicateOf);
    table.Word(source.dataOffset);
    table.Word(static_cast<uint32_t>(source.data.size()));
    if (format_.HasDuplicates()) table.Word(entry.duplicateOf);
    table.PadTo(end += step);
  }
  // The size counts in stated entries, which leaves a rest behind closer ones.
  table.PadTo(symbols_.All().size() * format_.StatedSymbolSize());
  return table.Take();
}

Bytes FileWriter::DataTable() {
  ByteWriter table(format_.Alignment());
  for (auto& [id, entry] : data_.All()) {
    const Entry& source = data_.At(entry.duplicateOf);
    for (uint32_t word :
         {id, source.dataOffset, static_cast<uint32_t>(source.data.size()), entry.duplicateOf})
      table.Word(word);
  }
  return table.Take();
}

Bytes FileWriter::Header(uint32_t sections) const {
  ByteWriter header(format_.Alignment());
  header.Text(kHeaderTag, kHeaderTagSize);
  header.BareWord(format_.HeaderSize());
  header.PutVersion(format_.GetVersion());
  if (format_.HasTexts()) {
    header.Text(model_.tool, kToolSize);
    header.Text(model_.tag, kTagSize);
  }
  if (format_.HasFlags()) header.LongWord(model_.flags);
  header.BareWord(static_cast<uint32_t>(format_.Padded(format_.HeaderSize())));
  header.BareWord(sections);
  header.Align();
  return header.Take();
}

Bytes FileWriter::Write() {
  NumberModules();
  EncodeModules();
  // Objects that modules name by their ID keep it when others have gone: empty ones take the place.
  objects_.FillUp("objects");
  symbols_.CheckComplete("modules");
  std::map<uint32_t, Bytes> sections;
  sections[kDataSection] = DataSection();
  sections[kSymbolSection] = SymbolTable();
  if (model_.hasModeTable) sections[kModeSection] = ModeTable();
  if (hasDataTable_) sections[kDataTableSection] = DataTable();

  ByteWriter file(format_.Alignment());
  file.Raw(Header(static_cast<uint32_t>(sections.size())));
  uint64_t offset = file.Size() + sections.size() * 3 * format_.WordSize();
  for (const auto& [type, bytes] : sections) {
    file.Word(type);
    file.Word(static_cast<uint32_t>(offset));
    file.Word(static_cast<uint32_t>(bytes.size()));
    offset = format_.Padded(offset + bytes.size());
  }
  if (offset > UINT32_MAX) throw InputError("a tuning file can't be larger than 4 GiB");
  for (const auto& [type, bytes] : sections) {
    file.Raw(bytes);
    file.Align();
  }
  Bytes bytes = file.Take();
  ByteWriter crc(1);
  crc.BareWord(Checksum(bytes));
  const Bytes end = crc.Take();
  bytes.insert(bytes.end(), end.begin(), end.end());
  return bytes;
}

}  // namespace

Bytes WriteFile(const Model& model) {
  return FileWriter(model).Write();
}

}  // namespace tessarine

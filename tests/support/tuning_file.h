// Tuning files for tests: written field by field, for every version of the format.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "parametercrc.h"
#include "parameterversion.h"

namespace test {

using Bytes = std::vector<uint8_t>;

// Appends values in the order of a file's fields.
struct FieldWriter {
  explicit FieldWriter(uint32_t alignment_ = 1) : alignment(alignment_) {}

  void raw(const void* data, size_t size, size_t place) {
    const auto* from = static_cast<const uint8_t*>(data);
    bytes.insert(bytes.end(), from, from + size);
    bytes.resize(bytes.size() + place - size);
  }
  void word(uint32_t value) { raw(&value, 4, alignment > 4 ? alignment : 4); }
  void version(VersionUnion value) {
    const uint64_t packed = value.Word();
    raw(&packed, 8, 8);
  }
  void text(const std::string& value, size_t size) {
    raw(value.data(), value.size() < size ? value.size() : size, size);
  }

  uint32_t alignment;
  Bytes bytes;
};

struct TuningFile {
  static constexpr uint32_t kNoLink = 0xFFFFFFFF;

  struct Mode {
    uint32_t id;
    uint16_t mode;
    uint16_t subMode;
    uint32_t parent;
    uint32_t link = kNoLink;
    uint32_t flags = 0;
  };
  struct Module {
    std::string type;
    VersionUnion version;
    uint32_t modeId;
    Bytes data;
    uint32_t duplicateOf = 0;  // index + 1 of the module that it repeats; 0: none
  };
  struct Object {
    Bytes data;
    uint32_t duplicateOf = 0;  // ID of the object that it repeats; 0: none
  };

  explicit TuningFile(VersionUnion version_ = {5, 0, 0}) : version(version_) {}

  uint32_t alignment() const {
    return version >= VersionUnion{1, 1, 0} && version < VersionUnion{3, 0, 1} ? 8 : 1;
  }
  bool hasDataTable() const { return version >= VersionUnion{4, 0, 0}; }
  uint32_t addObject(const Bytes& data, uint32_t duplicateOf = 0) {
    objects.push_back({data, duplicateOf});
    return static_cast<uint32_t>(objects.size());
  }
  // Without a data table, objects come before the modules in the symbol table.
  uint32_t moduleId(size_t index) const {
    return static_cast<uint32_t>(index + 1 + (hasDataTable() ? 0 : objects.size()));
  }
  Bytes build() const;

  VersionUnion version;
  std::string tag = "test";
  uint64_t flags = 0;
  bool padSymbols = false;  // aligned entries stand as far apart as their stated size
  std::vector<Mode> modes;
  std::vector<Module> modules;
  std::vector<Object> objects;

 private:
  void addSymbol(FieldWriter& table, FieldWriter& data, uint32_t id, const Module& module,
                 uint32_t duplicate) const;
};

// The symbol of a module, or of an object as a module without a type.
inline void TuningFile::addSymbol(FieldWriter& table, FieldWriter& data, uint32_t id,
                                  const Module& module, uint32_t duplicate) const {
  table.word(id);
  table.text(module.type, 32);
  table.version(module.version);
  if (version < VersionUnion{1, 1, 0}) table.text("reserved", 8);
  table.word(module.modeId);
  table.word(static_cast<uint32_t>(data.bytes.size()));
  table.word(static_cast<uint32_t>(module.data.size()));
  if (version > VersionUnion{3, 0, 1}) table.word(duplicate);
  if (padSymbols) table.text("", 4);
  data.raw(module.data.data(), module.data.size(), (module.data.size() + 7) / 8 * 8);
}

inline Bytes TuningFile::build() const {
  FieldWriter symbols(alignment());
  FieldWriter dataTable;
  FieldWriter data;
  FieldWriter modeTable(alignment());
  data.text("start of data", 16);  // no offset is 0
  for (size_t i = 0; i < objects.size(); ++i) {
    const auto id = static_cast<uint32_t>(i + 1);
    const uint32_t duplicate = objects[i].duplicateOf == 0 ? id : objects[i].duplicateOf;
    if (!hasDataTable()) {
      addSymbol(symbols, data, id, {"", {}, 0, objects[i].data}, duplicate);
      continue;
    }
    dataTable.word(id);
    dataTable.word(static_cast<uint32_t>(data.bytes.size()));
    dataTable.word(static_cast<uint32_t>(objects[i].data.size()));
    dataTable.word(duplicate);
    data.raw(objects[i].data.data(), objects[i].data.size(), (objects[i].data.size() + 7) / 8 * 8);
  }
  for (size_t i = 0; i < modules.size(); ++i) {
    const uint32_t repeated = modules[i].duplicateOf;
    addSymbol(symbols, data, moduleId(i), modules[i],
              repeated == 0 ? moduleId(i) : moduleId(repeated - 1));
  }
  // An aligned table's size is told in entries of 76 bytes, though their fields take 72.
  if (alignment() == 8 && !padSymbols)
    symbols.text("", (modules.size() + (hasDataTable() ? 0 : objects.size())) * 4);
  if (hasDataTable()) modeTable.text("ignored", 32);
  for (const Mode& mode : modes) {
    modeTable.word(mode.id);
    const uint64_t key = mode.mode | uint64_t{mode.subMode} << 16;
    modeTable.raw(&key, 8, 8);
    modeTable.word(mode.parent);
    if (version >= VersionUnion{2, 0, 0}) modeTable.word(mode.link);
    if (version >= VersionUnion{5, 0, 0}) modeTable.word(mode.flags);
  }

  struct Section {
    uint32_t type;
    const Bytes* bytes;
  };
  std::vector<Section> sections{{0, &symbols.bytes}, {1, &data.bytes}};
  if (!modes.empty()) sections.push_back({2, &modeTable.bytes});
  if (!dataTable.bytes.empty()) sections.push_back({3, &dataTable.bytes});

  const bool hasTag = version >= VersionUnion{1, 0, 2};
  const uint32_t headerSize =
      28 + 4 + 8 + (hasTag ? 48 + 64 : 0) + (version >= VersionUnion{3, 0, 0} ? 8 : 0) + 4 + 4;
  FieldWriter file;
  file.text("ZYN Tessarine Header", 28);
  file.word(headerSize);
  file.version(version);
  if (hasTag) file.text("test writer", 48);
  if (hasTag) file.text(tag, 64);
  if (version >= VersionUnion{3, 0, 0}) file.raw(&flags, 8, 8);
  file.word(headerSize);
  file.word(static_cast<uint32_t>(sections.size()));

  FieldWriter table(alignment());
  size_t offset = headerSize + sections.size() * 3 * (alignment() == 8 ? 8 : 4);
  for (const Section& section : sections) {
    table.word(section.type);
    table.word(static_cast<uint32_t>(offset));
    table.word(static_cast<uint32_t>(section.bytes->size()));
    offset += section.bytes->size();
  }
  file.raw(table.bytes.data(), table.bytes.size(), table.bytes.size());
  for (const Section& section : sections)
    file.raw(section.bytes->data(), section.bytes->size(), section.bytes->size());
  file.word(parametercrc::Checksum(file.bytes.data(), file.bytes.size()));
  return file.bytes;
}

// Makes the checksum right again.
inline void RepairChecksum(Bytes& file) {
  if (file.size() < 4) return;
  const uint32_t crc = ~parametercrc::UpdateBytes(~0u, file.data(), file.size() - 4);
  std::memcpy(file.data() + file.size() - 4, &crc, 4);
}

inline void PutWord(Bytes& file, size_t offset, uint32_t value) {
  std::memcpy(file.data() + offset, &value, 4);
  RepairChecksum(file);
}

inline void WriteFile(const std::filesystem::path& path, const Bytes& bytes) {
  // Under a name of its own first: readers see one file or the other.
  const std::filesystem::path fresh = path.string() + ".new";
  std::ofstream(fresh, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  std::filesystem::rename(fresh, path);
}

}  // namespace test

// Reading a tuning file: header, sections, modes, modules.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "orvo/osutils.h"
#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

constexpr char kHeaderTag[] = "ZYN Tessarine Header";
constexpr uint32_t kHeaderTagSize = 28;
constexpr uint32_t kToolSize = 48;
constexpr uint32_t kVersionSize = 8;
constexpr uint64_t kCompressedFlag = 2;
constexpr uint32_t kCrcSize = 4;
constexpr uint32_t kMinSections = 2;
constexpr uint32_t kModeSectionText = 32;  // before the mode entries; ignored
// What is read of a file for its section table, in file mode.
constexpr uint32_t kFileHead = 316;

constexpr VersionUnion kModeTreeMinVersion{1, 0, 2};
constexpr VersionUnion kAlignedVersion{1, 1, 0};
constexpr VersionUnion kFlagsVersion{3, 0, 0};
constexpr VersionUnion kPackedVersion{3, 0, 1};
constexpr VersionUnion kDataTableVersion{4, 0, 0};
constexpr VersionUnion kNewestVersion{5, 0, 0};

enum SectionType : uint32_t { kSymbolSection, kDataSection, kModeSection, kDataTableSection };

uint32_t AlignmentOf(VersionUnion version) {
  return version >= kAlignedVersion && version < kPackedVersion ? 8 : 1;
}

}  // namespace

// The error texts of a file that can't be had.
struct ParameterSetManager::FileErrors {
  const char* noMemory;
  const char* notOpened;
  const char* badChecksum;
  const char* noSpace;
};

void ParameterSetManager::FileRelease::operator()(uint8_t* bytes) const {
  OrvoFree(bytes);
}

// The header's fields, which are never padded.
class ParameterSetManager::HeaderReader {
 public:
  HeaderReader(const uint8_t* buffer, uint32_t length, const IParameterLoggingAPI* logger)
      : buffer_(buffer), length_(length), logger_(logger) {}

  bool Read(void* value, uint32_t count) {
    if (count <= length_ - std::min(position_, length_)) {
      std::memcpy(value, buffer_ + position_, count);
      position_ += count;
      return true;
    }
    PARAMETER_ERROR(logger_, "Failed to read %lld bytes from binary file offset %d, length %d\n",
                    static_cast<long long>(count), static_cast<int>(position_),
                    static_cast<int>(length_));
    return false;
  }
  template <class Word>
  bool Read(Word& word) {
    return Read(&word, sizeof(word));
  }

 private:
  const uint8_t* buffer_;
  uint32_t length_;
  uint32_t position_ = 0;
  const IParameterLoggingAPI* logger_;
};

bool ParameterSetManager::LoadBinaryParameters(const char* fileName) {
  const ParameterWriteLock lock(dataMutex_);
  if (fileName == nullptr) {
    SetError("LoadBinaryParameters called with nullptr file name");
    return false;
  }
  if (std::strlen(fileName) >= kMaxFileName) {
    PARAMETER_ERROR(this, "File name length (%lld) exceeds max file name length of %d\n",
                    static_cast<long long>(std::strlen(fileName)), static_cast<int>(kMaxFileName));
    return false;
  }
  return RefuseSecondLoad() && FinishLoad(LoadFile(fileName, fileModeWanted_));
}

bool ParameterSetManager::LoadBinaryParameters(const void* buffer, uint64_t length) {
  const ParameterWriteLock lock(dataMutex_);
  return RefuseSecondLoad() && FinishLoad(LoadBuffer(static_cast<const uint8_t*>(buffer), length));
}

bool ParameterSetManager::RefuseSecondLoad() {
  if (loaded_.table == nullptr && loaded_.tree == nullptr) return true;
  SetError("Binary file already loaded");
  return false;
}

// The one place behind every first load and every reload.
bool ParameterSetManager::FinishLoad(bool loaded) {
  loaded_.valid = loaded;
  if (loaded) StartLink();
  return loaded;
}

bool ParameterSetManager::LoadFile(const char* fileName, bool keepFile) {
  constexpr FileErrors kErrors{"Failed to load binary file", "Failed to load binary file",
                               "Binary file CRC validation failed",
                               "Unable to allocate space to read binary file"};
  PARAMETER_DEBUG(this, "Load Binary Parameters from file: %s\n", fileName);
  std::unique_ptr<ParameterBinaryFile> file = OpenFile(fileName, kErrors);
  const FileBytes image = ReadImage(file.get(), kErrors);
  if (file == nullptr) PARAMETER_ERROR(this, "Failed to load binary file %s\n", fileName);
  if (image == nullptr) return false;
  if (!keepFile) return LoadBuffer(image.get(), file->GetLength());
  if (!LoadThroughFile(std::move(file), image.get())) return false;
  const VersionUnion version = loaded_.header.version;
  PARAMETER_DEBUG(this, "Load Binary Parameters completed: Binary Version: %d.%d.%d\n",
                  version.majorVersion, version.minorVersion,
                  static_cast<int>(version.patchVersion));
  return true;
}

// From here on the file is not needed any more.
bool ParameterSetManager::ReloadAsBuffer(const char* fileName) {
  constexpr FileErrors kErrors{
      "ReloadBinaryParameters: Failed to allocate ParameterBinaryFile class",
      "ReloadBinaryParameters: Failed to open file",
      "ReloadBinaryParameters: File CRC check failed",
      "ReloadBinaryParameters: Failed to allocate space to read data from file"};
  const std::unique_ptr<ParameterBinaryFile> file = OpenFile(fileName, kErrors);
  const FileBytes image = ReadImage(file.get(), kErrors);
  return image != nullptr && LoadBuffer(image.get(), file->GetLength());
}

// Null, with the error set, unless it can be opened and its checksum is right.
std::unique_ptr<ParameterBinaryFile> ParameterSetManager::OpenFile(const char* fileName,
                                                                   const FileErrors& errors) {
  std::unique_ptr<ParameterBinaryFile> file(new ParameterBinaryFile(fileName, this, true));
  if (file != nullptr && file->IsCRCValid()) return file;
  SetError(file == nullptr    ? errors.noMemory
           : !file->IsValid() ? errors.notOpened
                              : errors.badChecksum);
  return nullptr;
}

// The whole of an open file; null, with the error set, if it can't be had.
ParameterSetManager::FileBytes ParameterSetManager::ReadImage(ParameterBinaryFile* file,
                                                              const FileErrors& errors) {
  if (file == nullptr) return nullptr;
  FileBytes image(file->Read(0, file->GetLength()));
  if (image == nullptr) SetError(errors.noSpace);
  return image;
}

bool ParameterSetManager::LoadBuffer(const uint8_t* buffer, uint64_t length) {
  PARAMETER_DEBUG(this, "Load Binary Parameters from buffer\n");
  if (length > UINT32_MAX) {
    PARAMETER_ERROR(this, "Buffer length (%llu) exceeds maximum %lu\n",
                    static_cast<unsigned long long>(length),
                    static_cast<unsigned long>(UINT32_MAX));
    return false;
  }
  const auto length32 = static_cast<uint32_t>(length);
  if (!ReadHeader(buffer, length32)) {
    DropLoaded();
    return false;
  }
  if (!ReadSections(buffer, length32, nullptr)) return false;
  const Header& header = loaded_.header;
  PARAMETER_DEBUG(this, "Load Binary Parameters completed: Tag: %s, Version: %d.%d.%d\n",
                  header.tag, header.version.majorVersion, header.version.minorVersion,
                  static_cast<int>(header.version.patchVersion));
  return true;
}

// The header and the checksum are looked at over the whole image; the rest is read as needed.
bool ParameterSetManager::LoadThroughFile(std::unique_ptr<ParameterBinaryFile> file,
                                          const uint8_t* image) {
  const uint32_t length = file->GetLength();
  if (!ReadHeader(image, length)) {
    DropLoaded();
    return false;
  }
  const uint32_t headSize = std::min(length, kFileHead);
  const FileBytes head(file->Read(0, headSize));
  if (head == nullptr) {
    PARAMETER_ERROR(this, "Failed to read %d bytes from binary file %s\n",
                    static_cast<int>(headSize), file->GetFileName());
    SetError("Failed to read the head of the binary file");
    DropLoaded();
    return false;
  }
  if ((loaded_.header.flags & kCompressedFlag) != 0)
    PARAMETER_ERROR(this, "Compressed binary files ssupport removed in V5.1.0\n");
  Orvo::OsUtils::StrLCpy(loaded_.fileName, file->GetFileName(), sizeof(loaded_.fileName));
  return ReadSections(head.get(), headSize, file.release());
}

bool ParameterSetManager::CheckTag(const char* tag) {
  if (std::strcmp(tag, kHeaderTag) == 0) return true;
  char text[kHeaderTagSize + 64];
  std::snprintf(text, sizeof(text), "Invalid binary header tag: %s", tag);
  SetError(text);
  return false;
}

bool ParameterSetManager::ReadHeaderFields(HeaderReader& reader) {
  Header& header = loaded_.header;
  uint64_t version = 0;
  if (!reader.Read(header.size) || !reader.Read(version)) return false;
  header.version = VersionUnion(version);
  const VersionUnion v = header.version;
  if (v >= kModeTreeMinVersion) {
    char tool[kToolSize + 1] = {};
    if (!reader.Read(tool, kToolSize) || !reader.Read(header.tag, kTagSize)) return false;
    header.hasTag = true;
    PublishTag();
    PARAMETER_DEBUG(this, "ReadHeader: Version %d.%d.%d BinaryTag: %s, Tool: %s\n", v.majorVersion,
                    v.minorVersion, static_cast<int>(v.patchVersion), header.tag, tool);
  } else {
    PARAMETER_WARNING(this,
                      "ReadHeader: Version %d.%d.%d < ModeTreeMinVersion, BinaryTag not set\n",
                      v.majorVersion, v.minorVersion, static_cast<int>(v.patchVersion));
  }
  if (v >= kFlagsVersion && !reader.Read(header.flags)) return false;
  return reader.Read(header.sectionTable) && reader.Read(header.sectionCount);
}

bool ParameterSetManager::ReadHeader(const uint8_t* buffer, uint32_t length) {
  static_assert(sizeof(VersionUnion) == kVersionSize);
  loaded_.header = {};
  if (buffer == nullptr || length <= kCrcSize) {
    ParameterBinaryFile::ValidateCRC(buffer, length, this);
    SetError("Binary file CRC validation failed");
    return false;
  }
  HeaderReader reader(buffer, length, this);
  char tag[kHeaderTagSize + 1] = {};
  if (!reader.Read(tag, kHeaderTagSize)) {
    SetError("Failed to read binary header tag");
    return false;
  }
  // Before the other fields: what stands behind another tag means nothing.
  if (!CheckTag(tag)) return false;
  if (!ReadHeaderFields(reader)) {
    SetError("General error parsing binary header data header");
    return false;
  }
  if (!CheckHeader(length)) return false;
  loaded_.header.alignment = AlignmentOf(loaded_.header.version);
  if (ParameterBinaryFile::ValidateCRC(buffer, length, this)) return true;
  SetError("Binary file CRC validation failed");
  return false;
}

bool ParameterSetManager::CheckHeader(uint32_t length) {
  const Header& header = loaded_.header;
  const VersionUnion v = header.version;
  char text[256];
  if (length < header.size && (header.flags & kCompressedFlag) == 0) {
    std::snprintf(text, sizeof(text),
                  "Binary header data too small: Expected: %d bytes, Actual: %u bytes",
                  static_cast<int>(header.size), length);
    SetError(text);
    return false;
  }
  if (v < kModeTreeMinVersion)
    SetError(
        "Warning: This is an older binary format, only Default mode data is supported.\nTo support "
        "multiple modes, please re-generate binary using the latest version of Tessarine");
  if (v <= kNewestVersion) return true;
  std::snprintf(text, sizeof(text),
                "Unsupported binary header version : %u.%u.%u. Please re-generate parser code "
                "using the latest version of ParameterParser",
                v.majorVersion, v.minorVersion, v.patchVersion);
  SetError(text);
  return false;
}

bool ParameterSetManager::CheckSectionCount() {
  const int count = static_cast<int>(loaded_.header.sectionCount);
  if (loaded_.header.sectionCount < kMinSections) {
    PARAMETER_ERROR(this, "ReadSectionInfo: Section count %d is less than Min sections %d\n", count,
                    static_cast<int>(kMinSections));
  } else if (loaded_.header.sectionCount > kMaxSections) {
    PARAMETER_ERROR(this, "ReadSectionInfo: Section count %d is greater than Max sections %d\n",
                    count, static_cast<int>(kMaxSections));
  } else {
    return true;
  }
  SetError("Invalid binary file section count");
  return false;
}

bool ParameterSetManager::ReadSectionInfo(const uint8_t* buffer, uint32_t length,
                                          uint32_t fileLength) {
  if (!CheckSectionCount()) return false;
  uint64_t position = loaded_.header.sectionTable;
  for (uint32_t i = 0; i < loaded_.header.sectionCount; ++i) {
    uint32_t fields[3] = {};  // type, offset, size
    for (uint32_t& field : fields) {
      if (!ParameterUtils::ReadBuffer(buffer, length, &position, &field, sizeof(field),
                                      loaded_.header.alignment, this)) {
        SetError("Binary section table stands outside the file");
        return false;
      }
    }
    if (fields[0] >= kMaxSections) {
      PARAMETER_ERROR(this, "Invalid binary section type %d\n", static_cast<int>(fields[0]));
      SetError("Invalid binary section type");
      return false;
    }
    if (uint64_t{fields[1]} + fields[2] > fileLength - kCrcSize) {
      SetError("Binary section stands outside the file");
      return false;
    }
    loaded_.sections[fields[0]] = {fields[1], fields[2]};
  }
  if ((loaded_.header.flags & kCompressedFlag) == 0) return true;
  SetError("Compressed binary file not supported (support ended with V5.1.0)");
  return false;
}

// `buffer` is the whole file or, in file mode, its head. Takes the file.
bool ParameterSetManager::ReadSections(const uint8_t* buffer, uint32_t length,
                                       ParameterBinaryFile* opened) {
  std::unique_ptr<ParameterBinaryFile> file(opened);
  const uint32_t fileLength = file == nullptr ? length : file->GetLength();
  const uint8_t* image = file == nullptr ? buffer : nullptr;
  loaded_.table = new ParameterFileSymbolTable(this, loaded_.header.version);
  if (loaded_.table == nullptr) SetError("Failed to allocate the symbol table");
  if (loaded_.table == nullptr || !ReadSectionInfo(buffer, length, fileLength) ||
      !ReadModeSection(image, file.get())) {
    DropLoaded();
    return false;
  }
  const Section& symbols = loaded_.sections[kSymbolSection];
  const Section& data = loaded_.sections[kDataSection];
  if (symbols.offset != 0 && symbols.size != 0 && data.offset != 0 && data.size != 0)
    return ReadTables(image, fileLength, file.release());
  PARAMETER_WARNING(this,
                    "ReadModeSection: Binary missing symbol table or data SymbolOffset(%d) && "
                    "SymbolSize(%d) && DataOffset(%d) && DataSize(%d)\n",
                    static_cast<int>(symbols.offset), static_cast<int>(symbols.size),
                    static_cast<int>(data.offset), static_cast<int>(data.size));
  return true;
}

bool ParameterSetManager::ReadTables(const uint8_t* buffer, uint32_t length,
                                     ParameterBinaryFile* file) {
  const Section* sections = loaded_.sections;
  const ParameterFileSections places{
      sections[kSymbolSection].offset,    sections[kSymbolSection].size,
      sections[kDataTableSection].offset, sections[kDataTableSection].size,
      sections[kDataSection].offset,      sections[kDataSection].size};
  ParameterFileSymbolTable& table = *loaded_.table;
  if (!table.Load(buffer, file, length, places, this, loaded_.header.alignment)) {
    SetError("Failed to read the tables of the binary file");
    DropLoaded();
    return false;
  }
  if (file != nullptr) table.FreeEntryData();
  const bool created = CreateModules(file == nullptr);
  if (file != nullptr) {
    table.FileReference(-1);  // that of the constructor: from now on it is open while it is read
  } else {
    table.FreeEntryData();
    table.FreeLookupData();
  }
  return created;
}

bool ParameterSetManager::ReadModeSection(const uint8_t* buffer, ParameterBinaryFile* file) {
  const Section& section = loaded_.sections[kModeSection];
  if (section.offset == 0 || section.size == 0) {
    PARAMETER_WARNING(this,
                      "ReadModeSection: No mode table in binary, ModeOffset(%d) ModeSize(%d), "
                      "creating default\n",
                      static_cast<int>(section.offset), static_cast<int>(section.size));
    loaded_.tree = new ParameterModeTree;
    if (loaded_.tree != nullptr && loaded_.tree->BuildDefault()) return true;
    SetError("ReadModeSection: Failed to allocate the mode table");
    return false;
  }
  if (file == nullptr) return BuildTree(buffer + section.offset, section.size, true);
  const FileBytes bytes(file->Read(section.offset, section.size));
  if (bytes != nullptr) return BuildTree(bytes.get(), section.size, false);
  PARAMETER_ERROR(this,
                  "ReadModeSection: Failed to read %d bytes for mode table from binary file\n",
                  static_cast<int>(section.size));
  SetError("ReadModeSection: Failed to read the mode table");
  return false;
}

bool ParameterSetManager::BuildTree(const uint8_t* section, uint32_t size, bool loaded) {
  const Header& header = loaded_.header;
  const uint32_t entrySize = ParameterModeTree::GetModeEntrySize(header.version, header.alignment);
  const uint32_t text = header.version >= kDataTableVersion ? kModeSectionText : 0;
  if (size < text || (size - text) % entrySize != 0) {
    const uint32_t count = size < text ? 0 : (size - text) / entrySize;
    PARAMETER_ERROR(this, "ReadModeSection: ModeSize %d does not match expected size %d\n",
                    static_cast<int>(size), static_cast<int>(text + count * entrySize));
    SetError("ReadModeSection: Invalid size of the mode table");
    return false;
  }
  if (size == text) {
    SetError("ReadModeSection: Failed, buffer length is 0");
    return false;
  }
  loaded_.tree = new ParameterModeTree;
  if (loaded_.tree == nullptr) {
    SetError("ReadModeSection: Failed to allocate the mode table");
    return false;
  }
  return loaded_.tree->Build(section + text, size - text, header.version, header.alignment, loaded,
                             *this);
}

bool ParameterSetManager::CreateModules(bool loadAll) {
  bool created = true;
  for (uint32_t i = 0; i < loaded_.table->GetModuleCount(); ++i) {
    ModuleData* data = loaded_.table->GetModuleData(i);
    if (data != nullptr && !CreateModule(data, loadAll)) created = false;
  }
  return created;
}

bool ParameterSetManager::CreateModule(ModuleData* data, bool loadAll) {
  DefaultModule* defaultModule = FindDefaultModule(data->type);
  if (defaultModule == nullptr) {
    if (!toleratesMissing_) SetError("Failed to find header module: ", data);
    return false;
  }
  ParameterModule* module = defaultModule->GetPrototype()->Create(data, defaultModule);
  if (module == nullptr) {
    SetError("Failed to parse binary header data for: ", data);
    return false;
  }
  if (!AddModuleToTree(module, data)) return false;
  if (!loadAll && !data->mode->IsResident()) return true;
  if (module->LoadModule(data->symbolTable)) return true;
  SetError("Failed to load module data for: ", data);
  return false;
}

bool ParameterSetManager::AddModuleToTree(ParameterModule* module, const ModuleData* data) {
  if (loaded_.tree == nullptr || loaded_.tree->GetRoot() == nullptr) {
    SetError("AddModule: m_rootMode is nullptr");
  } else if (module == nullptr) {
    SetError("AddModule: module is nullptr");
  } else if (data->mode == nullptr) {
    char text[128];
    std::snprintf(text, sizeof(text), "AddModule: moduleData->ModeId(%d) >= m_modeCount(%d)\n",
                  static_cast<int>(data->modeId), static_cast<int>(loaded_.tree->GetModeCount()));
    SetError(text);
  } else if (!data->mode->AddModule(module)) {
    SetError("AddModule: Failed to allocate an entry for: ", data);
  } else {
    return true;
  }
  return false;
}

// Leaves no loaded file behind; instances, if any, must be gone or retired.
void ParameterSetManager::DropLoaded() {
  recentModes_.Clear();
  if (loaded_.table != nullptr) {
    loaded_.table->ForgetModes();
    loaded_.table->RemoveUser();
  }
  delete loaded_.tree;
  loaded_ = {};
  PublishTag();
}

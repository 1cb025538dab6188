// Files that are wrong, memory that runs out, reads that fail: a stated result, nothing lost.
#include <functional>
#include <optional>

#include "support/memory_file.h"
#include "tuning_fixture.h"

namespace test {
namespace {

// Two modes with the PD record, each with one element in every array.
TuningFile SmallFile(VersionUnion version = {5, 0, 0}, int32_t switchValue = 1) {
  TuningFile file(version);
  file.modes = {{0, 0, 0, 0}, {1, 2, 1, 0}};
  for (uint32_t mode = 0; mode < 2; ++mode) AddNumberedPd(file, mode, switchValue);
  return file;
}

const std::vector<TuningMode> kRootBranch{{0, 0}};
const std::vector<TuningMode> kDeepBranch{{0, 0}, {2, 1}};

// Where things stand in a file of version 5.0.0: the header takes 168 bytes, then come four
// descriptors of type, offset, size.
enum Place : size_t {
  kVersion = 32,
  kFlags = 152,
  kSectionTable = 160,
  kSectionCount = 164,
  kSymbols = 168,
  kData = 180,
  kModeTable = 192,
  kObjects = 204
};

uint32_t WordAt(const Bytes& file, size_t offset) {
  uint32_t word;
  std::memcpy(&word, file.data() + offset, 4);
  return word;
}

class BadFile : public Tuning {
 protected:
  // Loads into the same manager again and uses whatever is there. A number that tells the records
  // from others; nothing if the load failed.
  std::optional<uint64_t> loadAndUse(const Bytes& bytes, bool fileMode, bool byText = true) {
    Orvo::Host::StartLogCapture();
    if (fileMode) {
      EXPECT_TRUE(file_.write(bytes, 1));
    }
    const bool loaded = fileMode ? manager->LoadBinaryParameters(file_.path())
                                 : manager->LoadBinaryParameters(bytes.data(), bytes.size());
    EXPECT_EQ(manager->IsLoadValid(), loaded);
    uint64_t records = 0;
    for (const auto& branch : {kRootBranch, kDeepBranch}) {
      tessarinePDLibType* record = get(branch);
      if (record != nullptr) Mix(*record, records);
      char text[2048];
      if (byText)
        manager->GetValue(branch.data(), static_cast<uint32_t>(branch.size()), "tessarinePDLib",
                          nullptr, text, sizeof(text));
      if (record != nullptr) record->Release();
    }
    char modes[256];
    manager->GetChildModes("0.0", modes, sizeof(modes));
    manager->FreeBinaryParameters();
    manager->FreeReplacedParameters();
    return loaded ? std::optional(records) : std::nullopt;
  }
  MemoryFile file_;
};

TEST_F(BadFile, EachDefectHasItsError) {
  const Bytes good = SmallFile().build();
  const uint32_t symbols = WordAt(good, kSymbols + 4);
  const uint32_t modes = WordAt(good, kModeTable + 4) + 32;
  struct Case {
    std::function<void(Bytes&)> damage;
    const char* error;
    const char* log = nullptr;  // none but the error
  };
  const auto put = [](size_t place, uint32_t value) {
    return [=](Bytes& file) { PutWord(file, place, value); };
  };
  const auto version = [](uint16_t major, uint16_t minor, uint32_t patch) {
    return [=](Bytes& file) {
      const uint64_t word = VersionUnion(major, minor, patch).Word();
      std::memcpy(file.data() + kVersion, &word, 8);
      RepairChecksum(file);
    };
  };
  const Case cases[] = {
      {[](Bytes& f) { f.clear(); }, "Binary file CRC validation failed", "Buffer too small"},
      {[](Bytes& f) { f.resize(4); }, "Binary file CRC validation failed", "Buffer too small"},
      {[](Bytes& f) { f.resize(20); }, "Failed to read binary header tag",
       "Failed to read 28 bytes from binary file offset 0, length 20"},
      {[](Bytes& f) { f.resize(50); }, "General error parsing binary header data header",
       "Failed to read 48 bytes from binary file offset 40, length 50"},
      {put(0, 0x20204E5A), "Invalid binary header tag: ZN  Tessarine Header"},
      {put(28, 1000000), "Binary header data too small: Expected: 1000000 bytes, Actual:"},
      {version(5, 0, 1),
       "Unsupported binary header version : 5.0.1. Please re-generate parser code using the latest "
       "version of ParameterParser"},
      {version(6, 0, 0), "Unsupported binary header version : 6.0.0."},
      {[](Bytes& f) { f.back() ^= 1; }, "Binary file CRC validation failed",
       "Binary file CRC validation failed. Expected: "},
      {put(kFlags, 2), "Compressed binary file not supported (support ended with V5.1.0)"},
      {put(kSectionCount, 1), "Invalid binary file section count",
       "ReadSectionInfo: Section count 1 is less than Min sections 2"},
      {put(kSectionCount, 5), "Invalid binary file section count",
       "ReadSectionInfo: Section count 5 is greater than Max sections 4"},
      {put(kSectionTable, 0xFFFFFFF0), "Binary section table stands outside the file"},
      {put(kSymbols, 4), "Invalid binary section type", "Invalid binary section type 4"},
      {put(kData + 4, 0xFFFFFFF0), "Binary section stands outside the file"},
      {put(kData + 8, 0xFFFFFFF0), "Binary section stands outside the file"},
      {put(kSymbols + 8, 61), "Failed to read the tables of the binary file",
       "Invalid symbol table size: 61, expected: 60"},
      {put(kObjects + 8, 17), "Failed to read the tables of the binary file",
       "Invalid data table size: 17, expected: 16"},
      {put(kModeTable + 8, 32 + 25), "ReadModeSection: Invalid size of the mode table",
       "ReadModeSection: ModeSize 57 does not match expected size 56"},
      {put(kModeTable + 8, 32), "ReadModeSection: Failed, buffer length is 0"},
      {put(modes + 24, 2), "ReadModeSection: Mode ID exceeds mode count"},
      {put(modes + 24, 0), "ReadModeSection: Mode ID is given twice"},
      {put(modes + 24 + 12, 2), "ReadModeSection: Parent Mode ID exceeds mode count"},
      {put(modes + 24 + 16, 2), "ReadModeSection: Link Mode ID exceeds mode count"},
      {put(modes + 24 + 16, 1), "ReadModeSection: Link modes form a cycle"},
      {put(symbols + 44, 2), "AddModule: moduleData->ModeId(2) >= m_modeCount(2)",
       "Failed to find ModeID 2 in mode table when creating ModuleData"},
      {put(symbols + 40, 9),
       "Failed to parse binary header data for:  Type: PDLib, Major: 9, Minor: 0, Patch: 9, Mode: "
       "0",
       "Unable to create tessarinePDLibTypeClass, binary version ("},
      {put(symbols + 52, 100), "Failed to load module data for:  Type: PDLib",
       "Failed to read symbol table entry"},
      {put(symbols + 48, 0xFFFFFFF0),
       "Failed to load module data for: ", "stands outside the data section"},
      {put(symbols + 56, 3), "",
       "Invalid DuplicateID value 3, should be less than module table count: 2"},
      {put(symbols, 3), "", "Symbol table entry ID 3 out of range 1 - 2"},
      {put(kSymbols + 8, 0), "",
       "ReadModeSection: Binary missing symbol table or data SymbolOffset("},
  };
  for (const bool fileMode : {false, true}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.error) + (fileMode ? " file" : " buffer"));
      Bytes bytes = good;
      c.damage(bytes);
      Orvo::Host::StartLogCapture();
      const bool loaded = load(bytes, fileMode);
      EXPECT_EQ(loaded, *c.error == '\0');
      // Only what is wrong with a module leaves the file in force.
      const bool isThere = loaded || error().find("AddModule") == 0 ||
                           error().find("Type: PDLib") != std::string::npos;
      EXPECT_EQ(manager->GetBinaryTag() != nullptr, isThere);
      EXPECT_EQ(manager->GetFileVersion(), isThere ? VersionUnion(5, 0, 0) : VersionUnion());
      // A file's checksum is looked at before its header.
      if (fileMode && bytes.size() < 100) continue;
      EXPECT_EQ(error().substr(0, std::strlen(c.error)), c.error);
      if (c.log != nullptr) {
        EXPECT_TRUE(logged(c.log)) << c.log;
      }
    }
  }
}

TEST_F(BadFile, AModuleRepeatsOneOfItsOwnClassOnly) {
  TuningFile file = SmallFile();
  file.modules.push_back({"aanr_atf20", {1, 0, 0}, 0, {1, 2, 3}, 1});
  ASSERT_TRUE(load(file.build(), false)) << error();
  EXPECT_TRUE(logged("DuplicateID 1 of module 3 (aanr_atf20) is of another module (PDLib)"));
  const tuning::RawModuleType* raw = manager->GetModule_aanr_atf20(nullptr, 0, nullptr);
  ASSERT_NE(raw, nullptr);
  EXPECT_EQ(raw->rawSize, 3u);
  EXPECT_EQ(raw->SymbolTableID, 3u);
}

TEST_F(BadFile, CyclesOfParentsAndLinksAreRefused) {
  const char* const parents = "ReadModeSection: Parent modes form a cycle";
  const char* const links = "ReadModeSection: Link modes form a cycle";
  const std::vector<std::pair<const char*, std::vector<TuningFile::Mode>>> cases{
      {parents, {{0, 0, 0, 0}, {1, 2, 0, 2}, {2, 2, 1, 1}}},
      {parents, {{0, 0, 0, 0}, {1, 2, 0, 3}, {2, 2, 0, 1}, {3, 2, 0, 2}}},
      {links, {{0, 0, 0, 0}, {1, 2, 0, 0, 2}, {2, 2, 1, 0, 3}, {3, 2, 2, 0, 1}}},
      {links, {{0, 0, 0, 0}, {1, 2, 0, 0, 2}, {2, 2, 0, 1}}},
      {"", {{0, 0, 0, 1}, {1, 2, 0, 0}}},                   // the first entry's parent counts not
      {"", {{0, 0, 0, 0}, {1, 2, 0, 2}, {2, 1, 0, 0}}},     // a parent may come later
      {"", {{0, 0, 0, 0}, {1, 2, 0, 0, 0}, {2, 2, 0, 1}}},  // a link to an ancestor is no cycle
  };
  for (const auto& [expected, modes] : cases) {
    TuningFile file = SmallFile();
    file.modes = modes;
    EXPECT_EQ(load(file.build(), false), *expected == '\0') << error();
    EXPECT_EQ(error(), expected);
    EXPECT_EQ(at(kRootBranch), *expected == '\0' ? 1 : -1);
  }
  // A group searched in a tree of links that seems to have no end.
  std::vector<TuningMode> group(65, {2, 0});
  group[0] = {0, 0};
  EXPECT_EQ(at(group), 1);
  TuningFile file = SmallFile();
  file.modes = {{0, 0, 0, 0}};
  constexpr uint32_t kLevels = 12;  // each level's modes all lead to the next one: 12^12 ways
  for (uint32_t level = 0; level < kLevels; ++level) {
    for (uint16_t sub = 0; sub < kLevels; ++sub) {
      const auto id = static_cast<uint32_t>(file.modes.size());
      const uint32_t parent = level == 0 ? 0 : (level - 1) * kLevels + 1;
      file.modes.push_back({id, 2, sub, parent, sub == 0 ? TuningFile::kNoLink : id - sub});
    }
  }
  ASSERT_TRUE(load(file.build(), false)) << error();
  group.assign(1, {0, 0});
  for (uint16_t sub = 0; sub <= kLevels; ++sub) group.push_back({2, sub});
  EXPECT_EQ(at(group), 1);
}

TEST_F(BadFile, AFileCantHaveItsBytesCopiedWithoutEnd) {
  // Every element of an array names the same large object.
  TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  const uint32_t values = file.addObject(Bytes(200000));
  PdSource none(0);
  Bytes bytes = none.write(file);
  FieldWriter parameters;
  constexpr uint32_t kCount = 5000;
  for (uint32_t i = 0; i < kCount; ++i)
    for (const uint32_t word : {i, 0u, 0u, 1u, 50000u, values}) parameters.word(word);
  const uint32_t tail[2] = {kCount, file.addObject(parameters.bytes)};
  std::memcpy(bytes.data() + bytes.size() - 8, tail, 8);
  file.modules.push_back({"PDLib", kPdVersion, 0, bytes});
  for (const bool fileMode : {false, true}) {
    EXPECT_FALSE(load(file.build(), fileMode));
    EXPECT_TRUE(logged("is too large for a file of"));
    EXPECT_EQ(get(kRootBranch), nullptr);
  }
  // A count that its object can't hold is refused before there is memory for it.
  const uint32_t absurd[2] = {0x20000000, tail[1]};
  std::memcpy(bytes.data() + bytes.size() - 8, absurd, 8);
  file.modules[0].data = bytes;
  EXPECT_FALSE(load(file.build(), false));
  EXPECT_EQ(get(kRootBranch), nullptr);
}

// Each bit turned over and each length, with a checksum that is right: in memory, and through a
// file.
TEST_F(BadFile, EveryBitAndEveryLengthEndsInADefinedResult) {
  for (const VersionUnion version : {VersionUnion{5, 0, 0}, VersionUnion{2, 0, 0}}) {
    TuningFile file = SmallFile(version);
    file.modules.erase(file.modules.begin());  // one record is enough
    const Bytes good = file.build();
    renew();
    const auto tryOut = [&](Bytes bytes, bool byText) {
      RepairChecksum(bytes);
      manager->SetLogLevels(byText, byText, byText);
      const auto inMemory = loadAndUse(bytes, false, byText);
      const auto fromFile = loadAndUse(bytes, true, byText);
      if (inMemory && fromFile) {
        EXPECT_EQ(inMemory, fromFile);
      }
    };
    for (size_t bit = 0; bit < good.size() * 8; ++bit) {
      Bytes bytes = good;
      bytes[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
      tryOut(bytes, bit % 9 == 0);
    }
    for (size_t length = 0; length < good.size(); ++length)
      tryOut(Bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(length)), true);
    EXPECT_TRUE(manager->LoadBinaryParameters(good.data(), good.size()));
  }
}

TEST_F(BadFile, EveryAllocationMayFail) {
  const Bytes good = SmallFile().build();
  for (const bool fileMode : {false, true}) {
    renew();
    bool failed = true;
    for (int64_t index = 0; failed; ++index) {
      const uint64_t before = Orvo::Host::Allocations().failures;
      Orvo::Host::FailAllocation(index);
      loadAndUse(good, fileMode);
      Orvo::Host::NeverFailAllocation();
      failed = Orvo::Host::Allocations().failures != before;
    }
  }
  // In the constructor as well, and with nothing left from some point on.
  for (int64_t index = 0; index < 3000; index += 97) {
    manager.reset();
    Orvo::Host::FailAllocation(index, true);
    manager.reset(new TuningSetManager);
    if (manager != nullptr) loadAndUse(good, false);
    Orvo::Host::NeverFailAllocation();
  }
}

// What is in force stays so, whichever allocation of a reload or an update fails.
TEST_F(BadFile, AFailedExchangeKeepsTheOldData) {
  const Bytes next = SmallFile({5, 0, 0}, 2).build();
  for (const bool update : {false, true}) {
    int done = 0;
    int kept = 0;
    for (int64_t index = 0; done == 0; index += index < 200 ? 1 : 37) {
      ASSERT_TRUE(load(SmallFile().build(), true));
      tessarinePDLibType* held = get(kDeepBranch);
      WriteFile(path(), next);
      const uint64_t before = Orvo::Host::Allocations().failures;
      Orvo::Host::FailAllocation(index);
      const bool exchanged = update ? manager->UpdateBinaryParameters(next.data(), next.size())
                                    : manager->ReloadBinaryParameters(false);
      Orvo::Host::NeverFailAllocation();
      EXPECT_EQ(held->enableFocusMaps, 1);
      const int32_t value = at(kRootBranch);
      if (!update) {
        EXPECT_EQ(value, exchanged ? 2 : 1) << index;
      }
      EXPECT_GT(value, 0);
      kept += exchanged ? 0 : 1;
      if (Orvo::Host::Allocations().failures == before) ++done;
      held->Release();
    }
    EXPECT_GT(kept, 20);
  }
  for (const char* error : {"ReloadBinaryParameters: Failed to allocate ParameterBinaryFile class",
                            "ReloadBinaryParameters: Failed to allocate space to read data"})
    EXPECT_TRUE(logged(error)) << error;
}

TEST_F(BadFile, FailingReadsAreRetriedAndThenGivenUp) {
  const Bytes good = SmallFile().build();
  for (int64_t index = 0; index < 12; ++index) {
    renew();
    WriteFile(path(), good);
    Orvo::Host::FailRead(index);
    EXPECT_TRUE(manager->LoadBinaryParameters(path().c_str())) << index;
    EXPECT_EQ(at(kDeepBranch), 1);
    Orvo::Host::NeverFailRead();
    renew();
    Orvo::Host::FailRead(index, true);
    manager->LoadBinaryParameters(path().c_str());
    const int32_t value = at(kDeepBranch);
    Orvo::Host::NeverFailRead();
    EXPECT_TRUE(value == 1 || value == -1) << value;
    if (manager->IsLoadValid()) {
      EXPECT_EQ(at(kDeepBranch), 1);
    }
  }
  EXPECT_TRUE(logged("ParameterBinaryFile::Read failed, retrying"));

  // A mode that can't be read gives way to its ancestor, and is read when the file can be again.
  TuningFile file = SmallFile();
  file.modules.pop_back();
  AddNumberedPd(file, 1, 9);
  ASSERT_TRUE(load(file.build(), true));
  Orvo::Host::FailRead(0, true);
  EXPECT_EQ(at(kDeepBranch), 1);
  Orvo::Host::NeverFailRead();
  EXPECT_EQ(at(kDeepBranch), 9);
}

TEST_F(BadFile, AFileThatChangesBetweenTwoReadsMustBeReloaded) {
  const Bytes good = SmallFile().build();
  uint32_t position = 0;
  uint32_t word = 0;
  for (const bool inPlace : {false, true}) {
    WriteFile(path(), good);
    ParameterBinaryFile file(path().c_str(), nullptr, false);
    EXPECT_TRUE(file.Read(&word, 0, &position, 4, 1));
    if (inPlace) {
      std::ofstream(path(), std::ios::binary | std::ios::app) << "more";
    } else {
      WriteFile(path(), good);
      EXPECT_TRUE(file.Read(&word, 0, &position, 4, 1));  // the open file is still the old one
      file.Reference(-1);
      file.Reference(1);
    }
    EXPECT_FALSE(file.Read(&word, 0, &position, 4, 1));
    EXPECT_TRUE(file.IsModified());
    EXPECT_EQ(file.Reload(), !inPlace);  // what was appended is no part of the checksum
    EXPECT_FALSE(file.IsModified());
    EXPECT_EQ(file.GetLength(), good.size() + (inPlace ? 4 : 0));
    position = 0;
  }
  EXPECT_TRUE(logged("ParameterBinaryFile::Open, file modified, must reload"));
}

TEST_F(BadFile, ReadsOfABinaryFileStateTheirErrors) {
  WriteFile(path(), SmallFile().build());
  ParameterBinaryFile file(path().c_str(), nullptr, true);
  EXPECT_TRUE(file.IsCRCValid());
  uint32_t position = 0;
  char word[4];
  EXPECT_FALSE(file.Read(nullptr, 0, &position, 4, 1));
  EXPECT_TRUE(logged("ParameterBinaryFile::Read called with null value"));
  EXPECT_FALSE(file.Read(word, 0, nullptr, 4, 1));
  EXPECT_TRUE(logged("ParameterBinaryFile::Read called with null pos"));
  position = file.GetLength() - 3;
  EXPECT_FALSE(file.Read(word, 0, &position, 4, 1));
  EXPECT_TRUE(logged("attempted to read past the end of the file, offset: 0, pos: "));
  EXPECT_FALSE(file.Read(word, UINT32_MAX, &position, UINT32_MAX, 8));
  position = 32;
  EXPECT_TRUE(file.Read(word, 0, &position, 3, 8));
  EXPECT_EQ(position, 40u);  // behind the aligned place
  EXPECT_EQ(file.Reference(1), 2);
  EXPECT_EQ(file.Reference(-5), 0);
  EXPECT_TRUE(
      logged("FileReference Adjust: -5, RefCount: -3, File Reference is less than adjust amount"));
  EXPECT_FALSE(file.Read(word, 0, &position, 1, 1));
  EXPECT_TRUE(logged("ParameterBinaryFile::Read called with null file"));
  file.Reference(-1);
  EXPECT_TRUE(logged("FileReference Remove: -1, Ref Cnt: -1, Called when file was already closed"));
  const ParameterBinaryFile longName(std::string(1023, 'x').c_str(), nullptr, false);
  EXPECT_FALSE(longName.IsValid());
  EXPECT_TRUE(logged("file name length (1023) exceeds max length: 1023"));
  const ParameterBinaryFile noName(nullptr, nullptr, false);
  EXPECT_TRUE(logged("ParameterBinaryFile constructor called with null file name"));
}

}  // namespace
}  // namespace test

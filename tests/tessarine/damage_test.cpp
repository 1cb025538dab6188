// Files with defects: that each is found. That none does harm, the fuzz targets show.
#include <algorithm>
#include <cstring>

#include "sources.h"
#include "support/tuning_file.h"

namespace {

using namespace tessarine;

constexpr const char* kSource = R"({"modes": [{"mode": "Default",
  "modules": {"tessarinePDLib": {"values": {
     "parameter_version": {"revision": "first"},
     "HVControl": {"PDProcessingAxis": 1, "horizontalConfWeightTuning": [{"weight": 1}]},
     "extensionParam": [{"Name": "HVSelection", "data": [2, 3]}]}}},
  "modes": [{"mode": "Usecase.Video"},
            {"mode": "Usecase.ZSL", "modules": {"tessarinePDLib": {"from": "Default"}},
             "modes": [{"mode": "Scene.Night",
                        "modules": {"abc": {"version": "1.0.0", "hex": "010203"}}}]}]}]})";

Bytes FileOf(const std::string& format) {
  return WriteFile(test::FromSource(kSource, format));
}

std::string DefectsOf(const Bytes& file) {
  return test::Joined(ReadFile(file).defects);
}

// Places in the file of version 5.0.0: 4 sections, 3 symbols of 60, then data, modes and objects.
constexpr size_t kSectionTable = 168;
constexpr size_t kSymbols = kSectionTable + 4 * 12;
constexpr size_t kData = kSymbols + 3 * 60;
constexpr size_t kModule = 960;  // what the PD module takes
// Its data, "abc"'s, then "first", a weight, the parameter, its name and its values.
constexpr size_t kModes = kData + kModule + 3 + 5 + 8 + 24 + 11 + 8;

TEST(TessarineDamage, IsFoundAndNamed) {
  const Bytes sound = FileOf("5.0.0");
  ASSERT_EQ(DefectsOf(sound), "");
  const size_t kFirstMode = kModes + 32;
  const size_t kObjects = kFirstMode + 4 * 24;
  ASSERT_EQ(sound.size(), kObjects + 5 * 16 + 4);
  const std::tuple<size_t, uint32_t, const char*> cases[] = {
      {28, 100, "header: its size is stated as 100, its fields take 168"},
      {32, 6, "header: format 6.0.0 is newer than 5.0.0"},
      {152, 2, "header: the file is compressed"},
      {160, 100000, "section table: the file ends within it"},
      {164, 5, "header: expected 2 to 4 sections, found 5"},
      {164, 1, "expected 2 to 4 sections, found 1"},
      {kSectionTable, 4, "section of type 4: there is no such type"},
      {kSectionTable, 4, "section of type 0: it is missing"},
      {kSectionTable, 1, "section of type 1: it is given twice"},
      {kSectionTable + 12, 4, "section of type 1: it is missing"},
      {kSectionTable + 8, 0xFFFFFFF0, "section of type 0: it reaches past the end"},
      {kSectionTable + 8, 61, "symbol table: its size of 61 is not made of entries of 60"},
      {kSectionTable + 4, kData, "section of type 1: it overlaps the one of type 0"},
      {kSectionTable + 2 * 12 + 8, 33, "mode table: its size of 33 is not made of entries of 24"},
      {kSectionTable + 2 * 12 + 8, 32, "mode table: it has no modes"},
      {kSectionTable + 2 * 12 + 4, 0, "section of type 2: it begins at byte 0"},
      {kSectionTable + 3 * 12 + 8, 79, "data table: its size of 79 is not made of entries of 16"},
      {kSymbols, 0, "module 0: IDs go from 1 to 3 here"},
      {kSymbols, 4, "module 4: IDs go from 1 to 3 here"},
      {kSymbols, 2, "module 2: it is given twice"},
      {kSymbols + 60 + 4, 0x6261FF, "module 2 \\xffab: its name is no text"},
      {kSymbols + 44, 7, "module 1 tessarinePDLib: its mode 7 is not there"},
      {kSymbols + 44, 2, "mode 2: it has a second module tessarinePDLib"},
      {kSymbols + 40, 1, "module 1 tessarinePDLib: its version 9.0.1 is not the library's, 9.0.0"},
      {kSymbols + 48, 4000, "module 1: its data reach past the data section"},
      {kSymbols + 52, 956, "module 1 tessarinePDLib.extensionParam: the data end before it"},
      {kSymbols + 52, 961, "module 1 tessarinePDLib: 1 bytes stand behind its last field"},
      {kSymbols + 60 + 56, 9, "module 2: it repeats module 9, which is not there"},
      {kSymbols + 60 + 56, 3, "module 2: it repeats module 3, which holds other data"},
      {kData + 12, 4000, "parameter_version.revision: its text has 4000 bytes, its object 5"},
      {kData + 16, 60, "parameter_version.revision: its object 60 is not there"},
      {kData + 20, 2, "preProcess.sparseProcessingMode: expected a value from 0 to 1, found 2"},
      {kData + kModule - 8, 3, "extensionParam: its 3 elements take 72 bytes, its object has 24"},
      {kData + kModule - 8, 0x7FFFFFFF, "extensionParam: its 2147483647 elements"},
      {kFirstMode, 9, "mode 9: the table has 4 modes, with IDs from 0"},
      {kFirstMode + 24, 0, "mode 0: it is given twice"},
      {kFirstMode + 24 + 12, 9, "mode 1: its parent 9 is not in the table"},
      {kFirstMode + 24 + 16, 9, "mode 1: its link 9 is not in the table"},
      {kFirstMode + 2 * 24 + 12, 3, "mode 3 Scene.Night: its parents form a cycle"},
      {kFirstMode + 24 + 12, 1, ""},  // a part of its own, which links may lead to
      {kFirstMode + 24 + 16, 1, "mode 1 Usecase.Video: its links form a cycle"},
      {kFirstMode + 24 + 4, 0x30002, ""},  // a mode beside it is the same
      {kObjects, 0, "object 0: IDs go from 1 to 5 here"},
      {kObjects + 4, 5000, "object 1: its data reach past the data section"},
      {kObjects + 12, 2, "object 1: it repeats object 2, which holds other data"}};
  for (const auto& [offset, word, defect] : cases) {
    Bytes file = sound;
    test::PutWord(file, offset, word);
    const std::string defects = DefectsOf(file);
    EXPECT_NE(defects.find(defect), std::string::npos) << offset << " " << word << "\n" << defects;
    EXPECT_EQ(defects.empty(), *defect == 0) << defects;
  }
  for (size_t size : {0, 1, 4, 5, 28, 40, 167}) EXPECT_NE(DefectsOf(Bytes(size, 'Z')), "") << size;
}

TEST(TessarineDamage, IsFoundAllAtOnce) {
  Bytes file = FileOf("5.0.0");
  test::PutWord(file, kSymbols + 44, 7);      // a mode
  test::PutWord(file, kData + 20, 9);         // an enumeration
  test::PutWord(file, kModes + 32 + 36, 77);  // a parent
  test::PutWord(file, kData + 16, 99);        // a text
  file.back() ^= 1;
  const std::string defects = DefectsOf(file);
  for (const char* defect : {"checksum: expected ", "mode 1: its parent 77", "its mode 7 is not",
                             "its object 99 is not there", "found 9, which is read as 0"})
    EXPECT_NE(defects.find(defect), std::string::npos) << defect << "\n" << defects;
}

// Names are looked up without their prefix, which a file must not have.
TEST(TessarineDamage, OfNamesIsFound) {
  for (const char* type : {"tessarine", "tessarine_abc", "TessarineX"}) {
    Model model = test::FromSource(R"({"modes": [{"mode": "Default"}]})");
    model.modes[0].modules.push_back({0, type, {1, 0, 0}, {}, {7}});
    const std::string defect = "module 1 " + std::string(type) +
                               ": its name begins with the prefix that files leave out\n";
    EXPECT_EQ(DefectsOf(WriteFile(model)), std::strlen(type) > 9 ? defect : "");
  }
}

// Two thousand patterns that all name one object of twenty thousand lines take no more time and
// memory than the file gives cause for.
TEST(TessarineDamage, IsNotReadWithoutEnd) {
  Model model = test::FromSource(R"({"modes": [{"mode": "Default", "modules": {"PDLib": {}}}]})");
  constexpr uint32_t kLines = 20000;
  constexpr size_t kPatterns = 2000;
  constexpr size_t kPatternSize = 4 * (3 + 2 + 8 + 7 + 2);
  model.objects.push_back({1, Bytes(kLines * 12)});
  const FieldSchema& field = KnownModules().front().root->fields[19];
  ASSERT_EQ(field.name, "hardwarePattern");
  model.modes[0].modules[0].value.parts[19].parts.assign(kPatterns, DefaultRecord(*field.record));
  Bytes file = WriteFile(model);
  const size_t patterns = kSymbols + 60 + kModule + kLines * 12;
  for (size_t i = 0; i < kPatterns; ++i) {
    const uint32_t lines[] = {kLines, 1};
    std::memcpy(&file[patterns + i * kPatternSize + 12], lines, sizeof(lines));
  }
  test::RepairChecksum(file);
  const std::string defects = DefectsOf(file);
  EXPECT_NE(defects.find("lineExtractor: the file repeats its data too often"), std::string::npos)
      << defects.substr(0, 500);
  EXPECT_EQ(std::count(defects.begin(), defects.end(), '\n'), 1);
}

}  // namespace

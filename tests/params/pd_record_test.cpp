// The PD record: from file to client, and by text.
#include "tuning_fixture.h"

namespace test {
namespace {

constexpr VersionUnion kVersions[] = {{1, 0, 2}, {2, 0, 0}, {3, 0, 0}, {3, 0, 1},
                                      {4, 0, 0}, {4, 9, 9}, {5, 0, 0}};

// Words in front of the axis control: 3 and a text, two paths of pre-processing (6 + 2 * 24 + 5),
// of correlation (7) and of post-processing (3 + 18 + 2), 14 of the adaptation, one, six levels
// of 3.
constexpr size_t kAdaptive = 5 + 2 * 59 + 2 * 7 + 2 * 23;
constexpr size_t kControl = kAdaptive + 15 + 6 * 3;

class PdRecord : public Tuning {
 protected:
  bool loadPd(PdSource& source, VersionUnion version, bool fileMode, bool padSymbols = false) {
    TuningFile file(version);
    file.padSymbols = padSymbols;
    file.modes = {{0, 0, 0, 0}};
    AddPd(file, source, 0);
    return load(file.build(), fileMode);
  }
  std::string value(const std::string& path) {
    char text[4096] = "";
    const bool found = manager->GetValue("Default", ("tessarinePDLib." + path).c_str(), nullptr,
                                         text, sizeof(text));
    return found ? text : "(fails)";
  }
  bool set(const std::string& path, const std::string& text) {
    return manager->SetValue("0.0", "tessarinePDLib", path.c_str(), text.c_str());
  }
};

TEST_F(PdRecord, EqualsItsSourceInEveryVersionAndMode) {
  for (const uint32_t arrays : {0u, 1u, 3u}) {
    PdSource source(arrays);
    const std::string expected = Describe(source.record());
    for (const VersionUnion version : kVersions) {
      for (const int form : {0, 1, 2}) {  // in a buffer, in a file, with padded symbols
        if (form == 2 && version != VersionUnion{2, 0, 0}) continue;
        SCOPED_TRACE(testing::Message() << std::hex << version.Word() << " " << form);
        ASSERT_TRUE(loadPd(source, version, form == 1, form == 2)) << error();
        tessarinePDLibType* record = get({{0, 0}});
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(Describe(*record), expected);
        EXPECT_STREQ(manager->GetBinaryTag(), "test");
        EXPECT_EQ(record->extensionParam == nullptr, arrays == 0);
        record->Release();
      }
    }
  }
}

// The order of the file is a contract: some fields at places counted by hand, in words.
TEST_F(PdRecord, StandsInTheOrderOfTheSchema) {
  PdSource source(0);
  TuningFile file;
  const Bytes data = source.write(file);
  const auto word = [&](size_t index) {
    int32_t value;
    std::memcpy(&value, data.data() + index * 4, 4);
    return value;
  };
  const tessarinePDLibType& r = source.record();
  EXPECT_EQ(word(0), r.module_version.major_revision);  // 3 words, then length and ID of a text
  EXPECT_EQ(word(5), static_cast<int32_t>(r.preProcess.sparseProcessingMode));
  EXPECT_EQ(word(7), r.preProcess.HDR.longThreshold);
  EXPECT_EQ(word(15), r.preProcess.filterTrigger.filterSet[0].verticalMode);
  EXPECT_EQ(word(5 + 59 + 58), r.preProcessVertical.lcrChannelSeparated);
  EXPECT_EQ(word(kAdaptive), r.adaptiveK.enable);
  EXPECT_EQ(word(kAdaptive + 14), r.enablePeripheralWindows);
  EXPECT_EQ(word(kControl), static_cast<int32_t>(r.HVControl.PDProcessingAxis));
  EXPECT_EQ(word(kControl + 5), r.skipControl.staticFrameCountThres);
  EXPECT_EQ(word(kControl + 7), r.hardwareGeometry.enabldHardwarePDModule);
  EXPECT_EQ(word(kControl + 21), r.enableFocusMaps);
  EXPECT_EQ(data.size(), (kControl + 24) * 4);
}

TEST_F(PdRecord, AFileWithoutModesHasTheDefault) {
  for (const bool isOld : {false, true}) {
    for (const bool fileMode : {false, true}) {
      PdSource source(1);
      TuningFile file(isOld ? VersionUnion{1, 0, 1} : VersionUnion{5, 0, 0});
      AddPd(file, source, 0);
      ASSERT_TRUE(load(file.build(), fileMode)) << error();
      const char* const warning = "Warning: This is an older binary format, only Default mode data";
      EXPECT_EQ(error().find(warning) == 0, isOld) << error();
      EXPECT_EQ(manager->GetBinaryTag() == nullptr, isOld);
      EXPECT_EQ(Describe(*get({{0, 0}, {2, 0}})), Describe(source.record()));
    }
  }
}

TEST_F(PdRecord, UnknownEnumerationValueReadsAsZero) {
  PdSource source(0);
  source.record().gridProcessingLevel.processingMode =
      static_cast<afpdlibelements::tessarinePDProcessingMode>(6);
  ASSERT_TRUE(loadPd(source, {5, 0, 0}, false));
  EXPECT_TRUE(logged("Invalid value(6) converting UINT32 to tessarinePDProcessingMode"));
  EXPECT_EQ(get({{0, 0}})->gridProcessingLevel.processingMode, 0u);
  EXPECT_EQ(get({{0, 0}})->gridProcessingLevel.dynamicLevel,
            source.record().gridProcessingLevel.dynamicLevel);
}

TEST_F(PdRecord, IsReadAndSetByText) {
  PdSource source(3);
  ASSERT_TRUE(loadPd(source, {5, 0, 0}, true));
  // A path, what is set, and what a look behind it gives.
  const std::vector<std::tuple<const char*, const char*, const char*>> cases{
      {"enablePeripheralWindows", "7", "enablePeripheralWindows=7"},
      {"enablePeripheralWindows", "-2.9", "enablePeripheralWindows=-2"},  // toward zero
      {"enablePeripheralWindows", "99999999999", "enablePeripheralWindows=2147483647"},
      {"enablePeripheralWindows", "-99999999999", "enablePeripheralWindows=-2147483648"},
      {"correlation.PDRangeControl", "0.1", "PDRangeControl=0.1000000015"},
      {"HVControl.PDProcessingAxis", "2", "PDProcessingAxis=2"},
      {"preProcess.filterTrigger.filterSet[2].AECTrigger.gain_end", "2.5", "gain_end=2.5"},
      {"hardwarePattern[0].lineExtractor[1].XOffset", "-12", "XOffset=-12"},
      {"extensionParam[2].data[1]", "0.5", "data[1]=0.5"},
      {"hardwarePattern[1].pixelSeparator.L_map", "1,2,3", "L_map=1,2,3"},
      {"hardwarePattern[1].pixelSeparator.L_map", "9,x,8", "L_map=9,2,8"},  // x keeps its value
      {"hardwarePattern[1].pixelSeparator.L_map", "4", "L_map=4,2,8"},
      {"hardwarePattern[1].pixelSeparator.L_map", "1,2,3,4,5", "L_map=1,2,3"},
      {"hardwarePattern[1].pixelSeparator.L_map[7]", "5", "L_map[7]=5,2,3"},  // the whole array
      {"HVControl.verticalConfWeightTuning[0].weight", "1.25", "weight=1.25"},
  };
  for (const auto& [path, text, result] : cases) {
    EXPECT_TRUE(set(path, text)) << path;
    EXPECT_EQ(value(path), result) << path;
  }
}

TEST_F(PdRecord, GivesTextsOfEveryLength) {
  for (const size_t length : {0u, 1u, 510u, 511u, 512u, 513u, 4000u}) {
    std::string text(length, 'r');
    PdSource source(1);
    source.record().parameter_version.revision = text.data();
    ASSERT_TRUE(loadPd(source, {5, 0, 0}, false)) << error();
    EXPECT_EQ(value("parameter_version.revision"), "revision=" + text);
    EXPECT_EQ(get({{0, 0}})->parameter_version.revision, text);
  }
}

TEST_F(PdRecord, RefusesWrongPathsAndTexts) {
  PdSource source(2);
  ASSERT_TRUE(loadPd(source, {5, 0, 0}, false));
  const std::string before = Describe(*get({{0, 0}}));
  for (const auto& [path, text] : std::vector<std::pair<std::string, std::string>>{
           {"parameter_version.revision", "new"},
           {"unknown", "1"},
           {"", "1"},
           {"preProcess", "1"},
           {"preProcess.boxFilterLength", "1e3"},
           {"preProcess.boxFilterLength", "1.2.3"},
           {"preProcess.boxFilterLength", ""},
           {"preProcess.boxFilterLength", " 1"},
           {"preProcess.boxFilterLength", "-"},
           {"preProcess.boxFilterLength.x", "1"},
           {"hardwarePatternCount", "1"},
           {"hardwarePatternID", "1"},
           {"SymbolTableID", "1"},
           {"hardwarePattern", "1"},
           {"hardwarePattern[2].gridWidthScaleRatio", "1"},
           {"hardwarePattern[4294967296].gridWidthScaleRatio", "1"},
           {"hardwarePattern[-1].gridWidthScaleRatio", "1"},
           {"hardwarePattern[].gridWidthScaleRatio", "1"},
           {"preProcess.filterTrigger.filterSet[3].verticalMode", "1"},
           {std::string(500, 'x'), "1"},
           {"module_version.reserved", "1"}})
    EXPECT_FALSE(set(path, text)) << path;
  EXPECT_EQ(Describe(*get({{0, 0}})), before);
  for (const char* path : {"unknown", "preProcess.unknown", "hardwarePatternCount"})
    EXPECT_EQ(value(path), "(fails)") << path;
  EXPECT_EQ(value("parameter_version.revision"),
            std::string("revision=") + source.record().parameter_version.revision);
}

TEST_F(PdRecord, CountsItsChangesInTheTopByteOfItsSymbol) {
  PdSource source(0);
  ASSERT_TRUE(loadPd(source, {5, 0, 0}, false));
  tessarinePDLibType* record = get({{0, 0}});
  const uint32_t id = record->SymbolTableID;
  EXPECT_EQ(id, 1u);
  for (int i = 0; i < 255; ++i) ASSERT_TRUE(set("enableFocusMaps", "1"));
  EXPECT_EQ(record->SymbolTableID, id | 0xFF000000u);
  ASSERT_TRUE(set("enableFocusMaps", "1"));
  EXPECT_EQ(record->SymbolTableID, id | 0x01000000u);
  EXPECT_EQ(record->GetModified(), 257u);  // the load as well
  EXPECT_EQ(manager->GetValueChangeCount(), 256u);
}

// Two arrays of records share an object if their entries are duplicates and the same field reads
// them; other fields, and scalars, keep their own.
TEST_F(PdRecord, SharesDuplicateObjects) {
  constexpr uint32_t kOne = 0x3F800000;  // 1.0f
  const auto words = [](const std::vector<uint32_t>& values) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(values.data());
    return Bytes(bytes, bytes + values.size() * 4);
  };
  for (const bool fileMode : {false, true}) {
    TuningFile file;
    file.modes = {{0, 0, 0, 0}, {1, 2, 0, 0}};
    const uint32_t weights = file.addObject(words({kOne, 10, kOne, 20}));
    const uint32_t values = file.addObject(words({kOne, kOne}));
    PdSource none(0);
    for (uint32_t i = 0; i < 2; ++i) {
      Bytes bytes = none.write(file);
      const auto put = [&](size_t place, const std::vector<uint32_t>& fields) {
        std::memcpy(bytes.data() + place * 4, fields.data(), fields.size() * 4);
      };
      const uint32_t sameWeights = file.addObject(words({kOne, 10, kOne, 20}), weights);
      const uint32_t sameValues = file.addObject(words({kOne, kOne}), values);
      put(kControl + 1, {2, sameWeights, 2, sameWeights});
      // One parameter: ID, length and ID of its name, enabled, values.
      put(bytes.size() / 4 - 2, {1, file.addObject(words({5, 0, 0, 1, 2, sameValues}))});
      file.modules.push_back({"PDLib", kPdVersion, i, bytes});
    }
    ASSERT_TRUE(load(file.build(), fileMode)) << error();
    tessarinePDLibType* root = get({{0, 0}});
    tessarinePDLibType* mode = get({{0, 0}, {2, 0}});
    ASSERT_NE(root, mode);
    const auto& a = root->HVControl;
    const auto& b = mode->HVControl;
    EXPECT_EQ(a.horizontalConfWeightTuning, b.horizontalConfWeightTuning);
    EXPECT_EQ(a.verticalConfWeightTuning, b.verticalConfWeightTuning);
    EXPECT_NE(a.horizontalConfWeightTuning, a.verticalConfWeightTuning);
    EXPECT_EQ(b.verticalConfWeightTuning[1].confThreshold, 20);
    EXPECT_NE(root->extensionParam[0].data, mode->extensionParam[0].data);
    EXPECT_EQ(mode->extensionParam[0].data[1], 1.0f);
    EXPECT_STREQ(mode->extensionParam[0].Name, "");
    if (!fileMode) continue;
    mode->Release();
    const TuningMode branch[] = {{0, 0}, {2, 0}};
    ASSERT_TRUE(manager->UnloadMode(branch, 2));
    EXPECT_EQ(b.horizontalConfWeightTuning, nullptr);
    EXPECT_EQ(a.horizontalConfWeightTuning[1].confThreshold, 20);  // still of the first user
  }
}

}  // namespace
}  // namespace test

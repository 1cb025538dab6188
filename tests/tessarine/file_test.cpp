// Files and models: that the one comes out of the other, for every version of the format.
#include <cstring>

#include "decompile.h"
#include "diff.h"
#include "listing.h"
#include "sources.h"
#include "support/tuning_file.h"

namespace {

using namespace tessarine;

// Bytes written down field by field.
struct ByHand {
  ByHand& Word(uint32_t value) {
    writer.word(value);
    return *this;
  }
  // A 32-bit field of an aligned file.
  ByHand& Wide(uint32_t value) { return Word(value).Word(0); }
  ByHand& Text(const char* text, size_t size) {
    writer.text(text, size);
    return *this;
  }
  ByHand& Hex(std::initializer_list<uint8_t> values) {
    bytes.insert(bytes.end(), values);
    return *this;
  }
  Bytes Closed() {
    Word(0);
    test::RepairChecksum(bytes);
    return bytes;
  }

  test::FieldWriter writer;
  Bytes& bytes = writer.bytes;
};

constexpr const char* kTiny = R"({
  "format": "5.0.0", "tool": "t", "tag": "tag", "modeText": "m",
  "modes": [{"mode": "Default", "resident": true,
             "modules": {"abc": {"version": "1.2.3", "hex": "0102030405"}},
             "modes": [{"mode": "Usecase.Video", "link": "Default",
                        "modules": {"abc": {"version": "1.2.3", "hex": "0102030405"}}}]}],
  "objects": [{"id": 1, "hex": "aabb"}]
})";

TEST(TessarineFile, HasTheBytesOfTheFormat) {
  ByHand file;
  file.Text("ZYN Tessarine Header", 28).Word(168).Hex({5, 0, 0, 0, 0, 0, 0, 0});
  file.Text("t", 48).Text("tag", 64).Word(0).Word(0).Word(168).Word(4);
  // Sections: type, offset, size. 168 + 4 * 12 = 216.
  file.Word(0).Word(216).Word(120);  // two symbols of 60
  file.Word(1).Word(336).Word(7);    // 5 + 2 bytes of data
  file.Word(2).Word(343).Word(80);   // 32 + two modes of 24
  file.Word(3).Word(423).Word(16);   // one object
  for (uint32_t id : {1u, 2u}) {
    file.Word(id).Text("abc", 32).Hex({1, 0, 2, 0, 3, 0, 0, 0});
    file.Word(id - 1).Word(0).Word(5).Word(1);  // mode, offset, size, repeats 1
  }
  file.Hex({1, 2, 3, 4, 5, 0xaa, 0xbb});
  file.Text("m", 32);
  file.Word(0).Word(0).Word(0).Word(0).Word(0xFFFFFFFF).Word(1);
  file.Word(1).Hex({2, 0, 2, 0}).Word(0).Word(0).Word(0).Word(0);
  file.Word(1).Word(5).Word(2).Word(1);
  EXPECT_EQ(WriteFile(test::FromSource(kTiny)), file.Closed());
}

TEST(TessarineFile, HasTheBytesOfAnAlignedFormat) {
  Model model = test::FromSource(R"({"format": "2.0.0", "tool": "t",
    "modes": [{"mode": "Default", "modules": {"abc": {"version": "1.2.3", "hex": "0102030405"},
                                              "d": {"version": "1.0.0", "hex": "07"}}}]})");
  for (const bool isWide : {false, true}) {
    ByHand file;
    file.Text("ZYN Tessarine Header", 28).Word(160).Hex({2, 0, 0, 0, 0, 0, 0, 0});
    file.Text("t", 48).Text("", 64).Word(160).Word(3);
    file.Wide(0).Wide(232).Wide(152);  // 160 + 3 * 24; two symbols of 76
    file.Wide(1).Wide(384).Wide(16);   // 8 + 8 bytes of data
    file.Wide(2).Wide(400).Wide(32);
    const size_t symbols = file.bytes.size();
    file.Wide(1).Text("abc", 32).Hex({1, 0, 2, 0, 3, 0, 0, 0}).Wide(0).Wide(0).Wide(5);
    if (isWide) file.bytes.resize(symbols + 76);
    file.Wide(2).Text("d", 32).Hex({1, 0, 0, 0, 0, 0, 0, 0}).Wide(0).Wide(8).Wide(1);
    file.bytes.resize(symbols + 152);
    file.Hex({1, 2, 3, 4, 5, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0});
    file.Wide(0).Word(0).Word(0).Wide(0).Wide(0xFFFFFFFF);
    const Bytes expected = file.Closed();
    model.hasWideSymbols = isWide;
    EXPECT_EQ(WriteFile(model), expected) << isWide;
    EXPECT_EQ(test::Plain(test::FromFile(expected)), model) << isWide;
  }
}

// The length in front of a text and the count in front of an array, each with the ID of its object.
TEST(TessarineFile, PutsArraysAndTextsOutOfLine) {
  const Model model = test::FromSource(R"({"modes": [{"mode": "0", "modules": {"tessarinePDLib":
    {"values": {"parameter_version": {"revision": "r1"},
                "extensionParam": [{"ID": 7, "Name": "ab", "enableFlag": true, "data": [0.5]},
                                   {"ID": 8, "Name": "ab", "data": [0.5]}]}}}}]})");
  const Bytes file = WriteFile(model);
  // Objects by the order in which the module comes by them: "r1", the parameters, and each one's
  // name and data. The second's are the first's again.
  ByHand objects;
  // Words of the module: versions, two paths of three parts, learning, windows, six levels, axes,
  // skipping, geometry, patterns, maps and parameters.
  const uint32_t module = 4 * (3 + 2 + 2 * (59 + 7 + 23) + 14 + 1 + 6 * 3 + 5 + 2 + 12 + 2 + 1 + 2);
  objects.Word(1).Word(module).Word(2).Word(1);
  objects.Word(2).Word(module + 2).Word(48).Word(2);
  objects.Word(3).Word(module + 50).Word(2).Word(3);
  objects.Word(4).Word(module + 52).Word(4).Word(4);
  objects.Word(5).Word(module + 50).Word(2).Word(3);
  objects.Word(6).Word(module + 52).Word(4).Word(4);
  const Bytes table(file.end() - 4 - 96, file.end() - 4);
  ByHand data;
  data.Text("r1", 2).Word(7).Word(2).Word(3).Word(1).Word(1).Word(4);
  data.Word(8).Word(2).Word(5).Word(0).Word(1).Word(6).Text("ab", 2).Word(0x3F000000);
  const size_t first = 216 + 60 + module;
  EXPECT_EQ(Bytes(file.begin() + first, file.begin() + first + data.bytes.size()), data.bytes);
  EXPECT_EQ(table, objects.bytes);
}

TEST(TessarineFile, ComesBackAsItsModelAndFromItsSource) {
  for (const char* format : test::kFormats)
    for (uint32_t seed = 0; seed < 6; ++seed) {
      const Model model = test::ModelMaker(seed).Make(*ParseVersion(format));
      const Bytes file = WriteFile(model);
      const Model read = test::FromFile(file);
      Model plain = test::Plain(read);
      plain.sharesEqual = model.sharesEqual;  // not told by a file
      plain.hasWideSymbols = model.hasWideSymbols;
      ASSERT_EQ(plain, model) << format << " " << seed;
      ASSERT_TRUE(Compare(model, read).empty());
      const Decompiled decompiled =
          Decompile(file, read, seed % 2 ? Extent::kAll : Extent::kChanges);
      ASSERT_FALSE(decompiled.firstDifference) << format << " " << seed << decompiled.source;
      ASSERT_EQ(WriteFile(test::FromSource(decompiled.source)), file);
    }
}

TEST(TessarineFile, KeepsNumbersThatAreNotTheUsualOnes) {
  const Model model = test::FromSource(R"({"modes": [
    {"mode": "Default", "modules": {"b": {"id": 3, "version": "1.0.0", "hex": "02"},
                                    "a": {"id": 1, "version": "1.0.0", "hex": "01"}},
     "modes": [{"mode": "Scene.AR", "id": 2, "modules": {"a": {"version": "1.0.0", "hex": ""}}},
               {"mode": "Scene.Snow", "id": 1}]}],
    "objects": [{"id": 2, "hex": "01"}, {"id": 1, "hex": "0203"}]})");
  const Bytes file = WriteFile(model);
  const Decompiled decompiled = Decompile(file, test::FromFile(file));
  EXPECT_FALSE(decompiled.firstDifference);
  EXPECT_NE(decompiled.source.find("\"id\": 3"), std::string::npos);
}

// What a writer counts as part of a text stays in the file; nobody sees it.
TEST(TessarineFile, KeepsTheNulsThatItsTextsCount) {
  const auto fileOf = [](const std::string& text) {
    return WriteFile(test::FromSource(
        R"({"modes": [{"mode": "Default", "modules": {"tessarinePDLib": {"values":
            {"parameter_version": {"revision": ")" +
        text + "\"}}}}}]}"));
  };
  const Model plain = test::FromFile(fileOf("r1"));
  for (const char* text : {"r1\\u0000", "r1\\u0000junk"}) {
    const Bytes file = fileOf(text);
    const Model counted = test::FromFile(file);
    EXPECT_TRUE(Compare(plain, counted).empty());
    const ListingChoices choices{{}, "PDLib", "parameter_version.revision"};
    EXPECT_EQ(ListText(counted, choices),
              "Default tessarinePDLib.parameter_version.revision = \"r1\"\n");
    EXPECT_EQ(ListJson(counted, choices)["modules"][0]["value"], "r1");
    EXPECT_FALSE(Decompile(file, counted).firstDifference);
  }
}

// The same values, laid out as no source would have them.
TEST(TessarineFile, OfAnotherWriterDecompilesToItsValues) {
  const Model model = test::FromSource(
      R"({"modes": [{"mode": "Default",
          "modules": {"tessarinePDLib": {"values": {"enableFocusMaps": 1}}}}]})");
  const Bytes own = WriteFile(model);
  Bytes other = own;
  other.insert(other.begin() + 168 + 4 * 12, 16, 0);  // before the sections
  for (size_t section = 0; section < 4; ++section) {
    uint32_t offset;
    std::memcpy(&offset, &other[168 + 12 * section + 4], 4);
    offset += 16;
    std::memcpy(&other[168 + 12 * section + 4], &offset, 4);
  }
  test::RepairChecksum(other);
  const Decompiled decompiled = Decompile(other, test::FromFile(other));
  EXPECT_TRUE(decompiled.firstDifference);
  EXPECT_EQ(WriteFile(ReadSource(decompiled.source, "source")), own);
}

// A module of unknown fields names its objects by their IDs: they keep them when others have gone.
TEST(TessarineFile, FillsUpTheIdsOfObjectsThatHaveGone) {
  for (const char* format : {"3.0.1", "5.0.0"}) {
    const Model model = test::FromSource(
        R"({"modes": [{"mode": "Default", "modules": {"abc": {"version": "1.0.0", "hex": "04000000"}}}],
            "objects": [{"id": 4, "hex": "aabb"}]})",
        format);
    const Model read = test::FromFile(WriteFile(model));
    EXPECT_EQ(read.objects.back(), model.objects[0]);
    EXPECT_EQ(read.modes[0].modules[0].id, 1u);
    for (size_t i = 0; i + 1 < read.objects.size(); ++i) EXPECT_TRUE(read.objects[i].bytes.empty());
  }
}

// One object may leave 65536 IDs below its own free, not the whole range of IDs.
TEST(TessarineFile, DoesNotFillUpAnyNumberOfIds) {
  for (const auto& [id, fits] :
       {std::pair{65537u, true}, std::pair{65538u, false}, std::pair{UINT32_MAX, false}})
    for (const char* format : {"3.0.1", "5.0.0"}) {
      Model model = test::FromSource(R"({"modes": [{"mode": "Default"}]})", format);
      model.objects.push_back({id, {1, 2}});
      std::string fault;
      try {
        EXPECT_EQ(test::FromFile(WriteFile(model)).objects.size(), id);
      } catch (const InputError& error) {
        fault = error.what();
      }
      EXPECT_EQ(fault, fits ? ""
                            : "objects: below the ID " + std::to_string(id) +
                                  " more than 65536 have no data");
    }
}

TEST(TessarineFile, HoldsEqualModulesAndArraysOnce) {
  const std::string abc =
      R"("modules": {"abc": {"version": "1.0.0", "hex": "00112233445566778899"}})";
  const std::string source = R"({"modes": [{"mode": "Default", )" + abc +
                             R"(, "modes": [{"mode": "Scene.AR", )" + abc + "}]}]}";
  for (const auto& [format, saved] :
       {std::pair{"5.0.0", 10}, {"3.0.2", 10}, {"3.0.1", 0}}) {  // whose entries can't tell
    Model model = test::FromSource(source, format);
    const size_t shared = WriteFile(model).size();
    model.sharesEqual = false;
    EXPECT_EQ(WriteFile(model).size() - shared, saved) << format;
  }
}

}  // namespace

// Sources: what they say, and what is said to those that can't be used.
#include <bit>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "files.h"
#include "json_values.h"
#include "leaves.h"
#include "meanings.h"
#include "reference.h"
#include "sources.h"

namespace {

using namespace tessarine;
using nlohmann::json;

// A source with these values on the lines from 4 on.
std::string WithValues(const std::string& values) {
  return "{\n\"modes\": [{\"mode\": \"Default\",\n\"modules\": {\"tessarinePDLib\": {\"values\": "
         "{\n" +
         values + "\n}}}}]}";
}

TEST(TessarineSource, TellsWhereAndWhatIsWrong) {
  const std::string place = "Default tessarinePDLib.";
  struct Case {
    std::string source;
    std::string fault;
  };
  const Case cases[] = {
      // Fields, with the line, the whole path and a name that is near.
      {WithValues("// a note\n\"preProcess\": {\n  \"boxFilterLenght\": 4}"),
       "test.json:6: " + place +
           "preProcess.boxFilterLenght: is not known here; the nearest name is 'boxFilterLength'"},
      {WithValues("\"extensionParam\": [{}, {\"name\": \"x\"}]"),
       "4: " + place + "extensionParam[1].name: is not known here; the nearest name is 'Name'"},
      {WithValues("\"zebra\": 1"), "4: " + place + "zebra: is not known here\n"},
      {WithValues("\"preProcess\": {\"boxFilterLength\": 1,\n\"boxFilterLength\": 2}"),
       "5: 'boxFilterLength' is given twice; the first is on line 4"},
      // Values.
      {WithValues("\"enableFocusMaps\": 2147483648"),
       place +
           "enableFocusMaps: expected an integer from -2147483648 to 2147483647, found 2147483648"},
      {WithValues("\"enableFocusMaps\": 1.0"), "2147483647, found 1.0"},
      {WithValues("\"enableFocusMaps\": \"1\""), "2147483647, found \"1\""},
      {WithValues("\"enableFocusMaps\": true"), "2147483647, found true"},
      {WithValues("\"correlation\": {\"PDRangeControl\": 3.40282357e38}"),
       "a number that a float can hold"},
      {WithValues("\"correlation\": {\"PDRangeControl\": \"0x3f\"}"),
       "a number that a float can hold"},
      {WithValues("\"HVControl\": {\"PDProcessingAxis\": 3}"),
       place + "HVControl.PDProcessingAxis: expected an integer from 0 to 2, found 3"},
      {WithValues("\"HVControl\": {\"PDProcessingAxis\": -1}"), "0 to 2, found -1"},
      {WithValues("\"preProcess\": {\"lcrChannelSeparated\": \"yes\"}"),
       "expected true, false or an"},
      {WithValues("\"parameter_version\": {\"revision\": 7}"), "expected a text, found 7"},
      {WithValues("\"parameter_version\": {\"revision\": {\"hex\": \"0g\"}}"),
       "expected a text, found an"},
      {WithValues("\"preProcess\": 7"), place + "preProcess: expected an object, found 7"},
      {WithValues("\"preProcess\": {\"filterTrigger\": {\"filterSet\": [{}, {}]}}"),
       place + "preProcess.filterTrigger.filterSet: expected a list of 3, found a list of 2"},
      {WithValues("\"hardwarePattern\": {}"), "hardwarePattern: expected a list, found an object"},
      {WithValues("\"hardwarePattern\": [{\"pixelSeparator\": {\"L_map\": [1,\n2,\n0.5]}}]"),
       "6: " + place + "hardwarePattern[0].pixelSeparator.L_map[2]: expected an integer"},
      // What surrounds them.
      {"", "test.json:1: expected JSON: "},
      {"{\n\"modes\": [\n}", "test.json:3: expected JSON: syntax error"},
      {"[]", "test.json:1: expected an object, found a list of 0"},
      {"{}", "modes: expected a list with at least one mode"},
      {"{\"mode\": []}", "mode: is not known here; the nearest name is 'modes'"},
      {"{\"format\": \"5.0.1\", \"modes\": [{\"mode\": \"0\"}]}",
       "format: expected a version up to 5.0.0, found '5.0.1'"},
      {"{\"format\": \"5\", \"modes\": [{\"mode\": \"0\"}]}", "found '5'"},
      {"{\"format\": \"1.0.0\", \"tag\": \"x\", \"modes\": [{\"mode\": \"0\"}]}",
       "tag: format 1.0.0 doesn't hold it"},
      {"{\"format\": \"1.0.2\", \"modes\": [{\"mode\": \"0\"}, {\"mode\": \"1\", \"link\": "
       "\"0\"}]}",
       "Sensor link: format 1.0.2 doesn't"},
      {"{\"format\": \"4.0.0\", \"modes\": [{\"mode\": \"0\", \"resident\": true}]}",
       "Default resident: format 4.0.0 doesn't"},
      {"{\"tag\": \"" + std::string(65, 'x') + "\", \"modes\": [{\"mode\": \"0\"}]}",
       "tag: expected at most 64 bytes, found 65"},
      {"{\"tool\": {\"hex\": \"00ff\"}, \"modes\": [{\"mode\": \"0\"}]}",
       "tool: expected a text without a NUL"},
      {"{\"flags\": 2, \"modes\": [{\"mode\": \"0\"}]}", "means compressed"},
      {"{\"layout\": {\"wideSymbols\": true}, \"modes\": [{\"mode\": \"0\"}]}",
       "format 5.0.0 has no such choice"},
      {"{\"layout\": {\"modeTable\": false}, \"modes\": [{\"mode\": \"1\"}]}",
       "has the mode Default alone"},
      {"{\"layout\": {\"modeTable\": false}, \"modes\": [{\"mode\": \"0\", \"flags\": 1}]}",
       "has the mode Default alone, and plain"},
      {"{\"modes\": [{\"mode\": \"Usecases.Video\"}]}",
       "found 'Usecases.Video'; did you mean 'Usecase.Video'?"},
      {"{\"modes\": [{\"mode\": \"0\", \"modes\": [{\"mode\": \"2.1\"}, {\"mode\": "
       "\"Usecase.Snapshot\"}]}]}",
       "Default|Usecase.Snapshot: the mode is given twice"},
      {"{\"modes\": [{\"mode\": \"0\", \"link\": \"Defaul\"}]}",
       "Default link: there is no mode 'Defaul'; the nearest name is 'Default'"},
      {"{\"modes\": [{\"mode\": \"0\", \"link\": \"Default\"}]}", "its links form a cycle"},
      {"{\"modes\": [{\"mode\": \"0\", \"id\": 1}, {\"mode\": \"1\", \"id\": 1}]}",
       "Sensor id: another mode has it"},
      {"{\"modes\": [{\"mode\": \"0\", \"id\": 4294967294}]}", "below that of the modes, 1"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"tessarinePDLibs\": {\"values\": {}}}}]}",
       "expected its data as \"hex\"; the nearest name is 'tessarinePDLib'"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"PDLib\": {\"version\": \"8.0.0\", "
       "\"values\": {}}}}]}",
       "are not known in version 8.0.0"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"PDLib\": {\"hex\": \"00\"}}}]}",
       "hex: expected \"values\""},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"\": {\"hex\": \"00\"}}}]}",
       "Default : expected the name of a module"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"a\\u0000b\": {\"hex\": \"00\"}}}]}",
       "Default a?b: expected the name of a module, without a NUL"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"tessarine_tessarine_a\": {\"hex\": "
       "\"\"}}}]}",
       "can't be the name of a module, for files would hold it as 'tessarine_a'"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"1234567\\u00e4890123456789012345678901\": "
       "{\"hex\": \"\"}}}]}",
       "can't be the name of a module, for files would hold it as '1234567"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"PDLib\": {}, \"tessarine_pdlib\": {}, "
       "\"tessarinePDLib\": {}}}]}",
       "the mode has this module already"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"PDLib\": {\"from\": \"Default|Sensor\"}}}]}",
       "from: no mode 'Default|Sensor' with this module stands above"},
      {"{\"modes\": [{\"mode\": \"0\", \"modules\": {\"x\": {\"version\": \"1.0.0\", \"hex\": "
       "\"012\"}}}]}",
       "Default x: the fields of this module are not known"},
  };
  for (const Case& c : cases) {
    const std::string faults = test::FaultsOf(c.source) + "\n";
    EXPECT_NE(faults.find(c.fault), std::string::npos) << c.source << "\n" << faults;
  }
  const std::string deep(100, '[');
  EXPECT_NE(test::FaultsOf(deep).find("nested more than 64 deep"), std::string::npos);
}

TEST(TessarineSource, TellsAllFaultsInTheOrderOfTheirLines) {
  const std::string faults = test::FaultsOf(WithValues(
      "\"preProcess\": {\"boxFilterLength\": 0.5,\n\"lcrChannl\": 1},\n\"enableFocusMap\": 1,\n"
      "\"skipControl\": {\"maxFrameRate\": null}"));
  std::vector<int> lines;
  for (size_t at = 0; (at = faults.find("test.json:", at)) != std::string::npos; ++at)
    lines.push_back(std::stoi(faults.substr(at + 10)));
  EXPECT_EQ(lines, (std::vector<int>{4, 5, 6, 7})) << faults;
}

TEST(TessarineSource, StartsFromAnotherModesValues) {
  const Model model = test::FromSource(R"({"modes": [{"mode": "Default", "modules": {"PDLib": {
      "values": {"preProcess": {"boxFilterLength": 4, "saturationThreshold": 9},
                 "HVControl": {"verticalConfWeightTuning": [{"weight": 1}, {"weight": 2}]}}}},
    "modes": [{"mode": "Sensor.1", "modules": {"PDLib": {"from": "0.0",
      "values": {"preProcess": {"boxFilterLength": 2},
                 "HVControl": {"verticalConfWeightTuning": [{"confThreshold": 5}]}}}}}]}]})");
  std::string changed;
  const std::vector<Leaf> leaves = LeavesOf(model.modes[1].modules[0]);
  for (const Leaf& leaf : leaves)
    if (leaf.value != 0 && leaf.value != false && leaf.value != "" && !leaf.value.empty())
      changed += leaf.path + "=" + PrintLine(leaf.value) + " ";
  EXPECT_EQ(changed,
            "preProcess.boxFilterLength=2 preProcess.saturationThreshold=9 "
            "HVControl.verticalConfWeightTuning[0].confThreshold=5 ");
}

// The shortest decimal of a float is not always the float's nearest double.
TEST(TessarineSource, KeepsEveryFloatAndText) {
  FieldSchema field;
  field.kind = FieldKind::kFloat;
  std::vector<uint32_t> all = {0,          0x80000000, 1,          0x007fffff, 0x00800000,
                               0x7f7fffff, 0x7f800000, 0xff800000, 0x7fc00001, 0x3dcccccd};
  std::mt19937 random(5);
  for (int i = 0; i < 3000; ++i) all.push_back(static_cast<uint32_t>(random()));
  for (uint32_t bits : all) {
    const std::string text = PrintLine(ToJson(field, Value{bits, {}, {}}));
    const Model model =
        test::FromSource(WithValues("\"correlation\": {\"PDRangeControl\": " + text + "}"));
    std::string read;
    for (const Leaf& leaf : LeavesOf(model.modes[0].modules[0]))
      if (leaf.path == "correlation.PDRangeControl") read = PrintLine(leaf.value);
    ASSERT_EQ(read, text);
    if (text[0] == '"') continue;
    ASSERT_TRUE(std::isfinite(std::bit_cast<float>(bits)));
    ASSERT_EQ(std::bit_cast<uint32_t>(std::strtof(text.c_str(), nullptr)), bits) << text;
  }
  EXPECT_EQ(PrintLine(ToJson(field, Value{0x3dcccccd, {}, {}})), "0.1");
  for (const std::string& text :
       {std::string("a\tb"), std::string("\xff\xfe"), std::string("ü\"\n")})
    EXPECT_NE(WriteSource(test::FromSource("{\"tag\": " + PrintLine(TextToJson(text)) +
                                           ", \"modes\": [{\"mode\": \"0\"}]}"),
                          false)
                  .find("\"tag\": " + PrintLine(TextToJson(text))),
              std::string::npos);
}

TEST(TessarineSource, ShortensNamesAsFilesHoldThem) {
  struct Case {
    const char* name;
    const char* type;
  };
  for (const Case& c :
       {Case{"tessarinePDLib", "PDLib"}, Case{"TESSARINE_abf34", "abf34"},
        Case{"tessarine", "tessarine"}, Case{"tessarine_", "_"}, Case{"abf34_ife", "abf34_ife"},
        Case{"0123456789abcdef0123456789abcdef", "0123456789abcdef0123456789abcdef"},
        Case{"0123456789abcdef0123456789abcdefGHIJKLMN", "01234567-123456789abcdefGHIJKLMN"}})
    EXPECT_EQ(ShortType(c.name), c.type) << c.name;
}

// ---- Descriptions

TEST(TessarineSource, TellsTheMeaningOfEveryFieldOnce) {
  std::string missing;
  for (const ModuleSchema& module : KnownModules())
    for (const RecordSchema* record : RecordsOf(module))
      for (const FieldSchema& field : record->fields)
        if (FindMeaning(record->name, field.name) == nullptr)
          missing += record->name + "." + field.name + "\n";
  EXPECT_EQ(missing, "");
}

TEST(TessarineSource, HasAReferenceThatIsUpToDate) {
  std::ifstream file(TESSARINE_REFERENCE);
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(), Reference()) << "run: tessarine reference > docs/tuning-reference.md";
}

TEST(TessarineSource, IsAsTheDocumentShowsIt) {
  const std::string text = tessarine::LoadText(TESSARINE_DOCUMENT);
  std::istringstream lines(text.substr(text.find("## A source")));
  std::string source;
  for (std::string line; std::getline(lines, line) && line[0] != '-';)
    if (line.rfind("    ", 0) == 0) source += line + "\n";
  const Model model = test::FromSource(source);
  ASSERT_EQ(model.modes.size(), 2u);
  std::string changed;
  for (const Leaf& leaf : LeavesOf(model.modes[1].modules.at(0)))
    if (leaf.value == 4 || leaf.value == 15) changed += leaf.path + " ";
  EXPECT_EQ(changed, "preProcess.boxFilterLength skipControl.maxFrameRate ");
  for (uint16_t mode = 0; mode < ModeNames().size(); ++mode) {
    std::string row = "| " + std::to_string(mode) + " | `" + ModeNames()[mode] + "` |";
    for (const std::string& name : SubModeNames(mode)) {
      row += row.back() == '|' ? " `" : ", `";
      row += name + "`";
    }
    EXPECT_NE(text.find(row), std::string::npos) << row;
  }
}

// The few words of JSON Schema that ours uses.
bool Fits(const json& value, const json& schema, const json& root) {
  if (schema.contains("$ref"))
    return Fits(value, root.at(json::json_pointer(schema["$ref"].get<std::string>().substr(1))),
                root);
  if (schema.contains("const") && value != schema["const"]) return false;
  if (schema.contains("anyOf")) {
    bool isAny = false;
    for (const json& choice : schema["anyOf"]) isAny = isAny || Fits(value, choice, root);
    return isAny;
  }
  const std::string type = schema.value("type", "");
  const bool isOfType =
      type.empty() || (type == "object" && value.is_object()) ||
      (type == "array" && value.is_array()) || (type == "string" && value.is_string()) ||
      (type == "boolean" && value.is_boolean()) || (type == "number" && value.is_number()) ||
      (type == "integer" && value.is_number_integer());
  if (!isOfType) return false;
  if (value.is_number() && schema.contains("minimum") && value < schema["minimum"]) return false;
  if (value.is_number() && schema.contains("maximum") && value > schema["maximum"]) return false;
  if (value.is_array()) {
    if (value.size() < schema.value("minItems", 0u)) return false;
    if (value.size() > schema.value("maxItems", SIZE_MAX)) return false;
    for (const json& item : value)
      if (!Fits(item, schema["items"], root)) return false;
  }
  if (!value.is_object()) return true;
  for (const json& name : schema.value("required", json::array()))
    if (!value.contains(name)) return false;
  const size_t shortest = schema.value("/propertyNames/minLength"_json_pointer, size_t{0});
  for (const auto& [name, member] : value.items()) {
    if (name.size() < shortest) return false;
    const bool isKnown = schema.contains("properties") && schema["properties"].contains(name);
    const json& other = schema["additionalProperties"];
    if (!isKnown && other == false) return false;
    if (!Fits(member, isKnown ? schema["properties"][name] : other, root)) return false;
  }
  return true;
}

TEST(TessarineSource, FitsItsJsonSchemaExactlyWhenItCanBeRead) {
  const json schema = json::parse(SourceSchema());
  for (uint32_t seed = 0; seed < 10; ++seed) {
    const json source =
        json::parse(WriteSource(test::ModelMaker(seed).Make({5, 0, 0}), seed % 2 == 0));
    EXPECT_TRUE(Fits(source, schema, schema)) << source.dump(2);
  }
  for (const char* values :
       {"\"preProces\": {}", "\"enableFocusMaps\": 1.5", "\"enableFocusMaps\": 2147483648",
        "\"HVControl\": {\"PDProcessingAxis\": 3}", "\"hardwarePattern\": {}",
        "\"preProcess\": {\"filterTrigger\": {\"filterSet\": [{}]}}",
        "\"parameter_version\": {\"revision\": 7}",
        "\"preProcess\": {\"lcrChannelSeparated\": 0.5}"}) {
    EXPECT_NE(test::FaultsOf(WithValues(values)), "") << values;
    EXPECT_FALSE(Fits(json::parse(WithValues(values)), schema, schema)) << values;
  }
  for (const char* name : {"", "x"}) {
    const json module = {{"version", "1.0.0"}, {"hex", "00"}};
    const json source = {{"modes", {{{"mode", "0"}, {"modules", {{name, module}}}}}}};
    EXPECT_EQ(Fits(source, schema, schema), *name != 0) << source;
    EXPECT_EQ(test::FaultsOf(source.dump()).empty(), *name != 0) << source;
  }
}

}  // namespace

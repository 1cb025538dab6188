// Sources: what they say, and what is said to those that can't be used.
#include <nlohmann/json.hpp>

#include "files.h"
#include "json_values.h"
#include "leaves.h"
#include "meanings.h"
#include "modes.h"
#include "parametermodule.h"
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

// A source whose mode 0 has these members as well, behind those in front.
std::string WithRoot(const std::string& members, const std::string& front = "") {
  return "{" + front + R"("modes": [{"mode": "0")" + members + "}]}";
}
std::string WithModules(const std::string& modules) {
  return WithRoot(R"(, "modules": {)" + modules + "}");
}

TEST(TessarineSource, TellsWhereAndWhatIsWrong) {
  const std::string place = "Default tessarinePDLib.";
  const std::pair<std::string, std::string> cases[] = {
      // Fields, with the line, the whole path and a name that is near.
      {WithValues("// a note\n\"preProcess\": {\n  \"boxFilterLenght\": 4}"),
       "test.json:6: " + place +
           "preProcess.boxFilterLenght: is not known here; the nearest name is 'boxFilterLength'"},
      {WithValues(R"("extensionParam": [{}, {"name": "x"}])"),
       "4: " + place + "extensionParam[1].name: is not known here; the nearest name is 'Name'"},
      {WithValues(R"("zebra": 1)"), "4: " + place + "zebra: is not known here\n"},
      {WithValues("\"preProcess\": {\"boxFilterLength\": 1,\n\"boxFilterLength\": 2}"),
       "5: 'boxFilterLength' is given twice; the first is on line 4"},
      // Values.
      {WithValues(R"("enableFocusMaps": 2147483648)"),
       place +
           "enableFocusMaps: expected an integer from -2147483648 to 2147483647, found 2147483648"},
      {WithValues(R"("enableFocusMaps": 1.0)"), "2147483647, found 1.0"},
      {WithValues(R"("enableFocusMaps": "1")"), R"(2147483647, found "1")"},
      {WithValues(R"("enableFocusMaps": true)"), "2147483647, found true"},
      {WithValues(R"("correlation": {"PDRangeControl": 3.40282357e38})"),
       "a number that a float can hold"},
      {WithValues(R"("correlation": {"PDRangeControl": "0x3f"})"),
       "a number that a float can hold"},
      {WithValues(R"("HVControl": {"PDProcessingAxis": 3})"),
       place + "HVControl.PDProcessingAxis: expected an integer from 0 to 2, found 3"},
      {WithValues(R"("HVControl": {"PDProcessingAxis": -1})"), "0 to 2, found -1"},
      {WithValues(R"("preProcess": {"lcrChannelSeparated": "yes"})"), "expected true, false or an"},
      {WithValues(R"("parameter_version": {"revision": 7})"), "expected a text, found 7"},
      {WithValues(R"("parameter_version": {"revision": {"hex": "0g"}})"),
       "expected a text, found an"},
      {WithValues(R"("preProcess": 7)"), place + "preProcess: expected an object, found 7"},
      {WithValues(R"("preProcess": {"filterTrigger": {"filterSet": [{}, {}]}})"),
       place + "preProcess.filterTrigger.filterSet: expected a list of 3, found a list of 2"},
      {WithValues(R"("hardwarePattern": {})"), "hardwarePattern: expected a list, found an object"},
      {WithValues("\"hardwarePattern\": [{\"pixelSeparator\": {\"L_map\": [1,\n2,\n0.5]}}]"),
       "6: " + place + "hardwarePattern[0].pixelSeparator.L_map[2]: expected an integer"},
      // What surrounds them.
      {"", "test.json:1: expected JSON: "},
      {"{\n\"modes\": [\n}", "test.json:3: expected JSON: syntax error"},
      {"[]", "test.json:1: expected an object, found a list of 0"},
      {"{}", "modes: expected a list with at least one mode"},
      {R"({"mode": []})", "mode: is not known here; the nearest name is 'modes'"},
      {WithRoot("", R"("format": "5.0.1", )"),
       "format: expected a version up to 5.0.0, found '5.0.1'"},
      {WithRoot("", R"("format": "5", )"), "found '5'"},
      {WithRoot("", R"("format": "1.0.0", "tag": "x", )"), "tag: format 1.0.0 doesn't hold it"},
      {R"({"format": "1.0.2", "modes": [{"mode": "0"}, {"mode": "1", "link": "0"}]})",
       "Sensor link: format 1.0.2 doesn't"},
      {R"({"format": "4.0.0", "modes": [{"mode": "0", "resident": true}]})",
       "Default resident: format 4.0.0 doesn't"},
      {R"({"tag": ")" + std::string(65, 'x') + R"(", "modes": [{"mode": "0"}]})",
       "tag: expected at most 64 bytes, found 65"},
      {WithRoot("", R"("tool": {"hex": "00ff"}, )"), "tool: expected a text without a NUL"},
      {WithRoot("", R"("flags": 2, )"), "means compressed"},
      {WithRoot("", R"("layout": {"wideSymbols": true}, )"), "format 5.0.0 has no such choice"},
      {R"({"layout": {"modeTable": false}, "modes": [{"mode": "1"}]})",
       "has the mode Default alone"},
      {R"({"layout": {"modeTable": false}, "modes": [{"mode": "0", "flags": 1}]})",
       "has the mode Default alone, and plain"},
      {R"({"modes": [{"mode": "Usecases.Video"}]})",
       "found 'Usecases.Video'; did you mean 'Usecase.Video'?"},
      {WithRoot(R"(, "modes": [{"mode": "2.1"}, {"mode": "Usecase.Snapshot"}])"),
       "Default|Usecase.Snapshot: the mode is given twice"},
      {WithRoot(R"(, "link": "Defaul")"),
       "Default link: there is no mode 'Defaul'; the nearest name is 'Default'"},
      {WithRoot(R"(, "link": "Default")"), "its links form a cycle"},
      {WithRoot(R"(, "id": 1}, {"mode": "1", "id": 1)"), "Sensor id: another mode has it"},
      {WithRoot(R"(, "id": 4294967294)"), "below that of the modes, 1"},
      {WithModules(R"("tessarinePDLibs": {"values": {}})"),
       R"(expected its data as "hex"; the nearest name is 'tessarinePDLib')"},
      {WithModules(R"("PDLib": {"version": "8.0.0", "values": {}})"),
       "are not known in version 8.0.0"},
      {WithModules(R"("PDLib": {"hex": "00"})"), R"(hex: expected "values")"},
      {WithModules(R"("": {"hex": "00"})"), "Default : expected the name of a module"},
      {WithModules(R"("a\u0000b": {"hex": "00"})"),
       "Default a?b: expected the name of a module, without a NUL"},
      {WithModules(R"("tessarine_tessarine_a": {"hex": ""})"),
       "can't be the name of a module, for files would hold it as 'tessarine_a'"},
      {WithModules(R"("1234567\u00e4890123456789012345678901": {"hex": ""})"),
       "can't be the name of a module, for files would hold it as '1234567"},
      {WithModules(R"("PDLib": {}, "tessarine_pdlib": {}, "tessarinePDLib": {})"),
       "the mode has this module already"},
      {WithModules(R"("PDLib": {"from": "Default|Sensor"})"),
       "from: no mode 'Default|Sensor' with this module stands above"},
      {WithModules(R"("x": {"version": "1.0.0", "hex": "012"})"),
       "Default x: the fields of this module are not known"},
  };
  for (const auto& [source, fault] : cases) {
    const std::string faults = test::FaultsOf(source) + "\n";
    EXPECT_NE(faults.find(fault), std::string::npos) << source << "\n" << faults;
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

TEST(TessarineSource, TellsTheShortestDecimalOfAFloat) {
  FieldSchema field;
  field.kind = FieldKind::kFloat;
  EXPECT_EQ(PrintLine(ToJson(field, Value{0x3dcccccd, {}, {}})), "0.1");
}

TEST(TessarineSource, ShortensNamesAsTheLibrary) {
  for (const char* name : {"tessarinePDLib", "TESSARINE_abf34", "tessarine", "tessarine_", "abf34",
                           "0123456789abcdef0123456789abcdef", "tessarine_0123456789abcdef01234567",
                           "0123456789abcdef0123456789abcdefGHIJKLMN"}) {
    char type[ModuleData::kMaxType + 1];
    ModuleData::GetType(type, name);
    EXPECT_EQ(ShortType(name), type);
  }
}

// ---- Modes

TEST(TessarineModes, AreNumbersAsWellAsNames) {
  // A text, its key, and how that is written.
  const std::tuple<const char*, ModeKey, const char*> cases[] = {
      {"Default", {0, 0}, "Default"},
      {"Default.0", {0, 0}, "Default"},
      {"0.0", {0, 0}, "Default"},
      {"0", {0, 0}, "Default"},
      {"Sensor.12", {1, 12}, "Sensor.12"},
      {"usecase.VIDEO", {2, 2}, "Usecase.Video"},
      {"Usecase", {2, 0}, "Usecase.Preview"},
      {"2.7", {2, 7}, "Usecase.IdealRawReprocess"},
      {"Usecase.8", {2, 8}, "Usecase.8"},
      {"Scene.BestShot", {5, 20}, "Scene.BestShot"},
      {"Effect.Whiteboard", {6, 11}, "Effect.Whiteboard"},
      {"7.65535", {7, 65535}, "7.65535"}};
  for (const auto& [text, key, name] : cases) {
    EXPECT_EQ(ParseMode(text), key) << text;
    EXPECT_EQ(ToText(key), name);
  }
  for (const char* text :
       {"", "Usecase.Vide", "Usecases", "2.", ".2", "2.1.1", "70000", "-1", "1 "})
    EXPECT_FALSE(ParseMode(text)) << text;
  EXPECT_EQ(ToText(*ParseBranch("0.0|2.1|Feature1.ADRC")),
            "Default|Usecase.Snapshot|Feature1.ADRC");
  for (const char* text : {"", "Default|", "|Default", "Default||2.1"})
    EXPECT_FALSE(ParseBranch(text)) << text;
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

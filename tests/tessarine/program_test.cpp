// The program as users start it.
#include <nlohmann/json.hpp>

#include "sources.h"
#include "support/tuning_file.h"
#include "tool.h"

namespace {

using nlohmann::json;
using test::Model;
using test::Outcome;

constexpr const char* kSmall = R"({"modes": [{"mode": "Default", "modules": {"tessarinePDLib":
  {"values": {"preProcess": {"boxFilterLength": 4}}}},
  "modes": [{"mode": "Usecase.Video", "modules": {"tessarinePDLib":
  {"from": "Default", "values": {"skipControl": {"maxFrameRate": 15}}}}}]}]})";

class Tessarine : public test::Tool {
 protected:
  Tessarine() { Compile(Write("small.json", kSmall), "small.bin"); }
  void Compile(const std::string& source, const std::string& file) const {
    const Outcome outcome = Run("compile " + source + " -o " + Path(file));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output + outcome.errors, "");
  }
};

TEST_F(Tessarine, TellsByItsStatusWhatWentWrong) {
  Write("misspelt.json",
        "{\n  \"modes\": [{\"mode\": \"Default\", \"modules\": {\"tessarinePDLib\": "
        "{\"values\":\n{\"skipControll\": {}}}}}]}");
  Write("strange.json", R"({"modes": [{"mode": "0", "modules": {"PDLibs": {"hex": "00"}}}]})");
  std::string damaged = test::ReadFile(Path("small.bin"));
  damaged[damaged.size() - 1] = static_cast<char>(damaged[damaged.size() - 1] ^ 1);
  Write("damaged.bin", damaged);
  Write("empty.bin", "");
  Model twins = test::FromSource(R"({"modes": [{"mode": "0", "modes": [{"mode": "Scene.AR"}]}]})");
  twins.modes.push_back(twins.modes.back());
  twins.modes.back().id = 2;
  test::WriteFile(Path("twins.bin"), tessarine::WriteFile(twins));
  const std::string small = " " + Path("small.bin");
  const std::string bad = " " + Path("damaged.bin");
  const std::tuple<std::string, int, std::string> cases[] = {
      {"--help", 0, ""},
      {"compile --help", 0, ""},
      {"check" + small, 0, ""},
      {"diff" + small + small, 0, ""},
      {"check" + bad, 1, ""},
      {"", 2, "subcommand"},
      {"chekc" + small, 2, "there is no command 'chekc'; did you mean 'check'?"},
      {"show" + small + " --modul PDLib", 2, "no option '--modul'; did you mean '--module'?"},
      {"compile " + Path("small.json"), 2, "--output"},
      {"compile " + Path("small.json") + " -o x --format 5.0.1", 2, "up to 5.0.0"},
      {"show" + small + " --mode 'Default|Usecas.Vidoe'", 2, "did you mean 'Usecase.Video'?"},
      {"show" + small + " --mode 'Default|Sensor.1'", 0,
       "there is no mode Default|Sensor.1; Default answers"},
      {"show" + small + " PDLib.preProcess.boxFilter", 3,
       "tessarinePDLib.preProcess has no field 'boxFilter'; the nearest name is 'boxFilterLength'"},
      {"show" + small + " PDLib.skipControl.zebra", 3,
       "tessarinePDLib.skipControl has no field 'zebra'; expected one of staticFrameCountThres, "
       "maxFrameRate"},
      {"show" + small + " PDLib.preProcess.filterTrigger.filterSet[3].verticalMode", 3,
       "filterSet has 3 elements, no [3]"},
      {"check " + Path("twins.bin"), 1, ""},
      {"decompile " + Path("twins.bin") + " -o " + Path("x.json"), 3,
       "twins.bin: no source can tell what it holds: "},
      {"serve /nosuch/file", 3, "/nosuch/file: there is no such file"},
      {"compile " + Path("strange.json") + " -o " + Path("strange.bin"), 1,
       "strange.json: mode 0 Default: the library refuses the file for its module PDLibs"},
      {"check " + Path("strange.json"), 1, ""},
      {"show" + small + " --module tessarinePDLb", 3, "the nearest name is 'tessarinePDLib'"},
      {"show" + bad + " --module tessarinePDLib", 1, "damaged.bin: checksum: expected"},
      {"show " + Path("empty.bin"), 3, "empty.bin: file: 0 bytes are too short"},
      {"show /nosuch/file", 3, "/nosuch/file: there is no such file"},
      {"diff" + small + " " + Path("small.json"), 0, ""},
      {"check " + Path("small.json"), 0, ""},
      {"check " + Path("misspelt.json"), 1, ""},
      {"diff" + small + " " + Path("misspelt.json"), 3, "misspelt.json:3: Default tess"},
      {"decompile" + bad + " -o " + Path("x.json"), 3, "damaged.bin: checksum: expected"},
      {"compile " + Path("small.json") + " -o /nosuch/folder/x", 3,
       "/nosuch/folder/x: no file can be made beside it"},
      {"compile " + Path("misspelt.json") + " -o " + Path("x.bin"), 3,
       "misspelt.json:3: Default tessarinePDLib.skipControll: is not known here; the nearest name "
       "is 'skipControl'"}};
  for (const auto& [arguments, status, message] : cases) {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, status) << arguments << "\n" << outcome.errors;
    EXPECT_NE(outcome.errors.find(message), std::string::npos) << arguments << outcome.errors;
  }
  EXPECT_EQ(test::ReadFile(Path("x.bin")) + test::ReadFile(Path("x.json")), "");
  EXPECT_EQ(json::parse(Run("check --json" + bad).output)["count"], 1);
  EXPECT_EQ(json::parse(Run("show --json" + bad).output)["defects"].size(), 1u);
}

TEST_F(Tessarine, TellsThatStandardOutputIsFull) {
  const std::string small = " " + Path("small.bin");
  for (const std::string& command :
       {std::string("--help"), std::string("--version"), std::string("link get --help"),
        std::string("schema"), std::string("reference"), "show" + small, "show --json" + small,
        "diff" + small + small, "diff --json" + small + small, "check" + small,
        "check --json" + small, "serve --seconds 9" + small,
        "decompile" + small + " -o /dev/stdout",
        "compile " + Path("small.json") + " -o /dev/stdout"})
    for (const char* output : {"/dev/full", "&-"}) {
      const Outcome outcome = Run(command + " >" + output);
      EXPECT_EQ(outcome.status, 3) << command;
      EXPECT_NE(outcome.errors.find(": can't be written"), std::string::npos) << command << "\n"
                                                                              << outcome.errors;
    }
  // Nothing was to be written there.
  EXPECT_EQ(Run("compile " + Path("small.json") + " -o " + Path("small.bin") + " >&-").status, 0);
}

TEST_F(Tessarine, ShowsWhatIsInForceAndWhereItComesFrom) {
  const std::string show = "show " + Path("small.bin");
  const json all = json::parse(Run(show + " --json").output);
  EXPECT_EQ(all["modes"][1]["path"], "Default|Usecase.Video");
  EXPECT_EQ(all["modules"].size(), 2u);
  for (const auto& [branch, rate, from] :
       {std::tuple{"0.0|2.2", 15, "Default|Usecase.Video"}, std::tuple{"0.0|2.3", 0, "Default"}}) {
    const json shown = json::parse(Run(show + " --json --mode '" + branch + "'").output);
    ASSERT_EQ(shown["modules"].size(), 1u);
    EXPECT_EQ(shown["modules"][0]["from"], from);
    EXPECT_EQ(shown["modules"][0]["values"]["skipControl"]["maxFrameRate"], rate);
    EXPECT_EQ(shown["modules"][0]["values"]["preProcess"]["boxFilterLength"], 4);
  }
  const std::string field = show + " tessarinePDLib.preProcess.boxFilterLength";
  EXPECT_EQ(Run(field).output,
            "Default tessarinePDLib.preProcess.boxFilterLength = 4\n"
            "Default|Usecase.Video tessarinePDLib.preProcess.boxFilterLength = 4\n");
  const std::string list = show + " --mode 'Default' 'PDLib.preProcess.filterTrigger.filterSet[1]";
  EXPECT_EQ(Run(list + ".verticalMode'").output,
            "Default tessarinePDLib.preProcess.filterTrigger.filterSet[1].verticalMode = 0\n");
  EXPECT_EQ(json::parse(Run(list + "' --json").output)["modules"][0]["value"].size(), 5u);
  EXPECT_EQ(json::parse(Run(show + " --json --mode '0.0|1.1'").output)["answeredBy"], "Default");
  const std::string text = Run(show + " --mode 'Default|Usecase.Video'").output;
  for (const char* line : {"\n    Usecase.Video (1): tessarinePDLib 9.0.0\n",
                           "\ntessarinePDLib 9.0.0 from Default|Usecase.Video, in force on ",
                           "\n  skipControl.maxFrameRate = 15\n", "\n  extensionParam = []\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
}

TEST_F(Tessarine, TellsDifferencesByModeAndField) {
  std::string changed = kSmall;
  changed.replace(changed.find("15"), 2, "30");
  changed.replace(changed.find("\"boxFilterLength\": 4"), 20, "\"boxFilterLength\": 2");
  Compile(Write("changed.json", changed), "changed.bin");
  std::string shorter = kSmall;
  shorter.replace(shorter.find("Usecase.Video"), 13, "Usecase.ZSL");
  Compile(Write("shorter.json", shorter), "shorter.bin");
  const std::string small = "diff " + Path("small.bin") + " ";
  const Outcome outcome = Run(small + Path("changed.bin"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output,
            "Default tessarinePDLib.preProcess.boxFilterLength: 4 -> 2\n"
            "Default|Usecase.Video tessarinePDLib.preProcess.boxFilterLength: 4 -> 2\n"
            "Default|Usecase.Video tessarinePDLib.skipControl.maxFrameRate: 15 -> 30\n"
            "3 differences\n");
  EXPECT_EQ(Run(small + Path("shorter.bin")).output,
            "Default|Usecase.Video: only in the first\n"
            "Default|Usecase.ZSL: only in the second\n2 differences\n");
  const json differences = json::parse(Run(small + Path("changed.bin") + " --json").output);
  EXPECT_EQ(differences["count"], 3);
  EXPECT_EQ(differences["differences"][2]["second"], 30);
  EXPECT_EQ(Run(small + Path("small.bin")).output, "0 differences\n");
}

// A name that would turn the terminal's text red.
TEST_F(Tessarine, EscapesControlCharactersOfNames) {
  Model model = test::FromSource(R"({"modes": [{"mode": "Default"}]})");
  for (const char* type : {"\x1b[31m\x7f",
                           "\xc2\x9b"
                           "31m",
                           "\xff"})
    model.modes[0].modules.push_back({0, type, {1, 0, 0}, {}, {7}});
  test::WriteFile(Path("odd.bin"), tessarine::WriteFile(model));
  Write("plain.json", R"({"modes": [{"mode": "Default"}]})");
  for (const std::string& command : {"show " + Path("odd.bin"), "check " + Path("odd.bin"),
                                     "diff " + Path("plain.json") + " " + Path("odd.bin")}) {
    const Outcome outcome = Run(command);
    const std::string all = outcome.output + outcome.errors;
    EXPECT_NE(all.find("\\x1b[31m\\x7f"), std::string::npos) << command;
    EXPECT_NE(all.find("\\xff"), std::string::npos) << command;
    EXPECT_EQ(all.find_first_of("\x1b\x7f\x9b\xff"), std::string::npos) << command;
  }
}

TEST_F(Tessarine, MakesSourcesThatCompileToTheSameBytes) {
  Compile(std::string(TESSARINE_TUNING) + " --format 2.0.0", "pdcam.bin");
  EXPECT_EQ(Run("decompile " + Path("pdcam.bin") + " -o " + Path("again.json")).status, 0);
  Compile(Path("again.json"), "again.bin");
  EXPECT_EQ(test::ReadFile(Path("again.bin")), test::ReadFile(Path("pdcam.bin")));
  const std::string small = "decompile " + Path("small.bin") + " -o " + Path("again.json");
  EXPECT_EQ(Run(small).status, 0);
  json expected = json::parse(kSmall);
  expected["format"] = "5.0.0";
  EXPECT_EQ(json::parse(test::ReadFile(Path("again.json"))), expected);  // and nothing else
  EXPECT_EQ(Run(small + " --all").status, 0);
  const json whole = json::parse(test::ReadFile(Path("again.json")));
  EXPECT_EQ(whole["/modes/0/modules/tessarinePDLib/values/skipControl/maxFrameRate"_json_pointer],
            0);
  const json schema = json::parse(Run("schema").output);
  EXPECT_TRUE(
      schema["/$defs/mode/properties/modules/properties/abf34_ife"_json_pointer].is_object());
  EXPECT_EQ(Run("reference").output, test::ReadFile(TESSARINE_REFERENCE))
      << "run: tessarine reference > docs/tuning-reference.md";
}

}  // namespace

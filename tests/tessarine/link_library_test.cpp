// The tool against the library's own live link.
#include <signal.h>

#include <algorithm>
#include <bit>
#include <nlohmann/json.hpp>
#include <thread>

#include "host/orvo_host.h"
#include "link_fields.h"
#include "link_module.h"
#include "parametercustomhandler.h"
#include "sources.h"
#include "tool.h"
#include "tuningsetmanager.h"

namespace {

using nlohmann::json;
using tessarine::Bytes;
using tessarine::LinkDevice;
using tessarine::Model;
using tessarine::Value;
using test::Outcome;

class LibraryLink : public test::Tool {
 protected:
  LibraryLink() { Orvo::Host::StartLogCapture(); }
  ~LibraryLink() override { Orvo::Host::StopLogCapture(); }

  // Waits until another program has written something to it.
  bool HasFile(const std::string& name) const {
    for (int i = 0; i < 1000 && test::ReadFile(Path(name)).empty(); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return !test::ReadFile(Path(name)).empty();
  }
  void Load(const Model& model) {
    const Bytes file = tessarine::WriteFile(model);
    ASSERT_TRUE(manager_.LoadBinaryParameters(file.data(), file.size()));
    ASSERT_NE(manager_.GetLinkPort(), 0);
  }
  std::string Port() const { return " --port " + std::to_string(manager_.GetLinkPort()) + " "; }
  Outcome Link(const std::string& arguments) const { return Run("link" + Port() + arguments); }
  // What apply starts with.
  std::string Greeting() const {
    return "device 127.0.0.1:" + std::to_string(manager_.GetLinkPort()) + ", tag \"test\"\n";
  }
  LinkDevice Device() const { return LinkDevice({"127.0.0.1", manager_.GetLinkPort(), 20}); }

  TuningSetManager manager_;
};

// Sensor.1 has no module of its own, and the raw one's fields are not known.
constexpr const char* kTuning = R"({"tag": "test", "modes": [{"mode": "Default",
  "modules": {"tessarinePDLib": {"values": {
      "preProcess": {"boxFilterLength": 4},
      "correlation": {"searchRange": {"to": 9}},
      "extensionParam": [{"ID": 5, "Name": "first;n=2,Int32", "data": [0.5, 2, -3]}]}},
    "abf34_ife": {"version": "1.0.0", "hex": "0102"}},
  "modes": [
    {"mode": "Usecase.Video", "modules": {"tessarinePDLib": {"from": "Default",
      "values": {"skipControl": {"maxFrameRate": 15}}}},
      "modes": [{"mode": "Scene.Night"}]},
    {"mode": "Sensor.1"}]}]})";

TEST_F(LibraryLink, AnswersEachQuestion) {
  Load(test::FromSource(kTuning));
  for (const char* list : {"active", "controls", "triggers"}) {
    const Outcome none = Link(list);
    EXPECT_EQ(none.output, "");
    EXPECT_EQ(none.errors.find("tessarine: "), 0u) << list;
    EXPECT_EQ(none.status, 0);
  }
  manager_.SetControlValue({3, 7});
  manager_.SetTriggerValue({4, 0.5});
  // Arguments, their status, and what is found in what goes to standard output or error.
  const std::tuple<const char*, int, const char*> cases[] = {
      {"info", 0, "\ntag \"test\"\ninstance 0x"},
      {"modes", 0, "Default\n  Usecase.Video\n    Scene.Night\n  Sensor.1\n"},
      {"modes 0.0 --flat", 0, "Default\n  Usecase.Video\n  Sensor.1\n"},
      {"modes 'Default|Usecase.Video' --json", 0,
       R"("modes": ["Default|Usecase.Video", "Default|Usecase.Video|Scene.Night"])"},
      {"modes 'Default|Scene.Snow'", 1, "the device has no mode Scene.Snow below Default"},
      {"modes Defalt", 2, "found 'Defalt'; did you mean 'Default'?"},
      {"modes 'Default|Usecase.Vidio'", 2, "did you mean 'Usecase.Video'?"},
      {"wach Default", 2, "there is no command 'wach'; did you mean 'watch'?"},
      {"apply /nosuch/x", 3, "/nosuch/x: there is no such file"},
      {"modules 'Default|Usecase.Video|Scene.Night'", 0,
       "tessarinePDLib from Default|Usecase.Video\n"},
      {"modules 'Default|Sensor.1'", 0, "abf34_ife from Default\n"},
      {"controls", 0, "3=7\n"},
      {"triggers --json", 0, R"({"triggers": ["4=0.500000"]})"},
      {"custom 0a0b", 0, "result 0\n"},
      {"custom 0a0", 2, "hexadecimal"},
      {"get Default tessarinePDLib.preProcess.boxFilterLength", 0,
       "tessarinePDLib.preProcess.boxFilterLength = 4\n"},
      {"get 'Default|Usecase.Video|Scene.Night' tessarinePDLib.skipControl", 0,
       "tessarinePDLib.skipControl.maxFrameRate = 15\n"},
      {"get Default tessarinePDLib.extensionParam", 0,
       "tessarinePDLib.extensionParam[0].ID = 5\n"
       "tessarinePDLib.extensionParam[0].Name = \"first;n=2,Int32\"\n"
       "tessarinePDLib.extensionParam[0].enableFlag = 0\n"
       "tessarinePDLib.extensionParam[0].data = [0.5, 2, -3]\n"},
      {"get Default 'tessarinePDLib.extensionParam[0].data' --json", 0, "[0.5, 2, -3]"},
      {"get Default tessarinePDLib.preProces", 1, "the nearest name is 'preProcess'"},
      {"get Default 'tessarinePDLib.extensionParam[1]'", 1,
       "extensionParam[1] is not there: its array has 1"},
      {"get Default tessarinPDLib", 1, "no module 'tessarinPDLib'; the nearest name is 'tess"},
      {"get Default abf34_ife", 1, "abf34_ife: its fields are not known to the device"},
      {"get Default 'a:b'", 2, "joined by '.'"},
      {"save Default abf34_ife -o /nosuch/x", 1, "its fields are not known to the device"},
      {"save Default tessarinePDLib -o /nosuch/x", 3, "no file can be made beside it"},
      {"watch Default tessarinePDLib preProcess.boxFilterLength --count 2 --every 0.01", 0,
       " s  preProcess.boxFilterLength = 4\n"},
      {"watch Default tessarinePDLib nosuch --count 2", 1, "has no field 'nosuch'"},
      {"get 'Default|Usecase.Video|Scene.Snow' tessarinePDLib.skipControl.maxFrameRate", 0,
       "the values are those of Default|Usecase.Video"},
      {"set 'Default|Usecase.ZSL' tessarinePDLib enableFocusMaps=1", 1,
       "the device has no mode Usecase.ZSL below Default"},
      {"set Usecase.Video tessarinePDLib enableFocusMaps=1", 1,
       "a branch starts with Default, not with Usecase.Video"},
      {"set Default tessarinePDLib boxFilterLength", 2, "FIELD=VALUE"},
      {"set Default tessarinePDLib 'a=1;b=2'", 2, "without ';'"}};
  for (const auto& [arguments, status, found] : cases) {
    const Outcome outcome = Link(arguments);
    EXPECT_EQ(outcome.status, status) << arguments << "\n" << outcome.errors;
    const std::string text = outcome.output + outcome.errors;
    EXPECT_NE(text.find(found), std::string::npos) << arguments << "\n" << text;
  }
  EXPECT_EQ(manager_.GetValueChangeCount(), 0u);
}

// Sends the bytes back, the last one first.
class Turner : public IParameterCustomHandler {
 public:
  uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t, uint8_t* reply,
                   uint16_t* replyLength) override {
    std::reverse_copy(payload, payload + length, reply);
    *replyLength = static_cast<uint16_t>(length);
    return 0x12345;
  }
};

TEST_F(LibraryLink, BringsBytesToTheHandlerAndBack) {
  Load(test::FromSource(kTuning));
  Turner handler;
  manager_.SetCustomHandler(&handler);
  EXPECT_EQ(Link("custom 00FF0a").output, "result 9029\n0aff00\n");  // 0x2345
  EXPECT_EQ(json::parse(Link("custom --json 07").output), json({{"result", 9029}, {"hex", "07"}}));
  manager_.SetCustomHandler(nullptr);
}

TEST_F(LibraryLink, TellsWhatADeviceMakesOfAChange) {
  Load(test::FromSource(kTuning));
  struct Case {
    const char* arguments;  // behind the branch and the module
    int status;
    const char* output;
    const char* errors = "";
  };
  const Case cases[] = {
      {" preProcess.boxFilterLength=2", 0, "tessarinePDLib.preProcess.boxFilterLength = 2\n"},
      {".preProcess boxFilterLength=3 boxFilterLength=1", 0,
       "tessarinePDLib.preProcess.boxFilterLength = 3\n"
       "tessarinePDLib.preProcess.boxFilterLength = 1\n"},
      {" postProcess.biasVectorStrength=0.1", 0,
       "tessarinePDLib.postProcess.biasVectorStrength = 0.1000000015\n"},
      {" 'extensionParam[0].data=1,2,3' 'extensionParam[0].data[1]=8'", 0,
       "tessarinePDLib.extensionParam[0].data = 1,2,3\n"
       "tessarinePDLib.extensionParam[0].data[1] = 8\n",
       "tessarine: tessarinePDLib.extensionParam[0].data: its array is one with that of "
       "Default|Usecase.Video, and has changed there too\n"
       "tessarine: tessarinePDLib.extensionParam[0].data[1]: its array is one with that of "
       "Default|Usecase.Video, and has changed there too\n"},
      {".gridProcessingLevel processingMode=6 processingMode=0", 0,
       "tessarinePDLib.gridProcessingLevel.processingMode = 6\n"
       "tessarinePDLib.gridProcessingLevel.processingMode = 0\n",
       "tessarine: tessarinePDLib.gridProcessingLevel.processingMode: 6 is no value of "
       "tessarinePDProcessingMode, which has 0 to 5; 'link save' writes 0 instead\n"},
      {".postProcess biasVectorStrength=0.00000000004 temporalFilterStaticWeight=0.0", 0,
       "tessarinePDLib.postProcess.biasVectorStrength = 0\n"
       "tessarinePDLib.postProcess.temporalFilterStaticWeight = 0\n",
       "tessarine: tessarinePDLib.postProcess.biasVectorStrength: the device shows 0.00000000004 "
       "as 0, for it shows ten decimals; 'link save' writes 0\n"},
      {" correlation.searchRange.to=3000000000 correlation.searchRange.from=-1", 1,
       "tessarinePDLib.correlation.searchRange.to = 2147483647, not the 3000000000 that was asked "
       "for\ntessarinePDLib.correlation.searchRange.from = -1\n"},
      {" preProcess.boxFilterLenght=4 preProcess.boxFilterLength=4", 1,
       "tessarinePDLib.preProcess.boxFilterLenght: not taken: tessarinePDLib.preProcess has no "
       "field 'boxFilterLenght'; the nearest name is 'boxFilterLength'\n"
       "tessarinePDLib.preProcess.boxFilterLength = 4\n"},
      {" preProcess.boxFilterLength=four", 1,
       "tessarinePDLib.preProcess.boxFilterLength: not taken: the device refuses 'four'\n"}};
  for (const Case& c : cases) {
    const Outcome outcome = Link("set Default tessarinePDLib" + std::string(c.arguments));
    EXPECT_EQ(outcome.output, c.output);
    EXPECT_EQ(outcome.status, c.status) << c.arguments;
    EXPECT_EQ(outcome.errors, c.errors);
  }
  const TuningMode branch[] = {{0, 0}};
  const auto* record = manager_.GetModule_tessarinePDLib(branch, 1, nullptr);
  EXPECT_EQ(record->preProcess.boxFilterLength, 4);
  EXPECT_EQ(record->extensionParam[0].data[1], 8.0F);
  const Outcome shared = Link(
      "set 'Default|Sensor.1' tessarinePDLib enableFocusMaps=1 'extensionParam[0].ID=6' --json");
  EXPECT_EQ(json::parse(shared.output)["from"], "Default");
  EXPECT_EQ(json::parse(shared.output)["elsewhere"][0]["mode"], "Default|Usecase.Video");
  EXPECT_EQ(record->enableFocusMaps, 1);
  EXPECT_NE(Link("set 'Default|Sensor.1' tessarinePDLib enableFocusMaps=0")
                .errors.find("come from Default, and have changed there"),
            std::string::npos);
}

// Values that a device's texts hold exactly: floats of few bits, texts with the link's separators.
void MakeTellable(const tessarine::RecordSchema& record, Value& value) {
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const tessarine::FieldSchema& field = record.fields[i];
    const auto mend = [&](Value& part) {
      if (field.record != nullptr) return MakeTellable(*field.record, part);
      if (field.kind == tessarine::FieldKind::kFloat)
        part.bits = std::bit_cast<uint32_t>(static_cast<float>(part.bits % 2001) / 64 - 15.5F);
      if (field.kind == tessarine::FieldKind::kString) part.text += ";a=1,Int32;";
    };
    if (!field.IsArray()) mend(value.parts[i]);
    for (Value& part : value.parts[i].parts)
      if (field.IsArray()) mend(part);
  }
}

// The first module of known fields that chance makes.
tessarine::Module MakeModule(uint32_t seed) {
  for (;; seed += 100)
    for (const tessarine::Mode& mode : test::ModelMaker(seed).Make({5, 0, 0}).modes)
      for (const tessarine::Module& module : mode.modules)
        if (module.Schema() != nullptr) return module;
}

TEST_F(LibraryLink, SavesWhatCompilesToTheSameRecord) {
  const tessarine::Branch branch = *tessarine::ParseBranch("Default|Sensor.3");
  for (uint32_t seed = 0; seed < 6; ++seed) {
    tessarine::Module module = MakeModule(seed);
    MakeTellable(*module.Schema()->root, module.value);
    TuningSetManager manager;
    const Bytes file = tessarine::WriteFile(tessarine::ModelOf(branch, module));
    ASSERT_TRUE(manager.LoadBinaryParameters(file.data(), file.size()));
    const Outcome outcome =
        Run("link save 'Default|Sensor.3' tessarinePDLib -o " + Path("saved.json") + " --port " +
            std::to_string(manager.GetLinkPort()));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const Model again = test::FromSource(test::ReadFile(Path("saved.json")));
    ASSERT_EQ(again.modes.size(), 2u);
    EXPECT_EQ(again.modes[1].key, branch[1]);
    EXPECT_TRUE(again.modes[1].modules.at(0).value == module.value) << seed;
  }
}

TEST_F(LibraryLink, SavesAllButWhatNoTextHolds) {
  Load(test::FromSource(R"({"modes": [{"mode": "Default", "modules": {"tessarinePDLib": {"values":
      {"postProcess": {"biasVectorStrength": "0x7fc00000", "temporalFilterStaticWeight": 0.0001},
       "preProcess": {"boxFilterLength": 2},
       "extensionParam": [{"Name": "n", "data": [1, "0x7f800000", 3]}]}}}}]})"));
  EXPECT_EQ(Link("set Default tessarinePDLib gridProcessingLevel.processingMode=6").status, 0);
  const Outcome outcome = Link("save Default tessarinePDLib -o " + Path("saved.json"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(
      outcome.errors,
      "tessarine: tessarinePDLib.postProcess.biasVectorStrength: the device gives no value "
      "that fits; 0 is written\n"
      "tessarine: tessarinePDLib.extensionParam[0].data[1]: the device gives no value that "
      "fits; 0 is written\n"
      "tessarine: tessarinePDLib.gridProcessingLevel.processingMode: 6 is no value of "
      "tessarinePDProcessingMode, which has 0 to 5; 0 is written\n"
      "tessarine: tessarinePDLib.postProcess.temporalFilterStaticWeight: the device tells ten "
      "decimals; its value may be another one near\n");
  EXPECT_EQ(Run("compile " + Path("saved.json") + " -o " + Path("saved.bin")).status, 0);
  const json values = json::parse(
      test::ReadFile(Path("saved.json")))["modes"][0]["modules"]["tessarinePDLib"]["values"];
  EXPECT_EQ(values["preProcess"]["boxFilterLength"], 2);
  EXPECT_EQ(values["extensionParam"][0]["data"], json({1, 0, 3}));
}

// A source with the tuning's values, changed.
std::string Changed(const std::vector<std::pair<std::string, std::string>>& changes) {
  std::string text = kTuning;
  for (const auto& [from, to] : changes) text.replace(text.find(from), from.size(), to);
  return text;
}

TEST_F(LibraryLink, AppliesWhatDiffersAndNothingElse) {
  Load(test::FromSource(kTuning));
  const std::string raw =
      "tessarine: Default abf34_ife: its fields are not known, so it can't be compared\n";
  const std::string to = " tessarinePDLib.correlation.searchRange.to";
  const std::string rate = "Default|Usecase.Video tessarinePDLib.skipControl.maxFrameRate";
  const std::string data = " tessarinePDLib.extensionParam[0].data";
  const std::string changes[] = {to + ": 9 -> 12\n", rate + ": 15 -> 30\n",
                                 data + ": [0.5, 2.0, -3.0] -> [0.5, 2.0, -0.1]\n"};
  struct Case {
    const char* name;
    std::string source;
    const char* options;
    int status;
    std::string output;
    std::string errors;
    uint32_t sent;  // values that the library took
  };
  const std::string rawModule = R"(,
    "abf34_ife": {"version": "1.0.0", "hex": "0102"})";
  const std::string later =
      Changed({{rawModule, ""}, {"15", "30"}, {"\"to\": 9", "\"to\": 12"}, {"-3]", "-0.1]"}});
  const std::string video = "Default|Usecase.Video";
  const std::string sensor = "Default|Sensor.1";
  const std::string zsl = "Default|Usecase.ZSL";
  const Case cases[] = {
      {"the same", kTuning, "", 1, "0 differences, 0 of 0 sent values taken\n", raw, 0},
      {"dry", later, "--dry-run", 1,
       "Default" + changes[0] + "Default" + changes[2] + video + changes[0] + changes[1] + video +
           changes[2] + "5 differences, nothing was sent\n",
       "", 0},
      {"a branch that is not there", later, "--mode 'Default|Usecase.ZSL'", 1,
       zsl + changes[0] + zsl + changes[2] + "2 differences, 0 of 0 sent values taken\n",
       "tessarine: the device has no mode Usecase.ZSL below Default; the nearest name is "
       "'Usecase.Video'\n",
       0},
      {"one branch", later, "--mode 'Default|Sensor.1'", 0,
       sensor + changes[0] + sensor + changes[2] + sensor + to + " = 12\n" + sensor + data +
           "[2] = -0.1000000015\n2 differences, 2 of 2 sent values taken\n",
       "", 2},
      {"the rest", later, "", 0,
       // The array is one in the file, and in memory: Default's change was Video's as well.
       video + changes[0] + changes[1] + video + to + " = 12\n" + rate +
           " = 30\n2 differences, 2 of 2 sent values taken\n",
       "", 2},
      {"again", later, "", 0, "0 differences, 0 of 0 sent values taken\n", "", 0},
      {"what can't be changed",
       R"({"modes": [{"mode": "Default", "modules": {"tessarinePDLib": {"values": {
           "correlation": {"searchRange": {"to": 12}}, "preProcess": {"boxFilterLength": 4},
           "parameter_version": {"revision": "r1"},
           "HVControl": {"verticalConfWeightTuning": [{"weight": 0.5}]},
           "extensionParam": [{"ID": 5, "Name": "x;y", "data": [0.5, 2]}]}}}}]})",
       "", 1,
       "Default tessarinePDLib.parameter_version.revision: \"\" -> \"r1\"\n"
       "Default tessarinePDLib.HVControl.verticalConfWeightTuning: [] -> nothing\n"
       "Default tessarinePDLib.extensionParam[0].Name: \"first;n=2,Int32\" -> \"x;y\"\n"
       "Default tessarinePDLib.extensionParam[0].data: [0.5, 2.0, -0.1] -> [0.5, 2.0]\n"
       "Default tessarinePDLib.HVControl.verticalConfWeightTuning[0].weight: nothing -> 0.5\n"
       "Default tessarinePDLib.HVControl.verticalConfWeightTuning[0].confThreshold: nothing -> "
       "0\n"
       "Default tessarinePDLib.parameter_version.revision: not taken: the device refuses 'r1'\n"
       "6 differences, 0 of 1 sent values taken\n",
       "tessarine: Default tessarinePDLib.HVControl.verticalConfWeightTuning: the length of an "
       "array "
       "can't be changed\n"
       "tessarine: Default tessarinePDLib.extensionParam[0].Name: the link can't send \"x;y\"\n"
       "tessarine: Default tessarinePDLib.extensionParam[0].data: the length of an array can't be "
       "changed\n",
       0},
      {"a mode that shares another's",
       Changed({{rawModule, ""},
                {R"("mode": "Sensor.1")",
                 R"("mode": "Sensor.1", "modules": {"tessarinePDLib": {"from": "Default",
                 "values": {"enableFocusMaps": 1}}})"},
                {"15", "30"},
                {"\"to\": 9", "\"to\": 12"},
                {"-3]", "-0.1]"}}),
       "", 1,
       "Default|Sensor.1 tessarinePDLib.enableFocusMaps: 0 -> 1\n"
       "1 difference, 0 of 0 sent values taken\n",
       "tessarine: Default|Sensor.1 tessarinePDLib: the device's values come from Default; --mode "
       "changes them there\n",
       0}};
  for (const Case& c : cases) {
    const uint32_t before = manager_.GetValueChangeCount();
    const Outcome outcome =
        Link("apply " + Write("source.json", c.source) + " " + std::string(c.options));
    EXPECT_EQ(outcome.output, Greeting() + c.output) << c.name;
    EXPECT_EQ(outcome.errors, c.errors) << c.name;
    EXPECT_EQ(outcome.status, c.status) << c.name;
    EXPECT_EQ(manager_.GetValueChangeCount() - before, c.sent) << c.name;
  }
  const json dry = json::parse(
      Link("apply --json --dry-run " + Write("source.json", Changed({{"15", "31"}}))).output);
  EXPECT_EQ(dry["differences"][3]["second"], 31) << dry;
  EXPECT_EQ(dry["problems"].size(), 1u);
  EXPECT_EQ(Link("apply " + Write("bad.json", "{")).status, 3);
}

// The stored length of a text may count its NUL, which no device tells.
TEST_F(LibraryLink, TakesATextForTheSameUpToItsNul) {
  const std::string source = R"({"modes": [{"mode": "Default", "modules": {"tessarinePDLib":
      {"values": {"parameter_version": {"revision": "r1\u0000"}}}}}]})";
  Load(test::FromSource(source));
  const Outcome outcome = Link("apply " + Write("source.json", source));
  EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
}

TEST_F(LibraryLink, IsFreeForOthersWhileItIsWatched) {
  Load(test::FromSource(kTuning));
  const std::string field = " Default tessarinePDLib preProcess.boxFilterLength";
  Outcome watched{};
  std::thread watching([&] {
    watched = Run("link" + Port() + "watch" + field + " --count 2 --every 4 >" + Path("samples"),
                  "watched");
  });
  EXPECT_TRUE(HasFile("samples"));
  EXPECT_EQ(Link("set" + field + "=2 --timeout 3").status, 0);
  watching.join();
  EXPECT_EQ(watched.status, 0) << watched.errors;
  const std::string samples = test::ReadFile(Path("samples"));
  EXPECT_NE(samples.find("Length = 4\n"), std::string::npos) << samples;
  EXPECT_NE(samples.find("Length = 2\n"), std::string::npos) << samples;
}

// One client at a time: another is connected, and waits.
TEST_F(LibraryLink, ServesTheNextToolWhenTheFirstHasGone) {
  Load(test::FromSource(kTuning));
  auto first = std::make_unique<LinkDevice>(Device());
  EXPECT_EQ(first->Client().Info().tag, "test");
  const Outcome busy = Link("info --timeout 0.3");
  EXPECT_EQ(busy.status, 4);
  EXPECT_NE(busy.errors.find("it may be serving another tool, one at a time"), std::string::npos)
      << busy.errors;
  std::thread leaving([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    first.reset();
  });
  EXPECT_EQ(Link("info --timeout 20").status, 0);
  leaving.join();
}

TEST_F(LibraryLink, IsFoundAmongItsPorts) {
  Load(test::FromSource(kTuning));
  const std::string port = std::to_string(manager_.GetLinkPort());
  EXPECT_EQ(Link("find").output, port + ": \"test\"\n");
  const Outcome none = Run("link find --port 1");  // of a service that nobody has any more
  EXPECT_EQ(none.status, 4);
  EXPECT_EQ(none.errors, "tessarine: no device answers on 127.0.0.1\n");
}

TEST_F(LibraryLink, IsServedFromAFile) {
  ASSERT_EQ(Run("compile " TESSARINE_TUNING " -o " + Path("tuning.bin")).status, 0);
  Outcome served{};
  std::thread serving([&] {
    served = Run("serve " + Path("tuning.bin") + " --seconds 60 --port-file " + Path("port") +
                 " & echo $! >" + Path("process") + "; wait $!");
  });
  EXPECT_TRUE(HasFile("port"));
  const std::string port = test::ReadFile(Path("port"));
  const Outcome applied =
      Run("link apply " TESSARINE_TUNING " --port " + port.substr(0, port.find('\n')), "applied");
  EXPECT_NE(applied.output.find(", tag \"pdcam default tuning\"\n0 differences, 0 of 0 sent"),
            std::string::npos)
      << applied.output << applied.errors;
  EXPECT_EQ(kill(std::stoi(test::ReadFile(Path("process"))), SIGTERM), 0);
  serving.join();
  EXPECT_EQ(served.status, 0) << served.errors;
  EXPECT_NE(served.output.find(": port " + port.substr(0, 5)), std::string::npos);

  Write("cut.bin", test::ReadFile(Path("tuning.bin")).substr(0, 2000));
  const Outcome cut = Run("serve " + Path("cut.bin"));
  EXPECT_EQ(cut.status, 3);
  EXPECT_NE(cut.errors.find("cut.bin: expected a tuning file that the library loads: "),
            std::string::npos)
      << cut.errors;
  const Outcome missing = Run("serve /nosuch/file");
  EXPECT_EQ(missing.errors, "tessarine: /nosuch/file: there is no such file\n");
  EXPECT_EQ(missing.status, 3);
  EXPECT_EQ(Run("serve " + Path("tuning.bin") + " --port-file /nosuch/folder/x").status, 3);
}

}  // namespace

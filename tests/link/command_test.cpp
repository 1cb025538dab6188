// Every command of the live link: the bytes of its replies.
#include <algorithm>

#include "link_fixture.h"

namespace test {
namespace {

// A request, and its reply: empty where the request is dropped.
using Case = std::pair<std::string, std::string>;

class Commands : public Link {
 protected:
  // All over one connection: what isn't dropped by mistake, or answered so, shows in the next
  // reply.
  void expectReplies(const std::vector<Case>& cases) {
    LinkClient client(port());
    for (const auto& [request, reply] : cases) {
      ASSERT_TRUE(client.send(request));
      if (reply.empty()) continue;
      ASSERT_EQ(client.receive(), reply) << "request " << testing::PrintToString(request);
    }
    EXPECT_EQ(client.ask(ShortFrame(0)), DeviceInfo(manager.get()));
  }
};

// Entries joined by a separator, and those of them from the start that have room.
struct Entries {
  void add(const std::string& entry) {
    if (!all.empty()) all += separator;
    all += entry;
    if (all.size() <= room) fitting = all;
  }
  char separator;
  size_t room = kLargestFrame - kHeader - 1;
  std::string all{};
  std::string fitting{};
};

// The payloads of both, with an ID.
std::vector<Case> WithIds(uint16_t command, std::vector<Case> cases) {
  uint32_t id = 0xFEDCBA98;
  for (auto& [request, reply] : cases) {
    request = TextFrame(command, ++id, request);
    reply = TextFrame(command, id, reply);
  }
  return cases;
}

TEST_F(Commands, ShortOnesNeedNoId) {
  const std::string info = DeviceInfo(manager.get());
  const std::string noText = ShortTextFrame(1, "");
  ASSERT_EQ(noText, std::string("\x59\x5A\x01\x00\x07\x00\x00", 7));
  expectReplies({{ShortFrame(0), info},
                 {ShortFrame(0, "more"), info},
                 {TextFrame(0, 7, "and an ID"), info},
                 {ShortFrame(1), noText},  // no module is in use
                 {ShortFrame(2), ShortTextFrame(2, "")},
                 {ShortFrame(7), ShortTextFrame(7, "")}});
  manager->SetControlValues("7=-3,2=1.25");
  manager->SetTriggerValues("9=18446744073");
  get({{0, 0}, {2, 2}});
  expectReplies({{ShortFrame(1), ShortTextFrame(1, "Default|Usecase.Video")},
                 {TextFrame(1, 7, "not looked at"), ShortTextFrame(1, "Default|Usecase.Video")},
                 {ShortFrame(2), ShortTextFrame(2, "2=1.250000,7=-3")},
                 {ShortFrame(7), ShortTextFrame(7, "9=18446744073")}});
}

TEST_F(Commands, DeviceInfoWithoutATagTellsTheNumber) {
  ASSERT_TRUE(load(ReadableFile(""), false));
  char digits[19];
  std::snprintf(digits, sizeof(digits), "0x%016zx", reinterpret_cast<uintptr_t>(manager.get()));
  EXPECT_EQ(LinkClient(port()).ask(ShortFrame(0)), DeviceInfo(manager.get(), digits));
}

// Of lists with more entries than their replies have room for, those that fit stand there whole.
TEST_F(Commands, ShortRepliesAreCutBehindAWholeEntry) {
  Entries values{',', 4090 - 1};  // and a NUL
  for (int i = 1000; i < 2000; ++i) values.add(std::to_string(i) + "=7");
  manager->SetControlValues(values.all.c_str());
  manager->SetTriggerValues(values.all.c_str());
  expectReplies({{ShortFrame(2), ShortTextFrame(2, values.fitting)},
                 {ShortFrame(7), ShortTextFrame(7, values.fitting)}});

  TuningFile file;
  file.tag = "lab camera";
  file.modes = {{0, 0, 0, 0}};
  Entries modes{',', 4086 - 1};
  for (uint32_t i = 1; i <= 1000; ++i) {
    file.modes.push_back({i, 1, static_cast<uint16_t>(i), 0});
    modes.add("Sensor." + std::to_string(i));
  }
  ASSERT_TRUE(load(file.build(), false));
  expectReplies({{TextFrame(3, 1, "Default"), TextFrame(3, 1, modes.fitting)}});
}

TEST_F(Commands, ModesBelowOne) {
  const std::string root = "Sensor.3,Usecase.Video";
  expectReplies(WithIds(3, {{"Default", root},
                            {"0.0", root},
                            {"", root},
                            {"Default|Effect.Neon", root},  // not in the tree
                            {"nonsense", root},             // is mode 0
                            {"Default|Usecase.Video", "Scene.Night"},
                            {"0|2.Video", "Scene.Night"},
                            {"Default|Usecase.Video|Scene.Night", ""},
                            {"Default|Sensor.3", ""}}));
}

TEST_F(Commands, Info) {
  const std::string pd = "Default:tessarinePDLib";
  const std::string root = "tessarinePDLib=Default,Module;abf34_ife=Default,Module";
  const std::string video = "tessarinePDLib=Default|Usecase.Video,Module;abf34_ife=Default,Module";
  expectReplies(WithIds(
      4, {{"Default", root},
          {"Default:", root},
          {"Default|Sensor.3", root},
          {"Default|Usecase.Video", video},
          {"0|2.2|5.5", video},
          {"", ""},
          {"Default:nonsense", ""},
          {pd + ".nonsense", ""},
          {pd + ".skipControl", "staticFrameCountThres=20,Int32;maxFrameRate=15,Int32"},
          {pd + ".skipControl.maxFrameRate", "maxFrameRate=15,Int32"},
          {pd + ".preProcess.HDR", "channelSelection=2,Enum;longThreshold=500,Int32"},
          {pd + ".parameter_version", "revision=lab 7,String"},
          {pd + ".preProcess.filterTrigger", "filterSet,Structure,3"},
          {pd + ".hardwarePattern", "hardwarePattern,Structure,2"},
          {pd + ".correlation.minimumConfidenceLevel", "minimumConfidenceLevel=140.5,Float"},
          {pd + ".extensionParam[0]",
           "ID=-12,Int32;Name=gain,String;enableFlag=1,Boolean;data,Float,2"},
          {pd + ".extensionParam[0].data[1]", "data[1]=-2,Float"},
          {pd + ".extensionParam[1].data", "data,Float,2"},
          {pd + ".extensionParam[2]", "extensionParam[2],Structure,2"}}));
  LinkClient client(port());
  const std::string fields = client.ask(TextFrame(4, 1, "Default:tessarinePDLib"));
  EXPECT_EQ(fields.find("module_version,Structure;parameter_version,Structure;preProcess,"),
            kHeader);
  EXPECT_EQ(std::count(fields.begin(), fields.end(), ';'), 22 - 1);
}

TEST_F(Commands, GetValues) {
  const std::string pd = "Default:tessarinePDLib";
  expectReplies(WithIds(
      5, {{pd + ".skipControl", "staticFrameCountThres=20;maxFrameRate=15"},
          {pd + ".skipControl:", "staticFrameCountThres=20;maxFrameRate=15"},
          {pd + ".skipControl:maxFrameRate,nonsense,staticFrameCountThres",
           "maxFrameRate=15;staticFrameCountThres=20"},
          {pd + ":skipControl.maxFrameRate", "skipControl.maxFrameRate=15"},
          {pd + ".skipControl.maxFrameRate", "maxFrameRate=15"},
          {pd + ".skipControl:nonsense", ""},
          {pd + ".extensionParam[0]", "ID=-12;Name=gain;enableFlag=1;data=0.5,-2"},
          {pd + ".extensionParam[0].data", "data=0.5,-2"},
          {pd + ".extensionParam", ""},
          {pd + ".preProcess:HDR.channelSelection,HDR", "HDR.channelSelection=2"},
          {pd + ".preProcess:boxFilterLength", "boxFilterLength=4"},
          {"Default|Usecase.Video:tessarinePDLib.preProcess:boxFilterLength", "boxFilterLength=2"},
          {"0|2.2|5.5:tessarinePDLib.preProcess:boxFilterLength", "boxFilterLength=2"},
          {"Default|Usecase.Video|Effect.Neon:tessarinePDLib.preProcess:boxFilterLength",
           "boxFilterLength=2"},
          {"Default|Usecase.ZSL:tessarinePDLib.preProcess:boxFilterLength", "boxFilterLength=4"},
          {"Default:nonsense", ""},
          {"Default:tessarinepdlib.skipControl", ""},  // names of modules are exact
          {"Default", ""},
          {"Default:", ""},
          {"", ""},
          {":tessarinePDLib.skipControl", ""}}));
}

TEST_F(Commands, SetValues) {
  const std::string skip = "Default:tessarinePDLib.skipControl:";
  const std::string digits(511, '0');
  expectReplies(WithIds(
      6,
      {{skip + "maxFrameRate=30;staticFrameCountThres=8",
        "maxFrameRate=30;staticFrameCountThres=8"},
       {skip + "nonsense=1;maxFrameRate=31", "maxFrameRate=31"},
       {skip + "maxFrameRate=;staticFrameCountThres=9;;=4;maxFrameRate", "staticFrameCountThres=9"},
       {skip + "maxFrameRate=1;maxFrameRate=2", "maxFrameRate=1;maxFrameRate=2"},
       {skip + "maxFrameRate=abc", ""},
       {skip + "maxFrameRate=3000000000", "maxFrameRate=2147483647"},
       {skip + "maxFrameRate=" + digits + "7", "maxFrameRate=7"},
       {skip + "maxFrameRate=" + digits + "08", ""},  // 513 characters
       {skip + "x" + digits + "0=1;maxFrameRate=5", "maxFrameRate=5"},
       {skip, ""},
       {"Default:tessarinePDLib", ""},
       {"Default", ""},
       {"Default:nonsense:maxFrameRate=1", ""},
       {"Default:tessarinePDLib.extensionParam[0]:data[1]=4.25;data=1,2;data=x,3",
        "data[1]=4.25;data=1,2;data=1,3"},
       {"Default:tessarinePDLib:skipControl.maxFrameRate=6", "skipControl.maxFrameRate=6"},
       {"Default|Usecase.Video:tessarinePDLib.skipControl:maxFrameRate=60", "maxFrameRate=60"}}));
  EXPECT_EQ(get({{0, 0}})->skipControl.maxFrameRate, 6);
  EXPECT_EQ(get({{0, 0}, {2, 2}})->skipControl.maxFrameRate, 60);
  EXPECT_EQ(get({{0, 0}})->extensionParam[0].data[1], 3.0f);
}

// Of 512 characters that lead to Usecase.Video, and one more.
TEST_F(Commands, AModePathHasABound) {
  std::string path = "00.0|2.2";
  while (path.size() < 512) path += "|6.1";  // stands nowhere in the tree: ends the walk
  const std::string field = ":tessarinePDLib.preProcess:boxFilterLength";
  expectReplies(WithIds(5, {{path + field, "boxFilterLength=2"}, {"0" + path + field, ""}}));
}

TEST_F(Commands, TextsWithoutANulEndWithTheirFrame) {
  const std::string request = "Default:tessarinePDLib.skipControl:maxFrameRate";
  const std::string more = "Default:tessarinePDLib.skipControl";
  expectReplies({{Frame(5, 1, request), TextFrame(5, 1, "maxFrameRate=15")},
                 // What a longer request before it left behind is not read.
                 {Frame(5, 2, more), TextFrame(5, 2, "staticFrameCountThres=20;maxFrameRate=15")},
                 {Frame(5, 3, request + '\0' + "behind"), TextFrame(5, 3, "maxFrameRate=15")},
                 {Frame(3, 4, "D"), TextFrame(3, 4, "Sensor.3,Usecase.Video")}});
}

// ---- Large frames

TEST_F(Commands, AnswersAreCutBehindTheLastWholeEntry) {
  Entries names{','};
  Entries answer{';'};
  while (names.all.size() < 60000) {
    names.add("maxFrameRate");
    answer.add("maxFrameRate=15");
  }
  ASSERT_GT(answer.all.size(), answer.fitting.size());
  const std::string skip = "Default:tessarinePDLib.skipControl:";
  expectReplies({{TextFrame(5, 1, skip + names.all), TextFrame(5, 1, answer.fitting)}});
}

// A reply of assignments that shows more than they said: the last ones are carried out unseen.
TEST_F(Commands, WhatHasNoRoomInTheReplyIsSetAllTheSame) {
  const std::string field = "minimumConfidenceLevel";
  Entries assignments{';'};
  Entries answer{';'};
  for (int i = 0; i < 2400; ++i) {
    assignments.add(field + "=.1");
    answer.add(field + "=0.1000000015");
  }
  assignments.add(field + "=7");
  ASSERT_GT(answer.all.size(), answer.fitting.size());
  const std::string path = "0:tessarinePDLib.correlation:";
  expectReplies({{TextFrame(6, 1, path + assignments.all), TextFrame(6, 1, answer.fitting)},
                 {TextFrame(5, 2, path + field), TextFrame(5, 2, field + "=7")}});
}

// A value that no frame can hold ends the list: no part of it is told.
TEST_F(Commands, AnArrayIsToldWholeOrNotAtAll) {
  const std::string before = "ID=1;Name=;enableFlag=1";
  // 1,1,... up to the last byte of a frame.
  const size_t fitting = (kLargestFrame - kHeader - 1 - before.size() - 6 + 1) / 2;
  for (const size_t count : {fitting, fitting + 1}) {
    TuningFile file;
    file.tag = "lab camera";
    PdSource source(1);
    std::vector<float> values(count, 1.0f);
    char noName[] = "";
    source.record().extensionParam[0] = {1, noName,       1, static_cast<uint32_t>(count),
                                         0, values.data()};
    AddPd(file, source, 0);
    ASSERT_TRUE(load(file.build(), false)) << error();
    Entries elements{','};
    for (size_t i = 0; i < count; ++i) elements.add("1");
    const std::string data = count == fitting ? ";data=" + elements.all : "";
    expectReplies(
        {{TextFrame(5, 1, "0:tessarinePDLib.extensionParam[0]"), TextFrame(5, 1, before + data)}});
  }
}

// Hundreds of modules, in force from a mode whose path takes 900 characters.
TEST_F(Commands, AModuleListIsCutBehindTheLastWholeEntry) {
  TuningFile file;
  file.tag = "lab camera";
  file.modes = {{0, 0, 0, 0}};
  std::string names = "Default";
  std::string numbers = "0";
  constexpr uint32_t kDeepest = 30;
  for (uint32_t i = 1; i <= kDeepest; ++i) {
    const bool even = i % 2 == 0;
    file.modes.push_back({i, static_cast<uint16_t>(even ? 4 : 2), 7, i - 1});
    names += even ? "|Feature2.AIDenoiserMFNRPostFilter" : "|Usecase.IdealRawReprocess";
    numbers += even ? "|4.7" : "|2.7";
  }
#define NAME_OF(name) #name,
#define NO_NAME(name, root)
  const std::string modules[] = {TUNING_SET_MODULES(NAME_OF, NO_NAME)};
#undef NAME_OF
#undef NO_NAME
  Entries entries{';'};
  for (const std::string& module : modules) {
    char type[ModuleData::kMaxType + 1];
    ModuleData::GetType(type, module.c_str());
    for (const uint32_t mode : {0u, kDeepest}) file.modules.push_back({type, {1, 0, 0}, mode, {1}});
    entries.add(module + "=" + names + ",Module");
  }
  ASSERT_GT(entries.all.size(), entries.fitting.size());
  ASSERT_TRUE(load(file.build(), false)) << error();
  expectReplies({{TextFrame(4, 1, numbers), TextFrame(4, 1, entries.fitting)}});
}

TEST_F(Commands, TheLargestRequest) {
  const std::string start = "0:tessarinePDLib.skipControl:maxFrameRate,";
  std::string payload = start + std::string(kLargestFrame - kHeader - start.size() - 2, ',');
  ASSERT_EQ(TextFrame(5, 1, payload).size(), kLargestFrame - 1);
  expectReplies({{TextFrame(5, 1, payload), TextFrame(5, 1, "maxFrameRate=15")},
                 {TextFrame(5, 2, payload + ","), ""},  // one byte more is not answered
                 {ShortFrame(0, std::string(kLargestFrame - kShortHeader, 'x')), ""}});
}

// ---- The camera stack's own command

// Sends the request back, behind the capacity that it is told, with a length of its own.
struct Echo : IParameterCustomHandler {
  uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t capacity, uint8_t* reply,
                   uint16_t* replyLength) override {
    EXPECT_EQ(*replyLength, 0);
    EXPECT_EQ(capacity, kLargestFrame - kHeader - 2);
    std::copy_n(payload, length, reply);
    *replyLength = claimed == 0 ? static_cast<uint16_t>(length) : claimed;
    return 0xABCD1234;
  }
  uint16_t claimed = 0;
};

TEST_F(Commands, CustomRequestsGoToTheHandler) {
  const std::string bytes("\0:\xFF\x01|", 5);
  const std::string noHandler = Frame(8, 5, LittleEndian(2, 0));
  ASSERT_EQ(noHandler.size(), 12u);
  expectReplies({{Frame(8, 5, bytes), noHandler}});
  EXPECT_TRUE(
      logged("Rondel queued Custom command received with no handler installed, sending "
             "result = 0"));
  Echo echo;
  manager->SetCustomHandler(&echo);
  const std::string result = LittleEndian(2, 0x1234);
  const std::string large(kLargestFrame - kHeader - 2, 'y');
  expectReplies({{Frame(8, 6, bytes), Frame(8, 6, result + bytes)},
                 {Frame(8, 7, large), Frame(8, 7, result + large)},
                 {Frame(8, 8, ""), ""}});
  // A length above the room is cut to it.
  echo.claimed = 0xFFFF;
  expectReplies({{Frame(8, 9, large), Frame(8, 9, result + large)}});
  // Of bytes that it claims and doesn't write, nothing is of an earlier reply.
  for (const size_t claimed : {large.size(), size_t{8}}) {
    echo.claimed = static_cast<uint16_t>(claimed);
    const std::string zeros(claimed - 2, '\0');
    expectReplies({{Frame(8, 9, "xy"), Frame(8, 9, result + "xy" + zeros)}});
  }
  manager->SetCustomHandler(nullptr);
  expectReplies({{Frame(8, 5, bytes), noHandler}});
}

// ---- The log

TEST_F(Commands, TellTheLog) {
  manager->SetLogLevels(true, true, true);
  Echo echo;
  manager->SetCustomHandler(&echo);
  LinkClient client(port());
  const std::string path = "0:tessarinePDLib.skipControl";
  for (const std::string& request :
       {ShortFrame(0), ShortFrame(1), ShortFrame(2), ShortFrame(7), TextFrame(3, 31, "0"),
        TextFrame(4, 41, path), TextFrame(5, 51, path), TextFrame(6, 61, path + ":maxFrameRate=9"),
        Frame(8, 81, "x"), Frame(8, 82, "\x01|")})
    client.ask(request);
  // A frame may end in front of its command; what it leaves behind takes the next header with it.
  EXPECT_EQ(client.ask(ShortHeader(1, 2)), DeviceInfo(manager.get()));
  client.send(ShortFrame(0));
  client.ask(ShortFrame(0));  // what the last one logs behind its reply stands there by now
  for (const char* line :
       {"Rondel queued command: Info(0), Version: 1.0, Name: lab camera",
        "Rondel queued command: Active Modes(1), Version: 1.0, Active: ",
        "Rondel queued command: Control Values(2), Version: 1.0, Name: ",
        "Rondel queued command: Trigger Values(7), Version: 1.0, Name: ",
        "Rondel queued command: Modes(3), ID: 31, Payload: Sensor.3,Usecase.Video...",
        "Rondel queued command: Info(4), ID: 41, Payload: staticFrameCountThres=20,Int32;max",
        "Rondel queued command: GetValues(5), ID: 51, Payload: staticFrameCountThres=20;max",
        "Rondel queued command: SetValues(6), ID: 61, Payload: maxFrameRate=9",
        "Rondel queued command: Custom(8), ID: 81, Payload: x...",
        "Rondel queued command: Custom(8), ID: 82, Payload: 017C...",
        "Failed to read 2 bytes from binary file offset 2, length 2",
        "Rondel write 27 bytes, Command: 0", "Rondel accepted data connection on port 0x"})
    EXPECT_TRUE(logged(line)) << line;
}

}  // namespace
}  // namespace test

// The tool's end of the live link, against devices that do as a script tells.
#include "link_client.h"

#include <gtest/gtest.h>

#include "link_device.h"
#include "link_server.h"
#include "link_tree.h"

namespace {

using tessarine::LinkAddress;
using tessarine::LinkCommand;
using tessarine::LinkDevice;
using tessarine::TextPayload;
using test::Peer;
using test::Request;
using Script = test::LinkServer::Script;

tessarine::Bytes FromHex(const std::string& hex) {
  tessarine::Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += hex[i] == ' ' ? 1 : 2)
    if (hex[i] != ' ')
      bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return bytes;
}

TEST(LinkFrame, HasTheBytesOfTheProtocol) {
  EXPECT_EQ(tessarine::ToBytes({LinkCommand::kChildModes, 7, TextPayload("Default")}),
            FromHex("595a 0300 1200 07000000 44656661756c7400"));
  EXPECT_EQ(tessarine::ToBytes({LinkCommand::kTriggerValues, 7, {}}), FromHex("595a 0700 0600"));
  const auto set = TextPayload("Default:tessarinePDLib.preProcess:boxFilterLength=3");
  EXPECT_EQ(tessarine::ToBytes({LinkCommand::kSetValues, 0xA1B2C3D4, set}).size(), 62u);
  const auto reply = tessarine::ToFrame(FromHex("595a 0800 0f00 d4c3b2a1 0001 020304"));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->command, LinkCommand::kCustom);
  EXPECT_EQ(reply->id, 0xA1B2C3D4);
  EXPECT_EQ(reply->payload, FromHex("0001 020304"));
  EXPECT_FALSE(tessarine::ToFrame(FromHex("595a 0500 0800 0000")));
  EXPECT_THROW(tessarine::ToBytes({LinkCommand::kCustom, 1, tessarine::Bytes(65526)}),
               tessarine::LinkError);
}

// What comes of a request, or what is wrong.
std::string Outcome(const std::function<std::string()>& ask) {
  try {
    return ask();
  } catch (const tessarine::LinkError& error) {
    return error.what();
  }
}

std::string AskOnce(const LinkAddress& address, LinkCommand command) {
  return Outcome([&] {
    tessarine::LinkClient client(address);
    if (command == LinkCommand::kDeviceInfo) return client.Info().tag;
    return client.AskText(command, TextPayload("Default"));
  });
}

// Scripts of one request behind the greeting.
Script Then(const std::function<void(const Peer&, const Request&)>& answer) {
  return [answer](const Peer& peer) {
    peer.Greet();
    const Request request = peer.Receive();
    if (request.command >= 0) answer(peer, request);
  };
}
const Script kAnswer = Then([](const Peer& peer, const Request& request) {
  peer.Send(request.TextReply(request.Text() + "!"));
  peer.WaitForEnd();
});
const Script kDrop = Then([](const Peer&, const Request&) {});
const Script kSilence = [](const Peer& peer) { peer.WaitForEnd(); };
Script Say(const std::string& bytes) {
  return Then([bytes](const Peer& peer, const Request&) {
    peer.Send(bytes);
    peer.WaitForEnd();
  });
}

TEST(LinkClient, GetsItsReplyOrTellsWhyNot) {
  const std::string stranger = test::LinkBytes(3, test::Number(1, 4), std::string("no\0", 3));
  const LinkCommand modes = LinkCommand::kChildModes;
  struct Case {
    const char* name;
    std::vector<Script> scripts;
    LinkCommand command;
    double timeout;
    const char* outcome;  // what it starts with, behind the place
    size_t connections;
  };
  const Case cases[] = {
      {"greeting", {kAnswer}, LinkCommand::kDeviceInfo, 20, "a tag", 1},
      {"reply", {kAnswer}, modes, 20, "Default!", 1},
      {"byte by byte",
       {Then([](const Peer& peer, const Request& request) {
         for (char byte : request.TextReply("pieces")) {
           peer.Send(std::string(1, byte));
           std::this_thread::sleep_for(std::chrono::milliseconds(1));
         }
         peer.WaitForEnd();
       })},
       modes,
       20,
       "pieces",
       1},
      {"replies to others first",
       {Then([&](const Peer& peer, const Request& request) {
         peer.Send(stranger + test::LinkBytes(1, "", std::string("x\0", 2)) + stranger +
                   request.TextReply("own"));
         peer.WaitForEnd();
       })},
       modes,
       20,
       "own",
       1},
      {"dropped once", {kDrop, kAnswer}, modes, 20, "Default!", 2},
      {"dropped within a frame",
       {Then([](const Peer& peer, const Request& request) {
          peer.Send(request.TextReply("half").substr(0, 8));
        }),
        kAnswer},
       modes,
       20,
       "Default!",
       2},
      {"dropped twice", {kDrop}, modes, 20, "dropped the connection without a reply, twice", 2},
      {"never repeated",
       {kDrop},
       LinkCommand::kCustom,
       20,
       "dropped the connection without a reply; the request is not repeated",
       1},
      {"first connection swallowed", {kSilence, kAnswer}, modes, 3, "Default!", 2},
      {"dropped at once",
       {[](const Peer&) {}},
       modes,
       20,
       "took the connection and dropped it at once",
       2},
      {"silent",
       {kSilence},
       modes,
       0.2,
       "took the connection and gave no reply within 0.2 s: it may be serving another tool",
       2},
      {"silent later", {Say("")}, modes, 0.2, "gave no reply within 0.2 s", 1},
      {"replies to others without end",
       {Then([&](const Peer& peer, const Request&) {
         for (int i = 0; i < 200; ++i) {
           peer.Send(stranger);
           std::this_thread::sleep_for(std::chrono::milliseconds(5));
         }
       })},
       modes,
       0.3,
       "gave no reply within 0.3 s",
       1},
      {"another protocol",
       {Say("HTTP/1.1 400")},
       modes,
       20,
       "sent bytes that are no frame (485454502f31)",
       1},
      {"command out of range",
       {Say(test::Number(0x00095A59, 4) + test::Number(6, 2))},
       modes,
       20,
       "sent bytes that are no frame",
       1},
      {"length within the header",
       {Say(test::Number(0x00035A59, 4) + test::Number(5, 2))},
       modes,
       20,
       "sent bytes that are no frame",
       1},
      {"no room for the ID",
       {Say(test::Number(0x00035A59, 4) + test::Number(8, 2) + test::Number(0, 2))},
       modes,
       20,
       "sent a frame without the ID that its command has",
       1},
      {"text without its end",
       {Then([](const Peer& peer, const Request& request) {
         peer.Send(request.Reply("open"));
         peer.WaitForEnd();
       })},
       modes,
       20,
       "sent a text without its end",
       1},
      {"greeting without a tag",
       {[](const Peer& peer) {
         peer.Send(peer.Receive().Reply(test::Number(1, 2) + test::Number(0x1234, 8)));
         peer.WaitForEnd();
       }},
       modes,
       20,
       "sent a short answer",
       1}};
  for (const Case& c : cases) {
    test::LinkServer server(c.scripts);
    std::string outcome = AskOnce({"127.0.0.1", server.Port(), c.timeout}, c.command);
    const std::string place = "127.0.0.1:" + std::to_string(server.Port()) + " ";
    if (outcome.rfind(place, 0) == 0) outcome = outcome.substr(place.size());
    EXPECT_EQ(outcome.substr(0, std::string(c.outcome).size()), c.outcome) << c.name << outcome;
    EXPECT_EQ(server.Connections(), c.connections) << c.name;
  }
}

TEST(LinkClient, TellsWhyThereIsNoConnection) {
  uint16_t free = 0;
  { free = test::LinkServer({kSilence}).Port(); }
  EXPECT_EQ(AskOnce({"127.0.0.1", free, 5}, LinkCommand::kActiveModes),
            "nobody listens on 127.0.0.1:" + std::to_string(free));
  EXPECT_EQ(AskOnce({"no such host", free, 5}, LinkCommand::kActiveModes)
                .rfind("host 'no such host' is not known: ", 0),
            0u);
  test::LinkServer server({kAnswer});
  EXPECT_EQ(AskOnce({"localhost", server.Port(), 20}, LinkCommand::kChildModes), "Default!");
}

TEST(LinkTexts, EntriesEndWithTheirType) {
  using Entries = std::vector<tessarine::LinkEntry>;
  struct Case {
    const char* text;
    Entries entries;
  };
  const Case cases[] = {
      {"", {}},
      {"a=-4,Int32", {{"a", "-4", "Int32", {}}}},
      {"a,Structure;b,Float,3", {{"a", {}, "Structure", {}}, {"b", {}, "Float", 3}}},
      {",Structure,2", {{"", {}, "Structure", 2}}},
      {"=0.5,Float", {{"", "0.5", "Float", {}}}},
      {"n,String;b=1,Boolean", {{"n", {}, "String", {}}, {"b", "1", "Boolean", {}}}},
      {"n=one;two,3=x;,String;b=1,Enum",
       {{"n", "one;two,3=x;", "String", {}}, {"b", "1", "Enum", {}}}},
      {"tessarinePDLib=Default|Sensor.3,Module",
       {{"tessarinePDLib", "Default|Sensor.3", "Module", {}}}},
      {"garbage", {}},
      {"a=1,Int32;rest without a type", {{"a", "1", "Int32", {}}}}};
  for (const Case& c : cases)
    EXPECT_TRUE(tessarine::ParseLinkEntries(c.text) == c.entries) << c.text;
}

TEST(LinkTexts, TellsAValueThatWasCut) {
  struct Case {
    const char* sent;
    const char* shown;
    bool isSame;
  };
  const Case cases[] = {
      {"3", "3", true},
      {"03", "3", true},
      {"-0", "0", true},
      {"0.1", "0.1000000015", true},  // the float nearest to 0.1, ten digits of it
      {"16777217", "16777216", false},
      {"2147483648", "2147483647", false},
      {"3.7", "4", false},
      {"0.00012345678", "0.0001234568", true},
      {"0.00000000001", "0", true},
      {"0.0000000001", "0", false},
      {"1,2,3", "1,2,3", true},
      {"1,0.1,3", "1,0.1000000015,3", true},
      {"1,2,3", "1,9,3", false},
      {"1,2", "1,2,3", false},
      {"x", "0", false},
      {"a b", "a b", true}};
  for (const Case& c : cases)
    EXPECT_EQ(tessarine::IsSameValue(c.sent, c.shown), c.isSame) << c.sent << " " << c.shown;
}

// A device whose replies hold few values: what is left out has to be asked for again.
TEST(LinkDevice, AsksAgainForWhatAReplyLeftOut) {
  constexpr uint32_t kCount = 600;
  const auto valueOf = [](const std::string& name) {
    return name.rfind("S[", 0) == 0 ? name + "=" + std::to_string(std::stoi(name.substr(2)) * 7)
           : name == "a" || name == "b" || name == "c" ? name + "=" + name + name
                                                       : "";
  };
  test::LinkServer server({[&](const Peer& peer) {
    peer.Answer([&](const Request& request) {
      std::string text;
      size_t left = 100;
      const size_t start = request.Text().rfind(':') + 1;
      for (const std::string& name : tessarine::SplitText(request.Text().substr(start), ',')) {
        const std::string entry = valueOf(name);
        if (entry.empty() || left-- == 0) continue;
        text += (text.empty() ? "" : ";") + entry;
      }
      return text;
    });
  }});
  LinkDevice device({"127.0.0.1", server.Port(), 20});
  const std::vector<std::string> names = {"a", "none", "c", "b"};
  const auto values = device.Numbers("Default", "module", names);
  EXPECT_EQ(values, (LinkDevice::Texts{"aa", std::nullopt, "cc", "bb"}));
  const auto elements = device.Elements("Default", {"module", "S"}, kCount);
  ASSERT_EQ(elements.size(), kCount);
  for (uint32_t i = 0; i < kCount; ++i) EXPECT_EQ(elements[i], std::to_string(7 * i));
}

// So does a device in which a mode links to one above it.
TEST(LinkDevice, EndsATreeThatDoesnt) {
  for (const char* children : {"Sensor.1", "Sensor.1,Usecase.Video"}) {
    test::LinkServer server(
        {[&](const Peer& peer) { peer.Answer([&](const Request&) { return children; }); }});
    LinkDevice device({"127.0.0.1", server.Port(), 20});
    const tessarine::DeviceTree tree = tessarine::ReadTree(device, "Default", false);
    EXPECT_FALSE(tree.isComplete);
    EXPECT_LE(tree.nodes.size(), 4096u);
    EXPECT_LE(tree.nodes.back().path.size(), 512u);
    const tessarine::DeviceTree flat = tessarine::ReadTree(device, "Default", true);
    EXPECT_TRUE(flat.isComplete);
    EXPECT_EQ(flat.nodes.size(), 1 + tessarine::SplitText(children, ',').size());
  }
}

// An array without an end must not keep the tool busy for ever.
TEST(LinkDevice, RefusesCountsThatNoDeviceHas) {
  test::LinkServer server({[](const Peer& peer) {
    peer.Answer([](const Request&) { return "x,Structure,4000000000"; });
  }});
  LinkDevice device({"127.0.0.1", server.Port(), 20});
  EXPECT_NE(Outcome([&] {
              device.Entries("Default", "module");
              return std::string();
            }).find("4000000000 elements"),
            std::string::npos);
}

}  // namespace

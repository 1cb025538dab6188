// The tool's end of the live link, against devices that do as a script tells.
#include "link_client.h"

#include <gtest/gtest.h>

#include <cstring>

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

tessarine::Bytes Bytes(const std::string& bytes) {
  return {bytes.begin(), bytes.end()};
}

// Against the client that the link's own tests have.
TEST(LinkFrame, HasTheBytesOfTheProtocol) {
  EXPECT_EQ(tessarine::ToBytes({LinkCommand::kChildModes, 7, TextPayload("Default")}),
            Bytes(test::TextFrame(3, 7, "Default")));
  EXPECT_EQ(tessarine::ToBytes({LinkCommand::kTriggerValues, 7, {}}), Bytes(test::ShortFrame(7)));
  const std::string payload("\0\1\2\3\4", 5);
  const auto reply = tessarine::ToFrame(Bytes(test::Frame(8, 0xA1B2C3D4, payload)));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->command, LinkCommand::kCustom);
  EXPECT_EQ(reply->id, 0xA1B2C3D4);
  EXPECT_EQ(reply->payload, Bytes(payload));
  EXPECT_FALSE(tessarine::ToFrame(Bytes(test::ShortHeader(5, 8) + "id")));
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
    if (request.command < 0) return;
    answer(peer, request);
  };
}
// What they say before they wait for the end.
Script Say(const std::function<std::string(const Request&)>& bytesOf) {
  return Then([bytesOf](const Peer& peer, const Request& request) {
    peer.Send(bytesOf(request));
    peer.WaitForEnd();
  });
}
Script Say(const std::string& bytes) {
  return Say([bytes](const Request&) { return bytes; });
}
// The parts of a reply, a few milliseconds apart.
Script Trickle(const std::function<std::vector<std::string>(const Request&)>& partsOf) {
  return Then([partsOf](const Peer& peer, const Request& request) {
    for (const std::string& part : partsOf(request)) {
      peer.Send(part);
      std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    peer.WaitForEnd();
  });
}
const Script kAnswer = Say([](const Request& request) { return request.TextReply("Default!"); });
const Script kDrop = Then([](const Peer&, const Request&) {});
const Script kSilence = [](const Peer& peer) { peer.WaitForEnd(); };

TEST(LinkClient, GetsItsReplyOrTellsWhyNot) {
  const std::string stranger = test::TextFrame(3, 1, "no");
  const Script pieces = Trickle([](const Request& request) {
    std::vector<std::string> bytes;
    for (char byte : request.TextReply("pieces")) bytes.emplace_back(1, byte);
    return bytes;
  });
  const Script othersFirst = Say([&](const Request& request) {
    return stranger + test::ShortTextFrame(1, "x") + stranger + request.TextReply("own");
  });
  const Script othersAlone =
      Trickle([&](const Request&) { return std::vector<std::string>(300, stranger); });
  const Script half = Then([](const Peer& peer, const Request& request) {
    peer.Send(request.TextReply("half").substr(0, 8));
  });
  const Script noTag = [](const Peer& peer) {
    peer.Send(peer.Receive().Reply(test::LittleEndian(2, 1) + test::LittleEndian(8, 0x1234)));
    peer.WaitForEnd();
  };
  const Script open = Say([](const Request& request) { return request.Reply("open"); });
  const char* const noFrame = "sent bytes that are no frame";
  struct Case {
    const char* name;
    std::vector<Script> scripts;
    const char* outcome;  // what it starts with, behind the place
    size_t connections = 1;
    double timeout = 20;
    LinkCommand command = LinkCommand::kChildModes;
  };
  const Case cases[] = {
      {"greeting", {kAnswer}, "a tag", 1, 20, LinkCommand::kDeviceInfo},
      {"reply", {kAnswer}, "Default!"},
      {"byte by byte", {pieces}, "pieces"},
      {"replies to others first", {othersFirst}, "own"},
      {"dropped once", {kDrop, kAnswer}, "Default!", 2},
      {"dropped within a frame", {half, kAnswer}, "Default!", 2},
      {"dropped twice", {kDrop}, "dropped the connection without a reply, twice", 2},
      {"never repeated",
       {kDrop},
       "dropped the connection without a reply; the request is not",
       1,
       20,
       LinkCommand::kCustom},
      {"first connection swallowed", {kSilence, kAnswer}, "Default!", 2, 3},
      {"dropped at once", {[](const Peer&) {}}, "took the connection and dropped it at once", 2},
      {"silent",
       {kSilence},
       "took the connection and gave no reply within 0.2 s: it may be",
       2,
       0.2},
      {"silent later", {Say("")}, "gave no reply within 0.2 s", 1, 0.2},
      {"replies to others without end", {othersAlone}, "gave no reply within 0.3 s", 1, 0.3},
      {"another protocol", {Say("HTTP/1.1 400")}, "sent bytes that are no frame (485454502f31)"},
      {"command out of range", {Say(test::ShortHeader(9, 6))}, noFrame},
      {"length within the header", {Say(test::ShortHeader(3, 5))}, noFrame},
      {"no room for the ID",
       {Say(test::ShortHeader(3, 8) + "id")},
       "sent a frame without the ID that its command has"},
      {"text without its end", {open}, "sent a text without its end"},
      {"greeting without a tag", {noTag}, "sent a short answer"}};
  for (const Case& c : cases) {
    test::LinkServer server(c.scripts);
    std::string outcome = AskOnce({"127.0.0.1", server.Port(), c.timeout}, c.command);
    const std::string place = "127.0.0.1:" + std::to_string(server.Port()) + " ";
    if (outcome.rfind(place, 0) == 0) outcome = outcome.substr(place.size());
    EXPECT_EQ(outcome.substr(0, std::strlen(c.outcome)), c.outcome) << c.name << outcome;
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
  const std::pair<const char*, Entries> cases[] = {
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
  for (const auto& [text, entries] : cases)
    EXPECT_TRUE(tessarine::ParseLinkEntries(text) == entries) << text;
}

TEST(LinkTexts, TellsAValueThatWasCut) {
  const std::tuple<const char*, const char*, bool> cases[] = {
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
  for (const auto& [sent, shown, isSame] : cases)
    EXPECT_EQ(tessarine::IsSameValue(sent, shown), isSame) << sent << " " << shown;
}

// A device whose replies hold few values: what is left out has to be asked for again.
TEST(LinkDevice, AsksAgainForWhatAReplyLeftOut) {
  constexpr uint32_t kCount = 600;
  test::LinkServer server({[&](const Peer& peer) {
    peer.Answer([&](const Request& request) {
      std::string text;
      size_t left = 100;
      const size_t start = request.Text().rfind(':') + 1;
      for (const std::string& name : tessarine::SplitText(request.Text().substr(start), ',')) {
        if (name.rfind("S[", 0) != 0 || left-- == 0) continue;
        const std::string entry = name + "=" + std::to_string(std::stoi(name.substr(2)) * 7);
        text += (text.empty() ? "" : ";") + entry;
      }
      return text;
    });
  }});
  LinkDevice device({"127.0.0.1", server.Port(), 20});
  const std::vector<std::string> names = {"S[1]", "none", "S[3]", "S[2]"};
  const auto values = device.Numbers("Default", "module", names);
  EXPECT_EQ(values, (LinkDevice::Texts{"7", std::nullopt, "21", "14"}));
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

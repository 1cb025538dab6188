// The live link from end to end: a tool's requests over a socket, starting and stopping.
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "link_client.h"
#include "parametercustomhandler.h"
#include "params/tuning_fixture.h"

namespace test {
namespace {

// The root, a sensor's mode, and two use cases; both levels hold the PD record.
Bytes File() {
  TuningFile file;
  file.tag = "smoke";
  file.modes = {{0, 0, 0, 0}, {1, 1, 3, 0}, {2, 2, 0, 0}, {3, 2, 2, 0}};
  PdSource source(1);
  source.record().enableFocusMaps = 7;
  for (const uint32_t mode : {0u, 3u}) AddPd(file, source, mode);
  return file.build();
}

class Link : public Tuning {
 protected:
  void SetUp() override {
    ASSERT_TRUE(load(File(), false));
    if (manager->GetLinkPort() == 0) GTEST_SKIP() << "built without the link";
  }
};

TEST_F(Link, AnswersEachCommand) {
  manager->SetControlValue({3, 5});
  manager->SetTriggerValue({4, 0.5});
  LinkClient tool(manager->GetLinkPort());
  ASSERT_TRUE(tool.connected());

  const LinkBytes info = tool.ask(Request(0));
  EXPECT_EQ(TextBehind(info, 16), "smoke");
  EXPECT_EQ(info.size(), 17u + 5);
  uint64_t instance = 0;
  std::memcpy(&instance, info.data() + 8, sizeof(instance));
  EXPECT_EQ(instance, reinterpret_cast<uintptr_t>(manager.get()));

  EXPECT_EQ(tool.ask(Request(1)), Request(1).replace(4, 1, "\x07") + '\0');
  EXPECT_EQ(TextBehind(tool.ask(Request(2)), 6), "3=5");
  EXPECT_EQ(TextBehind(tool.ask(Request(7)), 6), "4=0.500000");

  struct Case {
    uint16_t command;
    std::string payload;
    std::string reply;
  };
  const Case cases[] = {
      {3, "Default", "Sensor.3,Usecase.Preview,Usecase.Video"},
      {3, "default|usecase.video", ""},
      {4, "Default|Usecase.Video", "tessarinePDLib=Default|Usecase.Video,Module"},
      {4, "Default|Usecase.Preview", "tessarinePDLib=Default,Module"},
      {4, "Default:nothing", ""},
      {5, "Default:tessarinePDLib:enableFocusMaps", "enableFocusMaps=7"},
      {5, "Default:tessarinePDLib:no,enableFocusMaps,", "enableFocusMaps=7"},
      {5, "Default:nothing", ""},
      {5, "Default", ""},
      {6, "Default:tessarinePDLib:no=1;enableFocusMaps=9", "enableFocusMaps=9"},
      {6, "Default:tessarinePDLib:enableFocusMaps=;enableFocusMaps=8;enableFocusMaps=11",
       "enableFocusMaps=8;enableFocusMaps=11"},
      {5, "Default|Usecase.Video:tessarinePDLib:enableFocusMaps", "enableFocusMaps=7"},
      {6, "Default:tessarinePDLib", ""},
  };
  uint32_t id = 0xFEDCBA98;
  for (const Case& c : cases) {
    const LinkBytes reply = tool.ask(TextRequest(c.command, ++id, c.payload));
    EXPECT_EQ(reply, TextRequest(c.command, id, c.reply)) << c.command << " " << c.payload;
  }
  EXPECT_EQ(get({{0, 0}})->enableFocusMaps, 11);
}

TEST_F(Link, CustomRequestsGoToTheHandler) {
  struct Doubling : IParameterCustomHandler {
    uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t capacity, uint8_t* reply,
                     uint16_t* replyLength) override {
      std::memcpy(reply, payload, length);
      std::memcpy(reply + length, payload, length);
      *replyLength = static_cast<uint16_t>(2 * length);
      return 0xABC00000 | (capacity == 65535 - 12 ? 0x1234 : 0);
    }
  } handler;
  LinkClient tool(manager->GetLinkPort());
  EXPECT_EQ(tool.ask(Request(8, 1, "\1xy")), Request(8, 1, LinkBytes("\0\0", 2)));
  manager->SetCustomHandler(&handler);
  EXPECT_EQ(tool.ask(Request(8, 2, "\1xy")), Request(8, 2, "\x34\x12\1xy\1xy"));
  manager->SetCustomHandler(nullptr);
}

// The port is free again at once, also after a tool that never reads.
TEST_F(Link, StartsAndStopsQuickly) {
  const uint16_t port = manager->GetLinkPort();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) {
    LinkClient tool(manager->GetLinkPort());
    ASSERT_TRUE(tool.connected());
    if (i % 2 == 1) {
      ASSERT_EQ(TextBehind(tool.ask(Request(0)), 16), "smoke");
    }
    if (i % 10 == 0) tool.send(std::string(50000, 'x'));
    ASSERT_TRUE(load(File(), false));
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken, std::chrono::seconds(10));
  RecordProperty("milliseconds", static_cast<int>(taken / std::chrono::milliseconds(1)));
  EXPECT_EQ(manager->GetLinkPort(), port);
}

TEST_F(Link, TwoManagersHaveTwoPorts) {
  TuningSetManager second;
  const Bytes file = File();
  ASSERT_TRUE(second.LoadBinaryParameters(file.data(), file.size()));
  EXPECT_GT(second.GetLinkPort(), manager->GetLinkPort());
  EXPECT_LE(second.GetLinkPort(), 23129 + 64);
  LinkClient tool(second.GetLinkPort());
  EXPECT_EQ(TextBehind(tool.ask(Request(0)), 16), "smoke");

  TuningSetManager third;
  third.SetStartLinkOnLoad(false);
  ASSERT_TRUE(third.LoadBinaryParameters(file.data(), file.size()));
  EXPECT_EQ(third.GetLinkPort(), 0);
}

// A tool sends 40,000 requests before it looks at the first reply.
TEST_F(Link, HoldsBackAToolThatDoesNotRead) {
  constexpr uint32_t kRequests = 40000;
  LinkClient tool(manager->GetLinkPort());
  std::thread sender([&] {
    for (uint32_t i = 0; i < kRequests; ++i)
      if (!tool.send(TextRequest(4, i, "Default:tessarinePDLib"))) return;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  // Two full queues of packets with their bytes, and no more.
  EXPECT_LT(Orvo::Host::Allocations().live, liveBefore_ + 2 * 2 * 1024 + 200);
  uint32_t inOrder = 0;
  for (; inOrder < kRequests; ++inOrder) {
    const LinkBytes reply = tool.receive();
    if (reply.size() < 100 || reply.compare(6, 4, TextRequest(4, inOrder, ""), 6, 4) != 0) break;
  }
  sender.join();
  EXPECT_EQ(inOrder, kRequests);
}

// One that never reads holds up no stop.
TEST_F(Link, StopsUnderAToolThatDoesNotRead) {
  LinkClient tool(manager->GetLinkPort());
  std::thread sender([&] {
    while (tool.send(TextRequest(4, 1, "Default:tessarinePDLib"))) continue;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto start = std::chrono::steady_clock::now();
  manager->StopLink();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  sender.join();
  EXPECT_EQ(manager->GetLinkPort(), 0);
}

}  // namespace
}  // namespace test

// Tools that misbehave, over real sockets: each leaves a link that serves the next one.
#include <ctime>
#include <functional>

#include "link_fixture.h"

namespace test {
namespace {

class Torture : public Link {
 protected:
  // Two queues of packets with their bytes, and what is in work between them.
  static constexpr uint64_t kQueued = 2 * 2 * 1024 + 100;

  void SetUp() override {
    Link::SetUp();
    liveLoaded_ = Orvo::Host::Allocations().live;
  }
  // Over a connection of its own, which is over when this returns.
  void deliver(const std::string& bytes) {
    LinkClient client(port());
    ASSERT_TRUE(client.connected());
    client.send(bytes);
    client.finish();
  }
  // Part of a frame may wait for its rest: as many zeros as the longest one has bytes complete it,
  // or make its header one that ends with the connection. A few of them that remain take the next
  // request with them.
  void recover() {
    deliver(std::string(kLargestFrame, '\0'));
    LinkClient client(port());
    const std::string request = TextFrame(3, 0xFACADE, "0");
    for (int i = 0; i < 100; ++i) {
      ASSERT_TRUE(client.send(request));
      for (std::string frame = "?"; !frame.empty();) {
        frame = client.receive(Milliseconds(100));
        if (frame == TextFrame(3, 0xFACADE, "Sensor.3,Usecase.Video")) return;
      }
    }
    FAIL() << "no reply any more";
  }
  // The processor's time of the whole process, in percent.
  static double busyness() {
    const auto now = [] {
      timespec time{};
      clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
      return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    std::this_thread::sleep_for(Milliseconds(500));
    return (now() - start) / 500 * 100;
  }

  uint64_t liveLoaded_ = 0;
};

const char* const kField = "0:tessarinePDLib.skipControl:maxFrameRate";

TEST_F(Torture, ARequestMayGoOnOverTheNextConnection) {
  const std::string request = TextFrame(5, 1, kField);
  for (size_t size = 0; size < request.size(); ++size) {
    deliver(request.substr(0, size));
    LinkClient second(port());
    EXPECT_EQ(second.ask(request.substr(size)), TextFrame(5, 1, "maxFrameRate=15")) << size;
  }
  expectAlive();
}

TEST_F(Torture, OddPayloads) {
  // Fields that are asked for or set thousands of times take their time.
  constexpr size_t kMany = 2000;
  constexpr size_t kAll = kLargestFrame - 1 - kHeader;
  for (const uint16_t command : std::vector<uint16_t>{3, 4, 5, 6, 8}) {
    for (const char* start :
         {"", "0", ":", "0:", "0|2.2|", "-1.-1:tessarinePDLib", "0:tessarinePDLib",
          "0:tessarinePDLib.", "0:tessarinePDLib:", "0:tessarinePDLib.hardwarePattern[",
          "0:tessarinePDLib.skipControl[0]", "0:tessarinePDLib.skipControl:staticFrameCountThres=",
          "0:tessarinePDLib.extensionParam[0]:data=", "%s%n"}) {
      for (const char fill : std::string_view("n9|.:,;=\xFF\0", 10)) {
        for (const size_t size : {std::strlen(start) + 1, fill == 'n' ? kAll : kMany})
          deliver(Frame(command, 1, start + std::string(size - std::strlen(start), fill)));
      }
    }
    deliver(ShortFrame(command));
  }
  expectAlive();
}

// Both sides hold a bounded part of them at any time.
TEST_F(Torture, PipelinedRequestsAreAnsweredInOrder) {
  constexpr uint32_t kRequests = 100000;
  manager->SetLogLevels(true, false, false);
  LinkClient client(port());
  std::thread sender([&] {
    std::string several;
    for (uint32_t id = 0; id < kRequests; ++id) {
      several += TextFrame(3, id, "0");
      if (id % 100 == 99) client.send(std::exchange(several, ""));
    }
  });
  uint64_t live = 0;
  uint32_t id = 0;
  for (; id < kRequests; ++id) {
    if (client.receive() != TextFrame(3, id, "Sensor.3,Usecase.Video")) break;
    live = std::max(live, Orvo::Host::Allocations().live);
  }
  EXPECT_EQ(id, kRequests);
  if (id != kRequests) manager->StopLink();
  sender.join();
  EXPECT_LT(live, liveLoaded_ + kQueued);
}

TEST_F(Torture, AToolThatNeverReads) {
  manager->SetLogLevels(true, false, false);
  for (const char* query : {kField, "0:tessarinePDLib"}) {
    {
      LinkClient client(port());
      const size_t taken = client.sendUntilFull(TextFrame(query == kField ? 3 : 5, 1, query));
      EXPECT_GT(taken, 0u);
      EXPECT_LT(Orvo::Host::Allocations().live, liveLoaded_ + kQueued);
    }
    recover();
    expectAlive();
  }
}

TEST_F(Torture, ClientsThatGoAtOnce) {
  for (int i = 0; i < 200; ++i) deliver("");
  for (int i = 0; i < 5; ++i) LinkClient gone(port());
  expectAlive();
  // Their replies go nowhere, and end neither the process nor the link.
  std::string requests;
  for (uint32_t id = 0; id < 40; ++id) requests += TextFrame(5, id, "0:tessarinePDLib.adaptiveK");
  for (int i = 0; i < 100; ++i) {
    LinkClient client(port());
    ASSERT_TRUE(client.send(requests));
    if (i % 2 == 0) client.receive();
  }
  expectAlive();
}

TEST_F(Torture, WaitingTakesNoTime) {
  constexpr double kPercent = 5;
  EXPECT_LT(busyness(), kPercent) << "nobody there";
  LinkClient quiet(port());
  EXPECT_EQ(quiet.ask(ShortFrame(0)), DeviceInfo(manager.get()));
  EXPECT_LT(busyness(), kPercent) << "a quiet one";
  for (const std::string& bytes : {ShortHeader(9, 6), ShortHeader(1, 0), ShortHeader(1, 6, 1),
                                   ShortHeader(1, 60000), std::string("YZ")}) {
    manager->StopLink();
    ASSERT_TRUE(load(ReadableFile(), true));
    LinkClient stuck(port());
    ASSERT_TRUE(stuck.send(bytes + std::string(bytes.size() / 6 * 100, 'x')));
    EXPECT_LT(busyness(), kPercent) << testing::PrintToString(bytes);
  }
}

// What it sent goes with it, and no more than the buffer is taken.
TEST_F(Torture, AStuckTool) {
  for (const std::string& bytes : {ShortHeader(9, 6), ShortHeader(1, 0)}) {
    {
      LinkClient client(port());
      EXPECT_EQ(client.ask(bytes + ShortFrame(0), Milliseconds(200)), "");
    }
    expectAlive();
    {
      LinkClient client(port());
      client.send(bytes);
      for (int i = 0; i < 100 && client.send(std::string(kLargestFrame, 'x')); ++i) continue;
    }
    expectAlive();
  }
}

}  // namespace
}  // namespace test

// Starting, stopping and going away of the live link, in every order and under every client.
#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>

#include "link_fixture.h"
#include "parameterrondelworker.h"

namespace test {
namespace {

const char* const kField = "0:tessarinePDLib.skipControl:maxFrameRate";

class Life : public Link {
 protected:
  void SetUp() override {
    Link::SetUp();
    manager->SetLogLevels(true, false, false);
  }
};

// Answers nothing until it is told to.
class Gate : public IParameterCustomHandler {
 public:
  uint32_t Process(const uint8_t*, uint32_t, uint32_t, uint8_t*, uint16_t*) override {
    std::unique_lock lock(mutex_);
    entered_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
    hasLeft = true;
    return 1;
  }
  void waitForCall() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return entered_; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  std::atomic<bool> hasLeft = false;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool entered_ = false;
  bool open_ = false;
};

TEST_F(Life, AnyOrderOfStopsAndStarts) {
  for (int round = 0; round < 20; ++round) {
    manager->StopLink();
    EXPECT_EQ(port(), 0);
    manager->StopLink();
    manager->FreeBinaryParameters();
    ASSERT_TRUE(loadAgain());
    ASSERT_NE(port(), 0);
    expectAlive();
  }
  manager->SetStartLinkOnLoad(false);
  manager->StopLink();
  manager->FreeBinaryParameters();
  ASSERT_TRUE(loadAgain());
  EXPECT_EQ(port(), 0);

  TuningSetManager unused;
  EXPECT_EQ(unused.GetLinkPort(), 0);
  unused.StopLink();
  unused.SetCustomHandler(nullptr);
  EXPECT_FALSE(unused.LoadBinaryParameters("nothing", 7));
  EXPECT_EQ(unused.GetLinkPort(), 0);
}

TEST_F(Life, ReloadsAndUpdatesKeepTheConnection) {
  const uint16_t before = port();
  LinkClient client(before);
  for (const bool bufferMode : {false, false, true}) {
    const std::string tag = bufferMode ? "in a buffer" : "of a file";
    WriteFile(path(), ReadableFile(tag));
    ASSERT_TRUE(manager->ReloadBinaryParameters(bufferMode)) << error();
    EXPECT_EQ(client.ask(ShortFrame(0)), DeviceInfo(manager.get(), tag));
  }
  const Bytes update = ReadableFile("update");
  ASSERT_TRUE(manager->UpdateBinaryParameters(update.data(), update.size()));
  EXPECT_EQ(client.ask(TextFrame(5, 1, kField)), TextFrame(5, 1, "maxFrameRate=15"));
  EXPECT_EQ(port(), before);
}

TEST_F(Life, EveryManagerHasAPortOfItsOwn) {
  const Bytes file = ReadableFile();
  std::list<TuningSetManager> others(3);
  for (TuningSetManager& other : others) {
    ASSERT_TRUE(other.LoadBinaryParameters(file.data(), file.size()));
    ASSERT_NE(other.GetLinkPort(), 0);
  }
  LinkClient first(port());
  for (TuningSetManager& other : others) {
    LinkClient client(other.GetLinkPort());
    EXPECT_EQ(client.ask(ShortFrame(0)), DeviceInfo(&other));
    EXPECT_EQ(first.ask(ShortFrame(0)), DeviceInfo(manager.get()));
  }
  others.pop_front();
  EXPECT_EQ(LinkClient(others.front().GetLinkPort()).ask(ShortFrame(0)),
            DeviceInfo(&others.front()));
}

// Each way to leave a link: it stops, or goes with its manager, within the bound.
TEST_F(Life, NoClientHoldsUpAStop) {
  const std::string large = TextFrame(5, 1, "0:tessarinePDLib");
  Gate* gate = nullptr;
  const auto inRequest = [&](LinkClient& client) {
    manager->SetCustomHandler(gate);
    client.send(Frame(8, 1, "x"));
    gate->waitForCall();
  };
  struct Case {
    const char* name;
    std::function<void(LinkClient&)> prepare;
  };
  const Case cases[] = {
      {"quiet", [](LinkClient&) {}},
      {"asked", [](LinkClient& client) { client.ask(ShortFrame(0)); }},
      {"part of a frame", [&](LinkClient& client) { client.send(large.substr(0, 12)); }},
      {"no frame", [](LinkClient& client) { client.send(ShortHeader(1, 0)); }},
      {"queues are full", [&](LinkClient& client) { client.sendUntilFull(large); }},
      {"in a request", inRequest},
      {"in a request, queues are full",
       [&](LinkClient& client) {
         inRequest(client);
         client.sendUntilFull(large);
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (const bool destroyed : {false, true}) {
      Gate own;
      gate = &own;
      ASSERT_TRUE(load(ReadableFile(), false));
      manager->SetLogLevels(true, false, false);
      LinkClient client(port());
      LinkClient waiting(port());
      c.prepare(client);
      std::thread opener([&] {
        std::this_thread::sleep_for(Milliseconds(30));
        own.open();
      });
      ExpectQuick([&] {
        if (destroyed) {
          manager.reset();
        } else {
          manager->StopLink();
        }
      });
      opener.join();
      if (destroyed) continue;
      client.finish();  // ends, for the connection is closed
      manager->FreeBinaryParameters();
      ASSERT_TRUE(loadAgain());
      expectAlive();
    }
  }
}

// Removing a handler waits for its call, so that it can go away.
TEST_F(Life, AHandlerThatWasRemovedIsNotCalled) {
  auto gate = std::make_unique<Gate>();
  manager->SetCustomHandler(gate.get());
  LinkClient client(port());
  client.send(Frame(8, 1, "x") + Frame(8, 2, "y"));
  gate->waitForCall();
  std::thread opener([&] {
    std::this_thread::sleep_for(Milliseconds(50));
    gate->open();
  });
  manager->SetCustomHandler(nullptr);
  EXPECT_TRUE(gate->hasLeft);
  opener.join();
  gate.reset();
  EXPECT_EQ(client.receive(), Frame(8, 1, LittleEndian(2, 1)));
  const std::string second = client.receive();  // in time for the handler or not
  EXPECT_TRUE(second == Frame(8, 2, LittleEndian(2, 1)) ||
              second == Frame(8, 2, LittleEndian(2, 0)));
}

TEST_F(Life, StopsAndStartsFromManyThreads) {
  ParameterRondelWorker worker(manager.get());
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&worker, t] {
      for (int i = 0; i < 25; ++i) {
        if ((t + i) % 2 == 0) {
          worker.Start();
        } else {
          worker.Stop();
        }
      }
    });
  }
  threads.clear();
  worker.Stop();
  worker.Start();
  EXPECT_EQ(LinkClient(worker.GetLinkPort()).ask(ShortFrame(0)), DeviceInfo(manager.get()));
}

}  // namespace
}  // namespace test

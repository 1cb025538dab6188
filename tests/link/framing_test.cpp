// How bytes become requests: every cut, every header.
#include "host/orvo_host.h"
#include "link_fixture.h"
#include "scripted_com.h"

namespace test {
namespace {

class Framing : public testing::Test {
 protected:
  Framing() { Orvo::Host::StartLogCapture(); }
  ~Framing() override { Orvo::Host::StopLogCapture(); }

  // In a transport of its own, as if nothing had been before.
  std::vector<std::string> framesOf(const std::vector<Piece>& pieces) {
    ScriptedCom com(&logger_);
    return com.framesOf(pieces);
  }
  void expectAsNaive(const std::vector<Piece>& pieces) {
    NaiveFramer naive;
    for (const Piece& piece : pieces) naive.add(piece);
    ASSERT_EQ(framesOf(pieces), naive.frames());
  }

  LinkLogger logger_;
};

TEST_F(Framing, EveryValueOfEveryHeaderByte) {
  logger_.isLoud = false;
  const std::string good = TextFrame(5, 9, "0:a:b");
  for (const std::string& request : {ShortFrame(1), good}) {
    for (size_t offset = 0; offset < kShortHeader; ++offset) {
      for (int value = 0; value < 256; ++value) {
        std::string changed = request;
        changed[offset] = static_cast<char>(value);
        expectAsNaive({{changed}, {good}, Piece::Gone(), {good + good}, {good}});
        std::vector<Piece> bytes;
        for (const char byte : changed + good + good) bytes.push_back({std::string(1, byte)});
        bytes.push_back(Piece::Gone());
        bytes.push_back({std::string(1, '\0')});
        bytes.push_back({good + good});
        expectAsNaive(bytes);
      }
    }
  }
}

TEST_F(Framing, EveryLength) {
  logger_.isLoud = false;
  const std::string good = TextFrame(5, 9, "0:a:b");
  const std::string zeros(2 * kLargestFrame, '\0');
  for (size_t length = kShortHeader; length <= kLargestFrame; length += length < 64 ? 1 : 257) {
    const std::string header = ShortHeader(4, length);
    const std::string frame = header + zeros.substr(0, length - kShortHeader);
    const std::vector<std::string> expected{frame, good};
    ASSERT_EQ(framesOf({{frame + good}}), expected) << length;
    ASSERT_EQ(framesOf({{frame.substr(0, length / 2)}, {frame.substr(length / 2) + good}}),
              expected);
  }
}

TEST_F(Framing, TellsWhatIsNoFrame) {
  framesOf({{"ABCDEF"}});
  framesOf({{ShortHeader(9, 6)}});
  framesOf({{ShortHeader(8, 0)}});
  for (const char* line :
       {"Rondel request missing start tag, Expected: 23129, Received: 16961: 0x4142434445",
        "Rondel request ID 9 exceeds Max 9", "Rondel request length is zero: 0x595a080000"})
    EXPECT_TRUE(IsLogged(line)) << line;
}

// What has arrived is given out even then; nothing more is read.
TEST_F(Framing, TimeOutsAndStops) {
  ScriptedCom com(&logger_);
  const std::string custom = Frame(8, 1, "0123456789");
  com.setScript({{ShortFrame(0) + custom + ShortFrame(1) + ShortFrame(2).substr(0, 5)},
                 {ShortFrame(2).substr(5)}});
  std::atomic<bool> stop = false;
  uint8_t frame[16];
  const auto receive = [&](int32_t seconds) {
    const uint32_t length = com.ReceiveRondelRequest(frame, sizeof(frame), 9, seconds, stop);
    return std::string(frame, frame + length);
  };
  EXPECT_EQ(receive(-1), ShortFrame(0));
  stop = true;
  EXPECT_EQ(receive(-1), custom.substr(0, sizeof(frame)));  // cut to the caller's room
  EXPECT_EQ(receive(-1), ShortFrame(1));
  EXPECT_EQ(receive(-1), "");
  stop = false;
  EXPECT_EQ(receive(0), "");
  EXPECT_EQ(receive(1), ShortFrame(2));
}

// ---- The threads and queues behind it

// Reads nothing, and keeps what is written.
struct QuietCom : ScriptedCom {
  using ScriptedCom::ScriptedCom;
  ~QuietCom() override { Stop(); }
  bool StartCom() override { return ++starts != 1; }  // the first time without a socket
  void StopCom() override { ++stops; }
  int32_t ReadData(void*, uint32_t, int32_t, const std::atomic<bool>&) override {
    std::this_thread::sleep_for(Milliseconds(1));
    return 0;
  }
  int32_t WriteData(const void*, uint32_t length) override {
    written += static_cast<int>(length);
    return static_cast<int32_t>(length);
  }
  int starts = 0;
  int stops = 0;
  std::atomic<int> written = 0;
};

TEST_F(Framing, ThreadsStartAndStopWithOrWithoutASocket) {
  const uint64_t live = Orvo::Host::Allocations().live;
  {
    QuietCom com(&logger_);
    const uint8_t reply[] = {0x59, 0x5A, 5, 0};
    for (int round = 1; round <= 3; ++round) {
      ASSERT_TRUE(com.Start());
      EXPECT_EQ(com.Read(0), nullptr);
      for (const uint32_t length : {0u, 2u, 4u}) EXPECT_TRUE(com.QueueReply(reply, length));
      EXPECT_TRUE(WaitFor([&] { return com.written >= 4 * round; }));
      com.Stop();
      com.Stop();
      EXPECT_FALSE(com.QueueReply(reply, 4));  // and nothing leaks
      EXPECT_EQ(com.starts, round);
      EXPECT_EQ(com.stops, round);
    }
    EXPECT_EQ(com.written, 4 * 3);
  }
  for (const char* line :
       {"Starting Rondel server: scripted", "Stopping TCP/IP Rondel server: scripted",
        "Rondel write insufficient buffer size 0", "Rondel write insufficient buffer size 2",
        "Rondel write 4 bytes, Command: 5"})
    EXPECT_TRUE(IsLogged(line)) << line;
  EXPECT_EQ(Orvo::Host::Allocations().live, live);
}

// A thread that has been joined is not joined again: the system gives its number to the next one.
TEST(LinkThread, IsJoinedOnce) {
  ParameterRondelThread first;
  ParameterRondelThread second;
  ASSERT_TRUE(first.Start([](void*) -> void* { return nullptr; }, nullptr));
  first.Join();
  std::atomic<bool> end = false;
  const auto waitForEnd = [](void* flag) -> void* {
    WaitFor([=] { return static_cast<std::atomic<bool>*>(flag)->load(); });
    return nullptr;
  };
  ASSERT_TRUE(second.Start(waitForEnd, &end));
  ExpectQuick([&] { first.Join(); });
  end = true;
  second.Join();
}

// A full queue takes more when something is taken out, and lets go who waits when it is closed.
TEST(LinkQueue, HoldsABoundedNumberOfPacketsAndBytes) {
  const std::vector<uint8_t> bytes(65000);
  // 17 * 65000 is just above 2^20.
  for (const uint32_t size : {65000u, 4u}) {
    const uint32_t room = size == 4 ? 1024 : 17;
    ParameterRondelQueue queue;
    EXPECT_FALSE(queue.Push(ParameterRondelPacket::Create(bytes.data(), size)));
    queue.Open();
    std::atomic<uint32_t> pushed = 0;
    std::thread pusher([&] {
      while (queue.Push(ParameterRondelPacket::Create(bytes.data(), size))) ++pushed;
    });
    const auto waitFor = [&](uint32_t count) {
      WaitFor([&] { return pushed >= count; });
      std::this_thread::sleep_for(Milliseconds(20));
      EXPECT_EQ(pushed, count);
    };
    waitFor(room);
    for (int i = 0; i < 3; ++i) delete queue.Pop(std::chrono::seconds(0));
    waitFor(room + 3);
    queue.Close();
    pusher.join();
    EXPECT_EQ(queue.Pop(std::chrono::seconds(5)), nullptr);  // at once
  }
}

TEST_F(Framing, WithoutAManagerOrMemoryThereIsNoServer) {
  QuietCom orphan(nullptr);
  EXPECT_FALSE(orphan.Start());
  EXPECT_TRUE(IsLogged("ParameterRondelComBase constructed with a nullptr Set Manager object"));
  for (int failing = 0; failing < 2; ++failing) {
    Orvo::Host::FailAllocation(failing);
    QuietCom poor(&logger_);
    Orvo::Host::NeverFailAllocation();
    EXPECT_FALSE(poor.Start());
    EXPECT_EQ(poor.starts, 0);
  }
}

}  // namespace
}  // namespace test

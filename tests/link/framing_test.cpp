// How bytes become requests: every cut, every header.
#include <random>

#include "base/pdlib_switches.h"
#include "host/orvo_host.h"
#include "link_fixture.h"
#include "scripted_com.h"

namespace test {
namespace {

// One of each command.
const std::vector<std::string>& Requests() {
  static const std::vector<std::string> requests{
      ShortFrame(0),           ShortFrame(1),          ShortFrame(2),
      TextFrame(3, 1, "0"),    TextFrame(4, 2, "0:a"), TextFrame(5, 3, "0:a:b"),
      TextFrame(6, 4, "0:a:"), ShortFrame(7),          Frame(8, 5, LittleEndian(3, 0x590059))};
  return requests;
}

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
  static bool logged(const std::string& text) {
    for (const auto& line : Orvo::Host::CapturedLog())
      if (line.text.find(text) != std::string::npos) return true;
    return false;
  }

  LinkLogger logger_;
};

TEST_F(Framing, NoCutMatters) {
  logger_.isLoud = false;
  const std::string next = ShortFrame(0, "next");
  for (const std::string& request : Requests()) {
    const std::string all = request + next;
    const std::vector<std::string> expected{request, next};
    for (size_t first = 0; first <= all.size(); ++first) {
      for (size_t second = first; second <= all.size(); ++second) {
        ASSERT_EQ(framesOf({{all.substr(0, first)},
                            {all.substr(first, second - first)},
                            {all.substr(second)}}),
                  expected)
            << first << " " << second;
      }
      // A connection may end anywhere.
      ASSERT_EQ(framesOf({{all.substr(0, first)}, Piece::Gone(), {all.substr(first)}}), expected);
    }
  }
}

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
  for (size_t length = 0; length <= kLargestFrame; length += length < 64 ? 1 : 257) {
    const std::string header = ShortHeader(4, length);
    expectAsNaive({{header + good}, {good}, Piece::Gone(), {good}});
    if (length <= kShortHeader) continue;
    const std::string frame = header + zeros.substr(0, length - kShortHeader);
    const std::vector<std::string> expected{frame, good};
    ASSERT_EQ(framesOf({{frame + good}}), expected) << length;
    ASSERT_EQ(framesOf({{frame.substr(0, length / 2)}, {frame.substr(length / 2) + good}}),
              expected);
  }
}

TEST_F(Framing, AnyCutsOfAnyRequests) {
  logger_.isLoud = false;
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    std::string stream;
    for (int i = 0; i < 30; ++i) {
      std::string request = Requests()[random() % 9];
      if (random() % 16 == 0) request[random() % 6] = static_cast<char>(random());
      stream += request;
    }
    std::vector<Piece> pieces;
    while (!stream.empty()) {
      const size_t size = std::min<size_t>(1 + random() % 40, stream.size());
      pieces.push_back({stream.substr(0, size)});
      stream.erase(0, size);
      if (random() % 20 == 0) pieces.push_back(Piece::Gone());
    }
    expectAsNaive(pieces);
  }
}

TEST_F(Framing, TellsWhatIsNoFrame) {
  framesOf({{"ABCDEF"}});
  EXPECT_TRUE(
      logged("Rondel request missing start tag, Expected: 23129, Received: 16961: "
             "0x4142434445"));
  framesOf({{ShortHeader(9, 6)}});
  EXPECT_TRUE(logged("Rondel request ID 9 exceeds Max 9"));
  framesOf({{ShortHeader(8, 0)}});
  EXPECT_TRUE(logged("Rondel request length is zero: 0x595a080000"));
}

// A full buffer that is no frame takes no more: the connection ends, and the next one is read.
TEST_F(Framing, AStuckConnectionEndsWhenTheBufferIsFull) {
  const std::string stuck = ShortHeader(9, 6) + std::string(kLargestFrame - kShortHeader, 'x');
  const std::string good = ShortFrame(0);
  EXPECT_EQ(framesOf({{stuck}, {good}}), std::vector<std::string>{good});
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

// Gives one request each time that a reply was written, and keeps the replies.
struct Looped : ScriptedCom {
  using ScriptedCom::ScriptedCom;
  ~Looped() override { Stop(); }
  bool StartCom() override {
    ++starts;
    return startsWell;
  }
  void StopCom() override { ++stops; }
  int32_t ReadData(void* buffer, uint32_t length, int32_t, const std::atomic<bool>& stop) override {
    while (!stop && given == static_cast<int>(requests.size()))
      std::this_thread::sleep_for(Milliseconds(1));
    if (stop) return 0;
    const std::string& request = requests[static_cast<size_t>(given++)];
    EXPECT_LE(request.size(), length);
    std::copy(request.begin(), request.end(), static_cast<uint8_t*>(buffer));
    return static_cast<int32_t>(request.size());
  }
  int32_t WriteData(const void* buffer, uint32_t length) override {
    const std::lock_guard lock(mutex);
    written.emplace_back(static_cast<const char*>(buffer), length);
    return static_cast<int32_t>(length);
  }
  size_t writtenCount() {
    const std::lock_guard lock(mutex);
    return written.size();
  }

  bool startsWell = true;
  int starts = 0;
  int stops = 0;
  std::vector<std::string> requests;
  std::atomic<int> given = 0;
  std::mutex mutex;
  std::vector<std::string> written;
};

TEST_F(Framing, ThreadsHandOnWhatComesAndGoes) {
  const uint64_t live = Orvo::Host::Allocations().live;
  for (const bool startsWell : {true, false}) {  // without a socket there are threads all the same
    Looped com(&logger_);
    com.startsWell = startsWell;
    com.requests = Requests();
    const std::string largest = ShortFrame(0, std::string(kLargestFrame - kShortHeader, 'x'));
    com.requests.push_back(largest);
    for (int round = 1; round <= 2; ++round) {
      com.given = 0;
      ASSERT_TRUE(com.Start());
      for (const std::string& request : com.requests) {
        const std::unique_ptr<ParameterRondelPacket> packet(com.Read(20));
        ASSERT_NE(packet, nullptr);
        if (request == largest) {
          EXPECT_EQ(packet->length, 0u);
          continue;
        }
        EXPECT_EQ(std::string(packet->buffer.data(), packet->buffer.data() + packet->length),
                  request);
        EXPECT_TRUE(com.QueueReply(packet->buffer.data(), packet->length));
      }
      EXPECT_EQ(com.Read(0), nullptr);
      EXPECT_TRUE(com.QueueReply(nullptr, 0));
      const uint8_t tag[] = {0x59, 0x5A, 1};
      EXPECT_TRUE(com.QueueReply(tag, 2));
      EXPECT_TRUE(com.QueueReply(tag, 3));
      for (int i = 0; i < 2000 && com.writtenCount() < Requests().size() * round + round; ++i)
        std::this_thread::sleep_for(Milliseconds(1));
      com.Stop();
      com.Stop();
      EXPECT_FALSE(com.QueueReply(tag, 3));  // and nothing leaks
      EXPECT_EQ(com.starts, round);
      EXPECT_EQ(com.stops, round);
    }
    ASSERT_EQ(com.written.size(), 2 * (Requests().size() + 1));
    EXPECT_TRUE(std::equal(Requests().begin(), Requests().end(), com.written.begin()));
  }
  EXPECT_TRUE(logged("Starting Rondel server: scripted"));
  EXPECT_TRUE(logged("Stopping TCP/IP Rondel server: scripted"));
  EXPECT_TRUE(logged("Rondel write insufficient buffer size 0"));
  EXPECT_TRUE(logged("Rondel write insufficient buffer size 2"));
  EXPECT_TRUE(logged("Rondel write 16 bytes, Command: 5"));
  EXPECT_EQ(Orvo::Host::Allocations().live, live);
}

// A full queue takes more when something is taken out, and lets go who waits when it is closed.
TEST(LinkQueue, HoldsABoundedNumberOfPacketsAndBytes) {
  const std::vector<uint8_t> bytes(65000);
  struct Case {
    uint32_t size;
    uint32_t room;
  };
  for (const Case& c : {Case{65000, 17}, Case{4, 1024}}) {  // 17 * 65000 is just above 2^20
    ParameterRondelQueue queue;
    EXPECT_FALSE(queue.Push(ParameterRondelPacket::Create(bytes.data(), c.size)));
    queue.Open();
    std::atomic<uint32_t> pushed = 0;
    std::thread pusher([&] {
      while (queue.Push(ParameterRondelPacket::Create(bytes.data(), c.size))) ++pushed;
    });
    const auto waitFor = [&](uint32_t count) {
      for (int i = 0; i < 5000 && pushed < count; ++i) std::this_thread::sleep_for(Milliseconds(1));
      std::this_thread::sleep_for(Milliseconds(20));
      EXPECT_EQ(pushed, count);
    };
    waitFor(c.room);
    for (int i = 0; i < 3; ++i) delete queue.Pop(std::chrono::seconds(0));
    waitFor(c.room + 3);
    queue.Close();
    pusher.join();
    EXPECT_EQ(queue.Pop(std::chrono::seconds(5)), nullptr);  // at once
  }
}

TEST_F(Framing, WithoutAManagerOrMemoryThereIsNoServer) {
  Looped orphan(nullptr);
  EXPECT_FALSE(orphan.Start());
  EXPECT_TRUE(logged("ParameterRondelComBase constructed with a nullptr Set Manager object"));
  for (int failing = 0; failing < 2; ++failing) {
    Orvo::Host::FailAllocation(failing);
    Looped poor(&logger_);
    Orvo::Host::NeverFailAllocation();
    EXPECT_FALSE(poor.Start());
    EXPECT_EQ(poor.starts, 0);
  }
}

}  // namespace
}  // namespace test

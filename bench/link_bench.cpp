// The live link over loopback: requests a second against a bare server, answer at rest, memory.
#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "bench.h"
#include "host/orvo_host.h"
#include "parameterrondelframe.h"
#include "support/pd_tuning.h"
#include "tuningsetmanager.h"

namespace pdlib_bench {
namespace {

using ParameterRondel::GetWord16;
using ParameterRondel::GetWord32;
using ParameterRondel::kHeaderSize;
using ParameterRondel::kIdOffset;
using ParameterRondel::kLengthOffset;
using ParameterRondel::PutWord;
using ParameterRondel::PutWord16;

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kChunk = 256;  // requests that are sent together; up to two are under way

sockaddr_in LoopbackAddress(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// ---- The servers

// What the link costs at least: the same frames, threads and queues, and nothing else.
class BareServer {
 public:
  static constexpr size_t kReplySize = kHeaderSize;

  BareServer() : listening_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = LoopbackAddress(0);
    socklen_t length = sizeof(address);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (bind(listening_, any, length) != 0 || listen(listening_, 1) != 0 ||
        getsockname(listening_, any, &length) != 0)
      return;
    port_ = ntohs(address.sin_port);
    reader_ = std::thread([this] { read(); });
    worker_ = std::thread([this] { work(); });
    writer_ = std::thread([this] { write(); });
  }
  ~BareServer() {
    shutdown(listening_, SHUT_RDWR);
    for (std::thread* thread : {&reader_, &worker_, &writer_})
      if (thread->joinable()) thread->join();
    for (const int descriptor : {connection_, listening_}) close(descriptor);
  }
  BareServer(const BareServer&) = delete;
  BareServer& operator=(const BareServer&) = delete;

  uint16_t port() const { return port_; }

 private:
  class Queue {
   public:
    void push(Bytes frame) {
      {
        const std::lock_guard lock(mutex_);
        frames_.push_back(std::move(frame));
      }
      filled_.notify_one();
    }
    Bytes pop() {
      std::unique_lock lock(mutex_);
      filled_.wait(lock, [this] { return !frames_.empty(); });
      Bytes frame = std::move(frames_.front());
      frames_.pop_front();
      return frame;
    }

   private:
    std::mutex mutex_;
    std::condition_variable filled_;
    std::deque<Bytes> frames_;
  };

  // Until the client goes; an empty frame ends the other threads.
  void read() {
    connection_ = accept(listening_, nullptr, nullptr);
    constexpr int kOn = 1;
    setsockopt(connection_, IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof(kOn));
    Bytes buffer(ParameterRondel::kMaxFrame);
    size_t fill = 0;
    for (;;) {
      const ssize_t count = recv(connection_, buffer.data() + fill, buffer.size() - fill, 0);
      if (count <= 0) break;
      fill += static_cast<size_t>(count);
      const size_t taken = queueFrames(buffer.data(), fill);
      std::memmove(buffer.data(), buffer.data() + taken, fill - taken);
      fill -= taken;
    }
    requests_.push({});
  }
  size_t queueFrames(const uint8_t* bytes, size_t count) {
    size_t taken = 0;
    while (count - taken >= kHeaderSize) {
      const size_t length = GetWord16(bytes + taken + kLengthOffset);
      if (length > count - taken) break;
      requests_.push(Bytes(bytes + taken, bytes + taken + length));
      taken += length;
    }
    return taken;
  }
  // The reply is the request's header.
  void work() {
    for (;;) {
      Bytes frame = requests_.pop();
      const bool ends = frame.empty();
      if (!ends) {
        frame.resize(kHeaderSize);
        PutWord16(frame.data() + kLengthOffset, kHeaderSize);
      }
      replies_.push(std::move(frame));
      if (ends) return;
    }
  }
  void write() {
    for (Bytes frame = replies_.pop(); !frame.empty(); frame = replies_.pop())
      send(connection_, frame.data(), frame.size(), MSG_NOSIGNAL);
  }

  int listening_;
  int connection_ = -1;
  uint16_t port_ = 0;
  Queue requests_;
  Queue replies_;
  std::thread reader_;
  std::thread worker_;
  std::thread writer_;
};

// A camera's manager with its link.
class LinkServer {
 public:
  static constexpr size_t kReplySize = kHeaderSize + sizeof("enableFocusMaps=7");

  LinkServer() {
    test::TuningFile file;
    file.modes = {{0, 0, 0, 0}};
    test::PdSource source(1);
    source.record().enableFocusMaps = 7;
    test::AddPd(file, source, 0);
    const test::Bytes bytes = file.build();
    manager_.LoadBinaryParameters(bytes.data(), bytes.size());
  }
  uint16_t port() const { return manager_.GetLinkPort(); }

 private:
  TuningSetManager manager_;
};

// ---- The tool

// Asks for one field. An ID has to be put in.
Bytes FieldRequest() {
  constexpr char kPayload[] = "Default:tessarinePDLib:enableFocusMaps";
  Bytes request(kHeaderSize + sizeof(kPayload));
  PutWord16(request.data(), ParameterRondel::kStartTag);
  PutWord16(request.data() + ParameterRondel::kCommandOffset, ParameterRondel::kGetValues);
  PutWord16(request.data() + kLengthOffset, static_cast<uint32_t>(request.size()));
  std::copy_n(kPayload, sizeof(kPayload), request.begin() + kHeaderSize);
  return request;
}

// Looks only at lengths and IDs of what comes back.
class Tool {
 public:
  template <class Server>
  explicit Tool(const Server& server)
      : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), replySize_(Server::kReplySize) {
    constexpr timeval kPatience{10, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience));
    const sockaddr_in address = LoopbackAddress(server.port());
    connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    for (uint32_t i = 0; i < kChunk; ++i)
      requests_.insert(requests_.end(), request_.begin(), request_.end());
  }
  ~Tool() { close(socket_); }
  Tool(const Tool&) = delete;
  Tool& operator=(const Tool&) = delete;

  // False if the server doesn't take them.
  bool sendRequests(uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
      PutWord(requests_.data() + i * request_.size() + kIdOffset, sent_++, 4);
    const size_t size = count * request_.size();
    return send(socket_, requests_.data(), size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
  }
  // Until at most `left` requests are without a reply. False if one is missing.
  bool receiveAllBut(uint32_t left) {
    while (sent_ - received_ > left) {
      const ssize_t count = recv(socket_, buffer_.data() + fill_, buffer_.size() - fill_, 0);
      if (count <= 0) return false;
      fill_ += static_cast<size_t>(count);
      if (!takeReplies()) return false;
    }
    return true;
  }
  // `chunks` of them, with one under way at any time.
  bool ask(uint32_t chunks) {
    for (uint32_t i = 0; i < chunks; ++i)
      if (!sendRequests(kChunk) || !receiveAllBut(kChunk)) return false;
    return receiveAllBut(0);
  }
  bool askOne() { return sendRequests(1) && receiveAllBut(0); }

 private:
  bool takeReplies() {
    size_t taken = 0;
    for (; fill_ - taken >= replySize_; taken += replySize_) {
      const uint8_t* reply = buffer_.data() + taken;
      if (GetWord16(reply + kLengthOffset) != replySize_) return false;
      if (GetWord32(reply + kIdOffset) != received_++) return false;
    }
    std::memmove(buffer_.data(), buffer_.data() + taken, fill_ - taken);
    fill_ -= taken;
    return true;
  }

  int socket_;
  size_t replySize_;
  const Bytes request_ = FieldRequest();
  Bytes requests_;  // a chunk of them
  Bytes buffer_ = Bytes(1 << 16);
  size_t fill_ = 0;
  uint32_t sent_ = 0;
  uint32_t received_ = 0;
};

constexpr const char* kNoReply = "a request found no reply";

// ---- The benchmarks

template <class Server>
void MeasurePipelined(benchmark::State& state) {
  Server server;
  Tool tool(server);
  bool answered = tool.ask(8);
  answered = tool.sendRequests(kChunk) && answered;
  for (auto unused : state) {
    answered = answered && tool.sendRequests(kChunk) && tool.receiveAllBut(kChunk);
    if (!answered) state.SkipWithError(kNoReply);
  }
  if (!tool.receiveAllBut(0)) state.SkipWithError(kNoReply);
  state.SetItemsProcessed(state.iterations() * kChunk);
}

double Median(std::vector<double>& values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// From send to reply, after a pause in which all threads of the server have come to rest.
template <class Server>
void MeasureAtRest(benchmark::State& state) {
  Server server;
  Tool tool(server);
  std::vector<double> microseconds;
  bool answered = tool.ask(1);
  for (auto unused : state) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto start = std::chrono::steady_clock::now();
    answered = answered && tool.askOne();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
    microseconds.push_back(taken.count() * 1e6);
    if (!answered) state.SkipWithError(kNoReply);
  }
  state.counters["median_us"] = Median(microseconds);
}

// Kilobytes of this process that are in memory.
long ResidentKilobytes() {
  long kilobytes = 0;
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == "VmRSS:") status >> kilobytes;
  return kilobytes;
}

// A hundred thousand requests, after as many that fill the pools of the heap.
void MeasureMemory(benchmark::State& state) {
  constexpr uint32_t kChunks = 100000 / kChunk + 1;
  LinkServer server;
  Tool tool(server);
  bool answered = tool.ask(kChunks);
  // A server's threads let go of a frame after the tool has its reply.
  const auto live = [] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return static_cast<double>(Orvo::Host::Allocations().live);
  };
  const double liveBefore = live();
  const long residentBefore = ResidentKilobytes();
  for (auto unused : state) answered = answered && tool.ask(kChunks);
  const double requests = static_cast<double>(state.iterations()) * kChunks * kChunk;
  state.counters["requests"] = requests;
  state.counters["live_before"] = liveBefore;
  const double liveAfter = live();
  state.counters["live_after"] = liveAfter;
  state.counters["rss_kB_before"] = static_cast<double>(residentBefore);
  state.counters["rss_kB_after"] = static_cast<double>(ResidentKilobytes());
  if (!answered) state.SkipWithError(kNoReply);
  if (liveAfter > liveBefore) state.SkipWithError("requests left memory behind");
}

}  // namespace

void RegisterLink() {
  const auto pipelined = [](const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)->UseRealTime()->Unit(benchmark::kMicrosecond);
  };
  pipelined("link/bare_pipelined", MeasurePipelined<BareServer>);
  pipelined("link/get_values_pipelined", MeasurePipelined<LinkServer>);
  const auto atRest = [](const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(1000)->Unit(
        benchmark::kMicrosecond);
  };
  atRest("link/bare_at_rest", MeasureAtRest<BareServer>);
  atRest("link/get_values_at_rest", MeasureAtRest<LinkServer>);
  benchmark::RegisterBenchmark("link/memory", MeasureMemory)
      ->UseRealTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

void PrintLinkRatios(const std::map<std::string, double>& times) {
  const std::string link = "link/get_values_pipelined";
  const std::string bare = "link/bare_pipelined";
  const auto linkTime = times.find(link);
  const auto bareTime = times.find(bare);
  if (linkTime == times.end() || bareTime == times.end()) return;
  std::printf("%-62s %12.1f %8.2f of the requests a second of %s\n", link.c_str(),
              linkTime->second / kChunk, bareTime->second / linkTime->second, bare.c_str());
}

}  // namespace pdlib_bench

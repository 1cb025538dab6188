// Any bytes in any pieces as what a tuning tool sends: a naive framer finds the same requests.
//
// An input is pieces, each with its size in front. Two sizes mean something else: that the
// connection ends, or, once, that the next byte tells the number of zeros, in 257.
#include <algorithm>
#include <cstring>

#include "host/orvo_host.h"
#include "link/naive_framer.h"
#include "parameterrondelcombase.h"
#include "target.h"

namespace {

using test::Piece;

constexpr uint8_t kGone = 255;
constexpr uint8_t kZeros = 254;

std::vector<Piece> PiecesOf(const uint8_t* data, size_t size) {
  std::vector<Piece> pieces;
  bool mayHaveZeros = true;  // which take most of the time
  for (const uint8_t* end = data + size; data != end;) {
    const uint8_t kind = *data++;
    if (kind == kGone) {
      pieces.push_back(Piece::Gone());
    } else if (kind == kZeros && mayHaveZeros && data != end) {
      mayHaveZeros = false;
      pieces.push_back({std::string(size_t{257} * *data++, '\0')});
    } else {
      const auto count = std::min<ptrdiff_t>(kind, end - data);
      pieces.push_back({std::string(data, data + count)});
      data += count;
    }
  }
  return pieces;
}

struct QuietLogger : IParameterLoggingAPI {
  const char* GetBinaryTag() const override { return ""; }
  bool IsLogLevelEnabled(ParameterLogLevel) const override { return logs; }
  bool logs = false;
};

// Reads the pieces, and stops behind the last one.
class PieceCom : public ParameterRondelComBase {
 public:
  explicit PieceCom(const IParameterLoggingAPI* logger) : ParameterRondelComBase(logger) {}

  // As if nothing had come before.
  void Begin(const std::vector<Piece>& pieces) {
    Open();
    next_ = pieces.begin();
    end_ = pieces.end();
    place_ = 0;
    isOver_ = false;
  }
  const std::atomic<bool>& IsOver() const { return isOver_; }
  bool StartCom() override { return true; }
  void StopCom() override {}
  int32_t ReadData(void* buffer, uint32_t length, int32_t, const std::atomic<bool>&) override {
    while (next_ != end_ && !next_->isGone && place_ == next_->bytes.size()) Advance();
    if (next_ == end_) {
      isOver_ = true;
      return 0;
    }
    if (length == 0) return -1;
    if (next_->isGone) {
      Advance();
      return -1;
    }
    const size_t count = std::min<size_t>(length, next_->bytes.size() - place_);
    std::memcpy(buffer, next_->bytes.data() + place_, count);
    place_ += count;
    return static_cast<int32_t>(count);
  }
  int32_t WriteData(const void*, uint32_t) override { return -1; }

 private:
  void Advance() {
    ++next_;
    place_ = 0;
  }

  std::vector<Piece>::const_iterator next_;
  std::vector<Piece>::const_iterator end_;
  size_t place_ = 0;
  std::atomic<bool> isOver_ = false;
};

void RequireFrames(PieceCom& com, const std::vector<std::string>& expected) {
  static std::vector<uint8_t> frame(test::kLargestFrame);
  size_t found = 0;
  while (!com.IsOver()) {
    const uint32_t length = com.ReceiveRondelRequest(
        frame.data(), static_cast<uint32_t>(frame.size()), 9, -1, com.IsOver());
    if (length == 0) continue;
    fuzz::Require(found < expected.size() && length == expected[found].size() &&
                      std::memcmp(frame.data(), expected[found].data(), length) == 0,
                  "a request is what a naive framer finds");
    ++found;
  }
  fuzz::Require(found == expected.size(), "no request is lost");
}

}  // namespace

// A request of each command, whole, in pieces, and with what is none around it.
std::vector<fuzz::Input> fuzz::Seeds() {
  std::vector<Input> seeds;
  const auto add = [&](const std::string& bytes, size_t cut) {
    Input seed;
    for (size_t place = 0; place < bytes.size(); place += cut) {
      const std::string piece = bytes.substr(place, cut);
      seed.push_back(static_cast<uint8_t>(piece.size()));
      seed.insert(seed.end(), piece.begin(), piece.end());
      if (place % 3 == 2) seed.push_back(kGone);
    }
    seeds.push_back(seed);
  };
  for (uint16_t command = 0; command < 9; ++command) {
    const std::string request = test::TextFrame(command, command, "0:a");
    add(request + request, 200);
    add(request + test::ShortHeader(command, 0) + request, 5);
    add(request + test::ShortHeader(9, 6) + request, 7);
    add("no" + request + request, 3);
  }
  Input large{6};
  const std::string header = test::ShortHeader(3, 65535);
  large.insert(large.end(), header.begin(), header.end());
  large.insert(large.end(), {kZeros, 254, 251});  // 257 * 254 + 251 + 6 bytes
  large.insert(large.end(), 251, 0);
  large.push_back(6);
  const std::string next = test::ShortFrame(0);
  large.insert(large.end(), next.begin(), next.end());
  seeds.push_back(large);
  return seeds;
}

// Longer inputs find nothing that short ones don't.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kLongest = 512;
  if (size > kLongest) return 0;
  static QuietLogger logger;
  static PieceCom com(&logger);
  const std::vector<Piece> pieces = PiecesOf(data, size);
  test::NaiveFramer naive;
  for (const Piece& piece : pieces) naive.add(piece);
  Orvo::Host::StartLogCapture();
  logger.logs = size % 16 == 0;
  com.Begin(pieces);
  RequireFrames(com, naive.frames());
  Orvo::Host::StopLogCapture();
  return 0;
}

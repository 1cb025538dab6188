// Any bytes in any pieces as what a tuning tool sends: a naive framer finds the same requests.
//
// An input is pieces, each with its size in front. Two sizes mean something else: that the
// connection ends, or, once, that the next byte tells the number of zeros, in 257.
#include <algorithm>

#include "host/orvo_host.h"
#include "link/scripted_com.h"
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
  return seeds;
}

// Longer inputs find nothing that short ones don't.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kLongest = 512;
  if (size > kLongest) return 0;
  static test::LinkLogger logger;
  static test::ScriptedCom com(&logger);
  const std::vector<Piece> pieces = PiecesOf(data, size);
  test::NaiveFramer naive;
  for (const Piece& piece : pieces) naive.add(piece);
  Orvo::Host::StartLogCapture();
  logger.isLoud = size % 16 == 0;
  fuzz::Require(com.framesOf(pieces) == naive.frames(),
                "the requests are what a naive framer finds");
  Orvo::Host::StopLogCapture();
  return 0;
}

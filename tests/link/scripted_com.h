// A transport without sockets: what it reads is given in advance.
#pragma once

#include <algorithm>
#include <cstring>
#include <deque>

#include "naive_framer.h"
#include "parameterrondelcombase.h"

namespace test {

struct LinkLogger : IParameterLoggingAPI {
  const char* GetBinaryTag() const override { return "scripted"; }
  bool IsLogLevelEnabled(ParameterLogLevel) const override { return isLoud; }
  bool isLoud = true;
};

class ScriptedCom : public ParameterRondelComBase {
 public:
  explicit ScriptedCom(const IParameterLoggingAPI* logger) : ParameterRondelComBase(logger) {}

  // What the reads will give.
  void setScript(const std::vector<Piece>& pieces) {
    script_.assign(pieces.begin(), pieces.end());
    isOver_ = false;
  }
  // All frames that the pieces make up.
  std::vector<std::string> framesOf(const std::vector<Piece>& pieces) {
    setScript(pieces);
    std::vector<std::string> frames;
    buffer_.resize(kLargestFrame);
    while (!isOver_) {
      const uint32_t length = ReceiveRondelRequest(buffer_.data(), kLargestFrame, 9, -1, isOver_);
      if (length != 0) frames.emplace_back(buffer_.begin(), buffer_.begin() + length);
    }
    return frames;
  }

  bool StartCom() override { return true; }
  void StopCom() override {}
  int32_t ReadData(void* buffer, uint32_t length, int32_t, const std::atomic<bool>&) override {
    if (script_.empty()) {
      isOver_ = true;
      return 0;
    }
    Piece& piece = script_.front();
    if (piece.isGone || length == 0) {
      script_.pop_front();
      return -1;
    }
    const size_t count = std::min<size_t>(length, piece.bytes.size());
    std::memcpy(buffer, piece.bytes.data(), count);
    piece.bytes.erase(0, count);
    if (piece.bytes.empty()) script_.pop_front();
    return static_cast<int32_t>(count);
  }
  int32_t WriteData(const void*, uint32_t length) override { return static_cast<int32_t>(length); }

 private:
  std::deque<Piece> script_;
  std::atomic<bool> isOver_ = false;
  std::vector<uint8_t> buffer_;
};

}  // namespace test

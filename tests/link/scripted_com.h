// A transport without sockets: what it reads is given in advance.
#pragma once

#include <algorithm>
#include <cstring>

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

  // What the reads will give, to a connection of which nothing has been read.
  void setScript(const std::vector<Piece>& pieces) {
    Open();
    script_ = pieces;
    next_ = place_ = 0;
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
    while (next_ < script_.size() && !script_[next_].isGone &&
           place_ == script_[next_].bytes.size())
      advance();
    if (next_ == script_.size()) {
      isOver_ = true;
      return 0;
    }
    if (length == 0) return -1;
    if (script_[next_].isGone) {
      advance();
      return -1;
    }
    const std::string& bytes = script_[next_].bytes;
    const size_t count = std::min<size_t>(length, bytes.size() - place_);
    std::memcpy(buffer, bytes.data() + place_, count);
    place_ += count;
    return static_cast<int32_t>(count);
  }
  int32_t WriteData(const void*, uint32_t length) override { return static_cast<int32_t>(length); }

 private:
  void advance() {
    ++next_;
    place_ = 0;
  }

  std::vector<Piece> script_;
  size_t next_ = 0;
  size_t place_ = 0;
  std::atomic<bool> isOver_ = false;
  std::vector<uint8_t> buffer_;
};

}  // namespace test

// What the protocol calls a frame, told in the plainest way.
#pragma once

#include <string>
#include <vector>

#include "link_client.h"

namespace test {

// What arrives, in order: bytes, or the end of a connection.
struct Piece {
  static Piece Gone() { return {"", true}; }

  std::string bytes;
  bool isGone = false;
};

// Takes pieces, and keeps the frames that they make up.
class NaiveFramer {
 public:
  void add(const Piece& piece) {
    if (piece.isGone) {
      if (isStuck_) waiting_.clear();
      isStuck_ = false;
      return;
    }
    waiting_ += piece.bytes;
    while (!isStuck_ && waiting_.size() >= kShortHeader && takeFrame()) continue;
  }
  const std::vector<std::string>& frames() const { return frames_; }
  size_t waiting() const { return waiting_.size(); }
  bool isStuck() const { return isStuck_; }

 private:
  bool takeFrame() {
    const size_t length = NumberAt(waiting_, 4, 2);
    if (NumberAt(waiting_, 0, 2) != kTag) {
      waiting_.clear();
    } else if (NumberAt(waiting_, 2, 2) > 8 || length == 0) {
      isStuck_ = true;
    } else if (waiting_.size() < length) {
      return false;
    } else {
      frames_.push_back(waiting_.substr(0, length));
      waiting_.erase(0, length);
    }
    return true;
  }

  std::string waiting_;
  bool isStuck_ = false;
  std::vector<std::string> frames_;
};

}  // namespace test

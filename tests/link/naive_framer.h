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
    for (size_t place = 0; place < piece.bytes.size();) {
      if (waiting_.size() == kLargestFrame) {  // has no room: the connection ends
        waiting_.clear();
        isStuck_ = false;
      }
      const std::string part = piece.bytes.substr(place, kLargestFrame - waiting_.size());
      waiting_ += part;
      place += part.size();
      while (!isStuck_ && waiting_.size() >= kShortHeader && takeFrame()) continue;
    }
  }
  const std::vector<std::string>& frames() const { return frames_; }

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

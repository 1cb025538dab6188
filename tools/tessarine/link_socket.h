// A TCP connection on which nothing waits past a deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

#include "bytes.h"
#include "link_errors.h"

namespace tessarine {

// Nobody listens on the port: the host answers, and refuses.
struct LinkRefused : LinkError {
  using LinkError::LinkError;
};

class LinkSocket {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Result { kComplete, kDropped, kTimeOut };

  // Throws LinkError. A name may stand for several addresses, which are tried in turn.
  LinkSocket(const std::string& host, uint16_t port, Clock::time_point deadline);
  ~LinkSocket();
  LinkSocket(const LinkSocket&) = delete;
  LinkSocket& operator=(const LinkSocket&) = delete;

  // All of the bytes, or what ended it.
  Result Send(View bytes, Clock::time_point deadline);
  Result Receive(std::span<uint8_t> bytes, Clock::time_point deadline);

 private:
  // Calls `transfer(first, size)`, which gives what send and recv give, until all is done.
  template <class Transfer>
  Result TransferAll(size_t size, short event, Clock::time_point deadline, Transfer transfer);

  int socket_ = -1;
};

}  // namespace tessarine

#include "link_socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace tessarine {
namespace {

using Clock = LinkSocket::Clock;

// Whether the socket is ready for the event before the deadline.
bool WaitFor(int socket, short event, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd entry{socket, event, 0};
    const int ready = poll(&entry, 1, static_cast<int>(std::clamp<int64_t>(left, 0, 3'600'000)));
    if (ready > 0) return true;
    if (ready == 0 && left <= 0) return false;
    if (ready < 0 && errno != EINTR) return false;
  }
}

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses Resolve(const std::string& host, uint16_t port) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
  if (error != 0)
    throw LinkError("host '" + host + "' is not known: " + std::string(gai_strerror(error)));
  return Addresses(list);
}

// 0, or the error number.
int ConnectTo(int socket, const addrinfo& address, Clock::time_point deadline) {
  if (connect(socket, address.ai_addr, address.ai_addrlen) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  if (!WaitFor(socket, POLLOUT, deadline)) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof(error);
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

}  // namespace

LinkSocket::LinkSocket(const std::string& host, uint16_t port, Clock::time_point deadline) {
  const Addresses addresses = Resolve(host, port);
  const std::string place = host + ":" + std::to_string(port);
  int error = 0;
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    socket_ = socket(address->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    error = socket_ < 0 ? errno : ConnectTo(socket_, *address, deadline);
    if (error == 0) return;
    if (socket_ >= 0) close(socket_);
    socket_ = -1;
  }
  if (error == ECONNREFUSED) throw LinkRefused("nobody listens on " + place);
  throw LinkError("no connection to " + place + ": " + std::strerror(error));
}

LinkSocket::~LinkSocket() {
  if (socket_ >= 0) close(socket_);
}

template <class Transfer>
LinkSocket::Result LinkSocket::TransferAll(size_t size, short event, Clock::time_point deadline,
                                           Transfer transfer) {
  for (size_t done = 0; done < size;) {
    const ssize_t moved = transfer(done, size - done);
    if (moved > 0) {
      done += static_cast<size_t>(moved);
    } else if (moved == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
      return Result::kDropped;
    } else if (!WaitFor(socket_, event, deadline)) {
      return Result::kTimeOut;
    }
  }
  return Result::kComplete;
}

LinkSocket::Result LinkSocket::Send(View bytes, Clock::time_point deadline) {
  return TransferAll(bytes.size(), POLLOUT, deadline, [&](size_t first, size_t size) {
    return send(socket_, bytes.data() + first, size, MSG_NOSIGNAL);
  });
}

LinkSocket::Result LinkSocket::Receive(std::span<uint8_t> bytes, Clock::time_point deadline) {
  return TransferAll(bytes.size(), POLLIN, deadline, [&](size_t first, size_t size) {
    return recv(socket_, bytes.data() + first, size, 0);
  });
}

}  // namespace tessarine

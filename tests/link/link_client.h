// A tuning tool for tests: frames, and a connection that sends and receives them.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace test {

// ---- Frames, as strings of bytes

constexpr uint16_t kTag = 0x5A59;
constexpr size_t kShortHeader = 6;
constexpr size_t kHeader = 10;
constexpr size_t kLargestFrame = 65535;

inline std::string LittleEndian(size_t size, uint64_t number) {
  std::string bytes;
  for (size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
  return bytes;
}

inline std::string ShortHeader(uint16_t command, uint64_t length, uint16_t tag = kTag) {
  return LittleEndian(2, tag) + LittleEndian(2, command) + LittleEndian(2, length);
}
inline std::string ShortFrame(uint16_t command, const std::string& rest = "") {
  return ShortHeader(command, kShortHeader + rest.size()) + rest;
}
inline std::string Frame(uint16_t command, uint32_t id, const std::string& payload) {
  return ShortFrame(command, LittleEndian(4, id) + payload);
}
// A text's NUL counts.
inline std::string TextFrame(uint16_t command, uint32_t id, const std::string& text) {
  return Frame(command, id, text + '\0');
}
inline std::string ShortTextFrame(uint16_t command, const std::string& text) {
  return ShortFrame(command, text + '\0');
}

inline uint64_t NumberAt(const std::string& bytes, size_t offset, size_t size) {
  uint64_t number = 0;
  for (size_t i = size; i-- > 0;) number = number << 8 | static_cast<uint8_t>(bytes[offset + i]);
  return number;
}

// ---- A connection

using Milliseconds = std::chrono::milliseconds;
constexpr Milliseconds kPatience{20000};  // far more than any reply takes

// A port of this machine; 0: any that is free.
struct Loopback : sockaddr_in {
  explicit Loopback(uint16_t port) : sockaddr_in{} {
    sin_family = AF_INET;
    sin_port = htons(port);
    sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  sockaddr* any() { return reinterpret_cast<sockaddr*>(this); }
};

class LinkClient {
 public:
  explicit LinkClient(uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    Loopback address(port);
    connected_ = connect(socket_, address.any(), sizeof(address)) == 0;
  }
  ~LinkClient() { close(socket_); }
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  bool connected() const { return connected_; }

  // Sends all; false if the link is gone.
  bool send(const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
      const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return false;
      sent += static_cast<size_t>(count);
    }
    return true;
  }
  // Sends over and over until the link takes no more for a while; the bytes that it took.
  size_t sendUntilFull(const std::string& bytes) {
    for (size_t sent = 0;;) {
      pollfd wait{socket_, POLLOUT, 0};
      if (poll(&wait, 1, 200) <= 0) return sent;
      const size_t done = sent % bytes.size();
      const ssize_t count =
          ::send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count < 0) return sent;
      sent += static_cast<size_t>(count);
    }
  }

  // Sends no more, and waits until the link has taken all and closed the connection.
  void finish() {
    shutdown(socket_, SHUT_WR);
    for (char bytes[4096]; recv(socket_, bytes, sizeof(bytes), 0) > 0;) continue;
  }

  // One frame, or as much of it as comes in time.
  std::string receive(Milliseconds patience = kPatience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    std::string frame = receiveBytes(kShortHeader, end);
    if (frame.size() < kShortHeader) return frame;
    return frame + receiveBytes(NumberAt(frame, 4, 2) - kShortHeader, end);
  }
  std::string ask(const std::string& request, Milliseconds patience = kPatience) {
    return send(request) ? receive(patience) : "not sent";
  }

 private:
  std::string receiveBytes(size_t size, std::chrono::steady_clock::time_point end) {
    std::string bytes(size, '\0');
    size_t have = 0;
    while (have < size) {
      const auto left =
          std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now());
      pollfd wait{socket_, POLLIN, 0};
      if (left.count() < 0 || poll(&wait, 1, static_cast<int>(left.count())) <= 0) break;
      const ssize_t count = recv(socket_, bytes.data() + have, size - have, 0);
      if (count <= 0) break;
      have += static_cast<size_t>(count);
    }
    bytes.resize(have);
    return bytes;
  }

  int socket_;
  bool connected_ = false;
};

}  // namespace test

// A tuning tool for tests: frames over a socket of its own.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "parameterrondelframe.h"

namespace test {

using LinkBytes = std::string;

inline void AppendWord(LinkBytes& bytes, uint64_t value, uint32_t size) {
  for (uint32_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
}

// Short header alone: commands 0, 1, 2, 7.
inline LinkBytes Request(uint16_t command) {
  LinkBytes bytes;
  AppendWord(bytes, 0x5A59, 2);
  AppendWord(bytes, command, 2);
  AppendWord(bytes, 6, 2);
  return bytes;
}

// With an ID and a payload, which stands as it is: a text brings its NUL.
inline LinkBytes Request(uint16_t command, uint32_t id, const LinkBytes& payload) {
  LinkBytes bytes;
  AppendWord(bytes, 0x5A59, 2);
  AppendWord(bytes, command, 2);
  AppendWord(bytes, 10 + payload.size(), 2);
  AppendWord(bytes, id, 4);
  return bytes + payload;
}

inline LinkBytes TextRequest(uint16_t command, uint32_t id, const std::string& text) {
  return Request(command, id, text + '\0');
}

// What stands behind the first `offset` bytes of a reply, without its NUL.
inline std::string TextBehind(const LinkBytes& reply, size_t offset) {
  if (reply.size() <= offset || reply.back() != '\0') return "no text";
  return reply.substr(offset, reply.size() - offset - 1);
}

class LinkClient {
 public:
  explicit LinkClient(uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~LinkClient() { close(socket_); }
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  bool connected() const { return connected_; }
  int descriptor() const { return socket_; }

  bool send(const LinkBytes& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return false;
      sent += static_cast<size_t>(count);
    }
    return true;
  }
  // One whole reply; empty when none comes in time.
  LinkBytes receive(int milliseconds = 5000) {
    LinkBytes frame = read(6, milliseconds);
    if (frame.size() != 6) return {};
    const uint32_t length = ParameterRondel::GetWord16(
        reinterpret_cast<const uint8_t*>(frame.data()) + ParameterRondel::kLengthOffset);
    if (length < 6) return {};
    return frame + read(length - 6, milliseconds);
  }
  LinkBytes ask(const LinkBytes& request) { return send(request) ? receive() : LinkBytes(); }

 private:
  LinkBytes read(size_t count, int milliseconds) {
    LinkBytes bytes(count, '\0');
    size_t filled = 0;
    while (filled < count) {
      pollfd waited{socket_, POLLIN, 0};
      if (poll(&waited, 1, milliseconds) <= 0) return {};
      const ssize_t part = recv(socket_, bytes.data() + filled, count - filled, 0);
      if (part <= 0) return {};
      filled += static_cast<size_t>(part);
    }
    return bytes;
  }

  int socket_;
  bool connected_ = false;
};

}  // namespace test

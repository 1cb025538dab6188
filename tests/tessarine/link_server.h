// A device for tests of the tool's end of the live link: a server on a free port that does with
// each connection what a script tells.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace test {

inline std::string Number(uint64_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

// Tag, command, length, and the ID of the commands that have one.
inline std::string LinkBytes(int command, const std::string& id, const std::string& payload) {
  return Number(0x5A59, 2) + Number(static_cast<uint64_t>(command), 2) +
         Number(6 + id.size() + payload.size(), 2) + id + payload;
}

struct Request {
  int command = -1;  // -1: the client has gone
  std::string id;    // its four bytes, if it has one
  std::string payload;

  std::string Text() const { return payload.substr(0, payload.find('\0')); }
  std::string Reply(const std::string& content) const { return LinkBytes(command, id, content); }
  std::string TextReply(const std::string& text) const { return Reply(text + '\0'); }
};

// The server's end of a connection.
class Peer {
 public:
  explicit Peer(int socket) : socket_(socket) {}
  ~Peer() { close(socket_); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  void Send(const std::string& bytes) const {
    send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  Request Receive() const {
    Request request;
    const std::string start = Take(6);
    if (start.size() < 6) return request;
    request.command = static_cast<unsigned char>(start[2]);
    const bool hasId = (request.command >= 3 && request.command <= 6) || request.command == 8;
    if (hasId) request.id = Take(4);
    const size_t length =
        static_cast<unsigned char>(start[4]) + size_t{256} * static_cast<unsigned char>(start[5]);
    request.payload = Take(length - 6 - request.id.size());
    return request;
  }
  // Answers the question that every connection starts with.
  void Greet() const {
    const Request request = Receive();
    Send(request.Reply(Number(1, 2) + Number(0x1234, 8) + "a tag" + '\0'));
  }
  // Answers until the client goes.
  void Answer(const std::function<std::string(const Request&)>& textOf) const {
    Greet();
    for (Request request = Receive(); request.command >= 0; request = Receive())
      Send(request.TextReply(textOf(request)));
  }
  // Says nothing until the client goes.
  void WaitForEnd() const {
    while (!Take(1).empty()) {
    }
  }

 private:
  std::string Take(size_t size) const {
    std::string bytes(size, '\0');
    const ssize_t taken = size == 0 ? 0 : recv(socket_, bytes.data(), size, MSG_WAITALL);
    bytes.resize(taken > 0 ? static_cast<size_t>(taken) : 0);
    return bytes;
  }

  int socket_;
};

// One connection at a time; the last script serves all that come after it as well.
class LinkServer {
 public:
  using Script = std::function<void(const Peer&)>;

  explicit LinkServer(std::vector<Script> scripts) : scripts_(std::move(scripts)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, any, size) == 0 && listen(socket_, 8) == 0 &&
        getsockname(socket_, any, &size) == 0)
      port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  ~LinkServer() {
    shutdown(socket_, SHUT_RDWR);
    thread_.join();
    close(socket_);
  }
  LinkServer(const LinkServer&) = delete;
  LinkServer& operator=(const LinkServer&) = delete;

  uint16_t Port() const { return port_; }
  size_t Connections() const { return connections_; }

 private:
  void Serve() {
    for (int accepted; (accepted = accept(socket_, nullptr, nullptr)) >= 0;) {
      const Peer peer(accepted);
      const size_t place = connections_++;
      scripts_[std::min(place, scripts_.size() - 1)](peer);
    }
  }

  std::vector<Script> scripts_;
  int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  uint16_t port_ = 0;
  std::atomic<size_t> connections_ = 0;
  std::thread thread_;
};

}  // namespace test

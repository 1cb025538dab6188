// A device for tests of the tool's end of the live link: a server on a free port that does with
// each connection what a script tells.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "link/link_client.h"

namespace test {

struct Request {
  int command = -1;  // -1: the client has gone
  std::string id;    // its four bytes, if it has one
  std::string payload;

  std::string Text() const { return payload.substr(0, payload.find('\0')); }
  std::string Reply(const std::string& content) const {
    return ShortFrame(static_cast<uint16_t>(command), id + content);
  }
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
    const std::string start = Take(kShortHeader);
    if (start.size() < kShortHeader) return request;
    request.command = static_cast<int>(NumberAt(start, 2, 2));
    const bool hasId = (request.command >= 3 && request.command <= 6) || request.command == 8;
    if (hasId) request.id = Take(4);
    request.payload = Take(NumberAt(start, 4, 2) - kShortHeader - request.id.size());
    return request;
  }
  // Answers the question that every connection starts with.
  void Greet() const {
    const Request request = Receive();
    Send(request.TextReply(LittleEndian(2, 1) + LittleEndian(8, 0x1234) + "a tag"));
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
    Loopback address(0);
    socklen_t size = sizeof(address);
    if (bind(socket_, address.any(), size) == 0 && listen(socket_, 8) == 0 &&
        getsockname(socket_, address.any(), &size) == 0)
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

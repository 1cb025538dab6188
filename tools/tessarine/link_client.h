// The tool's end of the live link: a connection, a request, its reply.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "link_frame.h"
#include "link_socket.h"

namespace tessarine {

// A device takes the first free one of these.
inline constexpr uint16_t kFirstLinkPort = 23129;
inline constexpr uint16_t kLastLinkPort = 23193;

struct LinkAddress {
  std::string host = "127.0.0.1";
  std::optional<uint16_t> port;  // else the first one
  double timeout = 5;            // seconds for a reply
};

// What a device tells of itself.
struct LinkInfo {
  uint64_t instance = 0;  // tells its manager from others in the process
  std::string tag;        // of the tuning file; the instance in hexadecimal if it has none
};

// Connects with the first request. A new connection starts with a question that every device
// answers: what a former client left half sent may swallow it, and then a second connection works.
class LinkClient {
 public:
  explicit LinkClient(LinkAddress address);

  // "127.0.0.1:23129"
  std::string Place() const;
  // Ends the connection, so that a device is free for other tools; the next request connects again.
  void LetGo() { socket_.reset(); }
  // These throw LinkError.
  const LinkInfo& Info();
  // The payload of the reply. Replies to others are skipped. A request whose connection goes before
  // the reply comes is sent once more on a new one, unless nobody knows what doing it twice does.
  Bytes Ask(LinkCommand command, const Bytes& payload = {});
  // The same for a reply that is a text.
  std::string AskText(LinkCommand command, const Bytes& payload = {});

 private:
  using Clock = LinkSocket::Clock;

  void Connect();
  LinkSocket::Result Greet();
  LinkSocket::Result Exchange(LinkCommand command, const Bytes& payload, Clock::duration patience,
                              Bytes& reply);
  LinkSocket::Result ReceiveFrame(Clock::time_point deadline, LinkFrame& frame);
  LinkError BadReply(const std::string& what) const;

  LinkAddress address_;
  Clock::duration patience_;
  uint32_t lastId_;
  std::unique_ptr<LinkSocket> socket_;
  LinkInfo info_;
};

}  // namespace tessarine

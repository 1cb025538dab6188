#include "link_client.h"

#include <array>
#include <cstdio>
#include <random>

#include "json_values.h"

namespace tessarine {
namespace {

using Result = LinkSocket::Result;

std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g s", seconds);
  return text;
}

}  // namespace

// IDs start anywhere: replies to a client before this one are not taken for its own.
LinkClient::LinkClient(LinkAddress address)
    : address_(std::move(address)),
      patience_(std::chrono::duration_cast<Clock::duration>(
          std::chrono::duration<double>(address_.timeout))),
      lastId_(std::random_device{}()) {}

std::string LinkClient::Place() const {
  return address_.host + ":" + std::to_string(address_.port.value_or(kFirstLinkPort));
}

LinkError LinkClient::BadReply(const std::string& what) const {
  return LinkError(Place() + " sent " + what + ": no tuning link that this tool knows");
}

const LinkInfo& LinkClient::Info() {
  if (!socket_) Connect();
  return info_;
}

Bytes LinkClient::Ask(LinkCommand command, const Bytes& payload) {
  const int attempts = command == LinkCommand::kCustom ? 1 : 2;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (!socket_) Connect();
    Bytes reply;
    const Result result = Exchange(command, payload, patience_, reply);
    if (result == Result::kComplete) return reply;
    socket_.reset();
    if (result == Result::kTimeOut)
      throw LinkError(Place() + " gave no reply within " + Seconds(address_.timeout));
  }
  throw LinkError(Place() + " dropped the connection without a reply" +
                  (attempts > 1 ? ", twice" : "; the request is not repeated"));
}

std::string LinkClient::AskText(LinkCommand command, const Bytes& payload) {
  const std::optional<std::string> text = PayloadText(Ask(command, payload));
  if (!text) throw BadReply("a text without its end");
  return *text;
}

// Half of the patience each: together they take no longer than any other request.
void LinkClient::Connect() {
  Result result = Result::kComplete;
  for (int attempt = 0; attempt < 2; ++attempt) {
    result = Greet();
    if (result == Result::kComplete) return;
    socket_.reset();
  }
  if (result == Result::kDropped)
    throw LinkError(Place() + " took the connection and dropped it at once");
  throw LinkError(Place() + " took the connection and gave no reply within " +
                  Seconds(address_.timeout) +
                  ": it may be serving another tool, one at a time, or be no tuning link");
}

LinkSocket::Result LinkClient::Greet() {
  constexpr size_t kFixed = 10;  // a u16 and the instance
  try {
    socket_ = std::make_unique<LinkSocket>(address_.host, address_.port.value_or(kFirstLinkPort),
                                           Clock::now() + patience_ / 2);
  } catch (const LinkRefused& error) {
    if (address_.port) throw;
    throw LinkError(std::string(error.what()) + "; a device takes the first free port from " +
                    std::to_string(kFirstLinkPort) + " to " + std::to_string(kLastLinkPort) +
                    ": 'tessarine link find' lists those that answer, --port chooses one");
  }
  Bytes reply;
  const Result result = Exchange(LinkCommand::kDeviceInfo, {}, patience_ / 2, reply);
  if (result != Result::kComplete) return result;
  if (reply.size() <= kFixed) throw BadReply("a short answer");
  const std::optional<std::string> tag = PayloadText(View(reply).subspan(kFixed));
  if (!tag) throw BadReply("a text without its end");
  info_ = {LinkNumber(View(reply).subspan(2), 8), *tag};
  return result;
}

LinkSocket::Result LinkClient::Exchange(LinkCommand command, const Bytes& payload,
                                        Clock::duration patience, Bytes& reply) {
  const Clock::time_point deadline = Clock::now() + patience;
  const LinkFrame request{command, HasId(command) ? ++lastId_ : 0, payload};
  Result result = socket_->Send(ToBytes(request), deadline);
  while (result == Result::kComplete) {
    if (Clock::now() >= deadline) return Result::kTimeOut;
    LinkFrame frame;
    result = ReceiveFrame(deadline, frame);
    if (result != Result::kComplete || frame.command != command || frame.id != request.id) continue;
    reply = std::move(frame.payload);
    return result;
  }
  return result;
}

LinkSocket::Result LinkClient::ReceiveFrame(Clock::time_point deadline, LinkFrame& frame) {
  std::array<uint8_t, kLinkShortHeader> start{};
  Result result = socket_->Receive(start, deadline);
  if (result != Result::kComplete) return result;
  const std::optional<size_t> length = FrameLength(start);
  if (!length) throw BadReply("bytes that are no frame (" + ToHex(start) + ")");
  Bytes bytes(start.begin(), start.end());
  bytes.resize(*length);
  result = socket_->Receive(std::span(bytes).subspan(start.size()), deadline);
  if (result != Result::kComplete) return result;
  std::optional<LinkFrame> read = ToFrame(bytes);
  if (!read) throw BadReply("a frame without the ID that its command has");
  frame = std::move(*read);
  return result;
}

}  // namespace tessarine

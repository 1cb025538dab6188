#include "link_frame.h"

#include "link_errors.h"

namespace tessarine {
namespace {

constexpr uint16_t kTag = 0x5A59;
constexpr uint64_t kLastCommand = 8;

void Put(uint64_t value, size_t size, Bytes& bytes) {
  for (size_t i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

bool HasId(LinkCommand command) {
  switch (command) {
    case LinkCommand::kChildModes:
    case LinkCommand::kInfo:
    case LinkCommand::kGetValues:
    case LinkCommand::kSetValues:
    case LinkCommand::kCustom: return true;
    default: return false;
  }
}

Bytes ToBytes(const LinkFrame& frame) {
  const bool hasId = HasId(frame.command);
  const size_t length = frame.payload.size() + (hasId ? kLinkLongHeader : kLinkShortHeader);
  if (length > kLinkLongestFrame)
    throw LinkError("a request of " + std::to_string(length) + " bytes is longer than a frame");
  Bytes bytes;
  Put(kTag, 2, bytes);
  Put(static_cast<uint16_t>(frame.command), 2, bytes);
  Put(length, 2, bytes);
  if (hasId) Put(frame.id, 4, bytes);
  bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
  return bytes;
}

std::optional<size_t> FrameLength(const std::array<uint8_t, kLinkShortHeader>& start) {
  const View bytes(start);
  const size_t length = LinkNumber(bytes.subspan(4), 2);
  const bool isFrame = LinkNumber(bytes, 2) == kTag &&
                       LinkNumber(bytes.subspan(2), 2) <= kLastCommand &&
                       length >= kLinkShortHeader;
  return isFrame ? std::optional(length) : std::nullopt;
}

std::optional<LinkFrame> ToFrame(View bytes) {
  LinkFrame frame;
  frame.command = static_cast<LinkCommand>(LinkNumber(bytes.subspan(2), 2));
  size_t header = kLinkShortHeader;
  if (HasId(frame.command)) {
    header = kLinkLongHeader;
    if (bytes.size() < header) return std::nullopt;
    frame.id = static_cast<uint32_t>(LinkNumber(bytes.subspan(kLinkShortHeader), 4));
  }
  frame.payload.assign(bytes.begin() + static_cast<std::ptrdiff_t>(header), bytes.end());
  return frame;
}

Bytes TextPayload(const std::string& text) {
  Bytes payload(text.begin(), text.end());
  payload.push_back(0);
  return payload;
}

std::optional<std::string> PayloadText(View payload) {
  if (payload.empty() || payload.back() != 0) return std::nullopt;
  const std::string text(payload.begin(), payload.end() - 1);
  return text.find('\0') == std::string::npos ? std::optional(text) : std::nullopt;
}

uint64_t LinkNumber(View bytes, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value |= uint64_t{bytes[i]} << (8 * i);
  return value;
}

}  // namespace tessarine

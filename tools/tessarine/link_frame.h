// Requests and replies of the live link as bytes. docs/live-link-protocol.md tells all of it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "bytes.h"

namespace tessarine {

enum class LinkCommand : uint16_t {
  kDeviceInfo,
  kActiveModes,
  kControlValues,
  kChildModes,
  kInfo,
  kGetValues,
  kSetValues,
  kTriggerValues,
  kCustom
};

inline constexpr size_t kLinkShortHeader = 6;
inline constexpr size_t kLinkLongHeader = 10;  // with an ID
inline constexpr size_t kLinkLongestFrame = 65535;

struct LinkFrame {
  LinkCommand command = LinkCommand::kDeviceInfo;
  uint32_t id = 0;  // 0 for a command that has none
  Bytes payload;    // all behind the header
};

bool HasId(LinkCommand command);
// Throws LinkError for more than the longest frame.
Bytes ToBytes(const LinkFrame& frame);
// The length of a frame that starts with these bytes; nothing if no frame does.
std::optional<size_t> FrameLength(const std::array<uint8_t, kLinkShortHeader>& start);
// Nothing if the bytes, as many as FrameLength told, end within the header.
std::optional<LinkFrame> ToFrame(View bytes);

// A text and its NUL; and what stands before the NUL that has to end a payload.
Bytes TextPayload(const std::string& text);
std::optional<std::string> PayloadText(View payload);
// The little-endian number in the first `size` bytes.
uint64_t LinkNumber(View bytes, size_t size);

}  // namespace tessarine

// The commands of the live link, and their replies.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "orvo/osutils.h"
#include "parameterrondelworker.h"
#include "parameterutils.h"

using namespace ParameterRondel;

namespace {

// Texts with their NUL.
constexpr uint32_t kActiveModesSize = 1018;
constexpr uint32_t kValuesSize = 4090;
constexpr uint32_t kModesSize = 4086;
constexpr uint32_t kTextSize = kMaxFrame - kHeaderSize;

constexpr uint32_t kMaxModePath = 512;
constexpr uint32_t kMaxAssignment = 512;  // of its name, and of its value
constexpr uint32_t kMinPayloadRequest = kHeaderSize + 1;

// Of a device info reply: the number 1 and the manager's number behind the short header, then text.
constexpr uint32_t kInstanceOffset = kShortHeaderSize + 2;
constexpr uint32_t kNameOffset = kInstanceOffset + 8;
constexpr uint32_t kMaxName = 240;

// Of a custom reply: a result of 16 bits, then the data.
constexpr uint32_t kDataOffset = kHeaderSize + 2;

constexpr uint32_t kMajor = 1;
constexpr uint32_t kMinor = 0;

// The start of a payload, for log lines.
struct Shown {
  explicit Shown(const char* payload) { Orvo::OsUtils::StrLCpy(text, payload, sizeof(text)); }
  Shown(const uint8_t* bytes, uint32_t length) {
    const bool isText = ParameterRondelWorker::IsPrintable(bytes, length);
    const uint32_t width = isText ? 1 : 2;
    for (uint32_t i = 0; i < length && (i + 1) * width < sizeof(text); ++i)
      std::snprintf(text + i * width, width + 1, isText ? "%c" : "%02X", bytes[i]);
  }
  char text[128] = {};
};

// Ends a text at a separator; what stands behind it, or null.
char* CutAt(char* text, char separator) {
  char* found = text == nullptr ? nullptr : std::strchr(text, separator);
  if (found == nullptr) return nullptr;
  *found = '\0';
  return found + 1;
}

bool IsEmpty(const char* text) {
  return text == nullptr || *text == '\0';
}

char* PayloadOf(ParameterRondelPacket& request) {
  return reinterpret_cast<char*>(request.buffer.data() + kHeaderSize);
}

// A mode path in numbers; empty if it is too long.
struct Shorthand {
  Shorthand(IParameterDataAPI& api, const char* modes) {
    if (std::strlen(modes) > kMaxModePath || !api.GetModeShorthand(modes, text, sizeof(text)))
      text[0] = '\0';
  }
  // A step, of one character at least with its separator, has become four or the digits it had.
  char text[4 * kMaxModePath + 8] = {};
};

// Texts joined by ";" in a buffer of fixed size, which hold whole entries at any time.
class EntryList {
 public:
  EntryList(char* buffer, uint32_t size, const IParameterLoggingAPI* logger)
      : buffer_(buffer), size_(size - 1), logger_(logger) {
    buffer_[0] = '\0';
  }
  // False, without the entry, if its parts don't fit.
  template <class... Parts>
  bool Add(const Parts*... parts) {
    uint32_t position = length_;
    const auto write = [&](const char* part) {
      return ParameterUtils::WriteString(part, buffer_, size_, &position, false, logger_);
    };
    const bool added = write(length_ == 0 ? "" : ";") && (write(parts) && ...);
    if (added) length_ = position;
    buffer_[length_] = '\0';
    return added;
  }

 private:
  char* buffer_;
  uint32_t size_;  // without the NUL
  uint32_t length_ = 0;
  const IParameterLoggingAPI* logger_;
};

bool AddInfo(EntryList& list, const ParameterParserInfo& info, const char* path) {
  char count[16] = {};
  if (info.isArray) std::snprintf(count, sizeof(count), ",%u", info.arrayCount);
  // A listing of the one field that the path names has no name of its own.
  const char* name =
      info.name != nullptr || path == nullptr ? info.name : ParameterUtils::GetLastName(path);
  return list.Add(name, info.value[0] == '\0' ? "" : "=", info.value, ",", info.type, count);
}

}  // namespace

// ---- Frames

bool ParameterRondelWorker::AllocateReply() {
  if (!reply_.empty() || reply_.allocate(kMaxFrame)) return true;
  PARAMETER_ERROR(api_, "Failed to allocate the frame of a Rondel reply\n");
  return false;
}

bool ParameterRondelWorker::BeginShortReply(uint16_t command) {
  if (!AllocateReply()) return false;
  PutWord16(reply_.data(), kStartTag);
  PutWord16(reply_.data() + kCommandOffset, command);
  *TextAt(kShortHeaderSize) = '\0';
  return true;
}

// With the request's own header; false if it is too short for a payload.
bool ParameterRondelWorker::BeginReply(const Packet& request) {
  if (request.length < kMinPayloadRequest || !AllocateReply()) return false;
  std::copy_n(request.buffer.data(), kHeaderSize, reply_.data());
  *TextAt(kHeaderSize) = '\0';
  return true;
}

char* ParameterRondelWorker::TextAt(uint32_t offset) {
  return reinterpret_cast<char*>(reply_.data() + offset);
}

uint32_t ParameterRondelWorker::ReplyId() const {
  return GetWord32(reply_.data() + kIdOffset);
}

// A frame whose text starts at an offset.
bool ParameterRondelWorker::QueueText(uint32_t offset) {
  return QueueFrame(offset + static_cast<uint32_t>(std::strlen(TextAt(offset))) + 1);
}

bool ParameterRondelWorker::QueueFrame(uint32_t length) {
  PutWord16(reply_.data() + kLengthOffset, length);
  return com_->QueueReply(reply_.data(), length);
}

// ---- Commands without a payload

void ParameterRondelWorker::ProcessDeviceInfo(Packet&) {
  if (!BeginShortReply(kDeviceInfo)) return;
  // The manager's address is the same whichever of its bases it is known by here.
  const auto instance =
      static_cast<uint64_t>(reinterpret_cast<uintptr_t>(dynamic_cast<const void*>(api_)));
  PutWord16(reply_.data() + kShortHeaderSize, 1);
  PutWord(reply_.data() + kInstanceOffset, instance, sizeof(instance));
  char* name = TextAt(kNameOffset);
  const char* tag = api_->GetBinaryTag();
  if (IsEmpty(tag)) {
    std::snprintf(name, kMaxName + 1, "0x%016" PRIx64, instance);
  } else {
    Orvo::OsUtils::StrLCpy(name, tag, kMaxName + 1);
  }
  if (!QueueText(kNameOffset)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: Info(%d), Version: %u.%u, Name: %s\n",
                  static_cast<int>(kDeviceInfo), kMajor, kMinor, Shown(name).text);
}

// A text that needs no request; its name and what it is are for the log line.
void ParameterRondelWorker::ReplyText(uint16_t command,
                                      bool (IParameterDataAPI::*get)(char*, uint32_t),
                                      uint32_t size, const char* name, const char* what) {
  if (!BeginShortReply(command)) return;
  char* text = TextAt(kShortHeaderSize);
  (api_->*get)(text, size);
  if (!QueueText(kShortHeaderSize)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: %s(%d), Version: %u.%u, %s: %s\n", name,
                  static_cast<int>(command), kMajor, kMinor, what, Shown(text).text);
}

void ParameterRondelWorker::ProcessDataActiveModes(Packet&) {
  ReplyText(kActiveModes, &IParameterDataAPI::GetActiveModes, kActiveModesSize, "Active Modes",
            "Active");
}

void ParameterRondelWorker::ProcessDataControlValues(Packet&) {
  ReplyText(kControlValues, &IParameterDataAPI::GetControlValues, kValuesSize, "Control Values",
            "Name");
}

void ParameterRondelWorker::ProcessDataTriggerValues(Packet&) {
  ReplyText(kTriggerValues, &IParameterDataAPI::GetTriggerValues, kValuesSize, "Trigger Values",
            "Name");
}

// ---- Commands with a text

void ParameterRondelWorker::ProcessDataModes(Packet& request) {
  if (!BeginReply(request)) return;
  char* text = TextAt(kHeaderSize);
  api_->GetChildModes(Shorthand(*api_, PayloadOf(request)).text, text, kModesSize);
  if (!QueueText(kHeaderSize)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: Modes(%d), ID: %u, Payload: %s...\n",
                  static_cast<int>(kModes), ReplyId(), Shown(text).text);
}

void ParameterRondelWorker::ProcessDataInfo(Packet& request) {
  if (!BeginReply(request)) return;
  const char* modes = PayloadOf(request);
  const char* path = CutAt(PayloadOf(request), ':');
  WriteInfo(modes, IsEmpty(path) ? nullptr : path);
  if (!QueueText(kHeaderSize)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: Info(%d), ID: %u, Payload: %s\n",
                  static_cast<int>(kInfo), ReplyId(), Shown(TextAt(kHeaderSize)).text);
}

void ParameterRondelWorker::WriteInfo(const char* modes, const char* path) {
  PList<ParameterParserInfo> infos(64);
  if (!api_->GetInfo(Shorthand(*api_, modes).text, path, infos)) return;
  EntryList list(TextAt(kHeaderSize), kTextSize, api_);
  for (uint32_t i = 0; i < infos.Count(); ++i) {
    if (!AddInfo(list, infos[i], path)) break;
  }
}

void ParameterRondelWorker::ProcessDataGetValues(Packet& request) {
  if (!BeginReply(request)) return;
  char* modes = PayloadOf(request);
  char* path = CutAt(modes, ':');
  const char* names = CutAt(path, ':');
  char* text = TextAt(kHeaderSize);
  // Of an answer that doesn't fit, the entries that do stand there all the same.
  if (!IsEmpty(path))
    api_->GetValue(Shorthand(*api_, modes).text, path, IsEmpty(names) ? nullptr : names, text,
                   kTextSize);
  if (!QueueText(kHeaderSize)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: GetValues(%d), ID: %u, Payload: %s\n",
                  static_cast<int>(kGetValues), ReplyId(), Shown(text).text);
}

void ParameterRondelWorker::ProcessDataSetValues(Packet& request) {
  if (!BeginReply(request)) return;
  char* modes = PayloadOf(request);
  char* path = CutAt(modes, ':');
  char* assignments = CutAt(path, ':');
  if (!IsEmpty(path)) SetValues(Shorthand(*api_, modes).text, path, assignments);
  if (!QueueText(kHeaderSize)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: SetValues(%d), ID: %u, Payload: %s\n",
                  static_cast<int>(kSetValues), ReplyId(), Shown(TextAt(kHeaderSize)).text);
}

// The reply shows the fields as they stand afterwards. When it is full, the rest is set all the
// same.
void ParameterRondelWorker::SetValues(const char* modes, const char* path, char* assignments) {
  if (value_.empty() && !value_.allocate(kMaxFrame)) {
    PARAMETER_ERROR(api_, "Failed to allocate the text of a Rondel value\n");
    return;
  }
  EntryList list(TextAt(kHeaderSize), kTextSize, api_);
  bool fits = true;
  for (char* assignment = assignments; assignment != nullptr;) {
    char* next = CutAt(assignment, ';');
    if (SetValue(modes, path, assignment)) fits = fits && list.Add(value_.data());
    assignment = next;
  }
}

// Leaves the field, read back, in value_.
bool ParameterRondelWorker::SetValue(const char* modes, const char* path, char* assignment) {
  const char* value = CutAt(assignment, '=');
  if (IsEmpty(value) || std::strlen(assignment) > kMaxAssignment ||
      std::strlen(value) > kMaxAssignment)
    return false;
  return api_->SetValue(modes, path, assignment, value) &&
         api_->GetValue(modes, path, assignment, value_.data(), kMaxFrame);
}

// ---- The camera stack's own command

void ParameterRondelWorker::ProcessCustom(Packet& request) {
  if (!BeginReply(request)) return;
  uint16_t length = 0;
  PutWord16(reply_.data() + kHeaderSize, CallHandler(request, length));
  const Shown shown(reply_.data() + kDataOffset, length);
  if (!QueueFrame(kDataOffset + length)) return;
  PARAMETER_DEBUG(api_, "Rondel queued command: Custom(%d), ID: %u, Payload: %s...\n",
                  static_cast<int>(kCustom), ReplyId(), shown.text);
}

// The handler is told the bytes that the frame really has room for; a length above them is cut.
// Where it writes fewer than it claims, the tool gets zeros, not what an earlier reply left there.
uint32_t ParameterRondelWorker::CallHandler(const Packet& request, uint16_t& length) {
  constexpr uint16_t kCapacity = kMaxFrame - kDataOffset;
  const std::lock_guard lock(handlerMutex_);
  if (handler_ == nullptr) {
    PARAMETER_ERROR(api_,
                    "Rondel queued Custom command received with no handler installed, sending "
                    "result = 0\n");
    return 0;
  }
  uint8_t* data = reply_.data() + kDataOffset;
  std::fill_n(data, kCapacity, uint8_t{0});
  const uint32_t result = handler_->Process(request.buffer.data() + kHeaderSize,
                                            request.length - kHeaderSize, kCapacity, data, &length);
  length = std::min(length, kCapacity);
  return result;
}

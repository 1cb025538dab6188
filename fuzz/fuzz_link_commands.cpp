// Any request of a tuning tool, carried out on a small manager: each has the reply that its command
// has, whole and ended, or none.
#include "link/scripted_com.h"
#include "parameterrondelworker.h"
#include "small_manager.h"

namespace {

using test::kHeader;
using test::kShortHeader;
using test::NumberAt;

enum Command : uint16_t { kDeviceInfo, kModes = 3, kInfo, kGetValues, kSetValues, kCustom = 8 };

// Keeps the reply instead of sending it.
class ReplyCom : public test::ScriptedCom {
 public:
  ReplyCom(const IParameterLoggingAPI* logger, std::string& reply)
      : ScriptedCom(logger), reply_(reply) {
    Open();
  }
  // True if there is one.
  bool Write() { return WriteReply(0); }

  int32_t WriteData(const void* buffer, uint32_t length) override {
    reply_.assign(static_cast<const char*>(buffer), length);
    return static_cast<int32_t>(length);
  }

 private:
  std::string& reply_;
};

// Answers with the request, and claims a length that the request chooses.
struct Echo : IParameterCustomHandler {
  uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t capacity, uint8_t* reply,
                   uint16_t* replyLength) override {
    fuzz::Require(capacity == test::kLargestFrame - kHeader - 2 && *replyLength == 0,
                  "a handler gets the room that there is");
    std::memcpy(reply, payload, length);
    *replyLength = static_cast<uint16_t>(payload[0] * 257);
    return 0xABCD1234;
  }
};

uint16_t CommandOf(const std::string& request) {
  return request.size() < 4 ? uint16_t{kDeviceInfo}
                            : static_cast<uint16_t>(NumberAt(request, 2, 2));
}

bool HasId(uint16_t command) {
  return (command >= kModes && command <= kSetValues) || command == kCustom;
}

void RequireText(const std::string& reply, size_t offset) {
  fuzz::Require(reply.size() > offset && reply.find('\0', offset) == reply.size() - 1,
                "a text ends with its frame");
}

void RequireCustom(const std::string& request, const std::string& reply, bool hasHandler) {
  const size_t length = hasHandler ? static_cast<uint8_t>(request[kHeader]) * size_t{257} : 0;
  fuzz::Require(reply.size() == std::min(kHeader + 2 + length, test::kLargestFrame),
                "a custom reply is as long as its handler says, or as there is room");
  fuzz::Require(NumberAt(reply, kHeader, 2) == (hasHandler ? 0x1234u : 0u), "a result is 16 bits");
  const size_t same = std::min(reply.size() - kHeader - 2, request.size() - kHeader);
  fuzz::Require(reply.compare(kHeader + 2, same, request, kHeader, same) == 0,
                "a handler's bytes are the reply's");
}

void RequireReply(const std::string& request, const std::string& reply, bool hasHandler) {
  const uint16_t command = CommandOf(request);
  fuzz::Require(reply.substr(0, kShortHeader) == test::ShortHeader(command, reply.size()),
                "a reply starts with a header of its own length");
  if (command == kCustom) {
    RequireCustom(request, reply, hasHandler);
  } else if (command == kDeviceInfo) {
    fuzz::Require(NumberAt(reply, kShortHeader, 2) == 1, "the number of the protocol");
    RequireText(reply, kShortHeader + 2 + 8);
  } else {
    RequireText(reply, HasId(command) ? kHeader : kShortHeader);
  }
  if (!HasId(command)) return;
  fuzz::Require(reply.compare(kShortHeader, 4, request, kShortHeader, 4) == 0, "an ID comes back");
  const char mark = command == kInfo ? ',' : '=';
  const bool hasEntries = command >= kInfo && command <= kSetValues && reply[kHeader] != '\0';
  fuzz::Require(!hasEntries || reply.find(mark, kHeader) != std::string::npos,
                "an entry tells more than a name");
}

// What comes out of the framing has this tag and its own length.
std::string RequestOf(const uint8_t* data, size_t size) {
  std::string request(data, data + size);
  const std::string header = test::ShortHeader(CommandOf(request), size);
  for (const size_t place : {0, 1, 4, 5})
    if (place < size) request[place] = header[place];
  return request;
}

// A manager and the worker of its link.
class Camera {
 public:
  Camera() {
    static const test::Bytes file = fuzz::SmallFile({5, 0, 0}, 2, true).build();
    manager_.LoadBinaryParameters(file.data(), file.size());
    manager_.SetControlValues("1=2,3=4.5");
    manager_.SetTriggerValues("6=-7");
    Ask(test::TextFrame(kSetValues, 1, "0:tessarinePDLib"), false);  // makes what the worker keeps
  }
  bool HasChanged() const { return manager_.GetValueChangeCount() != 0; }

  void Ask(const std::string& request, bool logs) {
    manager_.SetLogLevels(logs, logs, logs);
    const bool hasHandler = request.size() % 4 == 0;
    worker_.SetCustomHandler(hasHandler ? &echo_ : nullptr);
    const std::unique_ptr<ParameterRondelPacket> packet(ParameterRondelPacket::Create(
        reinterpret_cast<const uint8_t*>(request.data()), static_cast<uint32_t>(request.size())));
    worker_.ProcessRequest(*packet);
    const uint16_t command = CommandOf(request);
    const bool isAnswered =
        !request.empty() && command <= kCustom && (!HasId(command) || request.size() > kHeader);
    fuzz::Require(com_->Write() == isAnswered, "a request has a reply, or is dropped for a reason");
    if (!isAnswered) return;
    RequireReply(request, reply_, hasHandler);
    fuzz::Require(!com_->Write(), "a request has one reply");
  }

 private:
  fuzz::SmallSetManager manager_;
  Echo echo_;
  std::string reply_;
  ReplyCom* com_ = new ReplyCom(&manager_, reply_);  // the worker's
  ParameterRondelWorker worker_{&manager_, com_};
};

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  std::vector<Input> seeds;
  const auto add = [&](const std::string& frame) {
    seeds.emplace_back(frame.begin(), frame.end());
  };
  for (const uint16_t command : std::vector<uint16_t>{0, 1, 2, 7}) add(test::ShortFrame(command));
  for (const char* modes : {"0", "Default|Usecase.Snapshot"}) {
    const std::string module = std::string(modes) + ":tessarinePDLib";
    add(test::TextFrame(kModes, 1, modes));
    add(test::TextFrame(kInfo, 2, modes));
    for (const char* path : {"", ".skipControl", ".extensionParam[0]", ".hardwarePattern[1]"}) {
      add(test::TextFrame(kInfo, 3, module + path));
      add(test::TextFrame(kGetValues, 4, module + path));
    }
    add(test::TextFrame(kGetValues, 5, module + ".skipControl:maxFrameRate,staticFrameCountThres"));
    add(test::TextFrame(kSetValues, 6,
                        module + ".skipControl:maxFrameRate=2;staticFrameCountThres=9999999999"));
    add(test::TextFrame(kSetValues, 7, module + ".extensionParam[0]:data=1.5,2;ID=3"));
  }
  add(test::Frame(kCustom, 8, std::string("\x03z", 2)));
  return seeds;
}

// A camera serves runs until one of them has changed a value. Requests are long enough for what has
// a bound of 512 characters.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kLongest = 1024;
  if (size > kLongest) return 0;
  static auto camera = std::make_unique<Camera>();
  if (camera->HasChanged()) camera = std::make_unique<Camera>();
  const fuzz::Run run;
  camera->Ask(RequestOf(data, size), fuzz::LogsRunOf(size));
  return 0;
}

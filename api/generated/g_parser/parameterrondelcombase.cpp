#include "parameterrondelcombase.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>

using ParameterRondel::GetWord16;
using ParameterRondel::kCommandOffset;
using ParameterRondel::kLengthOffset;
using ParameterRondel::kMaxFrame;
using ParameterRondel::kShortHeaderSize;

ParameterRondelComBase::ParameterRondelComBase(const IParameterLoggingAPI* logger)
    : logger_(logger) {
  if (logger == nullptr)
    PARAMETER_ERROR(logger,
                    "ParameterRondelComBase constructed with a nullptr Set Manager object\n");
  if (!receiveBuffer_.allocate(kMaxFrame) || !frame_.allocate(kMaxFrame))
    PARAMETER_ERROR(logger, "Failed to allocate the buffers of the Rondel server\n");
}

// ---- Life

bool ParameterRondelComBase::Start() {
  if (logger_ == nullptr || frame_.empty() || receiveBuffer_.empty()) return false;
  const char* tag = logger_->GetBinaryTag();
  PARAMETER_DEBUG(logger_, "Starting Rondel server: %s\n", tag == nullptr ? "" : tag);
  stop_ = false;
  Open();
  StartCom();
  if (readThread_.Start(ReadFunction, this) && writeThread_.Start(WriteFunction, this)) return true;
  PARAMETER_ERROR(logger_, "Failed to create the threads of the Rondel server\n");
  Stop();
  return false;
}

void ParameterRondelComBase::Open() {
  fill_ = 0;
  readQueue_.Open();
  writeQueue_.Open();
}

// The waits of both threads are ended before they are joined, so that neither a quiet tool nor one
// that doesn't read holds this up.
void ParameterRondelComBase::Stop() {
  if (stop_.exchange(true)) return;
  const char* tag = logger_->GetBinaryTag();
  PARAMETER_DEBUG(logger_, "Stopping TCP/IP Rondel server: %s\n", tag == nullptr ? "" : tag);
  readQueue_.Close();
  writeQueue_.Close();
  InterruptCom();
  readThread_.Join();
  writeThread_.Join();
  StopCom();
}

// ---- Requests

// Looks at the header of the first frame.
ParameterRondelComBase::Check ParameterRondelComBase::CheckHeader(uint32_t maxCommand) {
  if (fill_ < kShortHeaderSize) return Check::kMore;
  const uint8_t* b = receiveBuffer_.data() + first_;
  const uint16_t tag = GetWord16(b);
  if (tag != ParameterRondel::kStartTag) {
    PARAMETER_ERROR(logger_,
                    "Rondel request missing start tag, Expected: %u, Received: %u: "
                    "0x%02x%02x%02x%02x%02x\n",
                    ParameterRondel::kStartTag, tag, b[0], b[1], b[2], b[3], b[4]);
    fill_ = 0;
    return Check::kMore;
  }
  const uint16_t command = GetWord16(b + kCommandOffset);
  if (command >= maxCommand) {
    PARAMETER_ERROR(logger_, "Rondel request ID %u exceeds Max %u\n", command, maxCommand);
    return Check::kBad;
  }
  const uint16_t length = GetWord16(b + kLengthOffset);
  if (length == 0) {
    PARAMETER_ERROR(logger_, "Rondel request length is zero: 0x%02x%02x%02x%02x%02x\n", b[0], b[1],
                    b[2], b[3], b[4]);
    return Check::kBad;
  }
  return fill_ >= length ? Check::kComplete : Check::kMore;
}

// The frame goes to the caller; whatever follows it is the first one now.
uint32_t ParameterRondelComBase::TakeFrame(uint8_t* buffer, uint32_t length) {
  const uint8_t* frame = receiveBuffer_.data() + first_;
  const uint32_t frameLength = GetWord16(frame + kLengthOffset);
  const uint32_t copied = std::min(frameLength, length);
  std::copy_n(frame, copied, buffer);
  first_ += frameLength;
  fill_ -= frameLength;
  return copied;
}

// Reads behind what is there, which goes to the front: a part of a frame, not one frame after the
// other.
int32_t ParameterRondelComBase::ReadMore(int32_t timeoutSeconds, const std::atomic<bool>& stop) {
  uint8_t* received = receiveBuffer_.data();
  std::memmove(received, received + first_, fill_);
  first_ = 0;
  const int32_t count = ReadData(received + fill_, kMaxFrame - fill_, timeoutSeconds, stop);
  if (count > 0) fill_ += std::min(static_cast<uint32_t>(count), kMaxFrame - fill_);
  return count;
}

uint32_t ParameterRondelComBase::ReceiveRondelRequest(uint8_t* buffer, uint32_t length,
                                                      uint32_t maxCommand, int32_t timeoutSeconds,
                                                      const std::atomic<bool>& stop) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto isOver = [&] {
    return stop ||
           (timeoutSeconds >= 0 && Clock::now() - start >= std::chrono::seconds(timeoutSeconds));
  };
  for (;;) {
    const Check check = CheckHeader(maxCommand);
    if (check == Check::kComplete) return TakeFrame(buffer, length);
    if (isOver()) return 0;
    // What no frame can start with ends with its connection; part of a frame may go on over the
    // next one.
    if (ReadMore(timeoutSeconds, stop) < 0 && check == Check::kBad) fill_ = 0;
    if (isOver()) return 0;
  }
}

void ParameterRondelComBase::ReadWorker() {
  while (!stop_) {
    const uint32_t length = ReceiveRondelRequest(
        frame_.data(), kMaxFrame, ParameterRondel::kCommandCount, kTimeoutSeconds, stop_);
    if (length == 0 || stop_) continue;
    // A request of the largest size is no tool's: it becomes an empty packet, which nobody answers.
    Packet* packet = Packet::Create(frame_.data(), length == kMaxFrame ? 0 : length);
    if (packet == nullptr) {
      PARAMETER_ERROR(logger_, "Failed to allocate a Rondel request of %u bytes\n", length);
    } else {
      readQueue_.Push(packet);
    }
  }
}

ParameterRondelComBase::Packet* ParameterRondelComBase::Read(uint32_t timeoutSeconds) {
  return readQueue_.Pop(std::chrono::seconds(timeoutSeconds));
}

// ---- Replies

bool ParameterRondelComBase::QueueReply(const uint8_t* frame, uint32_t length) {
  Packet* packet = Packet::Create(frame, length);
  if (packet != nullptr) return writeQueue_.Push(packet);
  PARAMETER_ERROR(logger_, "Failed to allocate a Rondel reply of %u bytes\n", length);
  return false;
}

void ParameterRondelComBase::WriteWorker() {
  while (!stop_) WriteReply(kTimeoutSeconds);
}

bool ParameterRondelComBase::WriteReply(uint32_t timeoutSeconds) {
  const std::unique_ptr<Packet> packet(writeQueue_.Pop(std::chrono::seconds(timeoutSeconds)));
  if (packet == nullptr) return false;
  WritePacket(*packet);
  return true;
}

// A reply to a tool that has gone is lost, which is no fault of the camera's.
void ParameterRondelComBase::WritePacket(const Packet& packet) {
  if (packet.length <= kCommandOffset) {
    PARAMETER_ERROR(logger_, "Rondel write insufficient buffer size %d\n",
                    static_cast<int>(packet.length));
    return;
  }
  const int32_t written = WriteData(packet.buffer.data(), packet.length);
  PARAMETER_DEBUG(logger_, "Rondel write %d bytes, Command: %d\n", written,
                  GetWord16(packet.buffer.data() + kCommandOffset));
}

// ---- Threads

void* ParameterRondelComBase::ReadFunction(void* com) {
  static_cast<ParameterRondelComBase*>(com)->ReadWorker();
  return nullptr;
}

void* ParameterRondelComBase::WriteFunction(void* com) {
  static_cast<ParameterRondelComBase*>(com)->WriteWorker();
  return nullptr;
}

// The way of packets from one thread of the live link to the next.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "base/owned_array.h"
#include "parameterexport.h"
#include "parametermemory.h"

// A frame in memory of its own.
struct PARAMETER_API ParameterRondelPacket : OnOrvoHeap {
  // Null when there is no memory.
  static ParameterRondelPacket* Create(const uint8_t* frame, uint32_t length);

  // One zero stands behind the frame, so that a text at its end is terminated.
  pdlib::OwnedArray<uint8_t> buffer;
  uint32_t length = 0;
};

// First in, first out. A tool may send requests for ever without reading a reply, so a queue holds
// a bounded number of packets and of bytes: who adds to a full one waits, the wait goes on to the
// socket, and in the end the tool can send no more until it reads.
class PARAMETER_API ParameterRondelQueue {
 public:
  using Packet = ParameterRondelPacket;

  static constexpr uint32_t kMaxPackets = 1024;
  static constexpr uint32_t kMaxBytes = 1u << 20;  // one more packet may start below it

  ~ParameterRondelQueue() { Close(); }

  void Open();
  // Ends all waits, now and later, and deletes what is queued.
  void Close();
  // Takes the packet. False, without it, when the queue is closed.
  bool Push(Packet* packet);
  // The oldest packet, which the caller deletes; null when none comes in time.
  Packet* Pop(std::chrono::seconds timeout);

 private:
  bool IsFull() const { return count_ == kMaxPackets || bytes_ >= kMaxBytes; }
  Packet* TakeFirst();

  std::mutex mutex_;
  std::condition_variable filled_;
  std::condition_variable drained_;
  std::array<Packet*, kMaxPackets> packets_{};  // a ring
  uint32_t first_ = 0;
  uint32_t count_ = 0;
  uint64_t bytes_ = 0;
  bool open_ = false;
};

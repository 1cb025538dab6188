#include "parameterrondelqueue.h"

#include <algorithm>
#include <memory>

ParameterRondelPacket* ParameterRondelPacket::Create(const uint8_t* frame, uint32_t length) {
  std::unique_ptr<ParameterRondelPacket> packet(new ParameterRondelPacket);
  if (packet == nullptr) return nullptr;
  if (!packet->buffer.allocate(size_t{length} + 1)) return nullptr;
  std::copy_n(frame, length, packet->buffer.data());
  packet->length = length;
  return packet.release();
}

void ParameterRondelQueue::Open() {
  const std::lock_guard lock(mutex_);
  open_ = true;
}

void ParameterRondelQueue::Close() {
  {
    const std::lock_guard lock(mutex_);
    open_ = false;
    while (count_ != 0) delete TakeFirst();
  }
  filled_.notify_all();
  drained_.notify_all();
}

bool ParameterRondelQueue::Push(Packet* packet) {
  std::unique_ptr<Packet> owner(packet);
  {
    std::unique_lock lock(mutex_);
    drained_.wait(lock, [this] { return !open_ || !IsFull(); });
    if (!open_) return false;
    bytes_ += packet->length;
    packets_[(first_ + count_++) % kMaxPackets] = owner.release();
  }
  filled_.notify_all();
  return true;
}

ParameterRondelQueue::Packet* ParameterRondelQueue::Pop(std::chrono::seconds timeout) {
  Packet* packet = nullptr;
  {
    std::unique_lock lock(mutex_);
    // Even a wait of no time takes a while.
    if (timeout.count() != 0)
      filled_.wait_for(lock, timeout, [this] { return !open_ || count_ != 0; });
    if (count_ == 0) return nullptr;
    packet = TakeFirst();
  }
  drained_.notify_all();
  return packet;
}

// With the lock held, and something queued.
ParameterRondelQueue::Packet* ParameterRondelQueue::TakeFirst() {
  Packet* packet = packets_[first_];
  first_ = (first_ + 1) % kMaxPackets;
  --count_;
  bytes_ -= packet->length;
  return packet;
}

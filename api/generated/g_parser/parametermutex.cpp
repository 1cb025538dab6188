#include "parametermutex.h"

#include <algorithm>
#include <chrono>

namespace {

// How long a new reader gives way to a waiting writer. Without it a stream of short readers keeps a
// writer out for ever; with no end to it, a reader could wait on one who waits for that reader.
constexpr std::chrono::milliseconds kCourtesy{2};

}  // namespace

ParameterMutex::Reader* ParameterMutex::FindReader(std::thread::id thread) {
  const auto end = readers_.begin() + readerCount_;
  const auto found =
      std::find_if(readers_.begin(), end, [&](const Reader& r) { return r.thread == thread; });
  return found == end ? nullptr : &*found;
}

bool ParameterMutex::OthersRead(std::thread::id self) const {
  return std::any_of(readers_.begin(), readers_.begin() + readerCount_,
                     [&](const Reader& r) { return r.thread != self; });
}

bool ParameterMutex::OthersWrite(std::thread::id self) const {
  return writerCount_ != 0 && writer_ != self;
}

void ParameterMutex::LockShared(std::unique_lock<std::mutex>& lock, std::thread::id self) {
  if (Reader* reader = FindReader(self)) {
    ++reader->count;
    return;
  }
  if (waitingWriters_ != 0 && writer_ != self)
    changed_.wait_for(lock, kCourtesy, [&] { return waitingWriters_ == 0; });
  changed_.wait(lock, [&] { return !OthersWrite(self) && readerCount_ < kMaxReaders; });
  readers_[readerCount_++] = {self, 1};
}

void ParameterMutex::LockExclusive(std::unique_lock<std::mutex>& lock, std::thread::id self) {
  ++waitingWriters_;
  changed_.wait(lock, [&] { return !OthersWrite(self) && !OthersRead(self); });
  --waitingWriters_;
  writer_ = self;
  ++writerCount_;
}

void ParameterMutex::Lock(bool shared) {
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock lock(mutex_);
  if (shared) {
    LockShared(lock, self);
  } else {
    LockExclusive(lock, self);
  }
}

void ParameterMutex::Unlock(bool shared) {
  const std::thread::id self = std::this_thread::get_id();
  {
    const std::lock_guard lock(mutex_);
    if (!shared) {
      if (writerCount_ != 0 && --writerCount_ == 0) writer_ = {};
    } else if (Reader* reader = FindReader(self); reader != nullptr && --reader->count == 0) {
      *reader = readers_[--readerCount_];
    }
  }
  changed_.notify_all();
}

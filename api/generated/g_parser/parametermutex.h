// The recursive read-write lock of the parameter framework.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "parameterexport.h"

// Many readers or one writer. Both nest; the thread that writes may read, and the sole reader may
// become the writer. Two readers that both want to become the writer wait for each other for ever:
// nobody in the framework asks for more while it reads.
class PARAMETER_API ParameterMutex {
 public:
  void Lock(bool shared);
  void Unlock(bool shared);

 private:
  struct Reader {
    std::thread::id thread;
    uint32_t count;
  };
  // Threads that read at the same time; one more waits for a place.
  static constexpr uint32_t kMaxReaders = 64;

  Reader* FindReader(std::thread::id thread);
  bool OthersRead(std::thread::id self) const;
  bool OthersWrite(std::thread::id self) const;
  void LockShared(std::unique_lock<std::mutex>& lock, std::thread::id self);
  void LockExclusive(std::unique_lock<std::mutex>& lock, std::thread::id self);

  std::mutex mutex_;
  std::condition_variable changed_;
  uint32_t writerCount_ = 0;
  uint32_t waitingWriters_ = 0;
  std::thread::id writer_;
  std::array<Reader, kMaxReaders> readers_{};
  uint32_t readerCount_ = 0;
};

// Holds a lock to the end of a scope.
class ParameterLock {
 public:
  ParameterLock(ParameterMutex& mutex, bool shared) : mutex_(mutex), shared_(shared) {
    mutex_.Lock(shared_);
  }
  ~ParameterLock() { mutex_.Unlock(shared_); }
  ParameterLock(const ParameterLock&) = delete;
  ParameterLock& operator=(const ParameterLock&) = delete;

 private:
  ParameterMutex& mutex_;
  const bool shared_;
};

class ParameterReadLock : public ParameterLock {
 public:
  explicit ParameterReadLock(ParameterMutex& mutex) : ParameterLock(mutex, true) {}
};

class ParameterWriteLock : public ParameterLock {
 public:
  explicit ParameterWriteLock(ParameterMutex& mutex) : ParameterLock(mutex, false) {}
};

#include <unistd.h>

#include <chrono>
#include <mutex>

#include "host/orvo_host.h"
#include "orvo/osutils.h"

namespace {

struct Clock {
  std::mutex mutex;
  bool fixed = false;
  uint64_t now = 0;
  uint64_t step = 0;
};
constinit Clock clockState;

uint64_t SystemTime() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace

namespace Orvo::OsUtils {

uint32_t GetProcessID() {
  return static_cast<uint32_t>(getpid());
}

uint32_t GetThreadID() {
  return static_cast<uint32_t>(gettid());
}

uint64_t GetTime() {
  const std::lock_guard lock(clockState.mutex);
  if (!clockState.fixed) return SystemTime();
  const uint64_t now = clockState.now;
  clockState.now += clockState.step;
  return now;
}

}  // namespace Orvo::OsUtils

namespace Orvo::Host {

void SetClock(uint64_t nanoseconds, uint64_t step) {
  const std::lock_guard lock(clockState.mutex);
  clockState.fixed = true;
  clockState.now = nanoseconds;
  clockState.step = step;
}

void UseSystemClock() {
  const std::lock_guard lock(clockState.mutex);
  clockState.fixed = false;
}

}  // namespace Orvo::Host

#include "orvo/mutex.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/orvo_host.h"

namespace {

class HostMutex : public Orvo::Mutex {
 public:
  explicit HostMutex(const char* name) : name_(name == nullptr ? "" : name) {}

  std::mutex& Lockable() { return mutex_; }

 private:
  std::string name_;  // for whoever looks at it in a debugger
  std::mutex mutex_;
};

// Mutexes live as long as the process. The registry keeps them reachable, so that a leak checker
// has nothing to say about them.
struct Registry {
  std::mutex mutex;
  std::vector<std::unique_ptr<HostMutex>> created;
};

Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

std::atomic<bool> creationFails = false;

}  // namespace

namespace Orvo {

Mutex* Mutex::Create(const char* name) {
  if (creationFails) return nullptr;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  return registry.created.emplace_back(std::make_unique<HostMutex>(name)).get();
}

void Mutex::Lock() {
  static_cast<HostMutex*>(this)->Lockable().lock();
}

void Mutex::Unlock() {
  static_cast<HostMutex*>(this)->Lockable().unlock();
}

namespace Host {

void FailMutexCreation(bool fail) {
  creationFails = fail;
}

}  // namespace Host

}  // namespace Orvo

#include "orvo/memory.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "host/orvo_host.h"

namespace {

struct AllocatorState {
  std::mutex mutex;
  Orvo::Host::AllocationCounters counters;
  int64_t untilFailure = -1;  // allocations that still succeed; negative: all of them
  bool failAllLater = false;
};
constinit AllocatorState allocator;

bool MustFail() {
  if (allocator.untilFailure < 0) return false;
  if (allocator.untilFailure > 0) {
    --allocator.untilFailure;
    return false;
  }
  if (!allocator.failAllLater) allocator.untilFailure = -1;
  return true;
}

}  // namespace

void* OrvoCalloc(size_t size) {
  const std::lock_guard lock(allocator.mutex);
  void* memory = MustFail() ? nullptr : std::calloc(1, std::max<size_t>(size, 1));
  if (memory == nullptr) {
    ++allocator.counters.failures;
  } else {
    ++allocator.counters.allocations;
    ++allocator.counters.live;
  }
  return memory;
}

void OrvoFree(void* memory) {
  if (memory == nullptr) return;
  const std::lock_guard lock(allocator.mutex);
  ++allocator.counters.releases;
  --allocator.counters.live;
  std::free(memory);
}

namespace Orvo::Host {

void FailAllocation(int64_t index, bool andAllLater) {
  const std::lock_guard lock(allocator.mutex);
  allocator.untilFailure = index;
  allocator.failAllLater = andAllLater;
}

void NeverFailAllocation() {
  const std::lock_guard lock(allocator.mutex);
  allocator.untilFailure = -1;
}

AllocationCounters Allocations() {
  const std::lock_guard lock(allocator.mutex);
  return allocator.counters;
}

}  // namespace Orvo::Host

// What the development stand-in of the utility layer adds for tests and tools. The PD library never
// uses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvo::Host {

struct LogLine {
  uint32_t group = 0;
  uint32_t level = 0;
  std::string text;
};

// While capture is on, lines are kept instead of going to standard error.
void StartLogCapture();
// Ends capture and hands out the lines, oldest first.
std::vector<LogLine> StopLogCapture();
// The lines kept so far; capture goes on.
std::vector<LogLine> CapturedLog();
// Lines at these levels and below go to standard error while capture is off (default: errors only).
void SetConsoleLevel(uint32_t highestLevel);

// Absolute paths given to FOpen are taken below this folder; "" (the default) opens them as they
// stand.
void SetRootFolder(const std::string& folder);

// Lets read number `index` (0 is the next one) come up short; with `andAllLater` all that follow as
// well.
void FailRead(int64_t index, bool andAllLater = false);
void NeverFailRead();

// Fixes the clock at `nanoseconds`; every reading then advances it by `step`.
void SetClock(uint64_t nanoseconds, uint64_t step = 0);
// Back to the system clock.
void UseSystemClock();

// Lets allocation number `index` (0 is the next one) fail; with `andAllLater` all that follow as
// well.
void FailAllocation(int64_t index, bool andAllLater = false);
void NeverFailAllocation();
// Mutex::Create gives null while set.
void FailMutexCreation(bool fail);

struct AllocationCounters {
  uint64_t allocations = 0;  // calls that were answered with memory
  uint64_t failures = 0;     // calls that were answered with null
  uint64_t releases = 0;     // releases of memory, null not counted
  uint64_t live = 0;         // allocations not yet released
};
AllocationCounters Allocations();

}  // namespace Orvo::Host

// Logging of the camera stack's utility layer.
#pragma once

#include <cstdint>

// Filter words of the camera stack: one bit per log group. A line below error level goes out when
// the bit of its group is set in either word; the second holds what was switched on while the stack
// runs.
extern uint32_t g_logInfo;
extern uint32_t g_logInfoUpdated;

namespace Orvo::Log {

enum LogGroup : uint32_t {
  kGroupStatsAF = 5,  // autofocus statistics, the group of this library
};

enum LogLevel : uint32_t {
  kLevelDebug = 0,
  kLevelError = 1,
  kLevelWarning = 2,
  kLevelInfo = 4,
  kLevelVerbose = 5,
};

// Writes one formatted line. The caller puts the whole prefix into the text.
void LogSystem(uint32_t group, uint32_t level, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// The part of a path behind its last '/'. Points into `path`.
const char* GetFileName(const char* path);

}  // namespace Orvo::Log

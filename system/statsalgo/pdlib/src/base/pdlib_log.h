// Log lines of the library. Errors always go out; PDLIB_LOG gates the rest (non-zero: info, 2 or
// more: verbose).
#pragma once

#include <cstdint>

#include "base/pdlib_switches.h"
#include "orvo/log.h"

namespace pdlib {

enum class LogTag { kStats, kPlugin };

struct LogSource {
  uint32_t level;
  LogTag tag;
  const char* file;
  int line;
  const char* function;
};

// Writes the line with its prefix: level word, process, thread, tag, file:line, function().
void WriteLog(const LogSource& source, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace pdlib

// Macros, because the place of the call belongs to the line.
#define PDLIB_LOG_LINE(level, tag, ...) \
  ::pdlib::WriteLog({level, tag, __FILE__, __LINE__, __func__}, __VA_ARGS__)

#define PDLIB_ERROR(...) \
  PDLIB_LOG_LINE(::Orvo::Log::kLevelError, ::pdlib::LogTag::kStats, __VA_ARGS__)
#define PDLIB_INFO(...)                                                              \
  do {                                                                               \
    if (PDLIB_LOG != 0)                                                              \
      PDLIB_LOG_LINE(::Orvo::Log::kLevelInfo, ::pdlib::LogTag::kStats, __VA_ARGS__); \
  } while (false)
#define PDLIB_VERBOSE(...)                                                              \
  do {                                                                                  \
    if (PDLIB_LOG >= 2)                                                                 \
      PDLIB_LOG_LINE(::Orvo::Log::kLevelVerbose, ::pdlib::LogTag::kStats, __VA_ARGS__); \
  } while (false)
// The plug-in's own entry checks.
#define PDLIB_ENTRY_ERROR(...) \
  PDLIB_LOG_LINE(::Orvo::Log::kLevelError, ::pdlib::LogTag::kPlugin, __VA_ARGS__)
#define PDLIB_ENTRY_INFO(...)                                                         \
  do {                                                                                \
    if (PDLIB_LOG != 0)                                                               \
      PDLIB_LOG_LINE(::Orvo::Log::kLevelInfo, ::pdlib::LogTag::kPlugin, __VA_ARGS__); \
  } while (false)

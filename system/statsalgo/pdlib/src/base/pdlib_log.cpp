#include "base/pdlib_log.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "orvo/osutils.h"

namespace pdlib {
namespace {

// Longer lines are cut: a log line never allocates.
constexpr size_t kMaxLine = 1024;

const char* LevelWord(uint32_t level) {
  switch (level) {
    case Orvo::Log::kLevelError: return "[ERROR]";
    case Orvo::Log::kLevelWarning: return "[ WARN]";
    case Orvo::Log::kLevelInfo: return "[ INFO]";
    default: return "[ VERB]";
  }
}

const char* TagWord(LogTag tag) {
  return tag == LogTag::kPlugin ? "[VEK    ]" : "[STATS_AF]";
}

// Asked here as well as behind LogSystem, so that nobody formats a line that is dropped.
bool PassesFilterWords(uint32_t level) {
  constexpr uint32_t kGroupBit = 1u << Orvo::Log::kGroupStatsAF;
  return level == Orvo::Log::kLevelError || ((g_logInfo | g_logInfoUpdated) & kGroupBit) != 0;
}

}  // namespace

void WriteLog(const LogSource& source, const char* format, ...) {
  if (!PassesFilterWords(source.level)) return;
  char line[kMaxLine];
  const int prefix = std::snprintf(
      line, sizeof(line), "%s %u %u %s %s:%d %s() ", LevelWord(source.level),
      Orvo::OsUtils::GetProcessID(), Orvo::OsUtils::GetThreadID(), TagWord(source.tag),
      Orvo::Log::GetFileName(source.file), source.line, source.function);
  if (prefix < 0) return;
  const size_t used = static_cast<size_t>(prefix);
  if (used < sizeof(line)) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line + used, sizeof(line) - used, format, arguments);
    va_end(arguments);
  }
  Orvo::Log::LogSystem(Orvo::Log::kGroupStatsAF, source.level, "%s", line);
}

}  // namespace pdlib

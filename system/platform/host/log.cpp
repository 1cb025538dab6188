#include "orvo/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "host/orvo_host.h"

uint32_t g_logInfo = ~0u;
uint32_t g_logInfoUpdated = 0;

namespace {

using Orvo::Host::LogLine;

struct LogState {
  std::mutex mutex;
  bool capturing = false;
  std::vector<LogLine> lines;
  uint32_t consoleLevel = Orvo::Log::kLevelError;
};

// Never destroyed: lines may still come from destructors at the end of the process.
LogState& State() {
  static LogState& state = *new LogState;
  return state;
}

// Errors weigh most; debug lines, though numbered 0, weigh least.
uint32_t Rank(uint32_t level) {
  return level == Orvo::Log::kLevelDebug ? Orvo::Log::kLevelVerbose + 1 : level;
}

bool PassesFilterWords(uint32_t group, uint32_t level) {
  if (level == Orvo::Log::kLevelError) return true;
  return group < 32 && (((g_logInfo | g_logInfoUpdated) >> group) & 1u) != 0;
}

std::string Format(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return format;
  std::string text(static_cast<size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

}  // namespace

namespace Orvo::Log {

void LogSystem(uint32_t group, uint32_t level, const char* format, ...) {
  if (format == nullptr || !PassesFilterWords(group, level)) return;
  LogState& state = State();
  const std::lock_guard lock(state.mutex);
  if (!state.capturing && Rank(level) > Rank(state.consoleLevel)) return;

  va_list arguments;
  va_start(arguments, format);
  std::string text = Format(format, arguments);
  va_end(arguments);
  if (state.capturing) {
    state.lines.push_back({group, level, std::move(text)});
  } else {
    // Some messages end with a line end of their own.
    if (text.empty() || text.back() != '\n') text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

const char* GetFileName(const char* path) {
  if (path == nullptr) return "";
  const char* slash = std::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

}  // namespace Orvo::Log

namespace Orvo::Host {

void StartLogCapture() {
  LogState& state = State();
  const std::lock_guard lock(state.mutex);
  state.capturing = true;
  state.lines.clear();
}

std::vector<LogLine> StopLogCapture() {
  LogState& state = State();
  const std::lock_guard lock(state.mutex);
  state.capturing = false;
  return std::exchange(state.lines, {});
}

std::vector<LogLine> CapturedLog() {
  LogState& state = State();
  const std::lock_guard lock(state.mutex);
  return state.lines;
}

void SetConsoleLevel(uint32_t highestLevel) {
  LogState& state = State();
  const std::lock_guard lock(state.mutex);
  state.consoleLevel = highestLevel;
}

}  // namespace Orvo::Host

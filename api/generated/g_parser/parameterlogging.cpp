#include "parameterlogging.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "orvo/log.h"

namespace {

constexpr size_t kMaxMessage = 4096;

struct LevelForm {
  const char* word;
  uint32_t platformLevel;
};

LevelForm FormOf(ParameterLogLevel level) {
  switch (level) {
    case kParameterLogDebug: return {"[DEBUG]", Orvo::Log::kLevelDebug};
    case kParameterLogWarning: return {"[WARNING]", Orvo::Log::kLevelWarning};
    case kParameterLogError: break;
  }
  return {"[ERROR]", Orvo::Log::kLevelError};
}

void WriteLine(const IParameterLoggingAPI* logger, LevelForm form, const char* file, int line,
               const char* message) {
  constexpr uint32_t kGroup = Orvo::Log::kGroupStatsAF;
  const void* instance = logger;
  const char* tag = logger == nullptr ? nullptr : logger->GetBinaryTag();
  if (logger == nullptr) {
    Orvo::Log::LogSystem(kGroup, form.platformLevel, "%s ParameterParser: %s:%d: %s", form.word,
                         file, line, message);
  } else if (tag == nullptr) {
    Orvo::Log::LogSystem(kGroup, form.platformLevel, "%s ParameterParser: %p %s:%d: %s", form.word,
                         instance, file, line, message);
  } else {
    Orvo::Log::LogSystem(kGroup, form.platformLevel, "%s ParameterParser: %p (%s): %s:%d: %s",
                         form.word, instance, tag, file, line, message);
  }
}

}  // namespace

namespace ParameterLogging {

const char* GetFileName(const char* path) {
  if (path == nullptr) return "FileNameIsNULL";
  const char* name = path;
  for (const char* c = path; *c != '\0'; ++c) {
    if (*c == '/' || *c == '\\') name = c + 1;
  }
  return name;
}

void Write(const IParameterLoggingAPI* logger, ParameterLogLevel level, const char* file, int line,
           const char* format, ...) {
  if (logger != nullptr && !logger->IsLogLevelEnabled(level)) return;
  char message[kMaxMessage];
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);
  if (written < 0) message[0] = '\0';
  WriteLine(logger, FormOf(level), GetFileName(file), line, message);
}

}  // namespace ParameterLogging

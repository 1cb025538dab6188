// The log lines of the parameter framework.
#pragma once

#include <cstdint>

#include "parameterexport.h"

enum ParameterLogLevel : uint32_t {
  kParameterLogDebug = 0,
  kParameterLogWarning = 1,
  kParameterLogError = 2,
};

// Who logs: which levels are on, and the tag of the tuning data in force.
class PARAMETER_API IParameterLoggingAPI {
 public:
  // Null when there is none.
  virtual const char* GetBinaryTag() const = 0;
  virtual bool IsLogLevelEnabled(ParameterLogLevel level) const = 0;
  virtual ~IParameterLoggingAPI() = default;
};

namespace ParameterLogging {

// Writes one line; without a logger every level is on. Longer messages than 4095 characters are
// cut.
PARAMETER_API void Write(const IParameterLoggingAPI* logger, ParameterLogLevel level,
                         const char* file, int line, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

// The part of a path behind its last '/' or '\'.
PARAMETER_API const char* GetFileName(const char* path);

}  // namespace ParameterLogging

// Macros, because the place of the call belongs to the line.
#define PARAMETER_LOG(logger, level, ...) \
  ParameterLogging::Write(logger, level, __FILE__, __LINE__, __VA_ARGS__)
#define PARAMETER_ERROR(logger, ...) PARAMETER_LOG(logger, kParameterLogError, __VA_ARGS__)
#define PARAMETER_WARNING(logger, ...) PARAMETER_LOG(logger, kParameterLogWarning, __VA_ARGS__)
#define PARAMETER_DEBUG(logger, ...) PARAMETER_LOG(logger, kParameterLogDebug, __VA_ARGS__)

// Texts and raw copies of the parameter framework.
#pragma once

#include <cstddef>
#include <cstdint>

#include "parameterexport.h"
#include "parameterlogging.h"

namespace ParameterUtils {

constexpr uint32_t kNoIndex = UINT32_MAX;
constexpr uint32_t kMaxVariable = 129;  // characters of a name in a path

// Takes one step of a path such as "S[2].x": its name, and its index or kNoIndex. Characters
// consumed, the point included.
PARAMETER_API uint32_t GetVariable(const char* path, char* name, uint32_t* index, size_t size);
// Copies the text up to the separator; characters copied.
PARAMETER_API uint32_t GetSubString(const char* text, char separator, char* buffer, size_t size);
// The step of a path behind its last point.
PARAMETER_API const char* GetLastName(const char* path);
// UINT32_MAX if the character isn't there.
PARAMETER_API uint32_t GetStringPos(const char* text, char character);

// A plain decimal number, such as "-12.5"; anything else clears `success` and gives 0.
PARAMETER_API double StringToDouble(const char* text, bool* success);
// At most `decimals` digits behind the point, the last one rounded, without trailing zeros. A short
// buffer gets what fits; `success`: what was left out is at most 1.
PARAMETER_API void DoubleToString(double value, char* buffer, uint32_t size, int decimals,
                                  bool* success);

// Bytes that `count` bytes occupy in a file of this alignment.
constexpr uint64_t Aligned(uint64_t count, uint32_t alignment) {
  return alignment <= 1 ? count : (count + alignment - 1) / alignment * alignment;
}

// Copies `count` bytes at `*position` of a buffer of `length` bytes and moves the position behind
// them. False, without a change, if they don't all stand there.
PARAMETER_API bool ReadBuffer(const uint8_t* buffer, uint64_t length, uint64_t* position,
                              void* value, uint64_t count, uint32_t alignment,
                              const IParameterLoggingAPI* logger);
// The same for a string field of `fieldSize` bytes; `value` has one place more, and is terminated.
PARAMETER_API bool ReadString(const uint8_t* buffer, uint64_t length, uint64_t* position,
                              char* value, uint32_t fieldSize, uint32_t alignment,
                              const IParameterLoggingAPI* logger);
// Gives the string field in memory of its own, for OrvoFree; null if it can't.
PARAMETER_API char* ReadString(const uint8_t* buffer, uint64_t length, uint64_t* position,
                               uint32_t fieldSize, uint32_t alignment,
                               const IParameterLoggingAPI* logger);
// Appends a text to an answer, with or without its end mark. False, without a change, if it doesn't
// fit.
PARAMETER_API bool WriteString(const char* text, char* buffer, uint32_t size, uint32_t* position,
                               bool writeTerminator, const IParameterLoggingAPI* logger);

}  // namespace ParameterUtils

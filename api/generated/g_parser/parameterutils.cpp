#include "parameterutils.h"

#include <algorithm>
#include <cstring>

#include "orvo/memory.h"

namespace ParameterUtils {
namespace {

// Digits up to the first other character; what passes 32 bits stays at the largest number.
uint32_t ReadIndex(const char* text, size_t length) {
  if (length == 0 || text[0] < '0' || text[0] > '9') return kNoIndex;
  uint64_t number = 0;
  for (size_t i = 0; i < length && text[i] >= '0' && text[i] <= '9'; ++i)
    number = std::min<uint64_t>(number * 10 + static_cast<uint64_t>(text[i] - '0'), kNoIndex);
  return static_cast<uint32_t>(number);
}

void CopyText(const char* text, size_t length, char* buffer, size_t size) {
  const size_t copied = std::min(length, size - 1);
  std::memcpy(buffer, text, copied);
  buffer[copied] = '\0';
}

}  // namespace

uint32_t GetVariable(const char* path, char* name, uint32_t* index, size_t size) {
  *index = kNoIndex;
  name[0] = '\0';
  if (path == nullptr || size == 0) return 0;
  const size_t length = std::strcspn(path, ".");
  const char* bracket = static_cast<const char*>(std::memchr(path, '[', length));
  const size_t nameLength = bracket == nullptr ? length : static_cast<size_t>(bracket - path);
  if (bracket != nullptr)
    *index =
        ReadIndex(bracket + 1, std::min(length - nameLength - 1, std::strcspn(bracket, "]") - 1));
  CopyText(path, std::min<size_t>(nameLength, kMaxVariable), name, size);
  return static_cast<uint32_t>(path[length] == '.' ? length + 1 : length);
}

const char* GetLastName(const char* path) {
  const char* point = path == nullptr ? nullptr : std::strrchr(path, '.');
  return point == nullptr ? path : point + 1;
}

uint32_t GetStringPos(const char* text, char character) {
  const char* found = text == nullptr ? nullptr : std::strchr(text, character);
  return found == nullptr ? UINT32_MAX : static_cast<uint32_t>(found - text);
}

uint32_t GetSubString(const char* text, char separator, char* buffer, size_t size) {
  if (text == nullptr || buffer == nullptr || size == 0) return 0;
  const uint32_t end = GetStringPos(text, separator);
  CopyText(text, end == UINT32_MAX ? std::strlen(text) : end, buffer, size);
  return static_cast<uint32_t>(std::strlen(buffer));
}

bool ReadBuffer(const uint8_t* buffer, uint64_t length, uint64_t* position, void* value,
                uint64_t count, uint32_t alignment, const IParameterLoggingAPI* logger) {
  if (buffer == nullptr) {
    PARAMETER_ERROR(logger, "ReadBuffer called with nullptr buffer\n");
    return false;
  }
  if (value == nullptr) {
    PARAMETER_ERROR(logger, "ReadBuffer called with nullptr value\n");
    return false;
  }
  const uint64_t left = *position < length ? length - *position : 0;
  if (count > left) {
    PARAMETER_ERROR(logger, "ReadBuffer failed, read %d bytes, expected %d bytes\n",
                    static_cast<int>(left), static_cast<int>(count));
    return false;
  }
  std::memcpy(value, buffer + *position, count);
  *position += Aligned(count, alignment);
  return true;
}

bool ReadString(const uint8_t* buffer, uint64_t length, uint64_t* position, char* value,
                uint32_t fieldSize, uint32_t alignment, const IParameterLoggingAPI* logger) {
  if (!ReadBuffer(buffer, length, position, value, fieldSize, alignment, logger)) return false;
  value[fieldSize] = '\0';
  return true;
}

char* ReadString(const uint8_t* buffer, uint64_t length, uint64_t* position, uint32_t fieldSize,
                 uint32_t alignment, const IParameterLoggingAPI* logger) {
  if (fieldSize > length) return nullptr;
  auto* value = static_cast<char*>(OrvoCalloc(size_t{fieldSize} + 1));
  if (value != nullptr &&
      !ReadString(buffer, length, position, value, fieldSize, alignment, logger)) {
    OrvoFree(value);
    return nullptr;
  }
  return value;
}

bool WriteString(const char* text, char* buffer, uint32_t size, uint32_t* position,
                 bool writeTerminator, const IParameterLoggingAPI* logger) {
  const size_t count = std::strlen(text) + (writeTerminator ? 1 : 0);
  if (*position > size || count > size - *position) {
    PARAMETER_ERROR(logger, "Failed to write %lld bytes to binary offset %d, length %d\n",
                    static_cast<long long>(count), static_cast<int>(*position),
                    static_cast<int>(size));
    return false;
  }
  std::copy_n(text, count, buffer + *position);
  *position += static_cast<uint32_t>(count);
  return true;
}

}  // namespace ParameterUtils

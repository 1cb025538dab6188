#include "parametertypes.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "orvo/osutils.h"
#include "parameterutils.h"

ParameterParserInfo::ParameterParserInfo(const char* name_, const char* type_)
    : name(name_), type(type_) {}

ParameterParserInfo::ParameterParserInfo(const char* name_, const char* type_, double number,
                                         int decimals)
    : name(name_), type(type_) {
  bool ignored = false;  // the longest number fits
  ParameterUtils::DoubleToString(number, value, sizeof(value), decimals, &ignored);
}

ParameterParserInfo::ParameterParserInfo(const char* name_, const char* type_, const char* text)
    : name(name_), type(type_) {
  Orvo::OsUtils::StrLCpy(value, text == nullptr ? "" : text, sizeof(value));
}

ParameterParserInfo::ParameterParserInfo(const char* name_, const char* type_, bool isArray_,
                                         bool flag_, uint32_t count)
    : name(name_), type(type_), isArray(isArray_), flag(flag_), arrayCount(count) {}

bool ParameterCTValue::ToString(char* buffer, uint32_t size, bool withId) const {
  if (buffer == nullptr || size == 0) return false;
  int length = withId ? std::snprintf(buffer, size, "%u=", id_) : 0;
  if (length < 0 || static_cast<uint32_t>(length) >= size) return false;
  const uint32_t left = size - static_cast<uint32_t>(length);
  char* end = buffer + length;
  length = isInteger_ ? std::snprintf(end, left, "%" PRId64, integer_)
                      : std::snprintf(end, left, "%f", real_);
  return length >= 0 && static_cast<uint32_t>(length) < left;
}

namespace {

constexpr uint32_t kMaxIdDigits = 9;

bool ReadId(const char* text, size_t length, uint32_t& id) {
  if (length == 0 || length > kMaxIdDigits) return false;
  id = 0;
  for (size_t i = 0; i < length; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    id = id * 10 + static_cast<uint32_t>(text[i] - '0');
  }
  return true;
}

// Exact over all 64 bits, which a double is not; saturates.
int64_t ReadInteger(const char* text) {
  const bool negative = *text == '-';
  if (negative) ++text;
  const uint64_t limit = negative ? uint64_t{1} << 63 : static_cast<uint64_t>(INT64_MAX);
  uint64_t value = 0;
  for (; *text != '\0'; ++text) {
    const uint64_t digit = static_cast<uint64_t>(*text - '0');
    value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
  }
  return static_cast<int64_t>(negative ? 0 - value : value);
}

}  // namespace

bool ParameterCTValue::FromString(const char* text) {
  *this = {};
  if (text == nullptr) return false;
  const uint32_t equals = ParameterUtils::GetStringPos(text, '=');
  if (equals == UINT32_MAX || !ReadId(text, equals, id_)) return false;
  const char* number = text + equals + 1;
  real_ = ParameterUtils::StringToDouble(number, &valid_);
  isInteger_ = std::strchr(number, '.') == nullptr;
  if (isInteger_ && valid_) integer_ = ReadInteger(number);
  if (isInteger_) real_ = 0.0;
  return valid_;
}

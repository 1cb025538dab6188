#include <algorithm>
#include <cstring>

#include "orvo/osutils.h"

namespace {

int Folded(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code >= 'A' && code <= 'Z' ? code - 'A' + 'a' : code;
}

}  // namespace

namespace Orvo::OsUtils {

size_t StrLCpy(char* destination, const char* source, size_t size) {
  const size_t wanted = std::strlen(source);
  if (size > 0) {
    const size_t copied = std::min(wanted, size - 1);
    std::memcpy(destination, source, copied);
    destination[copied] = '\0';
  }
  return wanted;
}

size_t StrLCat(char* destination, const char* source, size_t size) {
  const size_t used = strnlen(destination, size);
  return used + StrLCpy(destination + used, source, size - used);
}

int StrNICmp(const char* first, const char* second, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const int difference = Folded(first[i]) - Folded(second[i]);
    if (difference != 0 || first[i] == '\0') return difference;
  }
  return 0;
}

}  // namespace Orvo::OsUtils

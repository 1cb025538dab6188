#include "format.h"

#include <charconv>

namespace tessarine {
namespace {

// Reads a number and the point behind it, if one is expected.
template <class Number>
bool TakeNumber(const char*& at, const char* end, Number& number, bool isLast) {
  const auto read = std::from_chars(at, end, number);
  if (read.ec != std::errc()) return false;
  at = read.ptr;
  if (isLast) return at == end;
  return at != end && *at++ == '.';
}

}  // namespace

std::string ToText(const Version& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
         std::to_string(version.patch);
}

std::optional<Version> ParseVersion(const std::string& text) {
  Version version;
  const char* at = text.data();
  const char* end = at + text.size();
  if (TakeNumber(at, end, version.major, false) && TakeNumber(at, end, version.minor, false) &&
      TakeNumber(at, end, version.patch, true))
    return version;
  return std::nullopt;
}

uint32_t Format::Alignment() const {
  return version_ >= Version{1, 1, 0} && version_ < Version{3, 0, 1} ? 8 : 1;
}

uint64_t Format::Padded(uint64_t size) const {
  return (size + Alignment() - 1) / Alignment() * Alignment();
}

uint32_t Format::HeaderSize() const {
  return kHeaderTagSize + 4 + 8 + (HasTexts() ? kToolSize + kTagSize : 0) + (HasFlags() ? 8 : 0) +
         4 + 4;
}

uint32_t Format::ModeEntrySize() const {
  return 2 * WordSize() + 8 + (HasLinks() ? WordSize() : 0) + (HasModeFlags() ? WordSize() : 0);
}

uint32_t Format::StatedSymbolSize() const {
  return Alignment() == 1 ? OccupiedSymbolSize() : 76;
}

uint32_t Format::OccupiedSymbolSize() const {
  return 4 * WordSize() + kModuleTypeSize + 8 + (HasReserved() ? kReservedSize : 0) +
         (HasDuplicates() ? WordSize() : 0);
}

}  // namespace tessarine

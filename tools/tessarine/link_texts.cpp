#include "link_texts.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "json_values.h"

namespace tessarine {
namespace {

constexpr size_t kLongestValue = 512;
// Half of the last digit that a device shows, and a little for the sums on both sides.
constexpr double kShownTolerance = 0.5000001e-10;

std::optional<double> ParseDecimal(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<uint32_t> ParseCount(const std::string& text) {
  uint32_t count = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, count);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return count;
}

bool IsType(const std::string& word) {
  static const char* const kTypes[] = {"Int32",  "Float",     "Boolean", "Enum",
                                       "String", "Structure", "Module"};
  return std::find(std::begin(kTypes), std::end(kTypes), word) != std::end(kTypes);
}

// Cuts the word behind the last comma off; nothing without one.
std::optional<std::string> TakeLastWord(std::string& text) {
  const size_t comma = text.rfind(',');
  if (comma == std::string::npos) return std::nullopt;
  std::string word = text.substr(comma + 1);
  text.resize(comma);
  return word;
}

// Nothing if no type ends the text.
std::optional<LinkEntry> ParseEntry(std::string text) {
  LinkEntry entry;
  std::optional<std::string> word = TakeLastWord(text);
  if (word) entry.count = ParseCount(*word);
  if (entry.count) word = TakeLastWord(text);
  if (!word || !IsType(*word)) return std::nullopt;
  entry.type = *word;
  const size_t equals = text.find('=');
  entry.name = text.substr(0, equals);
  if (equals != std::string::npos) entry.value = text.substr(equals + 1);
  return entry;
}

bool IsSameNumber(const std::string& sent, const std::string& shown) {
  const std::optional<double> a = ParseDecimal(sent);
  const std::optional<double> b = ParseDecimal(shown);
  if (!a || !b) return false;
  const bool hasPoint = (sent + shown).find('.') != std::string::npos;
  const std::optional<float> value = hasPoint ? ToFloat(*a) : std::nullopt;
  return *a == *b || (value && MayShow(shown, *value));
}

}  // namespace

std::vector<std::string> SplitText(const std::string& text, char separator) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  for (size_t at = 0; at <= text.size();) {
    const size_t end = std::min(text.find(separator, at), text.size());
    parts.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return parts;
}

std::vector<LinkEntry> ParseLinkEntries(const std::string& text) {
  std::vector<LinkEntry> entries;
  std::string open;
  for (const std::string& part : SplitText(text, ';')) {
    open += part;
    if (std::optional<LinkEntry> entry = ParseEntry(open)) {
      entries.push_back(std::move(*entry));
      open.clear();
    } else {
      open += ';';
    }
  }
  return entries;
}

std::vector<std::optional<std::string>> ParseLinkValues(const std::string& text,
                                                        const std::vector<std::string>& names) {
  const std::vector<std::string> parts = SplitText(text, ';');
  std::vector<std::optional<std::string>> values(names.size());
  auto next = parts.begin();
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string start = names[i] + "=";
    const auto found = std::find_if(
        next, parts.end(), [&](const std::string& part) { return part.rfind(start, 0) == 0; });
    if (found == parts.end()) continue;
    values[i] = found->substr(start.size());
    next = found + 1;
  }
  return values;
}

LinkPlace PlaceOf(const std::string& fieldPath) {
  const size_t point = fieldPath.rfind('.');
  if (point == std::string::npos) return {fieldPath, ""};
  return {fieldPath.substr(0, point), fieldPath.substr(point + 1)};
}

std::string WithoutIndex(const std::string& name) {
  return name.substr(0, name.find('['));
}

bool IsSendable(const std::string& value) {
  return !value.empty() && value.size() < kLongestValue &&
         value.find_first_of(std::string(";\0", 2)) == std::string::npos;
}

std::optional<float> ShownFloat(const std::string& shown) {
  const std::optional<double> number = ParseDecimal(shown);
  return number ? ToFloat(*number) : std::nullopt;
}

bool MayShow(const std::string& shown, float value) {
  const std::optional<double> number = ParseDecimal(shown);
  if (!number) return false;
  return ToFloat(*number) == value || std::abs(*number - double{value}) <= kShownTolerance;
}

bool IsSameValue(const std::string& sent, const std::string& shown) {
  if (sent == shown) return true;
  const std::vector<std::string> a = SplitText(sent, ',');
  const std::vector<std::string> b = SplitText(shown, ',');
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), IsSameNumber);
}

}  // namespace tessarine

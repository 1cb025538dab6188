// The texts of requests and replies of the live link, taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessarine {

// The parts of a text between separators; none of an empty text.
std::vector<std::string> SplitText(const std::string& text, char separator);

// What stands below a path: a field, or a module with the mode that its values come from.
struct LinkEntry {
  std::string name;  // "" for the field that the path itself leads to
  std::optional<std::string> value;
  std::string type;               // "Int32", "Structure", "Module", ...
  std::optional<uint32_t> count;  // of an array

  bool operator==(const LinkEntry&) const = default;
};

// An entry ends with its type: separators within a text don't end it.
std::vector<LinkEntry> ParseLinkEntries(const std::string& text);

// The values of names out of "name=value" joined by ";", in the order of both.
std::vector<std::optional<std::string>> ParseLinkValues(const std::string& text,
                                                        const std::vector<std::string>& names);

// Where a field stands: "tessarinePDLib.preProcess" and "boxFilterLength".
struct LinkPlace {
  std::string path;
  std::string name;

  std::string FullPath() const { return path + "." + name; }
};
LinkPlace PlaceOf(const std::string& fieldPath);
// "filterSet" of "filterSet[1]".
std::string WithoutIndex(const std::string& name);

// Whether a value can stand in an assignment.
bool IsSendable(const std::string& value);

// The value that a device shows, a float with ten digits behind the point, as a float; nothing if
// it is no number.
std::optional<float> ShownFloat(const std::string& shown);
// Whether such a text may stand for the float.
bool MayShow(const std::string& shown, float value);
// Whether a device that shows this holds what it was sent; arrays are joined by ",".
bool IsSameValue(const std::string& sent, const std::string& shown);

}  // namespace tessarine

#include "link_fields.h"

#include <algorithm>

#include "source_text.h"

namespace tessarine {
namespace {

constexpr int kDeepest = 16;

OrderedJson NumberToJson(const std::optional<std::string>& text) {
  if (!text) return nullptr;
  OrderedJson number = OrderedJson::parse(*text, nullptr, false);
  return number.is_number() ? number : TextToJson(*text);
}

// A device answers for an element that an array doesn't have with the whole array.
bool IsBehindEnd(const LinkEntry& entry, const std::string& path) {
  return entry.name.empty() && entry.count && path.back() == ']';
}

class Walk {
 public:
  Walk(LinkDevice& device, const std::string& branch) : device_(device), branch_(branch) {}

  void Below(const std::string& path, int depth) {
    if (depth > kDeepest) return;
    for (const LinkEntry& entry : device_.Entries(branch_, path)) {
      if (IsBehindEnd(entry, path)) continue;
      const std::string full = entry.name.empty() ? path : path + "." + entry.name;
      if (entry.type != "Structure") {
        leaves_.push_back({full, ValueOf(entry, full)});
      } else if (entry.count) {
        for (uint32_t i = 0; i < *entry.count; ++i)
          Below(full + "[" + std::to_string(i) + "]", depth + 1);
      } else if (!entry.name.empty()) {
        Below(full, depth + 1);
      }
    }
  }
  std::vector<LinkLeaf> Take() { return std::move(leaves_); }

 private:
  OrderedJson ValueOf(const LinkEntry& entry, const std::string& path) {
    if (entry.type == "String") {
      const std::optional<std::string> text = device_.Value(branch_, PlaceOf(path));
      return text ? TextToJson(*text) : OrderedJson(nullptr);
    }
    if (!entry.count) return NumberToJson(entry.value);
    OrderedJson list = OrderedJson::array();
    for (const auto& element : device_.Elements(branch_, PlaceOf(path), *entry.count))
      list.push_back(NumberToJson(element));
    return list;
  }

  LinkDevice& device_;
  const std::string& branch_;
  std::vector<LinkLeaf> leaves_;
};

std::string WhyNoModule(LinkDevice& device, const std::string& branch, const std::string& module) {
  std::vector<std::string> names;
  for (const LinkEntry& entry : device.Modules(branch)) names.push_back(entry.name);
  if (std::find(names.begin(), names.end(), module) != names.end())
    return module + ": its fields are not known to the device, so none can be asked for";
  return "the device has no module '" + module + "'" + NearestName(module, names);
}

}  // namespace

std::vector<LinkLeaf> LeavesOnDevice(LinkDevice& device, const std::string& branch,
                                     const std::string& path) {
  Walk walk(device, branch);
  walk.Below(path, 0);
  return walk.Take();
}

std::string FindAbsent(LinkDevice& device, const std::string& branch, const std::string& path) {
  const std::vector<std::string> steps = SplitText(path, '.');
  std::string above = steps.empty() ? "" : steps[0];
  if (device.Entries(branch, above).empty()) return WhyNoModule(device, branch, above);
  for (size_t i = 1; i < steps.size(); ++i) {
    std::vector<std::string> names;
    for (const LinkEntry& entry : device.Entries(branch, above)) names.push_back(entry.name);
    if (std::find(names.begin(), names.end(), WithoutIndex(steps[i])) == names.end())
      return above + " has no field '" + steps[i] + "'" + NearestName(steps[i], names);
    above += "." + steps[i];
    const std::vector<LinkEntry> entries = device.Entries(branch, above);
    if (entries.empty()) return above + " is not there";
    if (IsBehindEnd(entries[0], above))
      return above + " is not there: its array has " + std::to_string(*entries[0].count);
  }
  return "";
}

std::string ToText(LinkDevice& device, const std::string& branch, const LinkOutcome& outcome) {
  const std::string path = outcome.asked.place.FullPath();
  if (!outcome.value) {
    const std::string absent = FindAbsent(device, branch, path);
    return path + ": not taken: " +
           (absent.empty() ? "the device refuses '" + outcome.asked.value + "'" : absent);
  }
  const std::string text = path + " = " + *outcome.value;
  return outcome.IsTaken() ? text
                           : text + ", not the " + outcome.asked.value + " that was asked for";
}

OrderedJson ToJson(const LinkOutcome& outcome) {
  return {{"field", outcome.asked.place.FullPath()},
          {"asked", TextToJson(outcome.asked.value)},
          {"value", outcome.value ? TextToJson(*outcome.value) : OrderedJson(nullptr)},
          {"taken", outcome.IsTaken()}};
}

}  // namespace tessarine

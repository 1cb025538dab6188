#include "link_device.h"

#include <algorithm>

namespace tessarine {
namespace {

constexpr size_t kNamesOfRequest = 256;  // with their values far below a frame
constexpr uint32_t kMostElements = 1'000'000;

std::string Joined(std::span<const std::string> names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

// Assignments that one request can make: to one path, and an array alone, for its values come back
// whole.
size_t CountOfRequest(std::span<const LinkAssignment> assignments) {
  constexpr size_t kMost = 32;
  const auto isArray = [](const LinkAssignment& assignment) {
    return assignment.value.find(',') != std::string::npos;
  };
  size_t count = 1;
  while (count < std::min(kMost, assignments.size()) && !isArray(assignments[count - 1]) &&
         !isArray(assignments[count]) && assignments[count].place.path == assignments[0].place.path)
    ++count;
  return count;
}

}  // namespace

std::string LinkDevice::AskBranch(LinkCommand command, const std::string& branch,
                                  const std::string& rest) {
  return client_.AskText(command, TextPayload(rest.empty() ? branch : branch + ":" + rest));
}

std::vector<std::string> LinkDevice::ActiveModes() {
  return SplitText(client_.AskText(LinkCommand::kActiveModes), ';');
}

std::vector<std::string> LinkDevice::Controls() {
  return SplitText(client_.AskText(LinkCommand::kControlValues), ',');
}

std::vector<std::string> LinkDevice::Triggers() {
  return SplitText(client_.AskText(LinkCommand::kTriggerValues), ',');
}

std::vector<std::string> LinkDevice::ChildModes(const std::string& branch) {
  return SplitText(AskBranch(LinkCommand::kChildModes, branch, ""), ',');
}

std::vector<LinkEntry> LinkDevice::Modules(const std::string& branch) {
  return Entries(branch, "");
}

// A field's own entry may bring its name, as if it were a field below.
std::vector<LinkEntry> LinkDevice::Entries(const std::string& branch, const std::string& path) {
  std::vector<LinkEntry> entries = AskEntries(branch, path);
  const std::string own = WithoutIndex(PlaceOf(path).name);
  if (entries.size() == 1 && !own.empty() && WithoutIndex(entries[0].name) == own &&
      AskEntries(branch, path + "." + own).empty())
    entries[0].name.clear();
  return entries;
}

std::vector<LinkEntry> LinkDevice::AskEntries(const std::string& branch, const std::string& path) {
  std::vector<LinkEntry> entries = ParseLinkEntries(AskBranch(LinkCommand::kInfo, branch, path));
  for (const LinkEntry& entry : entries)
    if (entry.count > kMostElements)
      throw LinkError(client_.Place() + " tells of " + std::to_string(*entry.count) +
                      " elements below " + path);
  return entries;
}

std::optional<std::string> LinkDevice::OriginOf(const std::string& branch,
                                                const std::string& module) {
  for (const LinkEntry& entry : Modules(branch))
    if (entry.name == module) return entry.value;
  return std::nullopt;
}

std::optional<std::string> LinkDevice::Value(const std::string& branch, const LinkPlace& place) {
  const std::string reply =
      AskBranch(LinkCommand::kGetValues, branch, place.path + ":" + place.name);
  const std::string start = place.name + "=";
  if (reply.rfind(start, 0) != 0) return std::nullopt;
  return reply.substr(start.size());
}

LinkDevice::Texts LinkDevice::Numbers(const std::string& branch, const std::string& path,
                                      std::span<const std::string> names) {
  Texts values;
  for (size_t at = 0; at < names.size();) {
    const auto some = names.subspan(at, std::min(kNamesOfRequest, names.size() - at));
    const std::string reply = AskBranch(LinkCommand::kGetValues, branch, path + ":" + Joined(some));
    for (auto& value : ParseLinkValues(reply, {some.begin(), some.end()})) {
      if (!value && some.size() > 1) value = Value(branch, {path, names[values.size()]});
      values.push_back(std::move(value));
    }
    at += some.size();
  }
  return values;
}

LinkDevice::Texts LinkDevice::Elements(const std::string& branch, const LinkPlace& place,
                                       uint32_t count) {
  if (count == 0) return {};
  if (const std::optional<std::string> whole = Value(branch, place)) {
    const std::vector<std::string> parts = SplitText(*whole, ',');
    if (parts.size() == count) return {parts.begin(), parts.end()};
  }
  std::vector<std::string> names;
  for (uint32_t i = 0; i < count; ++i) names.push_back(place.name + "[" + std::to_string(i) + "]");
  return Numbers(branch, place.path, names);
}

std::vector<LinkOutcome> LinkDevice::Set(const std::string& branch,
                                         const std::vector<LinkAssignment>& assignments) {
  std::vector<LinkOutcome> outcomes;
  for (size_t at = 0; at < assignments.size();) {
    const auto some = std::span(assignments).subspan(at);
    const auto group = some.first(CountOfRequest(some));
    std::vector<std::string> names;
    std::string text;
    for (const LinkAssignment& assignment : group) {
      names.push_back(assignment.place.name);
      text += (text.empty() ? "" : ";") + assignment.place.name + "=" + assignment.value;
    }
    const std::string reply =
        AskBranch(LinkCommand::kSetValues, branch, group.front().place.path + ":" + text);
    const Texts values = ParseLinkValues(reply, names);
    for (size_t i = 0; i < group.size(); ++i) outcomes.push_back({group[i], values[i]});
    at += group.size();
  }
  return outcomes;
}

LinkDevice::CustomReply LinkDevice::Custom(const Bytes& bytes) {
  const Bytes reply = client_.Ask(LinkCommand::kCustom, bytes);
  if (reply.size() < 2)
    throw LinkError(client_.Place() + " answered the custom request without a result");
  return {static_cast<uint16_t>(LinkNumber(reply, 2)), Bytes(reply.begin() + 2, reply.end())};
}

}  // namespace tessarine

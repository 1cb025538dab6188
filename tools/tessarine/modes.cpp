#include "modes.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>

#include "common/nearest_name.h"

namespace tessarine {
namespace {

struct ModeName {
  const char* name;
  std::vector<const char*> subModes;
};

const std::vector<ModeName>& Names() {
  static const std::vector<ModeName> names = {
      {"Default", {}},
      {"Sensor", {}},
      {"Usecase",
       {"Preview", "Snapshot", "Video", "ZSL", "Liveshot", "SnapshotReprocess", "IDEALRAW",
        "IdealRawReprocess"}},
      {"Feature1",
       {"None", "ISPHDR", "ADRC", "inSensorHDR3Exp", "MFHDRPreFusion", "MFHDRFusion",
        "MFHDRPostFusion"}},
      {"Feature2",
       {"None", "OISCapture", "HLG", "HDR10", "MFNRBlend", "MFNRPostFilter", "AIDenoiserMFNRBlend",
        "AIDenoiserMFNRPostFilter", "ZLLMFNRBlend", "ZLLMFNRPostFilter", "ZLLPostFusion"}},
      {"Scene",
       {"None",         "Landscape", "Snow",          "Beach",     "Sunset",  "Night",
        "Portrait",     "BackLight", "Sports",        "AntiShake", "Flowers", "CandleLight",
        "Fireworks",    "Party",     "NightPortrait", "Theater",   "Action",  "AR",
        "FacePriority", "Barcode",   "BestShot"}},
      {"Effect",
       {"None", "Mono", "Sepia", "Negative", "Solarize", "Posterize", "Aqua", "Emboss", "Sketch",
        "Neon", "Blackboard", "Whiteboard"}}};
  return names;
}

bool IsSame(const std::string& text, const std::string& name) {
  return std::equal(
      text.begin(), text.end(), name.begin(), name.end(),
      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

std::optional<uint16_t> ParseNumber(const std::string& text) {
  uint16_t number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

// The place of a name, or the number that the text is.
std::optional<uint16_t> ParseStep(const std::string& text, const std::vector<std::string>& names) {
  for (size_t i = 0; i < names.size(); ++i)
    if (IsSame(text, names[i])) return static_cast<uint16_t>(i);
  return ParseNumber(text);
}

// Sorts by ID, and keeps the first one of each name.
template <class Item, class ModuleOf>
void KeepFirstOfName(std::vector<Item>& items, ModuleOf moduleOf) {
  std::stable_sort(items.begin(), items.end(),
                   [&](const Item& a, const Item& b) { return moduleOf(a)->id < moduleOf(b)->id; });
  std::set<std::string> names;
  std::erase_if(items,
                [&](const Item& item) { return !names.insert(moduleOf(item)->type).second; });
}

}  // namespace

std::vector<std::string> ModeNames() {
  std::vector<std::string> names;
  for (const ModeName& mode : Names()) names.push_back(mode.name);
  return names;
}

std::vector<std::string> SubModeNames(uint16_t mode) {
  if (mode >= Names().size()) return {};
  return {Names()[mode].subModes.begin(), Names()[mode].subModes.end()};
}

std::string ToText(ModeKey key) {
  const std::string mode =
      key.mode < Names().size() ? Names()[key.mode].name : std::to_string(key.mode);
  const std::vector<std::string> subModes = SubModeNames(key.mode);
  if (key.subMode < subModes.size()) return mode + "." + subModes[key.subMode];
  return key.subMode == 0 ? mode : mode + "." + std::to_string(key.subMode);
}

std::string ToText(const Branch& branch) {
  std::string text;
  for (ModeKey key : branch) {
    if (!text.empty()) text += '|';
    text += ToText(key);
  }
  return text;
}

std::optional<ModeKey> ParseMode(const std::string& text) {
  const size_t point = text.find('.');
  const auto mode = ParseStep(text.substr(0, point), ModeNames());
  if (!mode) return std::nullopt;
  if (point == std::string::npos) return ModeKey{*mode, 0};
  const auto subMode = ParseStep(text.substr(point + 1), SubModeNames(*mode));
  if (!subMode) return std::nullopt;
  return ModeKey{*mode, *subMode};
}

std::optional<Branch> ParseBranch(const std::string& text) {
  Branch branch;
  for (size_t at = 0; at <= text.size();) {
    const size_t end = std::min(text.find('|', at), text.size());
    const auto key = ParseMode(text.substr(at, end - at));
    if (!key) return std::nullopt;
    branch.push_back(*key);
    at = end + 1;
  }
  return branch;
}

std::string DidYouMeanMode(const std::string& text) {
  const size_t point = std::min(text.find('.'), text.size());
  std::string mode = text.substr(0, point);
  const bool isKnown = ParseMode(mode).has_value();
  if (!isKnown) mode = tool::NearestName(mode, ModeNames());
  if (mode.empty()) return "";
  if (point == text.size()) return "; did you mean '" + mode + "'?";
  const std::string subMode = text.substr(point + 1);
  const std::string both = mode + "." + subMode;
  if (!isKnown && ParseMode(both)) return "; did you mean '" + both + "'?";
  const std::string nearest = tool::NearestName(subMode, SubModeNames(ParseMode(mode)->mode));
  return nearest.empty() ? "" : "; did you mean '" + mode + "." + nearest + "'?";
}

std::string BranchFault(const std::string& text) {
  std::string fault = "expected modes joined by '|', found '" + text + "'";
  for (size_t at = 0; at <= text.size();) {
    const size_t end = std::min(text.find('|', at), text.size());
    const std::string step = text.substr(at, end - at);
    if (!ParseMode(step)) return fault + DidYouMeanMode(step);
    at = end + 1;
  }
  return fault;
}

ModeTree::ModeTree(const Model& model) {
  size_t places = 0;
  for (const Mode& mode : model.modes) places = std::max<size_t>(places, size_t{mode.id} + 1);
  std::vector<const Mode*> byId(places);
  for (const Mode& mode : model.modes) byId[mode.id] = &mode;
  const auto modeOf = [&](uint32_t id) -> const Mode& { return *byId[id]; };
  nodeOf_.assign(places, -1);
  for (const Mode& mode : model.modes) {
    if (IsAlias(mode, modeOf(mode.parent))) continue;
    nodeOf_[mode.id] = static_cast<int>(nodes_.size());
    nodes_.push_back(Node{&mode, {}, -1, -1, {}});
  }
  for (const Mode& mode : model.modes) {
    const Mode& end = WithoutAlias(mode.id, modeOf);
    nodeOf_[mode.id] = nodeOf_[end.id];
    if (&end != &mode) nodes_[nodeOf_[end.id]].aliases.push_back(&mode);
  }
  for (size_t i = 0; i < nodes_.size(); ++i) {
    const Mode& mode = *nodes_[i].mode;
    if (mode.link != kNoLink) nodes_[i].link = nodeOf_[mode.link];
    if (mode.parent == mode.id) continue;
    nodes_[i].parent = nodeOf_[mode.parent];
    nodes_[nodes_[i].parent].children.push_back(static_cast<int>(i));
  }
  Serve();
}

void ModeTree::Serve() {
  served_.resize(nodes_.size());
  for (size_t i = 0; i < nodes_.size(); ++i) {
    const int node = static_cast<int>(i);
    for (const Module* module : ModulesOf(node)) served_[Resolve(node)].push_back({module, node});
  }
  for (std::vector<Found>& modules : served_)
    KeepFirstOfName(modules, [](const Found& found) { return found.module; });
}

int ModeTree::NodeOf(uint32_t modeId) const {
  return modeId < nodeOf_.size() ? nodeOf_[modeId] : -1;
}

Branch ModeTree::PathOf(int node) const {
  Branch branch;
  for (; node >= 0; node = nodes_[node].parent)
    branch.insert(branch.begin(), nodes_[node].mode->key);
  return branch;
}

int ModeTree::Resolve(int node) const {
  while (nodes_[node].link >= 0 && nodes_[node].link != node) node = nodes_[node].link;
  return node;
}

std::vector<const Module*> ModeTree::ModulesOf(int node) const {
  std::vector<const Module*> all;
  const auto add = [&](const Mode& mode) {
    for (const Module& module : mode.modules) all.push_back(&module);
  };
  add(*nodes_[node].mode);
  for (const Mode* alias : nodes_[node].aliases) add(*alias);
  KeepFirstOfName(all, [](const Module* module) { return module; });
  return all;
}

// A group of keys with one mode matches a chain of as many nodes, each of them one of the keys; an
// earlier key comes first. Links can make a tree without end, which is searched no further than the
// library does.
int ModeTree::FindMode(int from, const ModeKey* group, size_t count, size_t depth,
                       int& lookUpsLeft) const {
  const Node& node = nodes_[Resolve(from)];
  for (size_t i = 0; i < count && lookUpsLeft > 0; ++i, --lookUpsLeft) {
    const auto child = std::find_if(node.children.begin(), node.children.end(),
                                    [&](int c) { return nodes_[c].mode->key == group[i]; });
    if (child == node.children.end()) continue;
    if (depth + 1 >= count) return *child;
    const int found = FindMode(*child, group, count, depth + 1, lookUpsLeft);
    if (found >= 0) return found;
  }
  return -1;
}

ModeTree::Answer ModeTree::AnswerTo(const Branch& branch) const {
  constexpr size_t kLongestGroup = 64;
  Answer answer{-1, false, {}};
  const auto take = [&](int node) {
    answer.node = node;
    for (const Found& found : ServedAt(node)) {
      const auto known = std::find_if(
          answer.modules.begin(), answer.modules.end(),
          [&](const Found& other) { return other.module->type == found.module->type; });
      if (known == answer.modules.end())
        answer.modules.push_back(found);
      else
        *known = found;
    }
  };
  if (nodes_.empty()) return answer;
  take(0);
  // The first step stands for the root, whatever it says.
  for (size_t first = 1; first < branch.size();) {
    size_t end = first + 1;
    while (end < branch.size() && branch[end].mode == branch[first].mode) ++end;
    int lookUps = 100'000;
    const int next = end - first > kLongestGroup
                         ? -1
                         : FindMode(answer.node, &branch[first], end - first, 0, lookUps);
    if (next < 0) return answer;
    take(next);
    first = end;
  }
  answer.isComplete = branch.empty() || branch.front() == nodes_[0].mode->key;
  return answer;
}

}  // namespace tessarine

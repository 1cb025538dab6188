#include "modes.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>

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

ModeTree::ModeTree(const Model& model) {
  size_t places = 0;
  for (const Mode& mode : model.modes) places = std::max<size_t>(places, size_t{mode.id} + 1);
  std::vector<const Mode*> modeOf(places);
  for (const Mode& mode : model.modes) modeOf[mode.id] = &mode;
  const auto isAlias = [&](const Mode& mode) {
    return &mode != &model.modes.front() && mode.parent != mode.id &&
           modeOf[mode.parent]->key == mode.key;
  };
  nodeOf_.assign(places, -1);
  for (const Mode& mode : model.modes) {
    if (isAlias(mode)) continue;
    nodeOf_[mode.id] = static_cast<int>(nodes_.size());
    nodes_.push_back(Node{&mode, {}, -1, -1, {}});
  }
  for (const Mode& mode : model.modes) {
    const Mode* end = &mode;
    while (isAlias(*end)) end = modeOf[end->parent];
    nodeOf_[mode.id] = nodeOf_[end->id];
    if (end != &mode) nodes_[nodeOf_[end->id]].aliases.push_back(&mode);
  }
  for (size_t i = 0; i < nodes_.size(); ++i) {
    const Mode& mode = *nodes_[i].mode;
    if (mode.link != kNoLink) nodes_[i].link = nodeOf_[mode.link];
    if (i == 0 || mode.parent == mode.id) continue;
    nodes_[i].parent = nodeOf_[mode.parent];
    nodes_[nodes_[i].parent].children.push_back(static_cast<int>(i));
  }
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
  std::stable_sort(all.begin(), all.end(),
                   [](const Module* a, const Module* b) { return a->id < b->id; });
  std::set<std::string> names;
  std::erase_if(all, [&](const Module* module) { return !names.insert(module->type).second; });
  return all;
}

// A group of keys with one mode matches a chain of as many nodes, each of them one of the keys; an
// earlier key comes first.
int ModeTree::FindMode(int from, const ModeKey* group, size_t count, size_t depth) const {
  const Node& node = nodes_[Resolve(from)];
  for (size_t i = 0; i < count; ++i) {
    const auto child = std::find_if(node.children.begin(), node.children.end(),
                                    [&](int c) { return nodes_[c].mode->key == group[i]; });
    if (child == node.children.end()) continue;
    if (depth + 1 >= count) return *child;
    const int found = FindMode(*child, group, count, depth + 1);
    if (found >= 0) return found;
  }
  return -1;
}

std::vector<ModeTree::Found> ModeTree::InForce(const Branch& branch) const {
  std::vector<Found> inForce;
  const auto take = [&](int node) {
    for (const Module* module : ModulesOf(Resolve(node))) {
      const auto known = std::find_if(inForce.begin(), inForce.end(), [&](const Found& found) {
        return found.module->type == module->type;
      });
      if (known == inForce.end())
        inForce.push_back({module, node});
      else
        *known = {module, node};
    }
  };
  if (nodes_.empty()) return inForce;
  take(0);
  int current = 0;
  for (size_t first = 1; first < branch.size();) {
    size_t end = first + 1;
    while (end < branch.size() && branch[end].mode == branch[first].mode) ++end;
    current = FindMode(current, &branch[first], end - first, 0);
    if (current < 0) break;
    take(current);
    first = end;
  }
  return inForce;
}

}  // namespace tessarine

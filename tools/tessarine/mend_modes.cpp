// What no tree can be made of.
#include <map>

#include "modes.h"

namespace tessarine {
namespace {

using ModeById = std::map<uint32_t, Mode*>;

// Cuts each cycle that following `next` from mode to mode runs into. `none` tells where a way ends,
// `cut` ends it.
template <class Next, class IsEnd, class Cut>
void CutCycles(const ModeById& modes, Next next, IsEnd isEnd, Cut cut) {
  std::map<uint32_t, uint32_t> visitor;  // the start of the walk that came by first
  for (const auto& [start, first] : modes) {
    Mode* mode = first;
    while (visitor.emplace(mode->id, start).second) {
      if (isEnd(*mode)) break;
      Mode* following = modes.at(next(*mode));
      const auto seen = visitor.find(following->id);
      if (seen != visitor.end() && seen->second == start) {
        cut(*mode);
        break;
      }
      mode = following;
    }
  }
}

// A branch of names has to fit the texts that people exchange.
constexpr int kDeepest = 24;

bool IsTooDeep(const ModeById& modes, const Mode& mode) {
  const Mode* above = &mode;
  for (int depth = 0; depth < kDeepest; ++depth) {
    if (above->parent == above->id) return false;
    above = modes.at(above->parent);
  }
  return true;
}

std::string Place(const Mode& mode) {
  return "mode " + std::to_string(mode.id) + " " + ToText(mode.key);
}

// Parents and links that are not in the table.
void DropMissing(const ModeById& modes, std::vector<std::string>& defects) {
  for (const auto& [id, mode] : modes) {
    if (modes.count(mode->parent) == 0) {
      defects.push_back(Place(*mode) + ": its parent " + std::to_string(mode->parent) +
                        " is not there");
      mode->parent = id;
    }
    if (mode->link == kNoLink || modes.count(mode->link) != 0) continue;
    defects.push_back(Place(*mode) + ": its link " + std::to_string(mode->link) + " is not there");
    mode->link = kNoLink;
  }
}

void CutParentCycles(const ModeById& modes, std::vector<std::string>& defects) {
  CutCycles(
      modes, [](const Mode& mode) { return mode.parent; },
      [](const Mode& mode) { return mode.parent == mode.id; },
      [&](Mode& mode) {
        defects.push_back(Place(mode) + ": its parents form a cycle");
        mode.parent = mode.id;
      });
}

// Links lead from node to node, whichever of a node's IDs they name; those of an alias don't count.
void CutLinkCycles(const ModeById& modes, std::vector<std::string>& defects) {
  const auto modeOf = [&](uint32_t id) -> const Mode& { return *modes.at(id); };
  ModeById nodes = modes;
  std::erase_if(nodes, [&](const auto& entry) {
    return IsAlias(*entry.second, modeOf(entry.second->parent));
  });
  CutCycles(
      nodes, [&](const Mode& mode) { return WithoutAlias(mode.link, modeOf).id; },
      [](const Mode& mode) { return mode.link == kNoLink; },
      [&](Mode& mode) {
        defects.push_back(Place(mode) + ": its links form a cycle");
        mode.link = kNoLink;
      });
}

void CutDeep(const ModeById& modes, std::vector<std::string>& defects) {
  for (const auto& [id, mode] : modes) {
    if (!IsTooDeep(modes, *mode)) continue;
    defects.push_back(Place(*mode) + ": it stands more than " + std::to_string(kDeepest) +
                      " modes deep");
    mode->parent = id;
  }
}

}  // namespace

std::vector<std::string> MendModes(std::vector<Mode>& modes) {
  std::vector<std::string> defects;
  ModeById byId;
  for (Mode& mode : modes) byId[mode.id] = &mode;
  // The first mode is the root, whatever parent it names.
  if (!modes.empty()) modes.front().parent = modes.front().id;
  DropMissing(byId, defects);
  CutParentCycles(byId, defects);
  CutDeep(byId, defects);
  CutLinkCycles(byId, defects);
  return defects;
}

}  // namespace tessarine

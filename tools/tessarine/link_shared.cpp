#include "link_shared.h"

#include <set>

#include "link_tree.h"

namespace tessarine {
namespace {

// The modes that the values of a module come from, somewhere in the tree.
std::set<std::string> OriginsOf(LinkDevice& device, const std::string& module) {
  std::set<std::string> origins;
  for (const DeviceTree::Node& node : ReadTree(device, "Default", false).nodes)
    if (const std::optional<std::string> origin = device.OriginOf(node.path, module))
      origins.insert(*origin);
  return origins;
}

}  // namespace

SharedFields::SharedFields(LinkDevice& device, const std::string& branch, const std::string& module,
                           const std::vector<LinkAssignment>& assignments)
    : device_(device) {
  std::vector<LinkPlace> places;
  for (const LinkAssignment& assignment : assignments)
    if (assignment.place.path.find(']') != std::string::npos) places.push_back(assignment.place);
  if (places.empty()) return;
  const std::string name = module.substr(0, module.find('.'));
  const std::string own = device.OriginOf(branch, name).value_or(branch);
  for (const std::string& origin : OriginsOf(device, name))
    for (const LinkPlace& place : places)
      if (origin != own) seen_.push_back({origin, place, device.Value(origin, place)});
}

std::vector<SharedFields::Changed> SharedFields::FindChanged() {
  std::vector<Changed> changed;
  for (const Seen& seen : seen_)
    if (device_.Value(seen.branch, seen.place) != seen.value)
      changed.push_back({seen.branch, seen.place.FullPath()});
  return changed;
}

}  // namespace tessarine

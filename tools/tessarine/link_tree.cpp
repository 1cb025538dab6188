#include "link_tree.h"

#include <algorithm>

#include "modes.h"
#include "source_text.h"

namespace tessarine {
namespace {

constexpr size_t kMostNodes = 4096;
constexpr size_t kLongestPath = 512;

class TreeReading {
 public:
  TreeReading(LinkDevice& device, bool isFlat) : device_(device), isFlat_(isFlat) {}

  void Add(const std::string& name, const std::string& path, size_t depth) {
    if (tree_.nodes.size() >= kMostNodes || path.size() > kLongestPath) {
      tree_.isComplete = false;
      return;
    }
    tree_.nodes.push_back({name, path, depth});
    if (isFlat_ && depth > 0) return;
    for (const std::string& child : device_.ChildModes(path))
      Add(child, path + "|" + child, depth + 1);
  }
  DeviceTree Take() { return std::move(tree_); }

 private:
  LinkDevice& device_;
  bool isFlat_;
  DeviceTree tree_;
};

}  // namespace

// A device doesn't look at the first step, and answers for a branch that it doesn't have with the
// modes below its root.
std::string FindAbsentMode(LinkDevice& device, const std::string& branch) {
  const std::vector<std::string> steps = SplitText(branch, '|');
  std::string above = steps.front();
  if (ParseMode(above) != ModeKey{}) return "a branch starts with Default, not with " + above;
  for (size_t i = 1; i < steps.size(); ++i) {
    const std::vector<std::string> children = device.ChildModes(above);
    const bool isThere = std::any_of(children.begin(), children.end(), [&](const auto& child) {
      return ParseMode(child) == ParseMode(steps[i]);
    });
    if (!isThere)
      return "the device has no mode " + steps[i] + " below " + above +
             NearestName(steps[i], children);
    above += "|" + steps[i];
  }
  return "";
}

DeviceTree ReadTree(LinkDevice& device, const std::string& branch, bool isFlat) {
  if (const std::string absent = FindAbsentMode(device, branch); !absent.empty())
    throw NotOnDevice(absent);
  TreeReading reading(device, isFlat);
  reading.Add(SplitText(branch, '|').back(), branch, 0);
  return reading.Take();
}

}  // namespace tessarine

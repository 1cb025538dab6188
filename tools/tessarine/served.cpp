#include "served.h"

#include <algorithm>
#include <map>
#include <set>

#include "common/nearest_name.h"
#include "fdsetmanager.h"
#include "imagesensormodulesetmanager.h"
#include "json_values.h"
#include "modes.h"
#include "tuningsetmodules.h"

namespace tessarine {
namespace {

// The manager that has a class for a module; null if none has.
const ManagerModules* ManagerOf(const Module& module) {
  static const std::map<std::string, const ManagerModules*> managers = [] {
    std::map<std::string, const ManagerModules*> all;
    for (const ManagerModules& manager : KnownNames())
      for (const std::string& name : manager.names) all.emplace(ShortType(name), &manager);
    return all;
  }();
  const auto found = managers.find(module.type);
  return found == managers.end() ? nullptr : found->second;
}

class Search {
 public:
  explicit Search(const Model& model) : model_(model), tree_(model) {}

  std::vector<std::string> Run() {
    if (tree_.Nodes().empty()) return {};
    FindModes();
    FindModules();
    FindStrangers();
    return std::move(lines_);
  }

 private:
  std::string PathOf(int node) const { return ToText(tree_.PathOf(node)); }
  // A mode as people find it in a file: two of one path differ in their IDs.
  std::string Place(const Mode& mode) const {
    return "mode " + std::to_string(mode.id) + " " + PathOf(tree_.NodeOf(mode.id));
  }
  std::string Place(int node) const { return Place(*tree_.Nodes()[node].mode); }

  void Tell(const std::string& line) { lines_.push_back(Printable(line)); }
  void FindModes();
  void FindChildren(int node);
  void FindModules();
  void FindStrangers();
  std::string Hint(const std::string& name);

  const Model& model_;
  ModeTree tree_;
  std::vector<std::string> lines_;
  std::set<std::string> told_;
};

void Search::FindModes() {
  for (size_t i = 0; i < tree_.Nodes().size(); ++i) {
    const int node = static_cast<int>(i);
    if (i != 0 && tree_.Nodes()[i].parent < 0)
      Tell(Place(node) + ": no branch leads to it, for it stands beside the root, " + PathOf(0));
    FindChildren(node);
  }
}

void Search::FindChildren(int node) {
  const ModeTree::Node& parent = tree_.Nodes()[node];
  std::set<ModeKey> keys;
  for (const int child : parent.children) {
    if (parent.link >= 0)
      Tell(Place(child) + ": no branch leads to it, for " + PathOf(node) + " links to " +
           PathOf(tree_.Resolve(node)));
    else if (!keys.insert(tree_.Nodes()[child].mode->key).second)
      Tell(Place(child) + ": no branch leads to it, for a mode beside it is the same");
  }
}

// Modules that come together with another of the same name, by links or by aliases.
void Search::FindModules() {
  for (const Mode& mode : model_.modes) {
    const int node = tree_.NodeOf(mode.id);
    for (const Module& module : mode.modules) {
      const std::vector<ModeTree::Found>& served = tree_.ServedAt(node);
      const auto first = std::find_if(
          served.begin(), served.end(),
          [&](const ModeTree::Found& found) { return found.module->type == module.type; });
      if (first->module != &module)
        Tell(Place(mode) + ": no branch gets its module " + std::to_string(module.id) + " " +
             module.Name() + ", for module " + std::to_string(first->module->id) + " of " +
             PathOf(first->node) + " stands before it");
    }
  }
}

// A name like the one that no manager knows; told once, for a file may hold any number of them.
std::string Search::Hint(const std::string& name) {
  constexpr size_t kMostHints = 100;
  if (told_.size() >= kMostHints || !told_.insert(name).second) return "";
  std::vector<std::string> names;
  for (const ManagerModules& known : KnownNames())
    names.insert(names.end(), known.names.begin(), known.names.end());
  return tool::DidYouMean(name, names);
}

void Search::FindStrangers() {
  const ManagerModules* manager = nullptr;  // of the first module that has one
  for (const Mode& mode : model_.modes) {
    for (const Module& module : mode.modules) {
      const ManagerModules* own = ManagerOf(module);
      if (manager == nullptr) manager = own;
      if (own != nullptr && own == manager) continue;
      const std::string reason =
          own == nullptr
              ? "a name that no manager knows" + Hint(module.Name())
              : "which belongs to " + std::string(own->manager) + ", others to " + manager->manager;
      Tell(Place(mode) + ": the library refuses the file for its module " + module.Name() + ", " +
           reason);
    }
  }
}

}  // namespace

const std::vector<ManagerModules>& KnownNames() {
#define TESSARINE_NAME(name, ...) #name,
  static const std::vector<ManagerModules> managers = {
      {"TuningSetManager", {TUNING_SET_MODULES(TESSARINE_NAME, TESSARINE_NAME)}},
      {"ImageSensorModuleSetManager", {SENSOR_SET_MODULES(TESSARINE_NAME)}},
      {"fdSetManager", {FACE_DETECTION_SET_MODULES(TESSARINE_NAME)}}};
#undef TESSARINE_NAME
  return managers;
}

std::vector<std::string> FindUnserved(const Model& model) {
  return Search(model).Run();
}

}  // namespace tessarine

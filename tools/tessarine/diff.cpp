#include "diff.h"

#include <map>

#include "leaves.h"
#include "modes.h"

namespace tessarine {
namespace {

// Something with values by name, in an order.
class Listed {
 public:
  void Add(const std::string& name, OrderedJson value) {
    if (byName_.emplace(name, std::move(value)).second) names_.push_back(name);
  }
  const std::vector<std::string>& Names() const { return names_; }
  std::optional<OrderedJson> Find(const std::string& name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  std::vector<std::string> names_;
  std::map<std::string, OrderedJson> byName_;
};

// The names of both, those of the first one first.
std::vector<std::string> AllNames(const Listed& first, const Listed& second) {
  std::vector<std::string> names = first.Names();
  for (const std::string& name : second.Names())
    if (!first.Find(name)) names.push_back(name);
  return names;
}

class Comparison {
 public:
  void AddValues(const std::string& mode, const std::string& module, const Listed& first,
                 const Listed& second) {
    for (const std::string& name : AllNames(first, second)) {
      const auto a = first.Find(name);
      const auto b = second.Find(name);
      if (a != b) differences_.push_back({mode, module, name, a, b});
    }
  }
  void AddMissing(const std::string& mode, const std::string& module, bool isInFirst) {
    const OrderedJson present = "present";
    differences_.push_back({mode, module, "", isInFirst ? std::optional(present) : std::nullopt,
                            isInFirst ? std::nullopt : std::optional(present)});
  }
  std::vector<Difference> Take() { return std::move(differences_); }

 private:
  std::vector<Difference> differences_;
};

Listed HeaderOf(const Model& model) {
  Listed header;
  header.Add("format", ToText(model.format));
  header.Add("tool", TextToJson(model.tool));
  header.Add("tag", TextToJson(model.tag));
  header.Add("flags", model.flags);
  header.Add("modeText", TextToJson(model.modeText));
  return header;
}

// A file's nodes and the modules of one of them, by path and by name.
struct Side {
  explicit Side(const Model& model) : tree(model) {
    for (size_t i = 0; i < tree.Nodes().size(); ++i) {
      const std::string path = ToText(tree.PathOf(static_cast<int>(i)));
      if (nodes.emplace(path, static_cast<int>(i)).second) paths.Add(path, nullptr);
    }
  }
  Listed Fields(int node) const {
    const Mode& mode = *tree.Nodes()[node].mode;
    Listed fields;
    fields.Add("flags", mode.flags);
    if (mode.link != kNoLink) fields.Add("link", ToText(tree.PathOf(tree.NodeOf(mode.link))));
    return fields;
  }
  Listed Modules(int node) const {
    Listed names;
    for (const Module* module : tree.ModulesOf(node)) names.Add(module->Name(), nullptr);
    return names;
  }
  Listed Values(int node, const std::string& name) const {
    Listed values;
    for (const Module* module : tree.ModulesOf(node)) {
      if (module->Name() != name) continue;
      values.Add("version", ToText(module->version));
      for (Leaf& leaf : LeavesOf(*module)) values.Add(leaf.path, std::move(leaf.value));
    }
    return values;
  }

  ModeTree tree;
  Listed paths;
  std::map<std::string, int> nodes;
};

}  // namespace

std::vector<Difference> Compare(const Model& first, const Model& second) {
  Comparison comparison;
  comparison.AddValues("", "", HeaderOf(first), HeaderOf(second));
  const Side a(first);
  const Side b(second);
  for (const std::string& path : AllNames(a.paths, b.paths)) {
    const auto nodeA = a.nodes.find(path);
    const auto nodeB = b.nodes.find(path);
    if (nodeA == a.nodes.end() || nodeB == b.nodes.end()) {
      comparison.AddMissing(path, "", nodeA != a.nodes.end());
      continue;
    }
    comparison.AddValues(path, "", a.Fields(nodeA->second), b.Fields(nodeB->second));
    const Listed modulesA = a.Modules(nodeA->second);
    const Listed modulesB = b.Modules(nodeB->second);
    for (const std::string& module : AllNames(modulesA, modulesB)) {
      if (modulesA.Find(module) && modulesB.Find(module))
        comparison.AddValues(path, module, a.Values(nodeA->second, module),
                             b.Values(nodeB->second, module));
      else
        comparison.AddMissing(path, module, modulesA.Find(module).has_value());
    }
  }
  return comparison.Take();
}

std::string ToText(const Difference& difference) {
  std::string place = difference.mode.empty() ? "header" : difference.mode;
  if (!difference.module.empty()) place += ' ' + difference.module;
  if (!difference.field.empty())
    place += (difference.module.empty() ? ' ' : '.') + difference.field;
  const auto side = [](const std::optional<OrderedJson>& value) {
    return value ? PrintLine(*value) : std::string("nothing");
  };
  if (difference.field.empty())
    return Printable(place + (difference.first ? ": only in the first" : ": only in the second"));
  return Printable(place + ": " + side(difference.first) + " -> " + side(difference.second));
}

OrderedJson ToJson(const Difference& difference) {
  const auto side = [](const std::optional<OrderedJson>& value) {
    return value ? *value : OrderedJson(nullptr);
  };
  return {{"mode", difference.mode},
          {"module", difference.module},
          {"field", difference.field},
          {"first", side(difference.first)},
          {"second", side(difference.second)}};
}

}  // namespace tessarine

#include "listing.h"

#include "errors.h"
#include "leaves.h"
#include "source_text.h"

namespace tessarine {
namespace {

// A module that is to be listed, and the mode that it comes from.
struct Listed {
  const Module* module;
  std::string path;
};

bool IsChosen(const Module& module, const ListingChoices& choices) {
  return choices.module.empty() || ShortType(choices.module) == module.type;
}

std::vector<Listed> Choose(const Model& model, const ModeTree& tree,
                           const ListingChoices& choices) {
  std::vector<Listed> listed;
  std::vector<std::string> names;
  const auto add = [&](const Module* module, int node) {
    names.push_back(module->Name());
    if (IsChosen(*module, choices)) listed.push_back({module, ToText(tree.PathOf(node))});
  };
  if (choices.branch) {
    for (const ModeTree::Found& found : tree.InForce(*choices.branch))
      add(found.module, found.node);
  } else {
    for (const Mode& mode : model.modes)
      for (const Module& module : mode.modules) add(&module, tree.NodeOf(mode.id));
  }
  if (listed.empty() && !choices.module.empty())
    throw InputError("there is no module '" + choices.module + "'" +
                     NearestName(choices.module, names));
  return listed;
}

std::string HeaderText(const Model& model) {
  const Format format(model.format);
  std::string text = "format " + ToText(model.format) + ", alignment " +
                     std::to_string(format.Alignment()) + ", " +
                     std::to_string(model.modes.size()) + " modes\n";
  if (model.flags != 0) text += "flags " + std::to_string(model.flags) + "\n";
  if (!model.tool.empty()) text += "tool " + TextToJson(model.tool).dump() + "\n";
  if (!model.tag.empty()) text += "tag " + TextToJson(model.tag).dump() + "\n";
  return text;
}

std::string Notes(const ModeTree& tree, const Mode& mode) {
  std::string text = " (" + std::to_string(mode.id);
  if ((mode.flags & kResidentFlag) != 0) text += ", resident";
  if (mode.link != kNoLink) text += ", as " + ToText(tree.PathOf(tree.NodeOf(mode.link)));
  return text + ")";
}

void AppendNode(const ModeTree& tree, int place, size_t indent, std::string& text) {
  const ModeTree::Node& node = tree.Nodes()[place];
  text.append(indent, ' ');
  text += ToText(node.mode->key) + Notes(tree, *node.mode);
  const char* separator = ": ";
  for (const Module* module : tree.ModulesOf(place)) {
    text += separator + module->Name() + " " + ToText(module->version);
    separator = ", ";
  }
  text += '\n';
  for (int child : node.children) AppendNode(tree, child, indent + 2, text);
}

OrderedJson ModesJson(const Model& model, const ModeTree& tree) {
  OrderedJson modes = OrderedJson::array();
  for (const Mode& mode : model.modes) {
    OrderedJson json = {{"path", ToText(tree.PathOf(tree.NodeOf(mode.id)))}, {"id", mode.id}};
    json["resident"] = (mode.flags & kResidentFlag) != 0;
    if (mode.link != kNoLink) json["link"] = ToText(tree.PathOf(tree.NodeOf(mode.link)));
    modes.push_back(std::move(json));
  }
  return modes;
}

}  // namespace

std::string ListText(const Model& model, const ListingChoices& choices) {
  const ModeTree tree(model);
  const std::vector<Listed> listed = Choose(model, tree, choices);
  std::string text = HeaderText(model);
  for (size_t i = 0; i < tree.Nodes().size(); ++i)
    if (tree.Nodes()[i].parent < 0) AppendNode(tree, static_cast<int>(i), 2, text);
  for (const Listed& item : listed) {
    text += '\n' + item.module->Name() + " " + ToText(item.module->version) + " from " + item.path;
    if (choices.branch) text += ", in force on " + ToText(*choices.branch);
    text += '\n';
    for (const Leaf& leaf : LeavesOf(*item.module))
      text += "  " + leaf.path + " = " + PrintLine(leaf.value) + "\n";
  }
  return text;
}

OrderedJson ListJson(const Model& model, const ListingChoices& choices) {
  const ModeTree tree(model);
  OrderedJson json = {
      {"format", ToText(model.format)}, {"alignment", Format(model.format).Alignment()},
      {"tool", TextToJson(model.tool)}, {"tag", TextToJson(model.tag)},
      {"flags", model.flags},           {"modes", ModesJson(model, tree)}};
  if (choices.branch) json["branch"] = ToText(*choices.branch);
  json["modules"] = OrderedJson::array();
  for (const Listed& item : Choose(model, tree, choices)) {
    const Module& module = *item.module;
    OrderedJson entry = {{"name", module.Name()},
                         {"from", item.path},
                         {"version", ToText(module.version)},
                         {"id", module.id}};
    if (const ModuleSchema* schema = module.Schema())
      entry["values"] = ToJson(*schema->root, module.value);
    else
      entry["hex"] = ToHex(module.raw);
    json["modules"].push_back(std::move(entry));
  }
  return json;
}

}  // namespace tessarine

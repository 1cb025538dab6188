#include "listing.h"

#include <algorithm>

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

OrderedJson ValuesOf(const Module& module) {
  if (const ModuleSchema* schema = module.Schema())
    return ToJson(*schema->root, ServedValue(module.value));
  return {{"hex", ToHex(module.raw)}};
}

// The names or places that may follow in a path.
std::vector<std::string> StepsOf(const OrderedJson& value) {
  std::vector<std::string> steps;
  if (value.is_array())
    for (size_t i = 0; i < value.size(); ++i)
      steps.push_back(std::string(1, '[') + std::to_string(i) + "]");
  if (value.is_object())
    for (const auto& [name, member] : value.items()) steps.push_back(name);
  return steps;
}

// The length of a path's first step: a name, or a place such as "[1]".
size_t StepLength(const std::string& path) {
  if (path[0] == '[') return std::min(path.find(']'), path.size() - 1) + 1;
  return std::min(path.find_first_of(".["), path.size());
}

[[noreturn]] void FailAtStep(const std::string& above, const std::string& step,
                             const std::vector<std::string>& known) {
  if (step[0] == '[')
    throw InputError(above + " has " + std::to_string(known.size()) + " elements, no " + step);
  std::string hint = NearestName(step, known);
  if (hint.empty()) {
    for (const std::string& name : known)
      hint += (hint.empty() ? "; expected one of " : ", ") + name;
    if (known.empty()) hint = ", nor any other";
  }
  throw InputError(above + " has no field '" + step + "'" + hint);
}

// The part of a module's values that a path leads to.
OrderedJson PartOf(const Module& module, const std::string& path) {
  OrderedJson value = ValuesOf(module);
  std::string above = module.Name();
  for (std::string rest = path; !rest.empty();) {
    const size_t length = StepLength(rest);
    const std::string step = rest.substr(0, length);
    const std::vector<std::string> known = StepsOf(value);
    const auto place = std::find(known.begin(), known.end(), step);
    if (place == known.end()) FailAtStep(above, step, known);
    value = OrderedJson(value.is_array() ? value[static_cast<size_t>(place - known.begin())]
                                         : value[step]);
    if (step[0] != '[') above += '.';
    above += step;
    rest.erase(0, length);
    if (!rest.empty() && rest[0] == '.') rest.erase(0, 1);
  }
  return value;
}

// Whether a path is another one or leads to a part of it.
bool IsWithin(const std::string& path, const std::string& whole) {
  if (path.compare(0, whole.size(), whole) != 0) return false;
  return whole.empty() || path.size() == whole.size() || path[whole.size()] == '.' ||
         path[whole.size()] == '[';
}

// "Default tessarinePDLib.preProcess.boxFilterLength = 4", a line for each field.
std::string FieldText(const Listed& item, const std::string& field) {
  const OrderedJson part = PartOf(*item.module, field);
  const std::string place = item.path + " " + item.module->Name() + ".";
  std::string text;
  for (const Leaf& leaf : LeavesOf(*item.module))
    if (IsWithin(leaf.path, field))
      text += Printable(place + leaf.path + " = " + PrintLine(leaf.value)) + "\n";
  // An element of an array is no leaf.
  return text.empty() ? Printable(place + field + " = " + PrintLine(part)) + "\n" : text;
}

std::string ModuleText(const Listed& item, const std::string& inForce) {
  std::string text = "\n";
  text += Printable(item.module->Name()) + " " + ToText(item.module->version) + " from " +
          item.path + inForce + "\n";
  for (const Leaf& leaf : LeavesOf(*item.module))
    text += Printable("  " + leaf.path + " = " + PrintLine(leaf.value)) + "\n";
  return text;
}

std::string HeaderText(const Model& model) {
  const Format format(model.format);
  std::string text = "format " + ToText(model.format) + ", alignment " +
                     std::to_string(format.Alignment()) + ", " +
                     std::to_string(model.modes.size()) + " modes\n";
  if (model.flags != 0) text += "flags " + std::to_string(model.flags) + "\n";
  if (!model.tool.empty()) text += "tool " + Printable(TextToJson(model.tool).dump()) + "\n";
  if (!model.tag.empty()) text += "tag " + Printable(TextToJson(model.tag).dump()) + "\n";
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
    text += separator + Printable(module->Name()) + " " + ToText(module->version);
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
  std::string text;
  if (!choices.field.empty()) {
    for (const Listed& item : listed) text += FieldText(item, choices.field);
    return text;
  }
  text = HeaderText(model);
  for (size_t i = 0; i < tree.Nodes().size(); ++i)
    if (tree.Nodes()[i].parent < 0) AppendNode(tree, static_cast<int>(i), 2, text);
  std::string inForce;
  if (choices.branch)
    inForce = ", in force on " + ToText(*choices.branch) + AnswerText(model, *choices.branch);
  for (const Listed& item : listed) text += ModuleText(item, inForce);
  return text;
}

OrderedJson ListJson(const Model& model, const ListingChoices& choices) {
  const ModeTree tree(model);
  OrderedJson json = {
      {"format", ToText(model.format)}, {"alignment", Format(model.format).Alignment()},
      {"tool", TextToJson(model.tool)}, {"tag", TextToJson(model.tag)},
      {"flags", model.flags},           {"modes", ModesJson(model, tree)}};
  if (choices.branch) {
    json["branch"] = ToText(*choices.branch);
    json["answeredBy"] = ToText(tree.PathOf(tree.AnswerTo(*choices.branch).node));
  }
  json["modules"] = OrderedJson::array();
  for (const Listed& item : Choose(model, tree, choices)) {
    const Module& module = *item.module;
    OrderedJson entry = {{"name", module.Name()},
                         {"from", item.path},
                         {"version", ToText(module.version)},
                         {"id", module.id}};
    if (!choices.field.empty()) {
      entry["field"] = choices.field;
      entry["value"] = PartOf(module, choices.field);
    } else if (module.Schema() != nullptr) {
      entry["values"] = ValuesOf(module);
    } else {
      entry.update(ValuesOf(module));
    }
    json["modules"].push_back(std::move(entry));
  }
  return json;
}

std::string AnswerText(const Model& model, const Branch& branch) {
  const ModeTree tree(model);
  const ModeTree::Answer answer = tree.AnswerTo(branch);
  return answer.isComplete ? "" : "; " + ToText(tree.PathOf(answer.node)) + " answers";
}

}  // namespace tessarine

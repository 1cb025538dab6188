#include "link_apply.h"

#include <algorithm>
#include <charconv>

#include "link_fields.h"
#include "link_module.h"
#include "link_tree.h"

namespace tessarine {
namespace {

// A number as plain decimals, all that a device reads.
std::string PlainDecimals(float value) {
  char text[64];
  const auto end = std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed);
  return std::string(text, end.ptr);
}

std::string SentText(const OrderedJson& value) {
  if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
  if (value.is_number_float()) return PlainDecimals(static_cast<float>(value.get<double>()));
  if (value.is_string()) return value.get<std::string>();
  return value.dump();
}

// Sorts what a difference asks for into what can be sent and what can't.
class Sorting {
 public:
  Sorting(const Difference& difference, ModuleChange& change)
      : difference_(difference),
        place_(PlaceOf(difference.module + "." + difference.field)),
        change_(change) {}

  void Run() {
    const std::optional<OrderedJson>& device = difference_.first;
    const std::optional<OrderedJson>& source = difference_.second;
    if (!device || !source || device->is_array() != source->is_array())
      return AddLength(WithoutIndex(difference_.field));
    if (!source->is_array()) return Add(place_.name, *source);
    if (device->size() != source->size()) return AddLength(difference_.field);
    for (size_t i = 0; i < source->size(); ++i)
      if ((*device)[i] != (*source)[i])
        Add(place_.name + "[" + std::to_string(i) + "]", (*source)[i]);
  }

 private:
  void Add(const std::string& name, const OrderedJson& value) {
    const std::string text = SentText(value);
    if (IsSendable(text))
      change_.assignments.push_back({{place_.path, name}, text});
    else
      AddProblem(difference_.field, "the link can't send " + PrintLine(value));
  }
  // Told once for all that stands in an array.
  void AddLength(const std::string& array) {
    AddProblem(array, "the length of an array can't be changed");
  }
  void AddProblem(const std::string& field, const std::string& text) {
    const std::string problem =
        difference_.mode + " " + difference_.module + "." + field + ": " + text;
    std::vector<std::string>& all = change_.problems;
    if (std::find(all.begin(), all.end(), problem) == all.end()) all.push_back(problem);
  }

  const Difference& difference_;
  LinkPlace place_;
  ModuleChange& change_;
};

void FindDifferences(LinkDevice& device, const WantedModule& wanted, const ModuleSchema& schema,
                     ModuleChange& change) {
  const std::string branch = ToText(wanted.branch);
  const DeviceModule found = ReadModule(device, branch, schema, wanted.module->value);
  for (const std::string& field : found.missing)
    change.problems.push_back(branch + " " + field + ": the device gives no value");
  change.differences =
      Compare(ModelOf(wanted.branch, found.module), ModelOf(wanted.branch, *wanted.module));
  for (const Difference& difference : change.differences) Sorting(difference, change).Run();
}

// A mode without a module of its own shares that of another: changing it changes the other mode.
void CheckOrigin(LinkDevice& device, const WantedModule& wanted, const std::string& module,
                 ModuleChange& change) {
  if (change.assignments.empty()) return;
  const std::string branch = ToText(wanted.branch);
  if (wanted.mayBeShared) {
    const std::string absent = FindAbsentMode(device, branch);
    if (absent.empty()) return;
    change.assignments.clear();
    change.problems.push_back(absent);
    return;
  }
  const std::optional<std::string> origin = OtherOrigin(device, branch, module);
  if (!origin) return;
  change.assignments.clear();
  change.problems.push_back(branch + " " + module + ": the device's values come from " + *origin +
                            "; --mode changes them there");
}

}  // namespace

std::vector<WantedModule> WantedOf(const Model& source, const std::optional<Branch>& branch) {
  const ModeTree tree(source);
  std::vector<WantedModule> wanted;
  if (branch) {
    for (const ModeTree::Found& found : tree.InForce(*branch))
      wanted.push_back({*branch, found.module, true});
    return wanted;
  }
  for (size_t i = 0; i < tree.Nodes().size(); ++i)
    for (const Module* module : tree.ModulesOf(static_cast<int>(i)))
      wanted.push_back({tree.PathOf(static_cast<int>(i)), module, false});
  return wanted;
}

ModuleChange CompareWithDevice(LinkDevice& device, const WantedModule& wanted) {
  ModuleChange change;
  const std::string branch = ToText(wanted.branch);
  const std::string name = wanted.module->Name();
  const ModuleSchema* schema = wanted.module->Schema();
  if (schema == nullptr) {
    change.problems.push_back(branch + " " + name +
                              ": its fields are not known, so it can't be compared");
  } else if (device.Entries(branch, name).empty()) {
    change.problems.push_back(branch + " " + FindAbsent(device, branch, name));
  } else {
    FindDifferences(device, wanted, *schema, change);
    CheckOrigin(device, wanted, name, change);
  }
  return change;
}

}  // namespace tessarine

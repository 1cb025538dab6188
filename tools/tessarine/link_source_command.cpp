// tessarine link save, apply: between sources and the running camera.
#include <cstdio>

#include "errors.h"
#include "files.h"
#include "link_apply.h"
#include "link_commands.h"
#include "link_fields.h"
#include "link_module.h"
#include "link_unsavable.h"
#include "source.h"

namespace tessarine {
namespace {

// ---- save

struct SaveChoice {
  std::string branch, module, output;
};

const ModuleSchema& SchemaOf(LinkDevice& device, const std::string& branch,
                             const std::string& module) {
  const std::string absent =
      device.Entries(branch, module).empty() ? FindAbsent(device, branch, module) : "";
  if (!absent.empty()) throw NotOnDevice(absent);
  const ModuleSchema* schema = FindModule(module);
  if (schema == nullptr) throw NotOnDevice(module + ": its fields are not known to this tool");
  return *schema;
}

int Save(const LinkOptions& options, const SaveChoice& choice) {
  LinkDevice device = options.Device();
  const ModuleSchema& schema = SchemaOf(device, choice.branch, choice.module);
  WarnOfAbsentMode(device, choice.branch, schema.name);
  DeviceModule found = ReadModule(device, choice.branch, schema, DefaultRecord(*schema.root));
  const std::vector<std::string> unsavable = MakeSavable(found.module);
  const std::optional<std::string> origin = device.OriginOf(choice.branch, schema.name);
  const std::optional<Branch> branch = ParseBranch(origin.value_or(choice.branch));
  if (!branch) throw LinkError(device.Client().Place() + " tells of a mode '" + *origin + "'");
  Model model = ModelOf(*branch, found.module);
  model.tag = device.Client().Info().tag;
  SaveText(choice.output, WriteSource(model, false));
  for (const std::string& field : found.missing)
    Warn(field + ": the device gives no value that fits; 0 is written");
  for (const std::string& line : unsavable) Warn(line);
  for (const std::string& field : found.rounded)
    Warn(field + ": the device tells ten decimals; its value may be another one near");
  return found.missing.empty() && unsavable.empty() ? kDone : kFound;
}

void AddSave(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto choice = std::make_shared<SaveChoice>();
  CLI::App* command =
      link.add_subcommand("save", "Writes the values in force on a branch as a source");
  AddLinkBranch(*command, choice->branch)->required();
  AddLinkModule(*command, choice->module);
  command->add_option("-o,--output", choice->output, "The source")->required();
  command->footer(
      "The source has the mode that the values come from, and 'tessarine compile' takes it. Exit\n"
      "status 1 tells that the device had no value for a field, or one that no source may have.\n\n"
      "Example:\n"
      "  tessarine link save Default tessarinePDLib -o tuned.json");
  command->callback([options, choice, &status] { status = Save(*options, *choice); });
}

// ---- apply

struct ApplyChoice {
  std::string source, branch;
  bool isDry = false;
};

// Shows one module after the other: what differs, then what the device made of it.
class Application {
 public:
  Application(const LinkOptions& options, bool isDry)
      : device_(options.Device()), isJson_(options.isJson), isDry_(isDry) {}

  // Several cameras may be within reach: it is told first which one answers.
  void Start() {
    Say("device " + device_.Client().Place() + ", tag " +
        PrintLine(TextToJson(device_.Client().Info().tag)));
  }

  void Apply(const WantedModule& wanted) {
    const ModuleChange change = CompareWithDevice(device_, wanted);
    for (const Difference& difference : change.differences) {
      differences_.push_back(ToJson(difference));
      Say(ToText(difference));
    }
    const std::string branch = ToText(wanted.branch);
    if (!isDry_)
      for (const LinkOutcome& outcome : device_.Set(branch, change.assignments))
        Note(branch, outcome);
    for (const std::string& problem : change.problems) {
      problems_.push_back(TextToJson(problem));
      if (!isJson_) Warn(problem);
    }
  }

  int Finish() {
    if (isJson_)
      PrintJson({{"device", device_.Client().Place()},
                 {"tag", TextToJson(device_.Client().Info().tag)},
                 {"count", differences_.size()},
                 {"differences", differences_},
                 {"sent", outcomes_},
                 {"problems", problems_}});
    Say(std::to_string(differences_.size()) +
        (differences_.size() == 1 ? " difference" : " differences") +
        (isDry_ ? ", nothing was sent"
                : ", " + std::to_string(taken_) + " of " + std::to_string(outcomes_.size()) +
                      " sent values taken"));
    const bool isRefused = taken_ != outcomes_.size() || !problems_.empty();
    return isRefused || (isDry_ && !differences_.empty()) ? kFound : kDone;
  }

 private:
  void Say(const std::string& line) const {
    if (!isJson_) std::printf("%s\n", line.c_str());
  }
  void Note(const std::string& branch, const LinkOutcome& outcome) {
    OrderedJson json = {{"mode", branch}};
    json.update(ToJson(outcome));
    outcomes_.push_back(std::move(json));
    if (outcome.IsTaken()) ++taken_;
    if (const std::string lost = FindUnsavable(outcome); !lost.empty()) Warn(lost);
    Say(branch + " " + ToText(device_, branch, outcome));
  }

  LinkDevice device_;
  bool isJson_;
  bool isDry_;
  OrderedJson differences_ = OrderedJson::array();
  OrderedJson outcomes_ = OrderedJson::array();
  OrderedJson problems_ = OrderedJson::array();
  size_t taken_ = 0;
};

int Apply(const LinkOptions& options, const ApplyChoice& choice) {
  const Model source = ReadSource(LoadText(choice.source), choice.source);
  const std::vector<WantedModule> wanted =
      WantedOf(source, choice.branch.empty() ? std::nullopt : ParseBranch(choice.branch));
  if (wanted.empty()) throw InputError(choice.source + ": expected a module to apply");
  Application application(options, choice.isDry);
  application.Start();
  for (const WantedModule& module : wanted) application.Apply(module);
  return application.Finish();
}

void AddApply(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto choice = std::make_shared<ApplyChoice>();
  CLI::App* command = link.add_subcommand(
      "apply", "Shows in what a device differs from a source, and sends it what differs");
  command->add_option("source", choice->source, "The source, JSON with comments")->required();
  AddLinkBranch(*command, choice->branch, "--mode")
      ->description(
          "A branch: the source's values in force on it, for the device's record in "
          "force on it. Else each mode's own");
  command->add_flag("--dry-run", choice->isDry, "Show what differs, and send nothing");
  command->footer(
      "A value that the device shows with ten decimals counts as equal to one that it would show\n"
      "so. Lengths of arrays can't be changed. A mode for which the device takes its values from\n"
      "another one is left alone, unless --mode names it. Exit status 1 tells that the device is\n"
      "not as the source wants it.\n\n"
      "Examples:\n"
      "  tessarine link apply tuning.json --dry-run\n"
      "  tessarine link apply tuning.json --mode 'Default|Sensor.3'");
  command->callback([options, choice, &status] { status = Apply(*options, *choice); });
}

}  // namespace

void AddLinkSources(CLI::App& link, const SharedLinkOptions& options, int& status) {
  AddSave(link, options, status);
  AddApply(link, options, status);
}

}  // namespace tessarine

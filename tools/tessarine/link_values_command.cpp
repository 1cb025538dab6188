// tessarine link get, set, watch: values of the running camera.
#include <chrono>
#include <cstdio>
#include <thread>

#include "link_commands.h"
#include "link_fields.h"
#include "link_module.h"
#include "link_shared.h"
#include "link_unsavable.h"

namespace tessarine {
namespace {

// ---- get

struct GetChoice {
  std::string branch;
  std::vector<std::string> paths;
};

void Get(const LinkOptions& options, const GetChoice& choice) {
  LinkDevice device = options.Device();
  WarnOfAbsentMode(device, choice.branch, choice.paths.front());
  OrderedJson values = OrderedJson::object();
  for (const std::string& path : choice.paths) {
    const std::vector<LinkLeaf> leaves = LeavesOnDevice(device, choice.branch, path);
    if (leaves.empty()) throw NotOnDevice(FindAbsent(device, choice.branch, path));
    for (const LinkLeaf& leaf : leaves) {
      values[leaf.path] = leaf.value;
      if (!options.isJson)
        std::printf("%s = %s\n", leaf.path.c_str(), PrintLine(leaf.value).c_str());
    }
  }
  if (options.isJson) PrintJson({{"branch", choice.branch}, {"values", values}});
}

void AddGet(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto choice = std::make_shared<GetChoice>();
  CLI::App* command = link.add_subcommand("get", "Shows the values in force on a branch");
  AddLinkBranch(*command, choice->branch)->required();
  command
      ->add_option("path", choice->paths,
                   "Modules, or records and fields of them: tessarinePDLib.preProcess")
      ->required()
      ->check(CheckLinkPath);
  command->footer(
      "A value that a text can't hold, such as no number, is null.\n\n"
      "Examples:\n"
      "  tessarine link get Default tessarinePDLib\n"
      "  tessarine link get 'Default|Sensor.3' tessarinePDLib.preProcess "
      "tessarinePDLib.skipControl\n"
      "  tessarine link get Default "
      "'tessarinePDLib.preProcess.filterTrigger.filterSet[0].verticalMode'");
  command->callback([options, choice, &status] {
    Get(*options, *choice);
    status = kDone;
  });
}

// ---- set

struct SetChoice {
  std::string branch, module;
  std::vector<std::string> assignments;  // "preProcess.boxFilterLength=3"
};

std::string CheckAssignment(const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) return "expected FIELD=VALUE, found " + text;
  const std::string fault = CheckLinkPath(text.substr(0, equals));
  if (!fault.empty()) return fault;
  return IsSendable(text.substr(equals + 1))
             ? ""
             : "expected a value of 1 to 511 characters without ';', found " + text;
}

std::vector<LinkAssignment> AssignmentsOf(const SetChoice& choice) {
  std::vector<LinkAssignment> assignments;
  for (const std::string& text : choice.assignments) {
    const size_t equals = text.find('=');
    assignments.push_back(
        {PlaceOf(choice.module + "." + text.substr(0, equals)), text.substr(equals + 1)});
  }
  return assignments;
}

int Set(const LinkOptions& options, const SetChoice& choice) {
  LinkDevice device = options.Device();
  RequireMode(device, choice.branch);
  const std::vector<LinkAssignment> assignments = AssignmentsOf(choice);
  SharedFields shared(device, choice.branch, choice.module, assignments);
  int status = kDone;
  OrderedJson list = OrderedJson::array();
  for (const LinkOutcome& outcome : device.Set(choice.branch, assignments)) {
    if (!outcome.IsTaken()) status = kFound;
    list.push_back(ToJson(outcome));
    if (!options.isJson) std::printf("%s\n", ToText(device, choice.branch, outcome).c_str());
    if (const std::string lost = FindUnsavable(outcome); !lost.empty()) Warn(lost);
  }
  OrderedJson elsewhere = OrderedJson::array();
  for (const SharedFields::Changed& changed : shared.FindChanged()) {
    elsewhere.push_back({{"mode", changed.branch}, {"field", changed.field}});
    Warn(changed.field + ": its array is one with that of " + changed.branch +
         ", and has changed there too");
  }
  const auto origin =
      OtherOrigin(device, choice.branch, choice.module.substr(0, choice.module.find('.')));
  if (options.isJson)
    PrintJson({{"branch", choice.branch},
               {"from", origin.value_or(choice.branch)},
               {"values", list},
               {"elsewhere", elsewhere}});
  else if (origin)
    Warn("the values come from " + *origin + ", and have changed there");
  return status;
}

void AddSet(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto choice = std::make_shared<SetChoice>();
  CLI::App* command =
      link.add_subcommand("set", "Changes values in force on a branch, at once and in place");
  AddLinkBranch(*command, choice->branch)->required();
  AddLinkModule(*command, choice->module);
  command
      ->add_option("assignments", choice->assignments,
                   "FIELD=VALUE: the elements of an array are joined by ','")
      ->required()
      ->check(CheckAssignment);
  command->footer(
      "The values are shown as they stand afterwards. Exit status 1 tells that the device didn't\n"
      "take one, or cut it. Numbers are plain decimals such as -0.25. A mode that has no module "
      "of\n"
      "its own shares that of another ('tessarine link modules' tells which), and so its change;\n"
      "so do modes whose arrays of records are equal.\n\n"
      "Examples:\n"
      "  tessarine link set Default tessarinePDLib preProcess.boxFilterLength=2\n"
      "  tessarine link set 'Default|Sensor.3' tessarinePDLib skipControl.maxFrameRate=15 "
      "correlation.searchRange.to=12");
  command->callback([options, choice, &status] { status = Set(*options, *choice); });
}

// ---- watch

struct WatchChoice {
  std::string branch, module;
  std::vector<std::string> fields;
  double every = 1;
  uint64_t count = 0;  // 0: without end
};

// A value as the device shows it.
std::string PrintText(const OrderedJson& value) {
  return value.is_string() ? value.get<std::string>() : PrintLine(value);
}

OrderedJson TakeSample(LinkDevice& device, const WatchChoice& choice) {
  OrderedJson values = OrderedJson::object();
  for (const std::string& field : choice.fields) {
    const LinkPlace place = PlaceOf(choice.module + "." + field);
    const std::optional<std::string> value = device.Value(choice.branch, place);
    const std::string absent = value ? "" : FindAbsent(device, choice.branch, place.FullPath());
    if (!absent.empty()) throw NotOnDevice(absent);
    values[field] = value ? TextToJson(*value) : OrderedJson(nullptr);
  }
  return values;
}

void Watch(const LinkOptions& options, const WatchChoice& choice) {
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;
  LinkDevice device = options.Device();
  WarnOfAbsentMode(device, choice.branch, choice.module);
  const Clock::time_point start = Clock::now();
  for (uint64_t sample = 0; choice.count == 0 || sample < choice.count; ++sample) {
    const Seconds due = static_cast<double>(sample) * Seconds(choice.every);
    std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(due));
    const double seconds = Seconds(Clock::now() - start).count();
    const OrderedJson values = TakeSample(device, choice);
    device.Client().LetGo();  // a device serves one tool at a time
    if (options.isJson) {
      std::printf("%s\n", PrintLine({{"seconds", seconds}, {"values", values}}).c_str());
    } else {
      std::printf("%8.3f s", seconds);
      for (const auto& [name, value] : values.items())
        std::printf("  %s = %s", name.c_str(), PrintText(value).c_str());
      std::printf("\n");
    }
    std::fflush(stdout);
  }
}

void AddWatch(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto choice = std::make_shared<WatchChoice>();
  CLI::App* command = link.add_subcommand("watch", "Shows values again and again");
  AddLinkBranch(*command, choice->branch)->required();
  AddLinkModule(*command, choice->module);
  command->add_option("fields", choice->fields, "Fields of the module: preProcess.boxFilterLength")
      ->required()
      ->check(CheckLinkPath);
  command->add_option("--every", choice->every, "Seconds from one to the next")
      ->capture_default_str()
      ->check(CLI::Range(0.01, 3600.0));
  command->add_option("--count", choice->count, "How often; else until it is interrupted");
  command->footer(
      "With --json each line is an object. Between two of them the device is free for other "
      "tools.\n\n"
      "Example:\n"
      "  tessarine link watch Default tessarinePDLib skipControl.maxFrameRate --every 0.5 "
      "--count 10");
  command->callback([options, choice, &status] {
    Watch(*options, *choice);
    status = kDone;
  });
}

}  // namespace

void AddLinkValues(CLI::App& link, const SharedLinkOptions& options, int& status) {
  AddGet(link, options, status);
  AddSet(link, options, status);
  AddWatch(link, options, status);
}

}  // namespace tessarine

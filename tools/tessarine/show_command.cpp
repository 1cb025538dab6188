// tessarine show, diff, check: what is in tuning files.
#include <cstdio>

#include "commands.h"
#include "diff.h"
#include "errors.h"
#include "files.h"
#include "listing.h"

namespace tessarine {

FileReading LoadFile(const std::string& path) {
  FileReading reading = ReadFile(LoadBytes(path));
  if (reading.model.modes.empty()) {
    std::string text;
    for (const std::string& defect : reading.defects)
      text += (text.empty() ? "" : "\n") + path + ": " + defect;
    throw InputError(text);
  }
  for (const std::string& defect : reading.defects)
    std::fprintf(stderr, "tessarine: %s: %s\n", path.c_str(), defect.c_str());
  return reading;
}

Model LoadSoundFile(const std::string& path, Bytes& bytes) {
  bytes = LoadBytes(path);
  FileReading reading = ReadFile(bytes);
  std::string text;
  for (const std::string& defect : reading.defects)
    text += (text.empty() ? "" : "\n") + path + ": " + defect;
  if (!text.empty()) throw InputError(text);
  return std::move(reading.model);
}

void AddShowCommand(CLI::App& app, int& status) {
  struct Options {
    std::string file, branch, module;
    bool isJson = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("show", "Lists a tuning file: header, tree of modes, modules, values");
  command->add_option("file", options->file, "The tuning file")->required();
  command
      ->add_option("--mode", options->branch,
                   "A branch, such as 'Default|Usecase.Video': the modules in force on it, and the "
                   "mode that each comes from")
      ->check([](const std::string& text) {
        return ParseBranch(text) ? std::string() : "expected modes joined by '|', found " + text;
      });
  command->add_option("--module", options->module, "This module alone");
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Examples:\n"
      "  tessarine show tuning.bin\n"
      "  tessarine show tuning.bin --mode 'Default|Sensor.3|Usecase.Video' --module "
      "tessarinePDLib\n"
      "  tessarine show tuning.bin --mode '0.0|1.3' --json");
  command->callback([options, &status] {
    const FileReading reading = LoadFile(options->file);
    ListingChoices choices{{}, options->module};
    if (!options->branch.empty()) choices.branch = ParseBranch(options->branch);
    const std::string text = options->isJson ? Print(ListJson(reading.model, choices))
                                             : ListText(reading.model, choices);
    std::fputs(text.c_str(), stdout);
    status = kDone;
  });
}

void AddDiffCommand(CLI::App& app, int& status) {
  struct Options {
    std::string first, second;
    bool isJson = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("diff", "Tells by mode and field in what two tuning files differ");
  command->add_option("first", options->first, "A tuning file")->required();
  command->add_option("second", options->second, "Another one")->required();
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Exit status 1 tells that they differ.\n\n"
      "Example:\n"
      "  tessarine diff old.bin new.bin");
  command->callback([options, &status] {
    const FileReading first = LoadFile(options->first);
    const FileReading second = LoadFile(options->second);
    const std::vector<Difference> differences = Compare(first.model, second.model);
    OrderedJson list = OrderedJson::array();
    for (const Difference& difference : differences) {
      list.push_back(ToJson(difference));
      if (!options->isJson) std::printf("%s\n", ToText(difference).c_str());
    }
    if (options->isJson)
      std::fputs(Print({{"count", differences.size()}, {"differences", list}}).c_str(), stdout);
    else
      std::printf("%zu difference%s\n", differences.size(), differences.size() == 1 ? "" : "s");
    status = differences.empty() ? kDone : kFound;
  });
}

void AddCheckCommand(CLI::App& app, int& status) {
  struct Options {
    std::string file;
    bool isJson = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("check", "Finds all defects of a tuning file");
  command->add_option("file", options->file, "The tuning file")->required();
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Exit status 1 tells that there are some.\n\n"
      "Example:\n"
      "  tessarine check tuning.bin");
  command->callback([options, &status] {
    const FileReading reading = ReadFile(LoadBytes(options->file));
    OrderedJson list = OrderedJson::array();
    for (const std::string& defect : reading.defects) {
      list.push_back(TextToJson(defect));
      if (!options->isJson) std::printf("%s\n", defect.c_str());
    }
    if (options->isJson)
      std::fputs(Print({{"count", list.size()}, {"defects", list}}).c_str(), stdout);
    else
      std::printf("%zu defect%s\n", list.size(), list.size() == 1 ? "" : "s");
    status = list.empty() ? kDone : kFound;
  });
}

}  // namespace tessarine

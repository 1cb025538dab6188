// tessarine show, diff, check: what is in tuning files.
#include <cstdio>
#include <sstream>

#include "commands.h"
#include "diff.h"
#include "errors.h"
#include "file_writer.h"
#include "files.h"
#include "listing.h"
#include "source.h"

namespace tessarine {

namespace {

// Sources begin with an object or a comment, tuning files with their tag.
bool IsSource(const std::string& content) {
  const size_t first = content.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != std::string::npos && (content[first] == '{' || content[first] == '/');
}

FileReading ReadContent(const std::string& path) {
  const std::string content = LoadText(path);
  if (IsSource(content)) return ReadFile(WriteFile(ReadSource(content, path)));
  return ReadFile(Bytes(content.begin(), content.end()));
}

// A line each, with the file in front.
std::string Joined(const std::string& path, const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + path + ": " + line;
  return text;
}

void Tell(const std::string& path, const std::vector<std::string>& lines) {
  for (const std::string& line : lines)
    std::fprintf(stderr, "tessarine: %s: %s\n", path.c_str(), line.c_str());
}

// What is wrong with a tuning file or with a source, whose faults name their lines.
std::vector<std::string> AllDefects(const std::string& path) {
  std::vector<std::string> lines;
  try {
    FileReading reading = ReadContent(path);
    lines = std::move(reading.defects);
    lines.insert(lines.end(), reading.unserved.begin(), reading.unserved.end());
  } catch (const InputError& error) {
    std::istringstream text(error.what());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
  }
  return lines;
}

}  // namespace

FileReading LoadFile(const std::string& path) {
  FileReading reading = ReadContent(path);
  if (reading.model.modes.empty()) throw InputError(Joined(path, reading.defects));
  Tell(path, reading.defects);
  Tell(path, reading.unserved);
  return reading;
}

Model LoadSoundFile(const std::string& path, Bytes& bytes) {
  bytes = LoadBytes(path);
  FileReading reading = ReadFile(bytes);
  if (!reading.defects.empty()) throw InputError(Joined(path, reading.defects));
  Tell(path, reading.unserved);
  return std::move(reading.model);
}

namespace {

struct ShowOptions {
  std::string file, path, branch, module;
  bool isJson = false;
};

ListingChoices ChoicesOf(const ShowOptions& options) {
  ListingChoices choices{{}, options.module, {}};
  if (!options.branch.empty()) choices.branch = ParseBranch(options.branch);
  if (options.path.empty()) return choices;
  const size_t point = std::min(options.path.find('.'), options.path.size());
  choices.module = options.path.substr(0, point);
  if (point < options.path.size()) choices.field = options.path.substr(point + 1);
  return choices;
}

int Show(const ShowOptions& options) {
  const FileReading reading = LoadFile(options.file);
  const ListingChoices choices = ChoicesOf(options);
  if (options.isJson) {
    OrderedJson json = ListJson(reading.model, choices);
    json["defects"] = OrderedJson::array();
    for (const std::string& defect : reading.defects) json["defects"].push_back(defect);
    std::fputs(Print(json).c_str(), stdout);
  } else {
    std::fputs(ListText(reading.model, choices).c_str(), stdout);
  }
  const std::string answer = choices.branch ? AnswerText(reading.model, *choices.branch) : "";
  if (!answer.empty())
    std::fprintf(stderr, "tessarine: %s: there is no mode %s%s\n", options.file.c_str(),
                 ToText(*choices.branch).c_str(), answer.c_str());
  return reading.defects.empty() ? kDone : kFound;
}

}  // namespace

void AddShowCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App* command =
      app.add_subcommand("show", "Lists a tuning file: header, tree of modes, modules, values");
  command->add_option("file", options->file, "The tuning file, or a source")->required();
  CLI::Option* path = command->add_option(
      "path", options->path,
      "A module, or a record or field of it, alone: tessarinePDLib.preProcess.boxFilterLength");
  command
      ->add_option("--mode", options->branch,
                   "A branch, such as 'Default|Usecase.Video': the modules in force on it, and the "
                   "mode that each comes from")
      ->check([](const std::string& text) { return ParseBranch(text) ? "" : BranchFault(text); });
  command->add_option("--module", options->module, "This module alone")->excludes(path);
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Exit status 1 tells that the file is damaged; what can be read is shown.\n\n"
      "Examples:\n"
      "  tessarine show tuning.bin\n"
      "  tessarine show tuning.bin --mode 'Default|Sensor.3|Usecase.Video' --module "
      "tessarinePDLib\n"
      "  tessarine show tuning.bin --mode 'Default|Sensor.1' "
      "tessarinePDLib.correlation.searchRange\n"
      "  tessarine show tuning.bin --mode '0.0|1.3' --json");
  command->callback([options, &status] { status = Show(*options); });
}

void AddDiffCommand(CLI::App& app, int& status) {
  struct Options {
    std::string first, second;
    bool isJson = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "diff", "Tells by mode and field in what two tuning files or sources differ");
  command->add_option("first", options->first, "A tuning file, or a source")->required();
  command->add_option("second", options->second, "Another one")->required();
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Exit status 1 tells that they differ.\n\n"
      "Example:\n"
      "  tessarine diff old.bin new.bin\n"
      "  tessarine diff tuning.json device.bin");
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
  CLI::App* command = app.add_subcommand(
      "check", "Finds all defects of a tuning file or a source, and what is never served of it");
  command->add_option("file", options->file, "The tuning file, or a source")->required();
  command->add_flag("--json", options->isJson, "As JSON");
  command->footer(
      "Exit status 1 tells that there are some.\n\n"
      "Examples:\n"
      "  tessarine check tuning.bin\n"
      "  tessarine check tuning.json");
  command->callback([options, &status] {
    const std::vector<std::string> defects = AllDefects(options->file);
    if (options->isJson) {
      OrderedJson list = OrderedJson::array();
      for (const std::string& defect : defects) list.push_back(TextToJson(defect));
      std::fputs(Print({{"count", list.size()}, {"defects", list}}).c_str(), stdout);
    } else {
      for (const std::string& defect : defects) std::printf("%s\n", defect.c_str());
      std::printf("%zu defect%s\n", defects.size(), defects.size() == 1 ? "" : "s");
    }
    status = defects.empty() ? kDone : kFound;
  });
}

}  // namespace tessarine

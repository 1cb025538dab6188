#include "run_record.h"

#include <string>
#include <vector>

namespace pdcam {
namespace {

std::string& CommandLine() {
  static std::string line;
  return line;
}

// As a shell takes it.
std::string Quoted(const std::string& word) {
  constexpr const char* kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./,:@%";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char letter : word) quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
  return quoted + "'";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string ValueOf(const CLI::Option& option) {
  const bool isFlag = option.get_items_expected_max() == 0;
  if (isFlag && option.count() > 0) return option.results().back() == "false" ? "off" : "on";
  if (option.count() > 0) return Joined(option.results());
  const std::string value = option.get_default_str();
  return isFlag && value.empty() ? "off" : value;
}

}  // namespace

void RememberCommandLine(int argc, const char* const* argv) {
  std::vector<std::string> words;
  for (int i = 0; i < argc; ++i) words.push_back(Quoted(argv[i]));
  CommandLine() = Joined(words);
}

simcam::RunRecord RecordOf(const CLI::App& command) {
  simcam::RunRecord record{CommandLine(), command.get_parent()->version(), {}};
  for (const CLI::Option* option : command.get_options())
    if (option != command.get_help_ptr())
      record.options.push_back({option->get_name(), ValueOf(*option), option->count() > 0});
  return record;
}

}  // namespace pdcam

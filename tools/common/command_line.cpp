#include "common/command_line.h"

#include <cstdio>
#include <string>
#include <vector>

#include "common/exit_status.h"
#include "common/nearest_name.h"

namespace tool {
namespace {

// The innermost command that was named.
const CLI::App& Innermost(const CLI::App& app) {
  const std::vector<CLI::App*> named = app.get_subcommands();
  return named.empty() ? app : Innermost(*named.front());
}

std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::vector<std::string> CommandNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* inner : command.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(inner->get_name());
  return names;
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// Tells of the first word that has no place on the command line; "" where there is none.
std::string UnknownWord(const CLI::App& app) {
  const std::vector<std::string> unknown = app.remaining(true);
  if (unknown.empty()) return "";
  const CLI::App& command = Innermost(app);
  const std::string word = unknown.front().substr(0, unknown.front().find('='));
  if (word.size() > 1 && word[0] == '-')
    return "there is no option '" + word + "'" + DidYouMean(word, OptionNames(command));
  const std::vector<std::string> commands = CommandNames(command);
  if (commands.empty()) return "";
  const std::string hint = DidYouMean(word, commands);
  return "there is no command '" + word + "'" +
         (hint.empty() ? "; expected one of " + Joined(commands) : hint);
}

std::string Fault(const CLI::App& app, const CLI::ParseError& error) {
  const bool isLeftOver = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr ||
                          dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const std::string unknown = isLeftOver ? UnknownWord(app) : "";
  return unknown.empty() ? error.what() : unknown;
}

}  // namespace

std::optional<int> RunCommand(CLI::App& app, int argc, const char* const* argv) {
  app.set_version_flag("--version", app.get_name() + " " PDLIB_VERSION);
  try {
    app.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    std::fprintf(stderr, "%s: %s\nRun with --help for more information.\n", app.get_name().c_str(),
                 Fault(app, error).c_str());
    return kWrongUsage;
  }
}

}  // namespace tool

// tessarine link: how a device is reached, and what its subcommands have in common.
#include <cstdio>

#include "link_commands.h"
#include "link_tree.h"
#include "modes.h"

namespace tessarine {
namespace {

constexpr size_t kLongestPath = 512;

// A branch as the device spells it.
std::string Canonical(std::string& text) {
  const std::optional<Branch> branch = ParseBranch(text);
  if (!branch) return BranchFault(text);
  text = ToText(*branch);
  return text.size() <= kLongestPath ? "" : "expected a branch of 512 characters at most";
}

}  // namespace

CLI::Option* AddLinkBranch(CLI::App& command, std::string& branch, const std::string& name) {
  return command.add_option(name, branch, "Modes from the root on: 'Default|Usecase.Video'")
      ->transform(CLI::Validator(Canonical, "BRANCH"));
}

CLI::Option* AddLinkModule(CLI::App& command, std::string& module) {
  return command.add_option("module", module, "A module, such as tessarinePDLib")
      ->required()
      ->check(CheckLinkPath);
}

std::string CheckLinkPath(const std::string& path) {
  const bool isFitting = !path.empty() && path.size() <= kLongestPath &&
                         path.find_first_of(":;,=") == std::string::npos;
  return isFitting ? "" : "expected names joined by '.', found " + path;
}

void PrintJson(const OrderedJson& json) {
  std::fputs(Print(json).c_str(), stdout);
}

void Warn(const std::string& text) {
  std::fprintf(stderr, "tessarine: %s\n", text.c_str());
}

void RequireMode(LinkDevice& device, const std::string& branch) {
  if (const std::string absent = FindAbsentMode(device, branch); !absent.empty())
    throw NotOnDevice(absent);
}

void WarnOfAbsentMode(LinkDevice& device, const std::string& branch, const std::string& path) {
  const std::string absent = FindAbsentMode(device, branch);
  if (absent.empty()) return;
  const std::string module = path.substr(0, path.find('.'));
  Warn(absent + "; the values are those of " +
       device.OriginOf(branch, module).value_or("an unknown mode"));
}

void AddLinkCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<LinkOptions>();
  CLI::App* link =
      app.add_subcommand("link", "Asks and tunes a running camera, over its live link");
  link->require_subcommand(1);
  link->add_option("--host", options->address.host, "Name or address of the device")
      ->capture_default_str();
  link->add_option("--port", options->address.port, "Port of the device; else 23129")
      ->check(CLI::Range(1, 65535));
  link->add_option("--timeout", options->address.timeout, "Seconds for a connection or a reply")
      ->capture_default_str()
      ->check(CLI::Range(0.01, 3600.0));
  link->add_flag("--json", options->isJson, "The answer as JSON");
  link->footer(
      "The options may stand behind the subcommand as well.\n\n"
      "Examples:\n"
      "  tessarine link info\n"
      "  tessarine link modes\n"
      "  tessarine link get Default tessarinePDLib.preProcess\n"
      "  tessarine link set Default tessarinePDLib preProcess.boxFilterLength=2\n"
      "  tessarine link apply tuning.json --dry-run\n"
      "  tessarine link --host 192.168.1.20 --port 23130 active --json\n\n"
      "Exit status: 0 done, 1 not on the device, or not taken by it, or a difference, 2 wrong\n"
      "usage, 3 bad input file, 4 no connection or no answer.");
  AddLinkQueries(*link, options, status);
  AddLinkValues(*link, options, status);
  AddLinkSources(*link, options, status);
  for (CLI::App* command : link->get_subcommands({})) command->fallthrough();
}

}  // namespace tessarine

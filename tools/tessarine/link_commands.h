// The subcommands of tessarine link.
#pragma once

#include <memory>

#include "commands.h"
#include "json_values.h"
#include "link_device.h"

namespace tessarine {

// What all of them take.
struct LinkOptions {
  LinkAddress address;
  bool isJson = false;

  LinkDevice Device() const { return LinkDevice(address); }
};
using SharedLinkOptions = std::shared_ptr<const LinkOptions>;

// These add an option of a subcommand, and refuse texts that would not reach the device whole.
// A branch is brought into the form that the device uses.
CLI::Option* AddLinkBranch(CLI::App& command, std::string& branch,
                           const std::string& name = "branch");
CLI::Option* AddLinkModule(CLI::App& command, std::string& module);
// For a path of module and fields.
std::string CheckLinkPath(const std::string& path);

void PrintJson(const OrderedJson& json);
// A line on standard error.
void Warn(const std::string& text);
// The mode must be there: a device gives for one that isn't the values of one above, and to change
// those would change another mode. Throws NotOnDevice.
void RequireMode(LinkDevice& device, const std::string& branch);
// The same for those that only look: a line that tells where the values come from.
void WarnOfAbsentMode(LinkDevice& device, const std::string& branch, const std::string& path);

// Each adds subcommands; the one that is asked for runs and sets `status`.
void AddLinkQueries(CLI::App& link, const SharedLinkOptions& options, int& status);
void AddLinkValues(CLI::App& link, const SharedLinkOptions& options, int& status);
void AddLinkSources(CLI::App& link, const SharedLinkOptions& options, int& status);

}  // namespace tessarine

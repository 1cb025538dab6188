// The values of a source, brought to a device over the live link.
#pragma once

#include <string>
#include <vector>

#include "diff.h"
#include "link_device.h"
#include "modes.h"

namespace tessarine {

// A module that a source wants to have on a branch of the device.
struct WantedModule {
  Branch branch;
  const Module* module = nullptr;
  bool mayBeShared = false;  // change it even where the device takes its values from another mode
};

// The modules of all modes of a source; or, as they are in force, those of one branch.
std::vector<WantedModule> WantedOf(const Model& source, const std::optional<Branch>& branch);

// In what a device's module differs from the wanted one, and what of it can be sent.
struct ModuleChange {
  std::vector<Difference> differences;  // first: the device, second: the source
  std::vector<LinkAssignment> assignments;
  std::vector<std::string> problems;  // a line each: what can't be compared or changed
};
ModuleChange CompareWithDevice(LinkDevice& device, const WantedModule& wanted);

}  // namespace tessarine

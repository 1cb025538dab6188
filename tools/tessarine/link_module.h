// A device's module whose fields this tool knows, as a module of a tuning file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "link_device.h"
#include "model.h"
#include "modes.h"

namespace tessarine {

struct DeviceModule {
  Module module;
  std::vector<std::string> missing;  // fields for which the device gave no value that fits
  std::vector<std::string> rounded;  // floats so small that ten decimals don't tell them apart
};

// The values in force on a branch. What the device shows as it would show the value of `expected`
// is taken to be that value, and so is what it gives no value for.
DeviceModule ReadModule(LinkDevice& device, const std::string& branch, const ModuleSchema& schema,
                        const Value& expected);

// Where a module's values on a branch come from, unless that is the branch's own mode: to change
// them is to change that mode. "an unknown mode" if the device doesn't tell.
std::optional<std::string> OtherOrigin(LinkDevice& device, const std::string& branch,
                                       const std::string& module);

// A model of the modes of a branch, each below the one before it; the last one holds the module.
Model ModelOf(const Branch& branch, const Module& module);

}  // namespace tessarine

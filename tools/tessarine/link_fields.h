// The fields of a device's modules, as the device itself tells of them.
#pragma once

#include <string>
#include <vector>

#include "json_values.h"
#include "link_device.h"

namespace tessarine {

struct LinkLeaf {
  std::string path;   // "tessarinePDLib.preProcess.boxFilterLength"
  OrderedJson value;  // null: none that a text can hold, such as no number
};

// All values at and below a path, arrays of numbers as a whole. None if the path leads nowhere, or
// to a module without known fields.
std::vector<LinkLeaf> LeavesOnDevice(LinkDevice& device, const std::string& branch,
                                     const std::string& path);

// What of a path is not on the device, and the nearest name that is; "" if all of it is there.
std::string FindAbsent(LinkDevice& device, const std::string& branch, const std::string& path);

// "tessarinePDLib.preProcess.boxFilterLength = 3", and what is wrong with it.
std::string ToText(LinkDevice& device, const std::string& branch, const LinkOutcome& outcome);
OrderedJson ToJson(const LinkOutcome& outcome);

}  // namespace tessarine

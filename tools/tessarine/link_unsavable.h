// Values that a device holds and no source may have, or that its texts don't tell.
#pragma once

#include <string>
#include <vector>

#include "link_device.h"
#include "model.h"

namespace tessarine {

// What a source can't hold of a value that a device took, told of the field; "" if it can.
std::string FindUnsavable(const LinkOutcome& outcome);
// Puts 0 in place of enumerations that no source may have; a line for each.
std::vector<std::string> MakeSavable(Module& module);

}  // namespace tessarine

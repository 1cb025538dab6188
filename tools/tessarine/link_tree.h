// The tree of modes of a device.
#pragma once

#include <string>
#include <vector>

#include "link_device.h"

namespace tessarine {

struct DeviceTree {
  struct Node {
    std::string name;
    std::string path;
    size_t depth = 0;
  };
  std::vector<Node> nodes;  // each before those below it
  bool isComplete = true;   // false: too many or too deep, as where a mode links to one above it
};

// What of a branch is not on the device, and the nearest name that is; "" if all of it is there.
std::string FindAbsentMode(LinkDevice& device, const std::string& branch);

// The modes of a branch and below: all of them, or those right below. Throws NotOnDevice if the
// branch is not there.
DeviceTree ReadTree(LinkDevice& device, const std::string& branch, bool isFlat);

}  // namespace tessarine

// What can go wrong on the live link. The program turns it into its exit status.
#pragma once

#include <stdexcept>

namespace tessarine {

// No connection, or nothing on it that a device would answer; the text names host and port.
struct LinkError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The device answers, and lacks the mode, module or field that was asked for.
struct NotOnDevice : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tessarine

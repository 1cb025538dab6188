// What can go wrong with files. The program turns it into its exit status.
#pragma once

#include <stdexcept>

namespace tessarine {

// A file, or a value in it, that can't be used; the text names file, place and what was expected.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tessarine

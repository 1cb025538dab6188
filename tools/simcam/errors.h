// What can go wrong outside the simulation. Programs turn these into their exit status.
#pragma once

#include <stdexcept>

namespace simcam {

// A file, or a value in it, that can't be used; the text names file, field and what was expected.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The PD library can't be loaded, or refuses to work with this camera.
struct DeviceError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace simcam

// A model as the bytes of a tuning file.
#pragma once

#include "model.h"

namespace tessarine {

// Modules and objects without an ID get the lowest free ones: modules in the order of modes, then
// objects as the modules come by them. Throws InputError for a model that no file can hold.
Bytes WriteFile(const Model& model);

}  // namespace tessarine

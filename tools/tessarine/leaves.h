// A module's values one by one, by the path of their fields.
#pragma once

#include <string>
#include <vector>

#include "json_values.h"
#include "model.h"

namespace tessarine {

struct Leaf {
  std::string path;  // "preProcess.filterTrigger.filterSet[1].verticalMode"
  OrderedJson value;
};

// A value as the library hands it out: a text ends at its first NUL, even where a file counts that
// as part of it.
Value ServedValue(Value value);

// Served scalars, texts, arrays of scalars as a whole, and arrays of records that are empty. A
// module whose fields are not known has one leaf, "hex".
std::vector<Leaf> LeavesOf(const Module& module);

}  // namespace tessarine

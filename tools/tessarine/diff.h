// In what two tuning files differ.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "json_values.h"
#include "model.h"

namespace tessarine {

// One side is missing where the other has a mode, a module or an element more.
struct Difference {
  std::string mode;    // path; "" for the header
  std::string module;  // "" for the header and for modes
  std::string field;   // "" for a whole mode or module
  std::optional<OrderedJson> first;
  std::optional<OrderedJson> second;
};

// By mode, module and path of the field, in the order of the first. IDs and places in the file are
// no difference.
std::vector<Difference> Compare(const Model& first, const Model& second);

// "Default tessarinePDLib.preProcess.boxFilterLength: 4 -> 2"
std::string ToText(const Difference& difference);
OrderedJson ToJson(const Difference& difference);

}  // namespace tessarine

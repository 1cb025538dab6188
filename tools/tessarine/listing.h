// What a tuning file holds, for people and for programs.
#pragma once

#include <optional>
#include <string>

#include "file_reader.h"
#include "json_values.h"
#include "modes.h"

namespace tessarine {

struct ListingChoices {
  std::optional<Branch> branch;  // the modules in force on it, instead of all
  std::string module;            // this one alone; "" is all
};

// Throws InputError if there is no such module.
std::string ListText(const Model& model, const ListingChoices& choices);
OrderedJson ListJson(const Model& model, const ListingChoices& choices);

}  // namespace tessarine

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
  std::string field;             // this record or field of it alone, "preProcess.boxFilterLength"
};

// Throws InputError if there is no such module or field.
std::string ListText(const Model& model, const ListingChoices& choices);
OrderedJson ListJson(const Model& model, const ListingChoices& choices);

// "; Default answers" if a branch leads to no mode of its own, else "".
std::string AnswerText(const Model& model, const Branch& branch);

}  // namespace tessarine

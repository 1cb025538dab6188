// Tuning sources: the JSON form of a tuning file.
#pragma once

#include <string>

#include "model.h"

namespace tessarine {

// What the command line may say in place of the source.
struct SourceChoices {
  std::string format;  // "" is what the source says, or the newest
};

// Throws InputError that tells all faults at once, each as file, line, place and what was expected.
Model ReadSource(const std::string& text, const std::string& file,
                 const SourceChoices& choices = {});

// How much a source tells.
enum class Extent {
  kChanges,  // values that differ from those of the mode above that has the module, or from zero
  kAll
};

// The source of a model. With IDs, each mode and module is told the one that it has.
std::string WriteSource(const Model& model, bool hasIds, Extent extent = Extent::kAll);

// The JSON Schema of sources, as text.
std::string SourceSchema();

}  // namespace tessarine

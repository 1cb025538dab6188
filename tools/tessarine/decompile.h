// A tuning file's source.
#pragma once

#include <optional>
#include <string>

#include "source.h"

namespace tessarine {

struct Decompiled {
  std::string source;
  // Where the file that the source compiles to begins to differ; nothing if it doesn't.
  std::optional<size_t> firstDifference;
};

// The plainest source that compiles to the same bytes: with IDs only where the usual numbering
// gives others.
Decompiled Decompile(const Bytes& file, const Model& model, Extent extent = Extent::kChanges);

}  // namespace tessarine

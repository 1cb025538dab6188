#include "decompile.h"

#include <algorithm>

#include "errors.h"
#include "file_writer.h"
#include "source.h"

namespace tessarine {
namespace {

std::optional<size_t> FirstDifference(const Bytes& file, const std::string& source) {
  try {
    const Bytes made = WriteFile(ReadSource(source, "source"));
    if (made == file) return std::nullopt;
    const auto apart = std::mismatch(file.begin(), file.end(), made.begin(), made.end());
    return static_cast<size_t>(apart.first - file.begin());
  } catch (const InputError&) {
    return 0;  // without its own numbers, such a file can't be made
  }
}

}  // namespace

Decompiled Decompile(const Bytes& file, const Model& model) {
  Decompiled best;
  for (const bool hasIds : {false, true}) {
    for (const bool sharesEqual : {true, false}) {
      Model shared = model;
      shared.sharesEqual = sharesEqual;
      Decompiled tried{WriteSource(shared, hasIds), {}};
      tried.firstDifference = FirstDifference(file, tried.source);
      if (!tried.firstDifference) return tried;
      if (best.source.empty() || *tried.firstDifference > *best.firstDifference)
        best = std::move(tried);
    }
  }
  return best;
}

}  // namespace tessarine

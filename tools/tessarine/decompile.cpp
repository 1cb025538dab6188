#include "decompile.h"

#include <algorithm>
#include <map>

#include "file_writer.h"

namespace tessarine {
namespace {

std::optional<size_t> FirstDifference(const Bytes& file, const Bytes& made) {
  if (made == file) return std::nullopt;
  const auto apart = std::mismatch(file.begin(), file.end(), made.begin(), made.end());
  return static_cast<size_t>(apart.first - file.begin());
}

// Modes in the order in which a source nests them.
void AppendNested(const std::vector<std::vector<const Mode*>>& children, const Mode& mode,
                  std::vector<const Mode*>& nested) {
  nested.push_back(&mode);
  for (const Mode* child : children[mode.id]) AppendNested(children, *child, nested);
}

std::vector<const Mode*> Nested(const Model& model) {
  uint32_t highest = 0;
  for (const Mode& mode : model.modes) highest = std::max(highest, mode.id);
  std::vector<std::vector<const Mode*>> children(size_t{highest} + 1);
  for (const Mode& mode : model.modes)
    if (mode.parent != mode.id) children[mode.parent].push_back(&mode);
  std::vector<const Mode*> nested;
  for (const Mode& mode : model.modes)
    if (mode.parent == mode.id) AppendNested(children, mode, nested);
  return nested;
}

// The model that comes out of a source without IDs: numbered in the source's order.
Model Renumbered(const Model& model) {
  Model made = model;
  made.modes.clear();
  std::map<uint32_t, uint32_t> idOf;
  for (const Mode* mode : Nested(model)) {
    idOf[mode->id] = static_cast<uint32_t>(made.modes.size());
    made.modes.push_back(*mode);
  }
  for (Mode& mode : made.modes) {
    mode.id = idOf.at(mode.id);
    mode.parent = idOf.at(mode.parent);
    if (mode.link != kNoLink) mode.link = idOf.at(mode.link);
    for (Module& module : mode.modules) module.id = 0;
  }
  return made;
}

// Whether the modes and modules have the IDs that they get where a source doesn't tell them.
bool HasUsualIds(const Model& model) {
  uint32_t modeId = 0;
  uint32_t moduleId = 0;
  for (const Mode* mode : Nested(model)) {
    if (mode->id != modeId++) return false;
    for (const Module& module : mode->modules)
      if (module.id != ++moduleId) return false;
  }
  return true;
}

struct Variant {
  bool hasIds = false;
  bool sharesEqual = true;
  std::optional<size_t> firstDifference;
};

// The first variant that gives the file, or that which agrees with it longest. Only files are made
// for it: to write and read the source of each would take many times as long.
Variant Choose(const Bytes& file, const Model& model) {
  std::optional<Variant> best;
  for (const bool hasIds : {false, true}) {
    // With IDs, the root has to be mode 0.
    if (hasIds && (model.modes.front().id != 0 || HasUsualIds(model))) continue;
    Model made = hasIds ? model : Renumbered(model);
    for (const bool sharesEqual : {true, false}) {
      made.sharesEqual = sharesEqual;
      const Variant tried{hasIds, sharesEqual, FirstDifference(file, WriteFile(made))};
      if (!tried.firstDifference) return tried;
      if (!best || *tried.firstDifference > *best->firstDifference) best = tried;
    }
  }
  return *best;
}

}  // namespace

Decompiled Decompile(const Bytes& file, const Model& model, Extent extent) {
  const Variant variant = Choose(file, model);
  Model chosen = model;
  chosen.sharesEqual = variant.sharesEqual;
  Decompiled decompiled{WriteSource(chosen, variant.hasIds, extent), variant.firstDifference};
  // Read in any case: a source that doesn't compile is none.
  const Model again = ReadSource(decompiled.source, "source");
  if (!decompiled.firstDifference)
    decompiled.firstDifference = FirstDifference(file, WriteFile(again));
  return decompiled;
}

}  // namespace tessarine

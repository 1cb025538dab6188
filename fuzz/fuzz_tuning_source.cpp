// Any text as the source of a tuning file. What compiles makes a sound file of the same values.
#include <algorithm>

#include "errors.h"
#include "file_reader.h"
#include "file_writer.h"
#include "small_manager.h"
#include "source.h"

namespace {

// Without what only sources hold, or only files.
tessarine::Model Plain(tessarine::Model model) {
  model.sharesEqual = true;
  model.hasWideSymbols = false;
  for (tessarine::Mode& mode : model.modes) {
    mode.label.clear();
    for (tessarine::Module& module : mode.modules) module.id = 0;
  }
  // IDs that nobody has are filled up with empty objects.
  std::erase_if(model.objects, [](const auto& object) { return object.bytes.empty(); });
  std::sort(model.objects.begin(), model.objects.end(),
            [](const auto& a, const auto& b) { return a.id < b.id; });
  return model;
}

void RequireLibraryLoads(const tessarine::Model& model, const tessarine::Bytes& file) {
  fuzz::SmallSetManager manager;
  for (const tessarine::Mode& mode : model.modes)
    for (const tessarine::Module& module : mode.modules)
      if (!manager.Knows(module.type)) return;
  fuzz::Require(manager.LoadBinaryParameters(file.data(), file.size()), "the library can load it");
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return {};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Run run;
  try {
    const tessarine::Model model = tessarine::ReadSource(std::string(data, data + size), "source");
    const tessarine::Bytes file = tessarine::WriteFile(model);
    const tessarine::FileReading reading = tessarine::ReadFile(file);
    for (const std::string& defect : reading.defects) std::fprintf(stderr, "%s\n", defect.c_str());
    fuzz::Require(reading.defects.empty(), "what compiles is sound");
    fuzz::Require(Plain(reading.model) == Plain(model), "a file holds the values of its source");
    RequireLibraryLoads(model, file);
  } catch (const tessarine::InputError&) {
    return 0;
  }
  return 0;
}

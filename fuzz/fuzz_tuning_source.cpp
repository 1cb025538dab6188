// Any text as the source of a tuning file. What compiles makes a sound file of the same values.
#include "errors.h"
#include "file_writer.h"
#include "plain_model.h"
#include "source.h"

namespace {

// A known module in another version than the library's: a file for another library.
bool IsForOthers(const tessarine::Model& model) {
  for (const tessarine::Mode& mode : model.modes)
    for (const tessarine::Module& module : mode.modules)
      if (tessarine::FindModule(module.type) != nullptr && module.Schema() == nullptr) return true;
  return false;
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
    if (IsForOthers(model)) return 0;
    for (const std::string& defect : reading.defects) std::fprintf(stderr, "%s\n", defect.c_str());
    fuzz::Require(reading.defects.empty(), "what compiles is sound");
    fuzz::Require(fuzz::Plain(reading.model) == fuzz::Plain(model),
                  "a file holds the values of its source");
    fuzz::RequireLibraryLoads(model, file);
  } catch (const tessarine::InputError&) {
    return 0;
  }
  return 0;
}

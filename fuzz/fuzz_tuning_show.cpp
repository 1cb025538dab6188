// Any bytes as a tuning file that somebody looks at: it can be listed and compared, and a sound one
// has a source of the same values.
#include "diff.h"
#include "file_writer.h"
#include "listing.h"
#include "plain_model.h"
#include "source.h"

namespace {

enum Choice : uint32_t { kAsJson, kInForce, kMakesSource, kHasIds, kSharesEqual };

// What show prints, and diff against another file.
void LookAt(const tessarine::Model& model, const fuzz::ChosenFile& file) {
  static const tessarine::Model good = tessarine::ReadFile(fuzz::GoodFile()).model;
  tessarine::ListingChoices choices;
  if (file.Chooses(kInForce)) choices.branch = tessarine::ParseBranch("Default|Usecase.Preview");
  const std::string listing = file.Chooses(kAsJson)
                                  ? tessarine::Print(tessarine::ListJson(model, choices))
                                  : tessarine::ListText(model, choices);
  fuzz::Require(!listing.empty(), "a file has a listing");
  for (const tessarine::Difference& difference : tessarine::Compare(good, model)) {
    const std::string line =
        file.Chooses(kAsJson) ? tessarine::Print(ToJson(difference)) : ToText(difference);
    fuzz::Require(!line.empty(), "a difference can be told");
  }
}

bool HaveSameValues(const tessarine::Model& first, const tessarine::Model& second) {
  return tessarine::Compare(first, second).empty() &&
         fuzz::ObjectsOf(first) == fuzz::ObjectsOf(second);
}

// One of those that decompile chooses from. Those with IDs hold no root but mode 0; it falls back
// on the others then.
void RequireSource(tessarine::Model model, const fuzz::ChosenFile& file) {
  model.sharesEqual = file.Chooses(kSharesEqual);
  const bool hasIds = file.Chooses(kHasIds) && model.modes.front().id == 0;
  const std::string text = tessarine::WriteSource(model, hasIds);
  const tessarine::Model source = tessarine::ReadSource(text, "source");
  fuzz::Require(HaveSameValues(source, model), "a source holds the values of its file");
  const tessarine::FileReading again = tessarine::ReadFile(tessarine::WriteFile(source));
  fuzz::Require(again.defects.empty() && HaveSameValues(again.model, model),
                "what a source compiles to holds the values of the file");
}

}  // namespace

// Most have no module with known fields: that one takes a hundred times as long as all the rest.
std::vector<fuzz::Input> fuzz::Seeds() {
  std::vector<Input> files{GoodFile()};
  for (const VersionUnion version : kVersions) {
    test::TuningFile file = SmallFile(version, 0, false);
    file.modules.erase(file.modules.begin(), file.modules.begin() + 2);
    files.push_back(file.build());
  }
  return files;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Run run;
  const fuzz::ChosenFile file(data, size);
  const tessarine::FileReading reading = tessarine::ReadFile(file.bytes);
  if (!reading.model.modes.empty()) LookAt(reading.model, file);
  if (!reading.defects.empty()) return 0;
  fuzz::RequireLibraryLoads(reading.model, file.bytes);
  if (file.Chooses(kMakesSource)) RequireSource(reading.model, file);
  return 0;
}

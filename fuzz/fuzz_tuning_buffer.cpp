// Any bytes as a tuning file in memory, or as an update of a good one.
#include "small_manager.h"

namespace {

enum Choice : uint32_t { kUpdates, kByText, kToleratesMissing };

void Load(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager) {
  const bool loaded = manager.LoadBinaryParameters(file.bytes.data(), file.bytes.size());
  fuzz::Require(manager.IsLoadValid() == loaded, "a load tells whether it is valid");
  fuzz::UseAll(manager, file.Chooses(kByText));
}

void Update(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager) {
  const test::Bytes& good = fuzz::GoodFile();
  manager.LoadBinaryParameters(good.data(), good.size());
  fuzz::PdRecord* held = fuzz::GetPd(manager, 2);
  const uint64_t before = fuzz::NumberOf(held);
  manager.UpdateBinaryParameters(file.bytes.data(), file.bytes.size());
  fuzz::UseAll(manager, false);
  fuzz::Require(fuzz::NumberOf(held) == before, "a record that is held stays as it is");
  held->Release();
  fuzz::UseAll(manager, file.Chooses(kByText));
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return SmallFiles();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Run run;
  const fuzz::ChosenFile file(data, size);
  fuzz::SmallSetManager manager(fuzz::LogsRunOf(size));
  manager.SetMissingModuleTolerance(file.Chooses(kToleratesMissing));
  file.Chooses(kUpdates) ? Update(file, manager) : Load(file, manager);
  return 0;
}

// Any bytes as a tuning file that is read as it is needed, or that takes the place of a good one
// between two reads.
#include "orvo/osutils.h"
#include "small_manager.h"
#include "support/memory_file.h"

namespace {

enum Choice : uint32_t {
  kReplaces,
  kByText,
  kUnnoticed,
  kReloads,
  kInBufferMode,
  kShortens,
  kCompares,
  kVanishes
};

// The only file that there is.
struct Place {
  test::MemoryFile file;
  bool isThere = true;

  void Write(const test::Bytes& bytes, int64_t seconds) {
    fuzz::Require(file.write(bytes, seconds), "a file in memory can be written");
  }
};

Place& ThePlace() {
  static Place place;
  return place;
}

}  // namespace

// In place of the platform's.
FILE* Orvo::OsUtils::FOpen(const char*, const char*) {
  return ThePlace().isThere ? ThePlace().file.open() : nullptr;
}

namespace {

void Load(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager) {
  ThePlace().Write(file.bytes, 1);
  const bool loaded = manager.LoadBinaryParameters(ThePlace().file.path());
  fuzz::Require(manager.IsLoadValid() == loaded, "a load tells whether it is valid");
  fuzz::UseAll(manager, file.Chooses(kByText));
  if (!loaded || !file.Chooses(kCompares)) return;
  fuzz::SmallSetManager other;
  if (!other.LoadBinaryParameters(file.bytes.data(), file.bytes.size())) return;
  fuzz::PdRecord* inMemory = fuzz::GetPd(other, 0);
  if (inMemory != nullptr && !file.Chooses(kByText)) {
    fuzz::PdRecord* fromFile = fuzz::GetPd(manager, 0);
    fuzz::Require(fuzz::NumberOf(fromFile) == fuzz::NumberOf(inMemory), "both modes read alike");
    fromFile->Release();
  }
  if (inMemory != nullptr) inMemory->Release();
}

void Replace(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager) {
  const test::Bytes& good = fuzz::GoodFile();
  ThePlace().Write(good, 1);
  manager.LoadBinaryParameters(ThePlace().file.path());
  fuzz::PdRecord* held = fuzz::GetPd(manager, 0);
  const uint64_t before = fuzz::NumberOf(held);
  test::Bytes bytes = file.bytes;
  const bool unnoticed = file.Chooses(kUnnoticed);
  if (unnoticed) bytes.resize(good.size());
  ThePlace().Write(bytes, unnoticed ? 1 : 2);
  if (fuzz::PdRecord* deepest = fuzz::GetPd(manager, 4)) deepest->Release();
  if (file.Chooses(kShortens))
    ThePlace().Write({bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 2)}, 1);
  ThePlace().isThere = !file.Chooses(kVanishes);
  if (file.Chooses(kReloads)) manager.ReloadBinaryParameters(file.Chooses(kInBufferMode));
  fuzz::Require(fuzz::NumberOf(held) == before, "a record that is held stays as it is");
  held->Release();
  if (file.Chooses(kByText)) {
    fuzz::UseAll(manager, true);
  } else if (fuzz::PdRecord* deeper = fuzz::GetPd(manager, 2)) {
    deeper->Release();
  }
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return SmallFiles();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Run run;
  ThePlace().isThere = true;
  const fuzz::ChosenFile file(data, size);
  fuzz::SmallSetManager manager(fuzz::LogsRunOf(size));
  file.Chooses(kReplaces) ? Replace(file, manager) : Load(file, manager);
  return 0;
}

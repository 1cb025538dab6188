// Any bytes as a tuning file that is read as it is needed, or that takes the place of a good one
// between two reads.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "small_manager.h"

namespace {

enum Choice : uint32_t {
  kReplaces,
  kByText,
  kUnnoticed,
  kReloads,
  kInBufferMode,
  kShortens,
  kCompares
};

// A file that never touches a disk.
class MemoryFile {
 public:
  MemoryFile() : handle_(memfd_create("tuning", 0)) {
    path_ = "/proc/self/fd/" + std::to_string(handle_);
  }
  ~MemoryFile() { close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* Path() const { return path_.c_str(); }
  // Equal times hide a change, unless the size tells it.
  void Write(const test::Bytes& bytes, int64_t seconds) {
    const timespec time{seconds, 0};
    const timespec times[] = {time, time};
    const auto size = static_cast<ssize_t>(bytes.size());
    fuzz::Require(ftruncate(handle_, size) == 0 &&
                      pwrite(handle_, bytes.data(), bytes.size(), 0) == size &&
                      futimens(handle_, times) == 0,
                  "a file in memory can be written");
  }

 private:
  int handle_;
  std::string path_;
};

void Load(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager, MemoryFile& place) {
  place.Write(file.bytes, 1);
  const bool loaded = manager.LoadBinaryParameters(place.Path());
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

void Replace(const fuzz::ChosenFile& file, fuzz::SmallSetManager& manager, MemoryFile& place) {
  const test::Bytes& good = fuzz::GoodFile();
  place.Write(good, 1);
  manager.LoadBinaryParameters(place.Path());
  fuzz::PdRecord* held = fuzz::GetPd(manager, 0);
  const uint64_t before = fuzz::NumberOf(held);
  test::Bytes bytes = file.bytes;
  const bool unnoticed = file.Chooses(kUnnoticed);
  if (unnoticed) bytes.resize(good.size());
  place.Write(bytes, unnoticed ? 1 : 2);
  fuzz::UseAll(manager, false);
  if (file.Chooses(kShortens))
    place.Write(
        test::Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 2)), 1);
  if (file.Chooses(kReloads)) manager.ReloadBinaryParameters(file.Chooses(kInBufferMode));
  fuzz::Require(fuzz::NumberOf(held) == before, "a record that is held stays as it is");
  held->Release();
  fuzz::UseAll(manager, file.Chooses(kByText));
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return SmallFiles();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile place;
  const fuzz::Run run;
  const fuzz::ChosenFile file(data, size);
  fuzz::SmallSetManager manager(fuzz::LogsRunOf(size));
  file.Chooses(kReplaces) ? Replace(file, manager, place) : Load(file, manager, place);
  return 0;
}

// Any bytes as a tuning file on disk; then as the file that takes the place of a good one.
#include "support/temp_folder.h"
#include "tuning_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const test::TempFolder folder;
  static const std::string path = (folder.path() / "tuning.bin").string();
  static const test::Bytes good = fuzz::GoodFile();
  const test::Bytes bytes = fuzz::RepairedFile(data, size);
  test::WriteFile(path, bytes);
  TuningSetManager manager;
  manager.LoadBinaryParameters(path.c_str());
  fuzz::UseAll(manager);

  test::WriteFile(path, good);
  TuningSetManager replaced;
  replaced.LoadBinaryParameters(path.c_str());
  test::WriteFile(path, bytes);
  fuzz::UseAll(replaced);
  replaced.ReloadBinaryParameters(false);
  fuzz::UseAll(replaced);
  return 0;
}

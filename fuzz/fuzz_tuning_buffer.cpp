// Any bytes as a tuning file in memory; then as an update of a good one.
#include "tuning_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const test::Bytes bytes = fuzz::RepairedFile(data, size);
  TuningSetManager manager;
  manager.LoadBinaryParameters(bytes.data(), bytes.size());
  fuzz::UseAll(manager);

  static const test::Bytes good = fuzz::GoodFile();
  TuningSetManager updated;
  updated.LoadBinaryParameters(good.data(), good.size());
  updated.UpdateBinaryParameters(bytes.data(), bytes.size());
  fuzz::UseAll(updated);
  return 0;
}

// What the fuzz targets of the tuning framework share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "support/pd_tuning.h"
#include "tuningsetmanager.h"

namespace fuzz {

// The checksum is made right, for a fuzzer never would.
inline test::Bytes RepairedFile(const uint8_t* data, size_t size) {
  test::Bytes file(data, data + size);
  test::RepairChecksum(file);
  return file;
}

// Uses whatever a manager has loaded.
inline void UseAll(TuningSetManager& manager) {
  static constexpr TuningMode kBranch[] = {{0, 0}, {2, 1}, {3, 0}, {5, 1}};
  for (uint32_t count = 0; count <= 4; ++count) {
    afpdlibelements::tessarinePDLibType* record =
        manager.GetModule_tessarinePDLib(kBranch, count, nullptr);
    if (record == nullptr) continue;
    test::Describe(*record);
    char text[4096];
    manager.GetValue(kBranch, count, "tessarinePDLib", nullptr, text, sizeof(text));
    manager.SetValue(kBranch, count, "tessarinePDLib", "hardwarePattern[0].gridWidthScaleRatio",
                     "1.5");
    record->Release();
  }
  char text[1024];
  manager.GetChildModes("0.0", text, sizeof(text));
  manager.GetActiveModes(text, sizeof(text));
}

// A file with two modes, to start from.
inline test::Bytes GoodFile() {
  test::TuningFile file;
  file.modes = {{0, 0, 0, 0}, {1, 2, 1, 0}};
  const test::PdSource source(1);
  test::AddPd(file, source, 0);
  test::AddPd(file, source, 1);
  return file.build();
}

}  // namespace fuzz

// A manager and what its tests look at.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/orvo_host.h"
#include "support/log_capture.h"
#include "support/pd_tuning.h"
#include "support/temp_folder.h"
#include "tuningsetmanager.h"

namespace test {

// The log is captured, files stand in a folder of their own, and nothing may be left allocated.
class Tuning : public testing::Test {
 protected:
  Tuning() { Orvo::Host::StartLogCapture(); }
  ~Tuning() override {
    Orvo::Host::NeverFailAllocation();
    Orvo::Host::NeverFailRead();
    manager.reset();
    EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_);
    Orvo::Host::StopLogCapture();
  }

  void renew() { manager = std::make_unique<TuningSetManager>(); }
  // Loads into a fresh manager.
  bool load(const Bytes& bytes, bool fileMode) {
    renew();
    if (!fileMode) return manager->LoadBinaryParameters(bytes.data(), bytes.size());
    WriteFile(path(), bytes);
    return manager->LoadBinaryParameters(path().c_str());
  }
  std::filesystem::path path() const { return folder_.path() / "tuning.bin"; }

  tessarinePDLibType* get(const std::vector<TuningMode>& branch,
                          tessarinePDLibType* previous = nullptr) {
    return manager->GetModule_tessarinePDLib(branch.data(), static_cast<unsigned>(branch.size()),
                                             previous);
  }
  // The focus map switch of the record in force on a branch; -1 without one.
  int32_t at(const std::vector<TuningMode>& branch) {
    tessarinePDLibType* record = get(branch);
    if (record == nullptr) return -1;
    const int32_t value = record->enableFocusMaps;
    record->Release();
    return value;
  }
  std::string error() const {
    char text[ParameterSetManager::kMaxError];
    manager->GetError(text, sizeof(text));
    return text;
  }
  static bool logged(const std::string& text) { return IsLogged(text); }

  const uint64_t liveBefore_ = Orvo::Host::Allocations().live;
  TempFolder folder_;
  std::unique_ptr<TuningSetManager> manager;
};

}  // namespace test

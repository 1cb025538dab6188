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

  // Loads into a fresh manager.
  bool load(const Bytes& bytes, bool fileMode) {
    manager = std::make_unique<TuningSetManager>();
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
  std::string error() const {
    char text[ParameterSetManager::kMaxError];
    manager->GetError(text, sizeof(text));
    return text;
  }
  static bool logged(const std::string& text) {
    for (const auto& line : Orvo::Host::CapturedLog())
      if (line.text.find(text) != std::string::npos) return true;
    return false;
  }

  const uint64_t liveBefore_ = Orvo::Host::Allocations().live;
  TempFolder folder_;
  std::unique_ptr<TuningSetManager> manager;
};

}  // namespace test

// A manager that is made quickly, and what the targets of the tuning framework do with it.
#pragma once

#include <algorithm>
#include <bit>
#include <type_traits>

#include "afpdlibelements_class.h"
#include "generatedsetmanager.h"
#include "host/orvo_host.h"
#include "moduleaccess.h"
#include "support/pd_tuning.h"
#include "target.h"

namespace fuzz {

using PdRecord = afpdlibelements::tessarinePDLibType;
using RawModule = tuning::GeneratedModule<tuning::RawModuleType>;

// Knows the PD module and one whose fields are unknown, where the camera's managers know hundreds.
class SmallSetManager : public GeneratedSetManager {
 public:
  explicit SmallSetManager(bool logs = false) : logs_(logs) {
    SetLogLevels(logs, logs, logs);
    AddModule(new tuning::GeneratedModule<PdRecord>("tessarinePDLib"));
    AddModule(new RawModule("abf34_ife"));
  }
  // A type as files hold it.
  bool Knows(const std::string& type) { return defaultModules_.Find(type.c_str()) != nullptr; }

 protected:
  GeneratedSetManager* CreateEmpty() const override { return new SmallSetManager(logs_); }

 private:
  bool logs_;
};

// The log is read and thrown away, and nothing may be left allocated at the end of a run.
class Run {
 public:
  Run() { Orvo::Host::StartLogCapture(); }
  ~Run() {
    Orvo::Host::StopLogCapture();
    Require(Orvo::Host::Allocations().live == liveBefore_, "all memory is released");
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

 private:
  const uint64_t liveBefore_ = Orvo::Host::Allocations().live;
};

// Making the lines of the log takes most of the time of a bad file.
inline bool LogsRunOf(size_t size) {
  return size % 16 == 0;
}

// A number made of every value of a record, and of every byte of its texts and arrays; 0 for none.
uint64_t NumberOf(const PdRecord* record);

inline constexpr TuningMode kBranch[] = {{0, 0}, {2, 1}, {3, 0}, {5, 1}};

inline PdRecord* GetPd(ParameterSetManager& manager, uint32_t count, PdRecord* previous = nullptr) {
  return tuning::GetRecord(manager, "tessarinePDLib", kBranch, count, previous);
}

// Uses whatever a manager has loaded.
inline void UseAll(ParameterSetManager& manager, bool byText) {
  PdRecord* record = nullptr;
  for (uint32_t count = 0; count <= 4; ++count) NumberOf(record = GetPd(manager, count, record));
  if (record != nullptr) record->Release();
  if (ParameterModule* module = manager.GetModule("abf34_ife", kBranch, 2, nullptr)) {
    const tuning::RawModuleType& raw = *static_cast<RawModule*>(module);
    Require(std::count(raw.rawData, raw.rawData + raw.rawSize, 0) <= raw.rawSize, "can be read");
    manager.ReleaseModule(module);
  }
  if (!byText) return;
  char text[4096];
  manager.GetValue(kBranch, 4, "tessarinePDLib", nullptr, text, sizeof(text));
  manager.SetValue(kBranch, 2, "tessarinePDLib", "hardwarePattern[0].gridWidthScaleRatio", "1.5");
  manager.SetValue(kBranch, 2, "tessarinePDLib", "parameter_version.revision", "another one");
  manager.GetChildModes("0.0", text, sizeof(text));
  manager.GetActiveModes(text, sizeof(text));
}

// A sound file of three modes, one of them linked where the format has links. The deepest holds the
// root's PD module again, shared or on its own.
inline test::TuningFile SmallFile(VersionUnion version, uint32_t arrays, bool sharesModule) {
  test::TuningFile file(version);
  file.modes = {{0, 0, 0, 0}, {1, 2, 1, 0}, {2, 3, 0, 1}};
  if (version >= VersionUnion{2, 0, 0}) file.modes.push_back({3, 2, 2, 0, 1});
  const test::PdSource source(arrays);
  test::AddPd(file, source, 0);
  test::AddPd(file, source, 2, sharesModule ? 1 : 0);
  char type[ModuleData::kMaxType + 1];
  ModuleData::GetType(type, "abf34_ife");
  file.modules.push_back({type, {1, 0, 0}, 1, {1, 2, 3, 4, 5, 6, 7, 8}});
  return file;
}

// For runs that need no more than something to start from.
inline const test::Bytes& GoodFile() {
  static const test::Bytes file = [] {
    test::TuningFile made = SmallFile({5, 0, 0}, 1, true);
    made.modules.erase(made.modules.begin() + 1);
    return made.build();
  }();
  return file;
}

// Versions of the format, one for every kind of layout.
inline constexpr VersionUnion kVersions[] = {{1, 0, 1}, {1, 0, 2}, {2, 0, 0}, {3, 0, 0},
                                             {3, 0, 1}, {3, 0, 2}, {4, 0, 0}, {5, 0, 0}};

inline std::vector<Input> SmallFiles() {
  std::vector<Input> files;
  for (const VersionUnion version : kVersions)
    for (const uint32_t arrays : {0u, 1u})
      files.push_back(SmallFile(version, arrays, arrays == 0).build());
  files.push_back(GoodFile());
  return files;
}

// A fuzzer would never find a checksum, so it is made right, and the four bytes that stood in its
// place choose what happens with the file.
struct ChosenFile {
  ChosenFile(const uint8_t* data, size_t size) : bytes(data, data + size) {
    if (size < 4) return;
    std::memcpy(&choice, data + size - 4, 4);
    const uint32_t crc = parametercrc::Checksum(data, size - 4);
    std::memcpy(bytes.data() + size - 4, &crc, 4);
  }
  bool Chooses(uint32_t bit) const { return ((choice >> bit) & 1) != 0; }

  test::Bytes bytes;
  uint32_t choice = 0;
};

}  // namespace fuzz

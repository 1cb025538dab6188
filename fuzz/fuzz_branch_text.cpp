// Any texts as branches of modes, in the first line, and as values of controls and triggers, in the
// second.
#include "small_manager.h"

namespace {

constexpr uint32_t kLargest = 2048;

bool AreEqual(const PList<TuningMode>& a, const PList<TuningMode>& b) {
  bool equal = a.Count() == b.Count();
  for (uint32_t i = 0; equal && i < a.Count(); ++i)
    equal = a[i].mode == b[i].mode && a[i].subMode == b[i].subMode;
  return equal;
}

void RequireBranch(const PList<TuningMode>& branch, const char* text, const char* promise) {
  PList<TuningMode> read;
  fuzz::Require(ParameterSetManager::GetModeBranchFromPath(text, read) && AreEqual(read, branch),
                promise);
}

// Calls `ask(buffer, size)` with a buffer that holds any answer, and with one that may not.
template <class Ask>
bool AskForText(char (&large)[kLargest], uint32_t small, Ask ask) {
  const auto heap = std::make_unique<char[]>(small);
  const bool fits = ask(heap.get(), small);
  fuzz::Require(std::memchr(heap.get(), '\0', small) != nullptr, "an answer has an end");
  const bool complete = ask(large, kLargest);
  if (fits) fuzz::Require(std::strcmp(heap.get(), large) == 0, "an answer that fits is complete");
  return complete;
}

void UseBranch(fuzz::SmallSetManager& manager, const char* path, uint32_t small) {
  char text[kLargest];
  PList<TuningMode> branch;
  const bool isBranch = ParameterSetManager::GetModeBranchFromPath(path, branch);
  if (isBranch && AskForText(text, small, [&](char* buffer, uint32_t size) {
        return ParameterSetManager::GetPathFromModeBranch(&branch[0], branch.Count(), buffer, size);
      }))
    RequireBranch(branch, text, "a branch comes back from its numbers");
  if (AskForText(text, small,
                 [&](char* buffer, uint32_t size) {
                   return manager.GetModeShorthand(path, buffer, size);
                 }) &&
      isBranch)
    RequireBranch(branch, text, "a shorthand is the same branch");
  if (AskForText(text, small,
                 [&](char* buffer, uint32_t size) {
                   return ParameterSetManager::GetRondelModesString(path, buffer, size);
                 }) &&
      isBranch) {
    bool namesAll = true;  // sub-modes of the mode 0 have no names
    for (uint32_t i = 0; i < branch.Count(); ++i)
      namesAll = namesAll && (branch[i].mode != 0 || branch[i].subMode == 0);
    if (namesAll) RequireBranch(branch, text, "a branch comes back from its names");
  }
  AskForText(text, small, [&](char* buffer, uint32_t size) {
    return manager.GetChildModes(path, buffer, size) != 0;
  });
  if (const ModeEntry* mode = manager.GetModeEntry(path)) mode->GetModePath(text, sizeof(text));
  if (!isBranch) return;
  using fuzz::PdRecord;
  PdRecord* record =
      tuning::GetRecord<PdRecord>(manager, "tessarinePDLib", &branch[0], branch.Count(), nullptr);
  fuzz::Require(record != nullptr, "every branch has the root's module");
  record->Release();
  ParameterSetManager::GetSubModeIndex(ParameterSetManager::GetModeIndex(path), path);
}

void UseValues(fuzz::SmallSetManager& manager, const char* values, uint32_t small) {
  char text[kLargest];
  const bool complete = manager.SetControlValues(values);
  manager.SetTriggerValues(values);
  const bool fits = AskForText(text, small, [&](char* buffer, uint32_t size) {
    return manager.GetControlValues(buffer, size);
  });
  if (complete && fits)
    fuzz::Require(manager.SetTriggerValues(text), "values that were read can be written");
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return {};
}

// Queries of branches leave a manager as it is, and texts replace whole lists of values: it serves
// all runs.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto manager = [] {
    const test::Bytes file = fuzz::SmallFile({5, 0, 0}, 0, true).build();
    auto loaded = std::make_unique<fuzz::SmallSetManager>();
    loaded->LoadBinaryParameters(file.data(), file.size());
    return loaded;
  }();
  Orvo::Host::StartLogCapture();
  const bool logs = fuzz::LogsRunOf(size);
  manager->SetLogLevels(logs, logs, logs);
  fuzz::Texts lines(data, size);
  const auto small = static_cast<uint32_t>(1 + size * 7 % 61);
  UseBranch(*manager, lines.Next('\n').c_str(), small);
  UseValues(*manager, lines.Next('\n').c_str(), small);
  Orvo::Host::StopLogCapture();
  return 0;
}

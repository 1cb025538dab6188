#include "tuning_file.h"

#include <strings.h>

#include <charconv>
#include <filesystem>
#include <sstream>

#include "common/nearest_name.h"
#include "errors.h"
#include "library_records.h"
#include "tuningsetmanager.h"

namespace simcam {
namespace {

constexpr uint32_t kTextSize = 4096;
constexpr uint32_t kMostSteps = 8;

std::string ErrorOf(const TuningSetManager& manager) {
  char text[ParameterSetManager::kMaxError] = {};
  manager.GetError(text, sizeof(text));
  return text[0] != '\0' ? text : "expected a tuning file";
}

bool IsNumber(const std::string& word) {
  return !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
}

bool IsSame(const char* name, const std::string& word) {
  return name != nullptr && strcasecmp(name, word.c_str()) == 0;
}

// The manager takes a name that it doesn't know for 0.
bool IsKnownStep(const std::string& step) {
  const size_t point = step.find('.');
  const std::string mode = step.substr(0, point);
  uint32_t index = ParameterSetManager::GetModeIndex(mode.c_str());
  if (IsNumber(mode))
    std::from_chars(mode.data(), mode.data() + mode.size(), index);
  else if (!IsSame(ModeEntry::GetModeName(index), mode))
    return false;
  if (point == std::string::npos) return true;
  const std::string subMode = step.substr(point + 1);
  return IsNumber(subMode) ||
         IsSame(ModeEntry::GetSubModeName(
                    index, ParameterSetManager::GetSubModeIndex(index, subMode.c_str())),
                subMode);
}

bool AreKnownSteps(const std::string& branch) {
  std::istringstream steps(branch);
  for (std::string step; std::getline(steps, step, '|');)
    if (!IsKnownStep(step)) return false;
  return true;
}

constexpr size_t kMostBranches = 1000;
constexpr int kMostLevels = 4;

void AddBranches(TuningSetManager& manager, const std::string& branch, int levels,
                 std::vector<std::string>& branches) {
  branches.push_back(branch);
  if (levels == 0) return;
  std::vector<char> children(1 << 16);
  manager.GetChildModes(branch.c_str(), children.data(), static_cast<uint32_t>(children.size()));
  std::istringstream names(children.data());
  for (std::string name; branches.size() < kMostBranches && std::getline(names, name, ',');)
    AddBranches(manager, branch + "|" + name, levels - 1, branches);
}

// Absolute paths lead the library into the data folder.
std::string FromHere(const std::string& path) {
  std::error_code error;
  const std::filesystem::path relative = std::filesystem::proximate(path, error);
  return error ? path : relative.string();
}

}  // namespace

TuningFile::TuningFile(const std::string& path, bool isLinked)
    : path_(path), manager_(std::make_unique<TuningSetManager>()) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) throw InputError(path + ": there is no such file");
  manager_->SetStartLinkOnLoad(isLinked);
  if (!manager_->LoadBinaryParameters(FromHere(path).c_str()))
    throw InputError(path + ": " + ErrorOf(*manager_));
  if (isLinked && !IsLinked())
    throw InputError(path + ": no live link: no port is free, or the library was built without it");
}

TuningFile::~TuningFile() = default;

uint16_t TuningFile::LinkPort() const {
  return manager_->GetLinkPort();
}

uint32_t TuningFile::Changes() const {
  return manager_->GetValueChangeCount();
}

std::vector<std::string> TuningFile::Branches() const {
  std::vector<std::string> branches;
  AddBranches(*manager_, "Default", kMostLevels, branches);
  return branches;
}

void TuningFile::Store(const StackValues& values) const {
  manager_->SetControlValue({1, static_cast<long>(values.frame)});
  manager_->SetControlValue({2, values.lensCode});
  manager_->SetControlValue({3, values.frameRate});
  manager_->SetTriggerValue({1, values.gain});
  manager_->SetTriggerValue({2, values.exposureMs});
}

std::vector<TuningMode> TuningFile::Steps(const std::string& branch) const {
  char numbers[kTextSize];
  PList<TuningMode> steps(kMostSteps);
  if (!AreKnownSteps(branch) ||
      !manager_->GetModeShorthand(branch.c_str(), numbers, sizeof(numbers)) ||
      !ParameterSetManager::GetModeBranchFromPath(numbers, steps) ||
      manager_->GetModeEntry(numbers) == nullptr)
    return {};
  std::vector<TuningMode> result;
  for (uint32_t i = 0; i < steps.Count(); ++i) result.push_back(steps[i]);
  return result;
}

TuningBranch::TuningBranch(std::shared_ptr<TuningFile> file, const std::string& branch)
    : file_(std::move(file)), name_(branch), modes_(file_->Steps(branch)) {
  if (modes_.empty())
    throw InputError(file_->Path() + ": has no mode '" + branch + "'" +
                     tool::DidYouMean(branch, file_->Branches()));
  if (Record() == nullptr)
    throw InputError(file_->Path() + ": has no PD tuning for '" + branch + "'");
}

// Stays in memory as long as the manager: nobody gives it back, as in the plug-in.
const afpdlibelements::tessarinePDLibType* TuningBranch::Record() const {
  return file_->Manager().GetModule_tessarinePDLib(modes_.data(),
                                                   static_cast<uint32_t>(modes_.size()), nullptr);
}

TuningChoices TuningBranch::Choices() const {
  return ChoicesOf(*Record());
}

void TuningBranch::Override(const TuningChoices& choices) const {
  const TuningChoices inForce = Choices();
  struct Flag {
    const char* path;
    bool isOn;
    bool wasOn;
  };
  const Flag flags[] = {
      {"postProcess.enableGridOverlap", choices.gridOverlap, inForce.gridOverlap},
      {"enablePeripheralWindows", choices.peripheralWindows, inForce.peripheralWindows},
      {"adaptiveK.enable", choices.adaptive.isOn, inForce.adaptive.isOn},
  };
  for (const Flag& flag : flags)
    if (flag.isOn != flag.wasOn)
      file_->Manager().SetValue(modes_.data(), static_cast<uint32_t>(modes_.size()),
                                "tessarinePDLib", flag.path, flag.isOn ? "1" : "0");
}

void TuningBranch::LendTo(PDLibCreateParams& params) const {
  params.tuningManager = &file_->Manager();
  params.tuningModes = modes_.data();
  params.tuningModeCount = static_cast<uint32_t>(modes_.size());
}

}  // namespace simcam

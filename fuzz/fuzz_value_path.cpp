// Any texts as branch, path, names and value: one each, separated by line ends.
#include "tuning_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const test::Bytes good = fuzz::GoodFile();
  static const std::unique_ptr<TuningSetManager> manager = [] {
    auto loaded = std::make_unique<TuningSetManager>();
    loaded->LoadBinaryParameters(good.data(), good.size());
    return loaded;
  }();
  std::string texts[4];
  size_t current = 0;
  for (size_t i = 0; i < size && current < 4; ++i) {
    if (data[i] == '\n') {
      ++current;
    } else if (data[i] != 0) {
      texts[current] += static_cast<char>(data[i]);
    }
  }
  const auto& [branch, path, names, value] = texts;
  const std::string modulePath = "tessarinePDLib." + path;
  char answer[1024];
  PList<ParameterParserInfo> lines;
  for (const char* modes : {branch.c_str(), "0.0"}) {
    manager->GetValue(modes, modulePath.c_str(), names.c_str(), answer, sizeof(answer));
    manager->GetValue(modes, path.c_str(), nullptr, answer, sizeof(answer));
    manager->SetValue(modes, modulePath.c_str(), names.c_str(), value.c_str());
    manager->SetValue(modes, "tessarinePDLib", path.c_str(), value.c_str());
    manager->GetInfo(modes, modulePath.c_str(), lines);
  }
  manager->GetModeShorthand(branch.c_str(), answer, sizeof(answer));
  ParameterSetManager::GetRondelModesString(branch.c_str(), answer, sizeof(answer));
  manager->GetChildModes(branch.c_str(), answer, sizeof(answer));
  manager->SetControlValues(value.c_str());
  manager->GetControlValues(answer, sizeof(answer));
  return 0;
}

// Branches of modes as text.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvo/osutils.h"
#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

constexpr uint32_t kMaxDigits = 10;
constexpr uint32_t kMaxSteps = 1024;
constexpr uint32_t kMaxNames = 7;  // modes with a name; sub-modes have fewer than kMaxSubNames
constexpr uint32_t kMaxSubNames = 32;

bool EqualsName(const char* text, size_t length, const char* name) {
  return name != nullptr && std::strlen(name) == length &&
         Orvo::OsUtils::StrNICmp(text, name, length) == 0;
}

bool FindModeName(const char* text, size_t length, uint32_t& mode) {
  for (mode = 0; mode < kMaxNames; ++mode) {
    if (EqualsName(text, length, ModeEntry::GetModeName(mode))) return true;
  }
  mode = 0;
  return false;
}

bool FindSubModeName(uint32_t mode, const char* text, size_t length, uint32_t& subMode) {
  for (subMode = 0; subMode < kMaxSubNames; ++subMode) {
    if (EqualsName(text, length, ModeEntry::GetSubModeName(mode, subMode))) return true;
  }
  subMode = 0;
  return false;
}

bool ReadNumber(const char* text, size_t length, uint32_t& number) {
  if (length == 0 || length > kMaxDigits) return false;
  uint64_t value = 0;
  for (size_t i = 0; i < length; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + static_cast<uint64_t>(text[i] - '0');
  }
  number = static_cast<uint32_t>(value);
  return value <= UINT32_MAX;
}

// "<mode>" or "<mode>.<sub-mode>" with names where there are any.
bool WriteNames(const TuningMode& step, char* buffer, uint32_t size, uint32_t* position) {
  char number[16];
  const auto word = [&](const char* name, uint32_t value) {
    if (name == nullptr) std::snprintf(number, sizeof(number), "%u", value);
    return name == nullptr ? number : name;
  };
  using ParameterUtils::WriteString;
  if (!WriteString(word(ModeEntry::GetModeName(step.mode), step.mode), buffer, size, position,
                   false, nullptr))
    return false;
  if (step.mode == 0) return true;
  return WriteString(".", buffer, size, position, false, nullptr) &&
         WriteString(word(ModeEntry::GetSubModeName(step.mode, step.subMode), step.subMode), buffer,
                     size, position, false, nullptr);
}

// Ends a text that is complete, or cuts off what didn't fit.
bool Finish(bool complete, char* buffer, uint32_t size, uint32_t position) {
  if (position < size) {
    buffer[position] = '\0';
    return complete;
  }
  if (size != 0) buffer[size - 1] = '\0';
  return false;
}

// The same for a list, of which the entries before `whole` stay.
bool FinishList(bool complete, char* buffer, uint32_t size, uint32_t position, uint32_t whole) {
  const bool fits = complete && position < size;
  buffer[fits ? position : whole] = '\0';
  return fits;
}

}  // namespace

// A word that is neither a number nor a name fails the step.
bool ParameterSetManager::ParseStep(const char* text, size_t length, TuningMode& step) {
  const void* point = std::memchr(text, '.', length);
  const size_t modeLength =
      point == nullptr ? length : static_cast<size_t>(static_cast<const char*>(point) - text);
  step = {};
  if (!ReadNumber(text, modeLength, step.mode) && !FindModeName(text, modeLength, step.mode))
    return false;
  if (point == nullptr) return true;
  const char* subText = text + modeLength + 1;
  const size_t subLength = length - modeLength - 1;
  uint32_t subMode = 0;
  if (!ReadNumber(subText, subLength, subMode) &&
      !FindSubModeName(step.mode, subText, subLength, subMode))
    return false;
  step.subMode = static_cast<uint16_t>(subMode);
  return subMode <= UINT16_MAX;
}

bool ParameterSetManager::GetModeBranchFromPath(const char* path, PList<TuningMode>& list) {
  if (path == nullptr) return false;
  uint32_t steps = 0;
  while (*path != '\0') {
    const size_t length = std::strcspn(path, "|");
    TuningMode step{};
    if (++steps > kMaxSteps || !ParseStep(path, length, step) || !list.Add(step)) return false;
    path += length;
    if (*path == '|') ++path;
  }
  return steps != 0;
}

bool ParameterSetManager::GetPathFromModeBranch(const TuningMode* branch, uint32_t count,
                                                char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return false;
  uint32_t position = 0;
  bool complete = branch != nullptr || count == 0;
  for (uint32_t i = 0; complete && i < count; ++i) {
    char step[32];
    std::snprintf(step, sizeof(step), "%s%u.%u", i == 0 ? "" : "|", branch[i].mode,
                  branch[i].subMode);
    const size_t length = std::strlen(step);
    complete = length < size - position;
    if (!complete) break;
    std::copy_n(step, length, buffer + position);
    position += static_cast<uint32_t>(length);
  }
  return Finish(complete, buffer, size, position);
}

uint32_t ParameterSetManager::GetModeIndex(const char* name) {
  uint32_t mode = 0;
  if (name != nullptr) FindModeName(name, std::strlen(name), mode);
  return mode;
}

uint32_t ParameterSetManager::GetSubModeIndex(uint32_t mode, const char* name) {
  uint32_t subMode = 0;
  if (name != nullptr) FindSubModeName(mode, name, std::strlen(name), subMode);
  return subMode;
}

// Numbers stay, unknown names become 0.
bool ParameterSetManager::GetModeShorthand(const char* names, char* buffer, uint32_t size) {
  if (names == nullptr || buffer == nullptr || size == 0) return false;
  uint32_t position = 0;
  bool complete = true;
  for (const char* text = names; complete && *text != '\0';) {
    const size_t length = std::strcspn(text, "|");
    const size_t modeLength = std::min(std::strcspn(text, "."), length);
    uint32_t mode = 0;
    uint32_t subMode = 0;
    if (!ReadNumber(text, modeLength, mode)) FindModeName(text, modeLength, mode);
    if (modeLength < length) {
      const char* subText = text + modeLength + 1;
      const size_t subLength = length - modeLength - 1;
      if (!ReadNumber(subText, subLength, subMode))
        FindSubModeName(mode, subText, subLength, subMode);
    }
    char step[32];
    std::snprintf(step, sizeof(step), "%s%u.%u", text == names ? "" : "|", mode, subMode);
    complete = ParameterUtils::WriteString(step, buffer, size, &position, false, this);
    text += length;
    if (*text == '|') ++text;
  }
  return Finish(complete, buffer, size, position);
}

bool ParameterSetManager::GetRondelModesString(const char* paths, char* buffer, uint32_t size) {
  if (paths == nullptr || buffer == nullptr || size == 0) return false;
  uint32_t position = 0;
  uint32_t whole = 0;
  bool complete = true;
  while (complete && *paths != '\0') {
    const size_t length = std::strcspn(paths, "|;");
    TuningMode step{};
    complete = ParseStep(paths, length, step) && WriteNames(step, buffer, size, &position);
    paths += length;
    if (!complete || *paths == '\0') break;
    if (*paths == ';' && position < size) whole = position;
    const char separator[2] = {*paths++, '\0'};
    complete = ParameterUtils::WriteString(separator, buffer, size, &position, false, nullptr);
  }
  return FinishList(complete, buffer, size, position, whole);
}

ModeEntry* ParameterSetManager::FindNode(const char* path) const {
  PList<TuningMode> branch(8);
  if (!GetModeBranchFromPath(path, branch)) return nullptr;
  return FindNode(&branch[0], branch.Count());
}

ModeEntry* ParameterSetManager::GetModeEntry(const char* path) {
  const ParameterReadLock lock(dataMutex_);
  return FindNode(path);
}

uint32_t ParameterSetManager::GetChildModes(const char* path, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return 0;
  buffer[0] = '\0';
  const ParameterReadLock lock(dataMutex_);
  if (loaded_.tree == nullptr) return 0;
  ModeEntry* mode = FindNode(path);
  if (mode == nullptr) mode = loaded_.tree->GetModeEntry(0);
  if (mode == nullptr) return 0;
  uint32_t position = 0;
  uint32_t whole = 0;
  bool complete = true;
  for (ModeEntry* child = mode->Resolve()->GetFirstChild(); complete && child != nullptr;
       child = child->GetNextSibling()) {
    if (position < size) whole = position;
    if (position != 0)
      complete = ParameterUtils::WriteString(",", buffer, size, &position, false, this);
    const ModeUnion key = child->GetMode();
    complete = complete && WriteNames({key.mode, key.subMode}, buffer, size, &position);
  }
  return FinishList(complete, buffer, size, position, whole) ? position + 1 : 0;
}

bool ParameterSetManager::GetActiveModes(char* buffer, uint32_t size) {
  constexpr uint32_t kMaxPaths = 1024;
  const ParameterReadLock lock(dataMutex_);
  const ParameterWriteLock loadLock(loadMutex_);
  PList<ModeEntry*> deepest(8);
  bool metInactive = false;
  for (uint32_t i = 0; i < recentModes_.Count(); ++i) {
    ModeEntry* mode = recentModes_[i];
    if (!mode->IsActive()) metInactive = true;
    if (!mode->IsActive() || (metInactive && mode->IsResident())) continue;
    bool covered = false;
    for (uint32_t k = 0; k < deepest.Count() && !covered; ++k)
      covered = mode->IsAncestorOf(deepest[k]);
    if (covered) continue;
    for (uint32_t k = deepest.Count(); k-- > 0;) {
      if (deepest[k]->IsAncestorOf(mode)) deepest.RemoveAt(k);
    }
    deepest.Add(mode);
  }
  char paths[kMaxPaths];
  uint32_t position = 0;
  for (uint32_t i = 0; i < deepest.Count(); ++i) {
    char path[kMaxPaths];
    if (!deepest[i]->GetModePath(path, sizeof(path))) break;
    if (std::strlen(path) + 2 > kMaxPaths - position) break;
    position += static_cast<uint32_t>(
        std::snprintf(paths + position, kMaxPaths - position, "%s%s", i == 0 ? "" : ";", path));
  }
  paths[position] = '\0';
  return GetRondelModesString(paths, buffer, size);
}

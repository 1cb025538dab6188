// Values of controls and triggers, which the manager stores and reports.
#include <cstring>

#include "parametersetmanager.h"
#include "parameterutils.h"

namespace {

constexpr uint32_t kMaxValueText = 512;  // "%f" of the largest double, and an ID

}  // namespace

bool ParameterValueList::Get(uint32_t id, ParameterCTValue& value) const {
  for (uint32_t i = 0; i < values_.Count(); ++i) {
    if (values_[i].GetID() != id) continue;
    value = values_[i];
    return true;
  }
  return false;
}

bool ParameterValueList::Set(const ParameterCTValue& value) {
  uint32_t place = 0;
  while (place < values_.Count() && values_[place].GetID() < value.GetID()) ++place;
  if (place < values_.Count() && values_[place].GetID() == value.GetID()) {
    values_.Set(place, value);
    return true;
  }
  return values_.Insert(place, value);
}

bool ParameterValueList::ToString(char* buffer, uint32_t size) const {
  if (buffer == nullptr || size == 0) return false;
  uint32_t position = 0;
  buffer[0] = '\0';
  for (uint32_t i = 0; i < values_.Count(); ++i) {
    char text[kMaxValueText];
    text[0] = ',';
    const bool first = i == 0;
    if (!values_[i].ToString(text + 1, sizeof(text) - 1, true)) return false;
    const char* part = first ? text + 1 : text;
    if (std::strlen(part) + 1 > size - position) return false;
    std::memcpy(buffer + position, part, std::strlen(part) + 1);
    position += static_cast<uint32_t>(std::strlen(part));
  }
  return true;
}

bool ParameterValueList::FromString(const char* text) {
  Clear();
  if (text == nullptr) return false;
  bool complete = true;
  while (*text != '\0') {
    const size_t length = std::strcspn(text, ",");
    char part[kMaxValueText];
    ParameterCTValue value;
    ParameterUtils::GetSubString(text, ',', part, sizeof(part));
    if (length >= sizeof(part) || !value.FromString(part) || !Set(value)) complete = false;
    text += length;
    if (*text == ',') ++text;
  }
  return complete;
}

namespace {

bool SetAll(ParameterValueList& list, const ParameterCTValue* values, uint32_t count) {
  bool complete = values != nullptr || count == 0;
  for (uint32_t i = 0; complete && i < count; ++i) complete = list.Set(values[i]);
  return complete;
}

bool CopyAll(const PList<ParameterCTValue>& from, PList<ParameterCTValue>& to) {
  to.Clear();
  bool complete = true;
  for (uint32_t i = 0; complete && i < from.Count(); ++i) complete = to.Add(from[i]);
  return complete;
}

}  // namespace

bool ParameterSetManager::GetControlValue(uint32_t id, ParameterCTValue& value) const {
  const ParameterReadLock lock(valueMutex_);
  return controls_.Get(id, value);
}

bool ParameterSetManager::GetControlValues(PList<ParameterCTValue>& list) const {
  const ParameterReadLock lock(valueMutex_);
  return CopyAll(controls_.All(), list);
}

bool ParameterSetManager::GetControlValues(char* buffer, uint32_t size) {
  const ParameterReadLock lock(valueMutex_);
  return controls_.ToString(buffer, size);
}

bool ParameterSetManager::SetControlValue(const ParameterCTValue& value) {
  const ParameterWriteLock lock(valueMutex_);
  return controls_.Set(value);
}

bool ParameterSetManager::SetControlValues(const ParameterCTValue* values, uint32_t count) {
  const ParameterWriteLock lock(valueMutex_);
  return SetAll(controls_, values, count);
}

bool ParameterSetManager::SetControlValues(const PList<ParameterCTValue>& list) {
  return SetControlValues(&list[0], list.Count());
}

bool ParameterSetManager::SetControlValues(const char* text) {
  const ParameterWriteLock lock(valueMutex_);
  return controls_.FromString(text);
}

bool ParameterSetManager::GetTriggerValue(uint32_t id, ParameterCTValue& value) const {
  const ParameterReadLock lock(valueMutex_);
  return triggers_.Get(id, value);
}

bool ParameterSetManager::GetTriggerValues(PList<ParameterCTValue>& list) const {
  const ParameterReadLock lock(valueMutex_);
  return CopyAll(triggers_.All(), list);
}

bool ParameterSetManager::GetTriggerValues(char* buffer, uint32_t size) {
  const ParameterReadLock lock(valueMutex_);
  return triggers_.ToString(buffer, size);
}

bool ParameterSetManager::SetTriggerValue(const ParameterCTValue& value) {
  const ParameterWriteLock lock(valueMutex_);
  return triggers_.Set(value);
}

bool ParameterSetManager::SetTriggerValues(const ParameterCTValue* values, uint32_t count) {
  const ParameterWriteLock lock(valueMutex_);
  return SetAll(triggers_, values, count);
}

bool ParameterSetManager::SetTriggerValues(const PList<ParameterCTValue>& list) {
  return SetTriggerValues(&list[0], list.Count());
}

bool ParameterSetManager::SetTriggerValues(const char* text) {
  const ParameterWriteLock lock(valueMutex_);
  return triggers_.FromString(text);
}

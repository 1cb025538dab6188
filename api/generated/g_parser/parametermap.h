// Hashed look-up of the framework: by name, by number, by address.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "base/owned_array.h"

// A name and its hash, so that a walk over many maps hashes once. The text must outlive the key.
struct ParameterName {
  ParameterName() = default;
  ParameterName(const char* name) : text(name) {  // NOLINT: a name is a key
    for (const char* c = name; *c != '\0'; ++c)
      hash = (hash ^ static_cast<uint8_t>(*c)) * 16777619u;
  }
  bool operator==(const ParameterName& other) const {
    return hash == other.hash && std::strcmp(text, other.text) == 0;
  }

  const char* text = "";
  uint32_t hash = 2166136261u;
};

// A number or an address.
struct ParameterNumber {
  ParameterNumber() = default;
  ParameterNumber(uint64_t number) : value(number) {  // NOLINT: a number is a key
    const uint64_t mixed = (number ^ (number >> 29)) * 0x9E3779B97F4A7C15u;
    hash = static_cast<uint32_t>(mixed >> 32);
  }
  explicit ParameterNumber(const void* address)
      : ParameterNumber(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(address))) {}
  bool operator==(const ParameterNumber& other) const { return value == other.value; }

  uint64_t value = 0;
  uint32_t hash = 0;
};

// Entries stand in the order of insertion until one is erased: the last one takes its place.
template <class Key, class Value>
class ParameterMap {
 public:
  uint32_t Count() const { return count_; }
  const Key& KeyAt(uint32_t index) const { return entries_[index].key; }
  Value& ValueAt(uint32_t index) { return entries_[index].value; }
  const Value& ValueAt(uint32_t index) const { return entries_[index].value; }

  Value* Find(const Key& key) {
    const uint32_t index = IndexOf(key);
    return index == kNone ? nullptr : &entries_[index].value;
  }
  const Value* Find(const Key& key) const {
    const uint32_t index = IndexOf(key);
    return index == kNone ? nullptr : &entries_[index].value;
  }

  // False, and no change, when the key is there already or there is no memory.
  bool Insert(const Key& key, const Value& value) {
    if (IndexOf(key) != kNone) return false;
    if (count_ == entries_.size() && !Grow()) return false;
    entries_[count_] = {key, value};
    slots_[FreeSlot(key.hash)] = ++count_;
    return true;
  }

  // Key and value take the place of the equal key's; false if it isn't there.
  bool Replace(const Key& key, const Value& value) {
    const uint32_t index = IndexOf(key);
    if (index == kNone) return false;
    entries_[index] = {key, value};
    return true;
  }

  bool Erase(const Key& key) {
    const uint32_t index = IndexOf(key);
    if (index == kNone) return false;
    CloseGap(SlotOfIndex(index));
    --count_;
    if (index != count_) {
      slots_[SlotOfIndex(count_)] = index + 1;
      entries_[index] = entries_[count_];
    }
    entries_[count_] = {};
    return true;
  }

  void Clear() {
    entries_.reset();
    slots_.reset();
    count_ = 0;
  }

 private:
  struct Entry {
    Key key;
    Value value;
  };
  static constexpr uint32_t kNone = UINT32_MAX;
  static constexpr uint32_t kFirstCapacity = 8;

  uint32_t Mask() const { return static_cast<uint32_t>(slots_.size()) - 1; }

  uint32_t IndexOf(const Key& key) const {
    if (count_ == 0) return kNone;
    for (uint32_t slot = key.hash & Mask(); slots_[slot] != 0; slot = (slot + 1) & Mask()) {
      if (entries_[slots_[slot] - 1].key == key) return slots_[slot] - 1;
    }
    return kNone;
  }

  uint32_t FreeSlot(uint32_t hash) const {
    uint32_t slot = hash & Mask();
    while (slots_[slot] != 0) slot = (slot + 1) & Mask();
    return slot;
  }

  uint32_t SlotOfIndex(uint32_t index) const {
    uint32_t slot = entries_[index].key.hash & Mask();
    while (slots_[slot] != index + 1) slot = (slot + 1) & Mask();
    return slot;
  }

  // Moves back what stands behind a slot that becomes free, so that every search still ends right.
  void CloseGap(uint32_t gap) {
    for (uint32_t slot = (gap + 1) & Mask(); slots_[slot] != 0; slot = (slot + 1) & Mask()) {
      const uint32_t home = entries_[slots_[slot] - 1].key.hash;
      if (((slot - home) & Mask()) < ((slot - gap) & Mask())) continue;
      slots_[gap] = slots_[slot];
      gap = slot;
    }
    slots_[gap] = 0;
  }

  // At most half of the slots are taken, so a search ends soon.
  bool Grow() {
    const size_t capacity = entries_.empty() ? kFirstCapacity : entries_.size() * 2;
    pdlib::OwnedArray<Entry> entries;
    pdlib::OwnedArray<uint32_t> slots;
    if (capacity > kNone / 4 || !entries.allocate(capacity) || !slots.allocate(capacity * 2))
      return false;
    for (uint32_t i = 0; i < count_; ++i) entries[i] = entries_[i];
    entries_.swap(entries);
    slots_.swap(slots);
    for (uint32_t i = 0; i < count_; ++i) slots_[FreeSlot(entries_[i].key.hash)] = i + 1;
    return true;
  }

  pdlib::OwnedArray<Entry> entries_;
  pdlib::OwnedArray<uint32_t> slots_;  // index of the entry plus 1; 0: free
  uint32_t count_ = 0;
};

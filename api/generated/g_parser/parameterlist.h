// The plain growable array of the framework.
#pragma once

#include <cstdint>
#include <type_traits>

#include "base/owned_array.h"

// Elements are plain data. An index outside the list reads a shared default element. Adding without
// memory drops the element, and says so in the result.
template <class T>
class PList {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  // Capacity grows by `increment` places.
  explicit PList(uint32_t increment = 1) : increment_(increment == 0 ? 1 : increment) {}

  uint32_t Count() const { return count_; }
  uint32_t Capacity() const { return static_cast<uint32_t>(elements_.size()); }

  const T& operator[](uint32_t index) const {
    static const T kDefault{};
    return index < count_ ? elements_[index] : kDefault;
  }

  bool Add(const T& element) { return Insert(count_, element); }

  // Shifts the tail up; an index behind the end appends.
  bool Insert(uint32_t index, const T& element) {
    const T copy = element;  // may stand in this list
    if (count_ == Capacity() && !Grow()) return false;
    if (index > count_) index = count_;
    for (uint32_t i = count_; i > index; --i) elements_[i] = elements_[i - 1];
    elements_[index] = copy;
    ++count_;
    return true;
  }

  void Set(uint32_t index, const T& element) {
    if (index < count_) elements_[index] = element;
  }

  void RemoveAt(uint32_t index) {
    if (index >= count_) return;
    --count_;
    for (uint32_t i = index; i < count_; ++i) elements_[i] = elements_[i + 1];
  }

  // The first place of an element; UINT32_MAX if it isn't there.
  uint32_t IndexOf(const T& element) const {
    for (uint32_t i = 0; i < count_; ++i) {
      if (elements_[i] == element) return i;
    }
    return UINT32_MAX;
  }

  void Clear() {
    elements_.reset();
    count_ = 0;
  }

  void Swap(PList& other) {
    elements_.swap(other.elements_);
    std::swap(count_, other.count_);
    std::swap(increment_, other.increment_);
  }

 private:
  bool Grow() {
    pdlib::OwnedArray<T> larger;
    if (count_ > UINT32_MAX - increment_ || !larger.allocate(size_t{count_} + increment_))
      return false;
    for (uint32_t i = 0; i < count_; ++i) larger[i] = elements_[i];
    elements_.swap(larger);
    return true;
  }

  pdlib::OwnedArray<T> elements_;
  uint32_t count_ = 0;
  uint32_t increment_;
};

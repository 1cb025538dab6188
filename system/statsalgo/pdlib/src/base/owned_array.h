// An array on the platform's heap that owns its elements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "orvo/memory.h"

// Frees a pointer that isn't null and clears it.
template <class T>
void pdaf_free(T*& pointer) {
  if (pointer != nullptr) OrvoFree(const_cast<void*>(static_cast<const volatile void*>(pointer)));
  pointer = nullptr;
}

// A zero-filled object on the platform's heap; null when there is no memory.
template <class T>
T* pdaf_create() {
  void* memory = OrvoCalloc(sizeof(T));
  return memory == nullptr ? nullptr : new (memory) T{};
}

// Destroys and clears what pdaf_create made; not null.
template <class T>
void pdaf_destroy(T*& object) {
  std::destroy_at(object);
  pdaf_free(object);
}

namespace pdlib {

// Zero-filled, empty on failure, released once.
template <class T>
class OwnedArray {
 public:
  OwnedArray() = default;
  OwnedArray(OwnedArray&& other) noexcept { swap(other); }
  OwnedArray& operator=(OwnedArray&& other) noexcept {
    swap(other);
    return *this;
  }
  ~OwnedArray() { reset(); }

  // Replaces the content by `count` zero elements. False, and empty, when there is no memory. A
  // count of 0 gives an empty array and true.
  [[nodiscard]] bool allocate(size_t count) {
    reset();
    if (count == 0) return true;
    constexpr size_t kSize = sizeof(T);  // NOLINT(bugprone-sizeof-expression): of pointers as well
    if (count > std::numeric_limits<size_t>::max() / kSize) return false;
    data_ = static_cast<T*>(OrvoCalloc(count * kSize));
    if (data_ == nullptr) return false;
    size_ = count;
    std::uninitialized_value_construct_n(data_, size_);
    return true;
  }

  void reset() {
    if (data_ != nullptr) std::destroy_n(data_, size_);
    pdaf_free(data_);
    size_ = 0;
  }

  void clear_values() {
    for (size_t i = 0; i < size_; ++i) data_[i] = T{};
  }

  void swap(OwnedArray& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
  }

  T* data() { return data_; }
  const T* data() const { return data_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T& operator[](size_t index) { return data_[index]; }
  const T& operator[](size_t index) const { return data_[index]; }
  T* begin() { return data_; }
  T* end() { return data_ + size_; }

 private:
  T* data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace pdlib

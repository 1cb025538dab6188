// Objects of the parameter framework live on the platform's heap.
#pragma once

#include <cstddef>

#include "orvo/memory.h"

// Base of a class whose objects are made with `new`, which gives null when there is no memory.
struct OnOrvoHeap {
  static void* operator new(size_t size) noexcept { return OrvoCalloc(size); }
  static void* operator new(size_t, void* place) noexcept { return place; }
  static void operator delete(void* memory) noexcept { OrvoFree(memory); }
  static void operator delete(void*, void*) noexcept {}
};

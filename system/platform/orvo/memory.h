// Memory of the camera stack's utility layer.
#pragma once

#include <cstddef>

// Zero-filled memory of `size` bytes, aligned for every fundamental type; null when there is none.
void* OrvoCalloc(size_t size);

// Releases what OrvoCalloc gave; null is allowed.
void OrvoFree(void* memory);

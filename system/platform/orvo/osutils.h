// Process, clock, files and strings of the camera stack's utility layer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace Orvo::OsUtils {

uint32_t GetProcessID();
uint32_t GetThreadID();

// Nanoseconds of the system clock.
uint64_t GetTime();

// As fopen; null when the file can't be opened.
FILE* FOpen(const char* path, const char* mode);
// Reads up to `count` elements of `elementSize` bytes, never more than `bufferSize` bytes; elements
// read.
size_t FRead(void* buffer, size_t bufferSize, size_t elementSize, size_t count, FILE* file);
// Elements written.
size_t FWrite(const void* buffer, size_t elementSize, size_t count, FILE* file);
// 0 on success.
int FClose(FILE* file);
int FPrintF(FILE* file, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Bounded copy and append: the result is always terminated (size > 0); the length that was wanted
// is returned.
size_t StrLCpy(char* destination, const char* source, size_t size);
size_t StrLCat(char* destination, const char* source, size_t size);
// Compares up to `count` characters without regard to ASCII case: <0, 0, >0.
int StrNICmp(const char* first, const char* second, size_t count);

}  // namespace Orvo::OsUtils

// Access to a tuning file on disk.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "parameterexport.h"
#include "parameterlogging.h"
#include "parametermemory.h"
#include "parametermutex.h"

// Open while somebody refers to it. Knows the file that it first saw: another one under the same
// name, or a change of its content, makes every read fail until a reload.
class PARAMETER_API ParameterBinaryFile : public OnOrvoHeap {
 public:
  static constexpr uint32_t kMaxFileName = 1023;

  // The effect of one byte on the checksum, by its value.
  static const std::array<uint32_t, 256> m_crcLookupTable;

  // Takes the first reference. With `validateCRC` the whole file is read and checked.
  ParameterBinaryFile(const char* fileName, const IParameterLoggingAPI* logger, bool validateCRC);
  ~ParameterBinaryFile();
  ParameterBinaryFile(const ParameterBinaryFile&) = delete;
  ParameterBinaryFile& operator=(const ParameterBinaryFile&) = delete;

  bool Open(bool logErrors);
  void Close();
  // Takes the file as it is now.
  bool Reload();
  // Raises or lowers the number of users; the new number.
  int32_t Reference(int32_t adjust);

  // Reads `count` bytes at offset + *position and moves the position behind them.
  bool Read(void* buffer, uint32_t offset, uint32_t* position, uint32_t count, uint32_t alignment);
  // The bytes in memory of their own, for OrvoFree; null if they can't be had.
  uint8_t* Read(uint32_t offset, uint32_t count);

  static bool ValidateCRC(const uint8_t* buffer, uint64_t length,
                          const IParameterLoggingAPI* logger);
  bool ValidateCRC();

  bool IsValid() const { return valid_; }
  bool IsCRCValid() const { return crcValid_; }
  // Another file has taken its place: it must be reloaded.
  bool IsModified() const;
  uint32_t GetLength() const { return length_; }
  const char* GetFileName() const { return fileName_; }

 private:
  // What tells one state of a file from another.
  struct Identity {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t seconds = 0;
    int64_t nanoseconds = 0;
    int64_t size = -1;  // negative: not seen yet
    bool operator==(const Identity&) const = default;
  };

  bool IdentityOfOpenFile(Identity& identity) const;
  bool AcceptOpenFile();
  bool CheckUnchanged();
  bool CheckRequest(const void* buffer, uint32_t offset, const uint32_t* position, uint32_t count);
  bool ReadOnce(void* buffer, uint64_t place, uint32_t count);
  bool ReadWithRetries(void* buffer, uint64_t place, uint32_t count);

  FILE* file_ = nullptr;
  uint32_t length_ = 0;
  int32_t references_ = 0;
  char fileName_[kMaxFileName + 1] = {};
  bool valid_ = false;
  bool crcValid_ = false;
  bool modified_ = false;
  Identity identity_;
  mutable ParameterMutex mutex_;
  const IParameterLoggingAPI* logger_;
};

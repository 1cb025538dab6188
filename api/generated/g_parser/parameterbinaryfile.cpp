#include "parameterbinaryfile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "orvo/osutils.h"
#include "parametercrc.h"
#include "parameterutils.h"

namespace OsUtils = Orvo::OsUtils;

const std::array<uint32_t, 256> ParameterBinaryFile::m_crcLookupTable = parametercrc::MakeTable();

ParameterBinaryFile::ParameterBinaryFile(const char* fileName, const IParameterLoggingAPI* logger,
                                         bool validateCRC)
    : logger_(logger) {
  if (fileName == nullptr) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile constructor called with null file name\n");
    return;
  }
  const size_t length = std::strlen(fileName);
  if (length >= kMaxFileName) {
    PARAMETER_ERROR(
        logger_, "ParameterBinaryFile constructor file name length (%lld) exceeds max length: %d\n",
        static_cast<long long>(length), static_cast<int>(kMaxFileName));
    return;
  }
  OsUtils::StrLCpy(fileName_, fileName, sizeof(fileName_));
  Reference(1);
  valid_ = file_ != nullptr;
  if (valid_ && validateCRC) crcValid_ = ValidateCRC();
}

ParameterBinaryFile::~ParameterBinaryFile() {
  Close();
}

bool ParameterBinaryFile::IdentityOfOpenFile(Identity& identity) const {
  struct stat status {};
  if (fstat(fileno(file_), &status) != 0) return false;
  identity = {status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
              status.st_size};
  return true;
}

// The first open takes the file as it is; a later one must find the same.
bool ParameterBinaryFile::AcceptOpenFile() {
  Identity found;
  if (!IdentityOfOpenFile(found) || found.size > int64_t{UINT32_MAX}) return false;
  if (identity_.size >= 0 && found != identity_) {
    PARAMETER_WARNING(logger_, "ParameterBinaryFile::Open, file modified, must reload\n");
    modified_ = true;
    return false;
  }
  identity_ = found;
  length_ = static_cast<uint32_t>(found.size);
  return true;
}

bool ParameterBinaryFile::Open(bool logErrors) {
  const ParameterWriteLock lock(mutex_);
  if (file_ != nullptr) return true;
  file_ = OsUtils::FOpen(fileName_, "rb");
  if (file_ == nullptr) {
    if (logErrors)
      PARAMETER_ERROR(logger_, "ParameterBinaryFile::Open failed to open '%s' errno: %d\n",
                      fileName_, errno);
    return false;
  }
  if (AcceptOpenFile()) return true;
  Close();
  return false;
}

void ParameterBinaryFile::Close() {
  const ParameterWriteLock lock(mutex_);
  if (file_ != nullptr) OsUtils::FClose(file_);
  file_ = nullptr;
}

bool ParameterBinaryFile::Reload() {
  const ParameterWriteLock lock(mutex_);
  Close();
  identity_ = {};
  length_ = 0;
  modified_ = false;
  crcValid_ = false;
  valid_ = Open(true);
  if (!valid_) return false;
  crcValid_ = ValidateCRC();
  if (references_ <= 0) Close();
  return crcValid_;
}

bool ParameterBinaryFile::IsModified() const {
  const ParameterReadLock lock(mutex_);
  return modified_;
}

int32_t ParameterBinaryFile::Reference(int32_t adjust) {
  const ParameterWriteLock lock(mutex_);
  references_ += adjust;
  if (adjust > 0 && file_ == nullptr && !Open(false)) {
    PARAMETER_ERROR(logger_,
                    "FileReference Adjust: %d, RefCount: %d, Failed to open binary file '%s' "
                    "errno: %d\n",
                    adjust, references_, fileName_, errno);
  }
  if (adjust < 0 && file_ == nullptr) {
    PARAMETER_WARNING(
        logger_, "FileReference Remove: %d, Ref Cnt: %d, Called when file was already closed\n",
        adjust, references_);
  }
  if (references_ < 0) {
    PARAMETER_WARNING(logger_,
                      "FileReference Adjust: %d, RefCount: %d, File Reference is less than adjust "
                      "amount\n",
                      adjust, references_);
  }
  if (references_ <= 0) {
    references_ = 0;
    Close();
  }
  return references_;
}

bool ParameterBinaryFile::CheckRequest(const void* buffer, uint32_t offset,
                                       const uint32_t* position, uint32_t count) {
  if (file_ == nullptr) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile::Read called with null file\n");
  } else if (buffer == nullptr) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile::Read called with null value\n");
  } else if (position == nullptr) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile::Read called with null pos\n");
  } else if (length_ == 0) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile::Read called with a zero length file\n");
  } else if (uint64_t{offset} + *position + count > length_) {
    PARAMETER_ERROR(logger_,
                    "ParameterBinaryFile::Read attempted to read past the end of the file, offset: "
                    "%u, pos: %u, count: %u, length: %u\n",
                    offset, *position, count, length_);
  } else {
    return true;
  }
  return false;
}

// What was read is of the file that this object knows only if the file is still unchanged behind
// the read.
bool ParameterBinaryFile::CheckUnchanged() {
  Identity found;
  if (!IdentityOfOpenFile(found) || found == identity_) return true;
  PARAMETER_WARNING(logger_, "ParameterBinaryFile::Open, file modified, must reload\n");
  modified_ = true;
  return false;
}

bool ParameterBinaryFile::ReadOnce(void* buffer, uint64_t place, uint32_t count) {
  return file_ != nullptr && fseeko(file_, static_cast<off_t>(place), SEEK_SET) == 0 &&
         OsUtils::FRead(buffer, count, 1, count, file_) == count;
}

bool ParameterBinaryFile::ReadWithRetries(void* buffer, uint64_t place, uint32_t count) {
  constexpr int kAttempts = 4;
  for (int attempt = 1; !ReadOnce(buffer, place, count); ++attempt) {
    if (attempt == kAttempts) return false;
    PARAMETER_WARNING(logger_, "ParameterBinaryFile::Read failed, retrying\n");
    Close();
    if (!Open(true) && modified_) return false;
  }
  return CheckUnchanged();
}

bool ParameterBinaryFile::Read(void* buffer, uint32_t offset, uint32_t* position, uint32_t count,
                               uint32_t alignment) {
  const ParameterWriteLock lock(mutex_);
  if (modified_ || !CheckRequest(buffer, offset, position, count)) return false;
  if (!ReadWithRetries(buffer, uint64_t{offset} + *position, count)) return false;
  *position += static_cast<uint32_t>(ParameterUtils::Aligned(count, alignment));
  return true;
}

uint8_t* ParameterBinaryFile::Read(uint32_t offset, uint32_t count) {
  const ParameterWriteLock lock(mutex_);
  if (uint64_t{offset} + count > length_) {
    uint32_t position = 0;
    CheckRequest(this, offset, &position, count);
    return nullptr;
  }
  auto* buffer = static_cast<uint8_t*>(OrvoCalloc(count));
  if (buffer == nullptr) {
    PARAMETER_ERROR(logger_, "ParameterBinaryFile::Read failed to allocate %u bytes\n", count);
    return nullptr;
  }
  uint32_t position = 0;
  if (Read(buffer, offset, &position, count, 1)) return buffer;
  OrvoFree(buffer);
  return nullptr;
}

bool ParameterBinaryFile::ValidateCRC(const uint8_t* buffer, uint64_t length,
                                      const IParameterLoggingAPI* logger) {
  uint32_t expected = 0;
  if (buffer == nullptr || length <= sizeof(expected)) {
    PARAMETER_ERROR(logger, "Binary file CRC validation failed. Buffer too small\n");
    return false;
  }
  const uint64_t count = length - sizeof(expected);
  std::memcpy(&expected, buffer + count, sizeof(expected));
  const uint32_t actual = parametercrc::Checksum(buffer, count);
  if (actual == expected) return true;
  PARAMETER_ERROR(logger, "Binary file CRC validation failed. Expected: %8x, Actual: %8x\n",
                  expected, actual);
  return false;
}

bool ParameterBinaryFile::ValidateCRC() {
  const ParameterWriteLock lock(mutex_);
  if (length_ == 0) return ValidateCRC(nullptr, 0, logger_);
  uint8_t* content = Read(0, length_);
  if (content == nullptr) return false;
  const bool valid = ValidateCRC(content, length_, logger_);
  OrvoFree(content);
  return valid;
}

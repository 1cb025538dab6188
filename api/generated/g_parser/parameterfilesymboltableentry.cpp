#include "parameterfilesymboltableentry.h"

#include <algorithm>
#include <cstring>

#include "orvo/memory.h"
#include "parameterfilesymboltable.h"
#include "parameterutils.h"

ParameterFileSymbolTableEntry::~ParameterFileSymbolTableEntry() {
  OrvoFree(owned_);
}

void ParameterFileSymbolTableEntry::Init(ParameterFileSymbolTable* table) {
  table_ = table;
}

void ParameterFileSymbolTableEntry::Borrow(uint32_t id, uint32_t duplicateId, const uint8_t* data,
                                           uint32_t size) {
  OrvoFree(owned_);
  owned_ = nullptr;
  id_ = id;
  duplicateId_ = duplicateId;
  data_ = data;
  position_ = 0;
  size_ = size;
}

void ParameterFileSymbolTableEntry::Own(uint32_t id, uint32_t duplicateId, uint8_t* data,
                                        uint32_t size) {
  Borrow(id, duplicateId, data, size);
  owned_ = data;
}

uint64_t ParameterFileSymbolTableEntry::GetBytesLeft() const {
  return data_ != nullptr && position_ < size_ ? size_ - position_ : 0;
}

bool ParameterFileSymbolTableEntry::ReadWord(uint32_t& word, uint32_t alignment) {
  if (GetBytesLeft() < sizeof(word)) {
    PARAMETER_ERROR(table_->GetLogger(), "Failed to read symbol table entry\n");
    return false;
  }
  std::memcpy(&word, data_ + position_, sizeof(word));
  position_ += std::max<uint32_t>(sizeof(word), alignment);
  return true;
}

uint32_t ParameterFileSymbolTableEntry::ReadEnum(bool* success, uint32_t alignment) {
  uint32_t word = 0;
  *success = ReadWord(word, alignment);
  return word;
}

bool ParameterFileSymbolTableEntry::ReadBytes(void* value, uint64_t count, uint32_t alignment) {
  return ParameterUtils::ReadBuffer(data_, size_, &position_, value, count, alignment,
                                    table_->GetLogger());
}

bool ParameterFileSymbolTableEntry::ReadString(char** result, uint32_t length, uint32_t alignment) {
  ParameterFileSymbolTableEntry text;
  if (length == 0) {
    uint32_t ignored = 0;
    if (!ReadWord(ignored, alignment)) return false;
  } else if (!table_->ReadPointerEntry(*this, text, alignment)) {
    return false;
  }
  if (*result != nullptr) return true;
  constexpr int kLine = __LINE__;  // one place of reading: equal texts are shared
  if (length != 0) *result = static_cast<char*>(text.GetDupObject(1, __FILE__, kLine));
  if (*result != nullptr) return true;

  const uint64_t stored = std::min<uint64_t>(length, text.GetBytesLeft());
  *result = static_cast<char*>(table_->Allocate(stored + 1));
  if (*result == nullptr) {
    PARAMETER_ERROR(table_->GetLogger(), "Failed to allocate string\n");
    return false;
  }
  if (stored != 0) std::memcpy(*result, text.GetData(), stored);
  if (length != 0) text.SetDupObject(*result, 1, __FILE__, kLine);
  return true;
}

void* ParameterFileSymbolTableEntry::GetDupObject(uint32_t count, const char* file,
                                                  int line) const {
  return table_->GetDupObject(false, id_, count, file, line);
}

void* ParameterFileSymbolTableEntry::SetDupObject(void* object, uint32_t count, const char* file,
                                                  int line) const {
  return table_->SetDupObject(false, id_, object, count, file, line);
}

// A cursor over the data of one entry of a tuning file.
#pragma once

#include <cstdint>

#include "parameterexport.h"

class ParameterFileSymbolTable;

// Reads a module or an out-of-line object in the order of its fields. Every value stands at the
// start of its place; a 32-bit word takes max(4, alignment) bytes.
class PARAMETER_API ParameterFileSymbolTableEntry {
 public:
  ParameterFileSymbolTableEntry() = default;
  ~ParameterFileSymbolTableEntry();
  ParameterFileSymbolTableEntry(const ParameterFileSymbolTableEntry&) = delete;
  ParameterFileSymbolTableEntry& operator=(const ParameterFileSymbolTableEntry&) = delete;

  void Init(ParameterFileSymbolTable* table);
  // Points at data that somebody else keeps.
  void Borrow(uint32_t id, uint32_t duplicateId, const uint8_t* data, uint32_t size);
  // Takes data that OrvoCalloc gave.
  void Own(uint32_t id, uint32_t duplicateId, uint8_t* data, uint32_t size);

  // False, with a log line, past the end of the data.
  bool ReadWord(uint32_t& word, uint32_t alignment);
  // An enumeration's word; `success` is cleared past the end of the data.
  uint32_t ReadEnum(bool* success, uint32_t alignment);
  // Copies `count` bytes.
  bool ReadBytes(void* value, uint64_t count, uint32_t alignment);
  // Follows the ID at the read position to a text of up to `length` characters: a copy of its own,
  // or one that several fields share. A length of 0 is an empty text, whatever the ID.
  bool ReadString(char** result, uint32_t length, uint32_t alignment);

  // See ParameterFileSymbolTable, for the object of this entry in the data table.
  void* GetDupObject(uint32_t count, const char* file, int line) const;
  void* SetDupObject(void* object, uint32_t count, const char* file, int line) const;

  ParameterFileSymbolTable* GetTable() const { return table_; }
  uint32_t GetID() const { return id_; }
  uint32_t GetDuplicateID() const { return duplicateId_; }
  const uint8_t* GetData() const { return data_; }
  uint32_t GetSize() const { return size_; }
  // Bytes behind the read position.
  uint64_t GetBytesLeft() const;

 private:
  ParameterFileSymbolTable* table_ = nullptr;
  uint32_t id_ = 0;
  uint32_t duplicateId_ = 0;
  const uint8_t* data_ = nullptr;
  uint8_t* owned_ = nullptr;  // `data_`, if the entry has to release it
  uint64_t position_ = 0;
  uint32_t size_ = 0;
};

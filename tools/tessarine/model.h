// What a tuning file says, apart from where it stands in it. Files and sources are read into this
// and written from it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bytes.h"
#include "format.h"
#include "schema.h"

namespace tessarine {

// A value by its schema: a scalar's 32 bits as the file has them, a string's text, a record's
// fields in their order, an array's elements.
struct Value {
  uint32_t bits = 0;
  std::string text;
  std::vector<Value> parts;

  bool operator==(const Value&) const = default;
};

// All zero, and arrays of variable length empty.
Value DefaultValue(const FieldSchema& field);
Value DefaultRecord(const RecordSchema& record);

struct Module {
  uint32_t id = 0;   // in the symbol table; 0: the writer numbers it
  std::string type;  // short, as files hold it
  Version version;
  Value value;  // of a module whose fields are known,
  Bytes raw;    // and the data of any other

  const ModuleSchema* Schema() const { return FindModule(type, version); }
  // The full name, if it is known.
  std::string Name() const;
  bool operator==(const Module&) const = default;
};

// A step of a path through the tree.
struct ModeKey {
  uint16_t mode = 0;
  uint16_t subMode = 0;

  auto operator<=>(const ModeKey&) const = default;
};

struct Mode {
  uint32_t id = 0;  // place in the mode table
  ModeKey key;
  uint32_t parent = 0;  // its own ID: it has none
  uint32_t link = kNoLink;
  uint32_t flags = 0;
  std::vector<Module> modules;
  std::string label;  // a note of the source; files don't hold it

  bool operator==(const Mode&) const = default;
};

// An out-of-line object that no known module refers to: modules with unknown fields may.
struct RawObject {
  uint32_t id = 0;
  Bytes bytes;

  bool operator==(const RawObject&) const = default;
};

struct Model {
  Version format = kNewestFormat;
  std::string tool;      // the program that wrote the file
  std::string tag;       // the tuning's own name
  uint64_t flags = 0;    // of the header
  std::string modeText;  // before the modes; nobody reads it
  bool hasModeTable = true;
  bool hasDataTable = true;     // from 4.0.0 on; without, objects are symbols, as they were before
  bool sharesEqual = true;      // equal modules and arrays stand in the file once
  bool hasWideSymbols = false;  // aligned symbol entries stand as far apart as their stated size
  std::vector<Mode> modes;      // the first one is the root
  std::vector<RawObject> objects;

  bool operator==(const Model&) const = default;
};

}  // namespace tessarine

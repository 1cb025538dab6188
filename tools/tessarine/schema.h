// The records of the tuning schema, as data: derived once from the tables of fields beside the
// records, and walked by everything that reads, writes, lists or explains values.
#pragma once

#include <string>
#include <vector>

#include "format.h"
#include "tuningfields.h"

namespace tessarine {

using tuning::FieldKind;
struct RecordSchema;

struct FieldSchema {
  std::string name;
  FieldKind kind = FieldKind::kInt32;
  const RecordSchema* record = nullptr;  // of a structure
  std::string enumName;                  // of an enumeration
  uint32_t lastValue = 0;                // of an enumeration, which starts at 0
  uint32_t fixedCount = 0;               // above 0: an array of that length
  bool isVariable = false;               // an array that stands out of line

  bool IsArray() const { return isVariable || fixedCount != 0; }
};

struct RecordSchema {
  std::string name;
  std::vector<FieldSchema> fields;

  // What the record takes in the data of a module, out-of-line parts left out.
  uint64_t InlineSize(const Format& format) const;
};

struct ModuleSchema {
  std::string name;
  Version version;
  const RecordSchema* root;
};

// The modules whose fields are known.
const std::vector<ModuleSchema>& KnownModules();
// By name or by the short type that files hold; null if there is none.
const ModuleSchema* FindModule(const std::string& name);
// The same, unless the version is another.
const ModuleSchema* FindModule(const std::string& name, const Version& version);
// All records that a module is made of, each once, the root first.
std::vector<const RecordSchema*> RecordsOf(const ModuleSchema& module);

// A module's name as files hold it: without "tessarine_" or "tessarine" in front, in any case, and
// a name of more than 32 characters as its first 8, a "-" and its last 23.
std::string ShortType(const std::string& name);

// "Int32", "Float[3]", "tessarinePDRange", "Float[]".
std::string TypeText(const FieldSchema& field);

}  // namespace tessarine

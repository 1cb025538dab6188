// What each field means: told once, for the reference, the JSON Schema and whoever asks.
#pragma once

#include <string>

namespace tessarine {

struct Meaning {
  const char* field;  // "record.field"
  const char* unit;   // "" where there is none
  const char* meaning;
  const char* readers;  // the flows that use it; "" where the record around it tells
};

// Null if there is none. A fixed name of `record` and `field`, as the schema spells them.
const Meaning* FindMeaning(const std::string& record, const std::string& field);

}  // namespace tessarine

// Values out of a source.
#pragma once

#include <optional>
#include <string>

#include "model.h"
#include "source_text.h"

namespace tessarine {

// Reads what a source tells of a record into a value; fields that it leaves out stay as they are.
// `place` names the record in faults, which go to `errors`.
void ReadRecord(const RecordSchema& record, const SourceNode& node, const std::string& place,
                SourceErrors& errors, Value& value);

// A text, or {"hex": "..."}.
std::optional<std::string> ReadText(const SourceNode& node);
// Hexadecimal digits, in one text or in a list of them.
std::optional<Bytes> ReadHex(const SourceNode& node);

// Notes every member of an object that has none of the names.
void CheckNames(const SourceNode& node, const std::string& place,
                const std::vector<std::string>& names, SourceErrors& errors);

}  // namespace tessarine

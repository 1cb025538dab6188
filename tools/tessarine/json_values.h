// Values as JSON, and JSON as text that people read.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "model.h"

namespace tessarine {

using OrderedJson = nlohmann::ordered_json;

// A float is the shortest number that reads as the same one, and what is no number its bits as
// "0x7fc00000". A text that is not UTF-8 is {"hex": "..."}.
OrderedJson ToJson(const FieldSchema& field, const Value& value);
OrderedJson ToJson(const RecordSchema& record, const Value& value);
// The nearest float; nothing if that is no finite one.
std::optional<float> ToFloat(double number);
OrderedJson TextToJson(const std::string& text);
bool IsUtf8(const std::string& text);
// For terminals: control characters, and bytes that are no UTF-8, as "\x1b".
std::string Printable(const std::string& text);
// A text of hexadecimal digits; more than one line of them is a list.
OrderedJson HexToJson(const Bytes& bytes);
std::string ToHex(View bytes);

// Indented by two; what fits on a line stands on one. Bytes of a damaged file or device that are no
// UTF-8, and stand where only a text can, are replaced.
std::string Print(const OrderedJson& json);
// On one line, as in a listing.
std::string PrintLine(const OrderedJson& json);

}  // namespace tessarine

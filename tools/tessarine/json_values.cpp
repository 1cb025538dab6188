#include "json_values.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace tessarine {
namespace {

constexpr size_t kLineLength = 96;

OrderedJson FloatToJson(uint32_t bits) {
  const float value = std::bit_cast<float>(bits);
  char text[32];
  if (std::isfinite(value)) {
    const auto end = std::to_chars(text, text + sizeof(text), value);
    double number = 0;
    std::from_chars(text, end.ptr, number);
    const std::optional<float> read = ToFloat(number);
    if (read && std::bit_cast<uint32_t>(*read) == bits) return number;
  }
  std::snprintf(text, sizeof(text), "0x%08x", bits);
  return text;
}

OrderedJson ElementToJson(const FieldSchema& field, const Value& value) {
  switch (field.kind) {
    case FieldKind::kStructure: return ToJson(*field.record, value);
    case FieldKind::kString: return TextToJson(value.text);
    case FieldKind::kFloat: return FloatToJson(value.bits);
    case FieldKind::kEnum: return value.bits;
    case FieldKind::kBoolean:
      if (value.bits <= 1) return value.bits == 1;
      break;
    case FieldKind::kInt32: break;
  }
  return std::bit_cast<int32_t>(value.bits);
}

// On one line, cut off soon after `longest` characters: what is longer needs more lines.
void AppendLine(const OrderedJson& json, size_t longest, std::string& line) {
  if (!json.is_structured()) {
    line += json.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
    return;
  }
  line += json.is_object() ? '{' : '[';
  const char* separator = "";
  for (const auto& [name, value] : json.items()) {
    if (line.size() > longest) return;
    line += separator;
    if (json.is_object()) line += PrintLine(name) + ": ";
    AppendLine(value, longest, line);
    separator = ", ";
  }
  line += json.is_object() ? '}' : ']';
}

void PrintInto(const OrderedJson& json, size_t indent, std::string& text) {
  std::string line;
  AppendLine(json, json.is_structured() ? kLineLength : SIZE_MAX, line);
  if (!json.is_structured() || json.empty() || indent + line.size() <= kLineLength) {
    text += line;
    return;
  }
  text += json.is_object() ? "{" : "[";
  const char* separator = "\n";
  for (const auto& [name, value] : json.items()) {
    text += separator;
    text.append(indent + 2, ' ');
    if (json.is_object()) text += PrintLine(name) + ": ";
    PrintInto(value, indent + 2, text);
    separator = ",\n";
  }
  text += '\n';
  text.append(indent, ' ');
  text += json.is_object() ? '}' : ']';
}

}  // namespace

OrderedJson ToJson(const FieldSchema& field, const Value& value) {
  if (!field.IsArray()) return ElementToJson(field, value);
  OrderedJson list = OrderedJson::array();
  for (const Value& part : value.parts) list.push_back(ElementToJson(field, part));
  return list;
}

OrderedJson ToJson(const RecordSchema& record, const Value& value) {
  OrderedJson object = OrderedJson::object();
  for (size_t i = 0; i < record.fields.size(); ++i)
    object[record.fields[i].name] = ToJson(record.fields[i], value.parts[i]);
  return object;
}

std::optional<float> ToFloat(double number) {
  // Decimals of the largest float may be above it by less than half a step.
  constexpr double kLargest = std::numeric_limits<float>::max();
  constexpr double kRoundsToInfinity = 0x1.ffffffp127;
  if (!(std::abs(number) < kRoundsToInfinity)) return std::nullopt;
  return static_cast<float>(std::clamp(number, -kLargest, kLargest));
}

OrderedJson TextToJson(const std::string& text) {
  if (IsUtf8(text)) return text;
  return {{"hex", HexToJson(Bytes(text.begin(), text.end()))}};
}

bool IsUtf8(const std::string& text) {
  try {
    OrderedJson(text).dump();
    return true;
  } catch (const OrderedJson::type_error&) {
    return false;
  }
}

std::string Printable(const std::string& text) {
  const bool isUtf8 = IsUtf8(text);
  std::string shown;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<uint8_t>(text[i]);
    // U+0080 to U+009F are control characters too.
    const bool isWide =
        byte == 0xC2 && i + 1 < text.size() && static_cast<uint8_t>(text[i + 1]) < 0xA0;
    if (byte >= ' ' && byte != 0x7F && (byte < 0x80 || isUtf8) && !isWide) {
      shown += text[i];
      continue;
    }
    shown += "\\x" + ToHex(View(&byte, 1));
    if (isUtf8 && isWide)
      shown += "\\x" + ToHex(View(reinterpret_cast<const uint8_t*>(&text[++i]), 1));
  }
  return shown;
}

std::string ToHex(View bytes) {
  static const char* const kDigits = "0123456789abcdef";
  std::string text;
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

OrderedJson HexToJson(const Bytes& bytes) {
  constexpr size_t kBytesOfLine = 32;
  if (bytes.size() <= kBytesOfLine) return ToHex(bytes);
  OrderedJson lines = OrderedJson::array();
  for (size_t at = 0; at < bytes.size(); at += kBytesOfLine)
    lines.push_back(ToHex(View(bytes).subspan(at, std::min(kBytesOfLine, bytes.size() - at))));
  return lines;
}

std::string Print(const OrderedJson& json) {
  std::string text;
  PrintInto(json, 0, text);
  return text + "\n";
}

std::string PrintLine(const OrderedJson& json) {
  std::string line;
  AppendLine(json, SIZE_MAX, line);
  return line;
}

}  // namespace tessarine

#include "source_values.h"

#include <bit>
#include <charconv>

#include "json_values.h"

namespace tessarine {
namespace {

using Kind = SourceNode::Kind;

// Reads a field: its place, its schema and where faults go.
class FieldReader {
 public:
  FieldReader(const FieldSchema& field, std::string place, SourceErrors& errors)
      : field_(field), place_(std::move(place)), errors_(errors) {}

  void Read(const SourceNode& node, Value& value) const {
    if (field_.IsArray())
      ReadList(node, value);
    else
      ReadElement(node, place_, value);
  }

 private:
  void Expect(const SourceNode& node, const std::string& place, const std::string& expected) const {
    errors_.Note(node.line, place + ": expected " + expected + ", found " + node.Describe());
  }
  void ReadList(const SourceNode& node, Value& value) const;
  void ReadElement(const SourceNode& node, const std::string& place, Value& value) const;
  void ReadInteger(const SourceNode& node, const std::string& place, Value& value) const;
  void ReadFloat(const SourceNode& node, const std::string& place, Value& value) const;
  void ReadEnum(const SourceNode& node, const std::string& place, Value& value) const;

  const FieldSchema& field_;
  std::string place_;
  SourceErrors& errors_;
};

// A list is given whole, never in part.
void FieldReader::ReadList(const SourceNode& node, Value& value) const {
  const bool isFitting =
      node.Is(Kind::kList) && (field_.fixedCount == 0 || node.items.size() == field_.fixedCount);
  if (!isFitting) {
    const std::string count =
        field_.fixedCount == 0 ? "" : " of " + std::to_string(field_.fixedCount);
    return Expect(node, place_, "a list" + count);
  }
  value = Value{};
  for (size_t i = 0; i < node.items.size(); ++i) {
    value.parts.push_back(field_.record != nullptr ? DefaultRecord(*field_.record) : Value{});
    ReadElement(node.items[i], place_ + "[" + std::to_string(i) + "]", value.parts.back());
  }
}

void FieldReader::ReadElement(const SourceNode& node, const std::string& place,
                              Value& value) const {
  switch (field_.kind) {
    case FieldKind::kStructure: return ReadRecord(*field_.record, node, place, errors_, value);
    case FieldKind::kFloat: return ReadFloat(node, place, value);
    case FieldKind::kEnum: return ReadEnum(node, place, value);
    case FieldKind::kString:
      if (const std::optional<std::string> text = ReadText(node))
        value.text = *text;
      else
        Expect(node, place, "a text");
      return;
    case FieldKind::kBoolean:
      if (node.Is(Kind::kBoolean))
        value.bits = node.boolean ? 1 : 0;
      else
        ReadInteger(node, place, value);
      return;
    case FieldKind::kInt32: return ReadInteger(node, place, value);
  }
}

void FieldReader::ReadInteger(const SourceNode& node, const std::string& place,
                              Value& value) const {
  const bool isFitting =
      node.Is(Kind::kInteger) && node.integer >= INT32_MIN && node.integer <= INT32_MAX;
  const std::string otherwise = field_.kind == FieldKind::kBoolean ? "true, false or " : "";
  if (!isFitting)
    return Expect(node, place, otherwise + "an integer from -2147483648 to 2147483647");
  value.bits = std::bit_cast<uint32_t>(static_cast<int32_t>(node.integer));
}

void FieldReader::ReadFloat(const SourceNode& node, const std::string& place, Value& value) const {
  if (node.Is(Kind::kText) && node.text.size() == 10 && node.text.rfind("0x", 0) == 0) {
    const char* end = node.text.data() + node.text.size();
    const auto read = std::from_chars(node.text.data() + 2, end, value.bits, 16);
    if (read.ec == std::errc() && read.ptr == end) return;
  }
  const std::optional<float> number = node.IsNumber() ? ToFloat(node.real) : std::nullopt;
  if (!number) return Expect(node, place, "a number that a float can hold");
  value.bits = std::bit_cast<uint32_t>(*number);
}

void FieldReader::ReadEnum(const SourceNode& node, const std::string& place, Value& value) const {
  const bool isFitting =
      node.Is(Kind::kInteger) && node.integer >= 0 && node.integer <= field_.lastValue;
  if (!isFitting)
    return Expect(node, place, "an integer from 0 to " + std::to_string(field_.lastValue));
  value.bits = static_cast<uint32_t>(node.integer);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool AppendHex(const std::string& text, Bytes& bytes) {
  if (text.size() % 2 != 0) return false;
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes.push_back(static_cast<uint8_t>(high * 16 + low));
  }
  return true;
}

}  // namespace

void CheckNames(const SourceNode& node, const std::string& place,
                const std::vector<std::string>& names, SourceErrors& errors) {
  for (const SourceNode::Member& member : node.members) {
    bool isKnown = false;
    for (const std::string& name : names) isKnown = isKnown || name == member.name;
    if (!isKnown)
      errors.Note(member.line,
                  place + member.name + ": is not known here" + NearestName(member.name, names));
  }
}

void ReadRecord(const RecordSchema& record, const SourceNode& node, const std::string& place,
                SourceErrors& errors, Value& value) {
  if (!node.Is(Kind::kObject)) {
    errors.Note(node.line, place + ": expected an object, found " + node.Describe());
    return;
  }
  std::vector<std::string> names;
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const FieldSchema& field = record.fields[i];
    names.push_back(field.name);
    if (const SourceNode* member = node.Find(field.name))
      FieldReader(field, place + "." + field.name, errors).Read(*member, value.parts[i]);
  }
  CheckNames(node, place + ".", names, errors);
}

std::optional<std::string> ReadText(const SourceNode& node) {
  if (node.Is(Kind::kText)) return node.text;
  const SourceNode* hex = node.Find("hex");
  if (hex == nullptr || node.members.size() != 1) return std::nullopt;
  const std::optional<Bytes> bytes = ReadHex(*hex);
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

std::optional<Bytes> ReadHex(const SourceNode& node) {
  Bytes bytes;
  if (node.Is(Kind::kText))
    return AppendHex(node.text, bytes) ? std::optional(bytes) : std::nullopt;
  if (!node.Is(Kind::kList)) return std::nullopt;
  for (const SourceNode& line : node.items)
    if (!line.Is(Kind::kText) || !AppendHex(line.text, bytes)) return std::nullopt;
  return bytes;
}

}  // namespace tessarine

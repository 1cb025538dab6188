#include "link_module.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace tessarine {
namespace {

// From here on floats are further apart than what ten decimals can tell.
constexpr float kTold = 0x1p-10F;

template <class Number>
std::optional<uint32_t> ParseInteger(const std::string& text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return std::bit_cast<uint32_t>(number);
}

std::optional<uint32_t> ParseFloat(const std::string& text, uint32_t expected) {
  if (MayShow(text, std::bit_cast<float>(expected))) return expected;
  const std::optional<float> value = ShownFloat(text);
  return value ? std::optional(std::bit_cast<uint32_t>(*value)) : std::nullopt;
}

std::optional<uint32_t> ParseBits(FieldKind kind, const std::string& text, uint32_t expected) {
  switch (kind) {
    case FieldKind::kFloat: return ParseFloat(text, expected);
    case FieldKind::kEnum: return ParseInteger<uint32_t>(text);
    default: return ParseInteger<int32_t>(text);
  }
}

// Reads record by record, in as few requests as the kinds of fields allow.
class ModuleReading {
 public:
  ModuleReading(LinkDevice& device, const std::string& branch, DeviceModule& result)
      : device_(device), branch_(branch), result_(result) {}

  Value Record(const RecordSchema& record, const std::string& path, const Value& expected);

 private:
  using Text = std::optional<std::string>;

  Value Array(const FieldSchema& field, const LinkPlace& place, const Value& expected);
  Value Scalar(const FieldSchema& field, const LinkPlace& place, const Text& text,
               const Value& expected);
  std::optional<uint32_t> CountOf(const FieldSchema& field, const LinkPlace& place);
  void Note(std::vector<std::string>& list, const LinkPlace& place) {
    list.push_back(place.FullPath());
  }

  LinkDevice& device_;
  const std::string& branch_;
  DeviceModule& result_;
};

bool IsNumber(const FieldSchema& field) {
  return !field.IsArray() && field.record == nullptr && field.kind != FieldKind::kString;
}

Value ModuleReading::Record(const RecordSchema& record, const std::string& path,
                            const Value& expected) {
  std::vector<std::string> names;
  for (const FieldSchema& field : record.fields)
    if (IsNumber(field)) names.push_back(field.name);
  const LinkDevice::Texts numbers = device_.Numbers(branch_, path, names);
  auto number = numbers.begin();
  Value value;
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const FieldSchema& field = record.fields[i];
    const LinkPlace place{path, field.name};
    const Value& part = expected.parts[i];
    if (field.IsArray())
      value.parts.push_back(Array(field, place, part));
    else if (field.record != nullptr)
      value.parts.push_back(Record(*field.record, path + "." + field.name, part));
    else
      value.parts.push_back(
          Scalar(field, place, IsNumber(field) ? *number++ : device_.Value(branch_, place), part));
  }
  return value;
}

Value ModuleReading::Scalar(const FieldSchema& field, const LinkPlace& place, const Text& text,
                            const Value& expected) {
  Value value = expected;
  if (text && field.kind == FieldKind::kString) {
    // A device tells a text up to its first NUL, which its stored length may count.
    if (*text != expected.text.substr(0, expected.text.find('\0'))) value.text = *text;
    return value;
  }
  const auto bits = text ? ParseBits(field.kind, *text, expected.bits) : std::nullopt;
  if (!bits) {
    Note(result_.missing, place);
    return value;
  }
  value.bits = *bits;
  const float size = std::abs(std::bit_cast<float>(*bits));
  if (field.kind == FieldKind::kFloat && size > 0 && size < kTold && *bits != expected.bits)
    Note(result_.rounded, place);
  return value;
}

std::optional<uint32_t> ModuleReading::CountOf(const FieldSchema& field, const LinkPlace& place) {
  if (field.fixedCount != 0) return field.fixedCount;
  const std::vector<LinkEntry> entries = device_.Entries(branch_, place.FullPath());
  if (entries.size() != 1) return std::nullopt;
  return entries.front().count;
}

Value ModuleReading::Array(const FieldSchema& field, const LinkPlace& place,
                           const Value& expected) {
  const std::optional<uint32_t> count = CountOf(field, place);
  if (!count) {
    Note(result_.missing, place);
    return expected;
  }
  const LinkDevice::Texts texts =
      field.record == nullptr ? device_.Elements(branch_, place, *count) : LinkDevice::Texts();
  const Value none = field.record == nullptr ? Value{} : DefaultRecord(*field.record);
  Value value;
  for (uint32_t i = 0; i < *count; ++i) {
    const std::string name = place.name + "[" + std::to_string(i) + "]";
    const Value& part = i < expected.parts.size() ? expected.parts[i] : none;
    value.parts.push_back(field.record == nullptr
                              ? Scalar(field, {place.path, name}, texts[i], part)
                              : Record(*field.record, place.path + "." + name, part));
  }
  return value;
}

}  // namespace

DeviceModule ReadModule(LinkDevice& device, const std::string& branch, const ModuleSchema& schema,
                        const Value& expected) {
  DeviceModule result;
  result.module.type = ShortType(schema.name);
  result.module.version = schema.version;
  result.module.value =
      ModuleReading(device, branch, result).Record(*schema.root, schema.name, expected);
  return result;
}

std::optional<std::string> OtherOrigin(LinkDevice& device, const std::string& branch,
                                       const std::string& module) {
  const std::optional<std::string> origin = device.OriginOf(branch, module);
  if (!origin) return "an unknown mode";
  const std::optional<Branch> own = ParseBranch(*origin);
  return own && ToText(*own) == branch ? std::nullopt : origin;
}

Model ModelOf(const Branch& branch, const Module& module) {
  Model model;
  for (uint32_t id = 0; id < branch.size(); ++id) {
    Mode mode;
    mode.id = id;
    mode.key = branch[id];
    mode.parent = id == 0 ? 0 : id - 1;
    model.modes.push_back(std::move(mode));
  }
  model.modes.back().modules.push_back(module);
  return model;
}

}  // namespace tessarine

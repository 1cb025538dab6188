#include "link_unsavable.h"

#include <algorithm>
#include <charconv>

namespace tessarine {
namespace {

std::optional<uint32_t> ParseNumber(const std::string& text) {
  uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

// The field that a path of module and fields leads to; null if it is not known.
const FieldSchema* FieldAt(const std::string& path) {
  const std::vector<std::string> steps = SplitText(path, '.');
  const ModuleSchema* module = FindModule(steps.front());
  const RecordSchema* record = module == nullptr ? nullptr : module->root;
  const FieldSchema* field = nullptr;
  for (size_t i = 1; i < steps.size(); ++i, record = field->record) {
    if (record == nullptr) return nullptr;
    const auto found = std::find_if(
        record->fields.begin(), record->fields.end(),
        [&](const FieldSchema& known) { return known.name == WithoutIndex(steps[i]); });
    if (found == record->fields.end()) return nullptr;
    field = &*found;
  }
  return field;
}

bool IsNoValue(const FieldSchema& field, uint32_t bits) {
  return field.kind == FieldKind::kEnum && field.record == nullptr && bits > field.lastValue;
}

std::string NoValueText(const std::string& path, const FieldSchema& field, uint32_t bits) {
  return path + ": " + std::to_string(bits) + " is no value of " + field.enumName +
         ", which has 0 to " + std::to_string(field.lastValue);
}

bool IsTooSmallToTell(const std::string& sent, const std::string& shown) {
  const std::optional<float> asked = ShownFloat(sent);
  return asked && *asked != 0 && ShownFloat(shown) == 0.0F;
}

void MakeSavable(const RecordSchema& record, const std::string& path, Value& value,
                 std::vector<std::string>& lines) {
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const FieldSchema& field = record.fields[i];
    const auto mend = [&](Value& part, const std::string& name) {
      if (field.record != nullptr) return MakeSavable(*field.record, name, part, lines);
      if (!IsNoValue(field, part.bits)) return;
      lines.push_back(NoValueText(name, field, part.bits) + "; 0 is written");
      part.bits = 0;
    };
    const std::string name = path + "." + field.name;
    Value& part = value.parts[i];
    if (!field.IsArray()) mend(part, name);
    for (size_t j = 0; field.IsArray() && j < part.parts.size(); ++j)
      mend(part.parts[j], name + "[" + std::to_string(j) + "]");
  }
}

}  // namespace

std::string FindUnsavable(const LinkOutcome& outcome) {
  if (!outcome.value) return "";
  const std::string path = outcome.asked.place.FullPath();
  const FieldSchema* field = FieldAt(path);
  const std::vector<std::string> sent = SplitText(outcome.asked.value, ',');
  const std::vector<std::string> shown = SplitText(*outcome.value, ',');
  for (size_t i = 0; i < shown.size(); ++i) {
    const std::optional<uint32_t> bits = ParseNumber(shown[i]);
    if (field != nullptr && bits && IsNoValue(*field, *bits))
      return NoValueText(path, *field, *bits) + "; 'link save' writes 0 instead";
    if (i < sent.size() && IsTooSmallToTell(sent[i], shown[i]))
      return path + ": the device shows " + sent[i] +
             " as 0, for it shows ten decimals; 'link save' writes 0";
  }
  return "";
}

std::vector<std::string> MakeSavable(Module& module) {
  std::vector<std::string> lines;
  if (const ModuleSchema* schema = module.Schema())
    MakeSavable(*schema->root, schema->name, module.value, lines);
  return lines;
}

}  // namespace tessarine

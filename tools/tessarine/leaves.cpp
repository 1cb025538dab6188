#include "leaves.h"

#include <algorithm>

namespace tessarine {
namespace {

void Walk(const RecordSchema& record, const Value& value, const std::string& prefix,
          std::vector<Leaf>& leaves) {
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const FieldSchema& field = record.fields[i];
    const Value& part = value.parts[i];
    const std::string path = prefix + field.name;
    if (field.record == nullptr || (field.IsArray() && part.parts.empty())) {
      leaves.push_back({path, ToJson(field, part)});
    } else if (!field.IsArray()) {
      Walk(*field.record, part, path + ".", leaves);
    } else {
      for (size_t j = 0; j < part.parts.size(); ++j)
        Walk(*field.record, part.parts[j], path + "[" + std::to_string(j) + "].", leaves);
    }
  }
}

}  // namespace

Value ServedValue(Value value) {
  value.text.resize(std::min(value.text.find('\0'), value.text.size()));
  for (Value& part : value.parts) part = ServedValue(std::move(part));
  return value;
}

std::vector<Leaf> LeavesOf(const Module& module) {
  const ModuleSchema* schema = module.Schema();
  if (schema == nullptr) return {{"hex", ToHex(module.raw)}};
  std::vector<Leaf> leaves;
  Walk(*schema->root, ServedValue(module.value), "", leaves);
  return leaves;
}

}  // namespace tessarine

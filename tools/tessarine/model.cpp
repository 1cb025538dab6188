#include "model.h"

namespace tessarine {
namespace {

Value DefaultElement(const FieldSchema& field) {
  return field.record != nullptr ? DefaultRecord(*field.record) : Value{};
}

}  // namespace

Value DefaultValue(const FieldSchema& field) {
  if (!field.IsArray()) return DefaultElement(field);
  Value array;
  array.parts.assign(field.fixedCount, DefaultElement(field));
  return array;
}

Value DefaultRecord(const RecordSchema& record) {
  Value value;
  for (const FieldSchema& field : record.fields) value.parts.push_back(DefaultValue(field));
  return value;
}

std::string Module::Name() const {
  const ModuleSchema* schema = FindModule(type);
  return schema != nullptr ? schema->name : type;
}

}  // namespace tessarine

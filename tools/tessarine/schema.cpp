#include "schema.h"

#include <algorithm>
#include <cctype>
#include <tuple>
#include <type_traits>

#include "record_tables.h"

namespace tessarine {
namespace {

template <class Record>
const RecordSchema* SchemaOf();

template <class Element>
const RecordSchema* NestedSchema() {
  if constexpr (std::is_class_v<Element>)
    return SchemaOf<Element>();
  else
    return nullptr;
}

template <class Record, class Member>
FieldSchema Describe(const tuning::Field<Record, Member>& field) {
  FieldSchema schema;
  schema.name = field.name;
  schema.kind = field.kind;
  schema.record = NestedSchema<std::remove_extent_t<Member>>();
  schema.fixedCount = std::extent_v<Member>;
  return schema;
}

template <class Record, class Member>
FieldSchema Describe(const tuning::EnumField<Record, Member>& field) {
  using Traits = tuning::EnumTraits<Member>;
  FieldSchema schema;
  schema.name = field.name;
  schema.kind = FieldKind::kEnum;
  schema.enumName = Traits::kName;
  schema.lastValue = Traits::kLast;
  return schema;
}

template <class Record, class Element>
FieldSchema Describe(const tuning::ArrayField<Record, Element>& field) {
  FieldSchema schema;
  schema.name = field.name;
  schema.kind = field.kind;
  schema.record = NestedSchema<Element>();
  schema.isVariable = true;
  return schema;
}

template <class Record>
const RecordSchema* SchemaOf() {
  static const RecordSchema schema = [] {
    RecordSchema made{TableOf<Record>::kName, {}};
    std::apply([&](const auto&... fields) { (made.fields.push_back(Describe(fields)), ...); },
               TableOf<Record>::kFields);
    return made;
  }();
  return &schema;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void Collect(const RecordSchema* record, std::vector<const RecordSchema*>& records) {
  if (std::find(records.begin(), records.end(), record) != records.end()) return;
  records.push_back(record);
  for (const FieldSchema& field : record->fields)
    if (field.record != nullptr) Collect(field.record, records);
}

}  // namespace

uint64_t RecordSchema::InlineSize(const Format& format) const {
  uint64_t size = 0;
  for (const FieldSchema& field : fields) {
    const bool isOutOfLine = field.isVariable || field.kind == FieldKind::kString;
    const uint64_t element = isOutOfLine               ? 2 * format.WordSize()
                             : field.record != nullptr ? field.record->InlineSize(format)
                                                       : format.WordSize();
    size += element * std::max(field.fixedCount, 1u);
  }
  return size;
}

const std::vector<ModuleSchema>& KnownModules() {
  static const std::vector<ModuleSchema> modules = {
      {"tessarinePDLib", {9, 0, 0}, SchemaOf<afpdlibelements::tessarinePDLibType>()}};
  return modules;
}

const ModuleSchema* FindModule(const std::string& name) {
  for (const ModuleSchema& module : KnownModules())
    if (ShortType(module.name) == ShortType(name)) return &module;
  return nullptr;
}

const ModuleSchema* FindModule(const std::string& name, const Version& version) {
  const ModuleSchema* module = FindModule(name);
  return module != nullptr && module->version == version ? module : nullptr;
}

std::vector<const RecordSchema*> RecordsOf(const ModuleSchema& module) {
  std::vector<const RecordSchema*> records;
  Collect(module.root, records);
  return records;
}

std::string ShortType(const std::string& name) {
  std::string type = name;
  for (const std::string prefix : {"tessarine_", "tessarine"}) {
    if (name.size() <= prefix.size() || LowerCase(name.substr(0, prefix.size())) != prefix)
      continue;
    type = name.substr(prefix.size());
    break;
  }
  constexpr size_t kHead = 8;
  constexpr size_t kTail = 23;
  if (type.size() <= kModuleTypeSize) return type;
  return type.substr(0, kHead) + "-" + type.substr(type.size() - kTail);
}

std::string TypeText(const FieldSchema& field) {
  std::string type = field.record != nullptr          ? field.record->name
                     : field.kind == FieldKind::kEnum ? field.enumName
                                                      : tuning::KindName(field.kind);
  if (field.isVariable) return type + "[]";
  return field.fixedCount == 0 ? type : type + "[" + std::to_string(field.fixedCount) + "]";
}

}  // namespace tessarine

// A model as a source.
#include <algorithm>
#include <map>

#include "json_values.h"
#include "modes.h"
#include "source.h"

namespace tessarine {
namespace {

// The number of values that are not those of another record.
size_t CountChanges(const Value& value, const Value& base) {
  // Lists are given whole.
  if (value.parts.empty() || value.parts.size() != base.parts.size()) return value != base ? 1 : 0;
  size_t count = 0;
  for (size_t i = 0; i < value.parts.size(); ++i)
    count += CountChanges(value.parts[i], base.parts[i]);
  return count;
}

OrderedJson ChangesOf(const RecordSchema& record, const Value& value, const Value& base);

OrderedJson ChangesOf(const FieldSchema& field, const Value& value, const Value& base) {
  if (field.record == nullptr) return ToJson(field, value);
  if (!field.IsArray()) return ChangesOf(*field.record, value, base);
  const Value none = DefaultRecord(*field.record);
  OrderedJson list = OrderedJson::array();
  for (const Value& part : value.parts) list.push_back(ChangesOf(*field.record, part, none));
  return list;
}

// What a source that starts from `base` has to say.
OrderedJson ChangesOf(const RecordSchema& record, const Value& value, const Value& base) {
  OrderedJson object = OrderedJson::object();
  for (size_t i = 0; i < record.fields.size(); ++i)
    if (value.parts[i] != base.parts[i])
      object[record.fields[i].name] = ChangesOf(record.fields[i], value.parts[i], base.parts[i]);
  return object;
}

class SourceWriter {
 public:
  SourceWriter(const Model& model, bool hasIds, Extent extent)
      : model_(model), hasIds_(hasIds), extent_(extent) {
    for (const Mode& mode : model.modes) {
      byId_[mode.id] = &mode;
      if (mode.parent != mode.id) children_[mode.parent].push_back(&mode);
    }
  }

  OrderedJson Write() const;

 private:
  OrderedJson Layout() const;
  OrderedJson Write(const Mode& mode) const;
  OrderedJson Write(const Mode& mode, const Module& module) const;
  void WriteChanges(const Mode& mode, const Module& module, const RecordSchema& root,
                    OrderedJson& json) const;
  std::string PathOf(const Mode& mode) const;

  const Model& model_;
  bool hasIds_;
  Extent extent_;
  std::map<uint32_t, const Mode*> byId_;
  std::map<uint32_t, std::vector<const Mode*>> children_;
};

std::string SourceWriter::PathOf(const Mode& mode) const {
  const std::string own = ToText(mode.key);
  return mode.parent == mode.id ? own : PathOf(*byId_.at(mode.parent)) + "|" + own;
}

OrderedJson SourceWriter::Write(const Mode& mode, const Module& module) const {
  const ModuleSchema* schema = module.Schema();
  OrderedJson json = OrderedJson::object();
  if (schema == nullptr || extent_ == Extent::kAll) json["version"] = ToText(module.version);
  if (hasIds_) json["id"] = module.id;
  if (schema == nullptr)
    json["hex"] = HexToJson(module.raw);
  else if (extent_ == Extent::kAll)
    json["values"] = ToJson(*schema->root, module.value);
  else
    WriteChanges(mode, module, *schema->root, json);
  return json;
}

// On top of the values of the next mode above that has the module, or of zeros: what says less.
void SourceWriter::WriteChanges(const Mode& mode, const Module& module, const RecordSchema& root,
                                OrderedJson& json) const {
  const auto isSame = [&](const Module& other) {
    return other.type == module.type && other.version == module.version;
  };
  const Value zeros = DefaultRecord(root);
  const Value* base = &zeros;
  for (const Mode* above = &mode; above->parent != above->id;) {
    above = byId_.at(above->parent);
    const auto found = std::find_if(above->modules.begin(), above->modules.end(), isSame);
    if (found == above->modules.end()) continue;
    if (CountChanges(module.value, found->value) < CountChanges(module.value, zeros)) {
      json["from"] = PathOf(*above);
      base = &found->value;
    }
    break;
  }
  if (module.value != *base) json["values"] = ChangesOf(root, module.value, *base);
}

OrderedJson SourceWriter::Write(const Mode& mode) const {
  OrderedJson json = OrderedJson::object();
  json["mode"] = ToText(mode.key);
  if (!mode.label.empty()) json["label"] = mode.label;
  if (hasIds_) json["id"] = mode.id;
  if (mode.link != kNoLink) json["link"] = PathOf(*byId_.at(mode.link));
  if (mode.flags == kResidentFlag)
    json["resident"] = true;
  else if (mode.flags != 0)
    json["flags"] = mode.flags;
  for (const Module& module : mode.modules) json["modules"][module.Name()] = Write(mode, module);
  const auto children = children_.find(mode.id);
  if (children == children_.end()) return json;
  for (const Mode* child : children->second) json["modes"].push_back(Write(*child));
  return json;
}

OrderedJson SourceWriter::Layout() const {
  OrderedJson layout = OrderedJson::object();
  if (!model_.hasModeTable) layout["modeTable"] = false;
  if (!model_.hasDataTable && Format(model_.format).HasDataTable()) layout["dataTable"] = false;
  if (!model_.sharesEqual) layout["shareEqual"] = false;
  if (model_.hasWideSymbols) layout["wideSymbols"] = true;
  return layout;
}

OrderedJson SourceWriter::Write() const {
  OrderedJson json = OrderedJson::object();
  json["format"] = ToText(model_.format);
  if (!model_.tool.empty()) json["tool"] = TextToJson(model_.tool);
  if (!model_.tag.empty()) json["tag"] = TextToJson(model_.tag);
  if (model_.flags != 0) json["flags"] = model_.flags;
  if (!model_.modeText.empty()) json["modeText"] = TextToJson(model_.modeText);
  if (const OrderedJson layout = Layout(); !layout.empty()) json["layout"] = layout;
  json["modes"] = OrderedJson::array();
  for (const Mode& mode : model_.modes)
    if (mode.parent == mode.id) json["modes"].push_back(Write(mode));
  for (const RawObject& object : model_.objects)
    json["objects"].push_back({{"id", object.id}, {"hex", HexToJson(object.bytes)}});
  return json;
}

}  // namespace

std::string WriteSource(const Model& model, bool hasIds, Extent extent) {
  return Print(SourceWriter(model, hasIds, extent).Write());
}

}  // namespace tessarine

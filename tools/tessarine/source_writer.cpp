// A model as a source.
#include <map>

#include "json_values.h"
#include "modes.h"
#include "source.h"

namespace tessarine {
namespace {

class SourceWriter {
 public:
  SourceWriter(const Model& model, bool hasIds) : model_(model), hasIds_(hasIds) {
    for (const Mode& mode : model.modes) {
      byId_[mode.id] = &mode;
      if (mode.parent != mode.id) children_[mode.parent].push_back(&mode);
    }
  }

  OrderedJson Write() const;

 private:
  OrderedJson Layout() const;
  OrderedJson Write(const Mode& mode) const;
  OrderedJson Write(const Module& module) const;
  std::string PathOf(const Mode& mode) const;

  const Model& model_;
  bool hasIds_;
  std::map<uint32_t, const Mode*> byId_;
  std::map<uint32_t, std::vector<const Mode*>> children_;
};

std::string SourceWriter::PathOf(const Mode& mode) const {
  const std::string own = ToText(mode.key);
  return mode.parent == mode.id ? own : PathOf(*byId_.at(mode.parent)) + "|" + own;
}

OrderedJson SourceWriter::Write(const Module& module) const {
  OrderedJson json = OrderedJson::object();
  json["version"] = ToText(module.version);
  if (hasIds_) json["id"] = module.id;
  if (const ModuleSchema* schema = module.Schema())
    json["values"] = ToJson(*schema->root, module.value);
  else
    json["hex"] = HexToJson(module.raw);
  return json;
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
  for (const Module& module : mode.modules) json["modules"][module.Name()] = Write(module);
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

std::string WriteSource(const Model& model, bool hasIds) {
  return Print(SourceWriter(model, hasIds).Write());
}

}  // namespace tessarine

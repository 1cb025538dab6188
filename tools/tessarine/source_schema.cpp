// The JSON Schema of sources.
#include "json_values.h"
#include "meanings.h"
#include "served.h"
#include "source.h"

namespace tessarine {
namespace {

OrderedJson Reference(const std::string& definition) {
  return {{"$ref", "#/$defs/" + definition}};
}

OrderedJson ScalarSchema(const FieldSchema& field) {
  switch (field.kind) {
    case FieldKind::kStructure: return Reference(field.record->name);
    case FieldKind::kString: return Reference("text");
    case FieldKind::kEnum:
      return {{"type", "integer"}, {"minimum", 0}, {"maximum", field.lastValue}};
    case FieldKind::kFloat: return Reference("float");
    case FieldKind::kBoolean: return {{"anyOf", {{{"type", "boolean"}}, Reference("int32")}}};
    case FieldKind::kInt32: return Reference("int32");
  }
  return {};
}

OrderedJson FieldJson(const RecordSchema& record, const FieldSchema& field) {
  OrderedJson json = ScalarSchema(field);
  if (field.IsArray()) json = {{"type", "array"}, {"items", json}};
  if (field.fixedCount != 0) json["minItems"] = json["maxItems"] = field.fixedCount;
  if (const Meaning* meaning = FindMeaning(record.name, field.name)) {
    const std::string unit = meaning->unit;
    json["description"] = meaning->meaning + (unit.empty() ? "" : " (" + unit + ")");
  }
  return json;
}

OrderedJson Object(OrderedJson properties) {
  return {
      {"type", "object"}, {"additionalProperties", false}, {"properties", std::move(properties)}};
}

OrderedJson RecordJson(const RecordSchema& record) {
  OrderedJson properties = OrderedJson::object();
  for (const FieldSchema& field : record.fields) properties[field.name] = FieldJson(record, field);
  return Object(std::move(properties));
}

OrderedJson KnownModule(const ModuleSchema& module) {
  return Object(
      {{"version", {{"const", ToText(module.version)}}},
       {"id", Reference("id")},
       {"from",
        {{"type", "string"},
         {"description", "path of a mode above, whose values count where none are given here"}}},
       {"values", Reference(module.root->name)}});
}

OrderedJson RawModule() {
  OrderedJson json = Object(
      {{"version", Reference("version")}, {"id", Reference("id")}, {"hex", Reference("hex")}});
  json["required"] = {"version", "hex"};
  return json;
}

OrderedJson ModeJson() {
  OrderedJson modules = {{"type", "object"},
                         {"propertyNames", {{"minLength", 1}}},
                         {"additionalProperties", Reference("rawModule")}};
  for (const ModuleSchema& module : KnownModules())
    modules["properties"][module.name] = Reference("module-" + module.name);
  for (const ManagerModules& manager : KnownNames())
    for (const std::string& name : manager.names)
      modules["properties"].emplace(name, Reference("rawModule"));
  OrderedJson json =
      Object({{"mode", {{"type", "string"}, {"description", "such as Usecase.Video or 2.1"}}},
              {"label", {{"type", "string"}, {"description", "a note; the file doesn't hold it"}}},
              {"id", Reference("id")},
              {"link",
               {{"type", "string"},
                {"description", "path of the mode whose children and modules this one borrows"}}},
              {"resident", {{"type", "boolean"}, {"description", "the mode is never unloaded"}}},
              {"flags", Reference("id")},
              {"modules", std::move(modules)},
              {"modes", {{"type", "array"}, {"items", Reference("mode")}}}});
  json["required"] = OrderedJson::array({"mode"});
  return json;
}

OrderedJson Definitions() {
  OrderedJson definitions = {
      {"id", {{"type", "integer"}, {"minimum", 0}, {"maximum", UINT32_MAX}}},
      {"int32", {{"type", "integer"}, {"minimum", INT32_MIN}, {"maximum", INT32_MAX}}},
      {"float",
       {{"anyOf",
         {{{"type", "number"}},
          {{"type", "string"}, {"pattern", "^0x[0-9a-fA-F]{8}$"}, {"description", "its bits"}}}}}},
      {"version", {{"type", "string"}, {"pattern", "^[0-9]+\\.[0-9]+\\.[0-9]+$"}}},
      {"hexText", {{"type", "string"}, {"pattern", "^([0-9a-fA-F]{2})*$"}}},
      {"hex",
       {{"anyOf", {Reference("hexText"), {{"type", "array"}, {"items", Reference("hexText")}}}}}}};
  OrderedJson hex = Object({{"hex", Reference("hex")}});
  hex["required"] = OrderedJson::array({"hex"});
  definitions["text"]["anyOf"] = OrderedJson::array({{{"type", "string"}}, hex});
  definitions["rawModule"] = RawModule();
  definitions["mode"] = ModeJson();
  for (const ModuleSchema& module : KnownModules()) {
    definitions["module-" + module.name] = KnownModule(module);
    for (const RecordSchema* record : RecordsOf(module))
      definitions[record->name] = RecordJson(*record);
  }
  return definitions;
}

OrderedJson Layout() {
  const auto choice = [](const char* description) {
    return OrderedJson{{"type", "boolean"}, {"description", description}};
  };
  return Object({{"modeTable", choice("false leaves it out: the mode Default is alone")},
                 {"dataTable", choice("false enters objects among the symbols, as before 4.0.0")},
                 {"shareEqual", choice("false writes equal modules and arrays each for itself")},
                 {"wideSymbols", choice("true pads the entries of an aligned symbol table")}});
}

}  // namespace

std::string SourceSchema() {
  OrderedJson object = Object({{"id", Reference("id")}, {"hex", Reference("hex")}});
  object["required"] = {"id", "hex"};
  OrderedJson json = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                      {"title", "Tuning source"}};
  json.update(Object({{"$schema", {{"type", "string"}}},
                      {"format", Reference("version")},
                      {"tool", Reference("text")},
                      {"tag", Reference("text")},
                      {"flags", {{"type", "integer"}, {"minimum", 0}, {"maximum", UINT64_MAX}}},
                      {"modeText", Reference("text")},
                      {"layout", Layout()},
                      {"modes", {{"type", "array"}, {"minItems", 1}, {"items", Reference("mode")}}},
                      {"objects", {{"type", "array"}, {"items", object}}}}));
  json["required"] = OrderedJson::array({"modes"});
  json["$defs"] = Definitions();
  return Print(json);
}

}  // namespace tessarine

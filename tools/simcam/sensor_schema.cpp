// The fields of a sensor description as a schema and as tables.
#include <cmath>

#include "json_output.h"
#include "sensor_fields.h"
#include "text.h"

namespace simcam {
namespace {

// What a table says of a field's value, and the schema of it.
struct Shape {
  std::string text;
  OrderedJson schema;
  OrderedJson fallback;  // null: none that is a plain value
};

std::string Code(const std::string& text) {
  std::string code = "`";
  return code.append(text).append("`");
}

std::string Range(const SensorField& field) {
  return Short(field.low) + " to " + Short(field.high);
}

OrderedJson NumberSchema(const char* type, const SensorField& field) {
  OrderedJson schema = {{"type", type}};
  const auto bound = [&](double value) {
    return type == std::string("integer") ? OrderedJson(std::llround(value)) : OrderedJson(value);
  };
  schema["minimum"] = bound(field.low);
  schema["maximum"] = bound(field.high);
  return schema;
}

OrderedJson ArraySchema(const OrderedJson& items, int fewest, int most) {
  return {{"type", "array"}, {"items", items}, {"minItems", fewest}, {"maxItems", most}};
}

class Shaper {
 public:
  explicit Shaper(const SensorField& field) : field_(field) {}

  Shape operator()(std::monostate) const {
    return {"object", {{"type", "object"}, {"additionalProperties", false}}, nullptr};
  }
  Shape operator()(const int* value) const {
    if (field_.choices.empty())
      return {"integer, " + Range(field_), NumberSchema("integer", field_), *value};
    std::string text;
    for (int choice : field_.choices) text += (text.empty() ? "" : ", ") + std::to_string(choice);
    return {"one of " + text, {{"enum", field_.choices}}, *value};
  }
  Shape operator()(const double* value) const {
    return {"number, " + Range(field_), NumberSchema("number", field_), *value};
  }
  Shape operator()(const std::string* value) const {
    return {"text", {{"type", "string"}}, *value};
  }
  Shape operator()(IntegerPair pair) const {
    return {"two integers, " + Range(field_),
            ArraySchema(NumberSchema("integer", field_), 2, 2),
            {*pair.first, *pair.second}};
  }
  Shape operator()(const Pattern*) const {
    const OrderedJson number = {{"type", "integer"}, {"minimum", 0}};
    OrderedJson list = ArraySchema(ArraySchema(number, 3, 3), 2, kLargestPattern);
    list["uniqueItems"] = true;
    return {"list of [x, y, type], 2 to " + std::to_string(kLargestPattern), list, nullptr};
  }
  Shape operator()(const bool* value) const {
    if (!field_.words.empty()) return OfWords(*value ? 1 : 0);
    return {"true or false", {{"type", "boolean"}}, *value};
  }
  template <class Enumeration>
  Shape operator()(const Enumeration* value) const {
    return OfWords(static_cast<size_t>(*value));
  }

 private:
  Shape OfWords(size_t value) const {
    std::string text;
    for (const std::string& word : field_.words)
      text.append(text.empty() ? "" : ", ").append(Code(word));
    return {text, {{"enum", field_.words}}, field_.words[value]};
  }

  const SensorField& field_;
};

Shape ShapeOf(const SensorField& field) {
  SensorDescription defaults = DescriptionOfDefaults();
  Shape shape = std::visit(Shaper(field), field.target(defaults));
  if (field.isRequired || field.fallback != nullptr || shape.fallback == "")
    shape.fallback = nullptr;
  return shape;
}

// The object at a path of the schema.
OrderedJson& At(OrderedJson& schema, const std::string& path) {
  OrderedJson* at = &schema;
  for (size_t begin = 0; begin < path.size();) {
    const size_t end = std::min(path.find('.', begin), path.size());
    at = &(*at)["properties"][path.substr(begin, end - begin)];
    begin = end + 1;
  }
  return *at;
}

// For the root: which fields a description of one kind needs, and which it must not have.
OrderedJson KindSchema(FieldOf kind) {
  OrderedJson schema;
  for (const SensorField& field : SensorFields()) {
    if (!field.Parent().empty() || field.of == FieldOf::kAll) continue;
    if (field.of != kind)
      schema["properties"][field.path] = false;
    else if (field.isRequired)
      schema["required"].push_back(field.path);
  }
  return schema;
}

// For the buffer: the fields of the second processor come with an overlap, and not without.
OrderedJson SecondSchema(bool hasSecond) {
  OrderedJson schema;
  for (const SensorField& field : SensorFields()) {
    if (field.of != FieldOf::kSecondIsp || field.Parent() != "buffer") continue;
    if (hasSecond)
      schema["required"].push_back(field.Name());
    else
      schema["properties"][field.Name()] = false;
  }
  return schema;
}

const char* KindName(FieldOf kind) {
  switch (kind) {
    case FieldOf::kAll: return "all";
    case FieldOf::kSparse: return "sparse";
    case FieldOf::kDual: return "dual-PD";
    case FieldOf::kSecondIsp: return "sparse, with an overlap";
  }
  return "";
}

std::string Description(const SensorField& field) {
  std::string text = field.meaning;
  if (*field.unit != '\0') text.append("; ").append(field.unit);
  if (field.of != FieldOf::kAll) text.append("; sensors: ").append(KindName(field.of));
  return text;
}

std::string DefaultText(const SensorField& field, const Shape& shape) {
  if (field.isRequired) return "required";
  if (field.fallback != nullptr) return field.fallback;
  if (shape.fallback.is_null()) return "";
  return Code(shape.fallback.is_number_float() ? Short(shape.fallback.get<double>())
                                               : shape.fallback.dump());
}

std::string FieldRow(const SensorField& field) {
  const Shape shape = ShapeOf(field);
  std::string row;
  for (const std::string& cell :
       {Code(field.path), shape.text, std::string(field.unit), DefaultText(field, shape),
        std::string(KindName(field.of)), std::string(field.meaning)})
    row.append("| ").append(cell).append(" ");
  return row.append("|\n");
}

}  // namespace

std::string SensorSchema() {
  OrderedJson schema = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                        {"title", "Sensor description"},
                        {"type", "object"},
                        {"additionalProperties", false}};
  for (const SensorField& field : SensorFields()) {
    OrderedJson& parent = At(schema, field.Parent());
    Shape shape = ShapeOf(field);
    shape.schema["description"] = Description(field);
    if (!shape.fallback.is_null()) shape.schema["default"] = shape.fallback;
    parent["properties"][field.Name()] = std::move(shape.schema);
    const bool isConditional = field.of == FieldOf::kSecondIsp ? field.Parent() == "buffer"
                               : field.of != FieldOf::kAll     ? field.Parent().empty()
                                                               : false;
    if (field.isRequired && !isConditional) parent["required"].push_back(field.Name());
  }
  schema["if"]["properties"]["sensor_type"]["minimum"] = kFirstDualType;
  schema["then"] = KindSchema(FieldOf::kDual);
  schema["else"] = KindSchema(FieldOf::kSparse);
  OrderedJson& buffer = At(schema, "buffer");
  buffer["if"]["properties"]["overlap"]["minimum"] = 1;
  buffer["if"]["required"] = {"overlap"};
  buffer["then"] = SecondSchema(true);
  buffer["else"] = SecondSchema(false);
  return schema.dump(2) + "\n";
}

std::string SensorFieldTables() {
  constexpr const char* kHead =
      "| field | value | unit | default | sensors | meaning |\n|---|---|---|---|---|---|\n";
  std::string text = std::string("### The file itself\n\n") + kHead;
  for (const SensorField& field : SensorFields())
    if (field.Parent().empty()) text += FieldRow(field);
  for (const SensorField& object : SensorFields()) {
    if (!object.Parent().empty() || !object.IsObject()) continue;
    const std::string prefix = std::string(object.path) + ".";
    text += std::string("\n### `") + object.path + "`\n\n" + kHead;
    for (const SensorField& field : SensorFields())
      if (std::string(field.path).rfind(prefix, 0) == 0) text += FieldRow(field);
  }
  return text;
}

}  // namespace simcam

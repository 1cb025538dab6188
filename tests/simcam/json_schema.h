// As much of JSON Schema as the schema of sensor descriptions uses.
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>

namespace test {

using nlohmann::json;

inline bool IsOfType(const json& value, const std::string& type) {
  return type == "object"    ? value.is_object()
         : type == "array"   ? value.is_array()
         : type == "string"  ? value.is_string()
         : type == "boolean" ? value.is_boolean()
         : type == "integer" ? value.is_number_integer()
                             : value.is_number();
}

// The first keyword by which a value is refused; empty when it is valid.
inline std::string WhyInvalid(const json& schema, const json& value) {
  if (schema.is_boolean()) return schema.get<bool>() ? "" : "false";
  static const std::set<std::string> notes = {"$schema", "title", "description",
                                              "default", "then",  "else"};
  for (const auto& [keyword, rule] : schema.items()) {
    std::string why;
    bool isRight = true;
    if (notes.contains(keyword)) continue;
    if (keyword == "type") {
      isRight = IsOfType(value, rule);
    } else if (keyword == "enum") {
      isRight = std::find(rule.begin(), rule.end(), value) != rule.end();
    } else if (keyword == "minimum") {
      isRight = !value.is_number() || value >= rule;
    } else if (keyword == "maximum") {
      isRight = !value.is_number() || value <= rule;
    } else if (keyword == "minItems") {
      isRight = !value.is_array() || value.size() >= rule;
    } else if (keyword == "maxItems") {
      isRight = !value.is_array() || value.size() <= rule;
    } else if (keyword == "uniqueItems") {
      isRight =
          !value.is_array() || std::set<json>(value.begin(), value.end()).size() == value.size();
    } else if (keyword == "items") {
      if (value.is_array())
        for (const json& item : value) why += WhyInvalid(rule, item);
    } else if (keyword == "required") {
      for (const json& name : rule)
        isRight = isRight && (!value.is_object() || value.contains(name.get<std::string>()));
    } else if (keyword == "properties") {
      if (value.is_object())
        for (const auto& [name, member] : rule.items())
          if (value.contains(name)) why += WhyInvalid(member, value[name]);
    } else if (keyword == "additionalProperties") {
      if (value.is_object())
        for (const auto& [name, member] : value.items())
          isRight = isRight && schema["properties"].contains(name);
    } else if (keyword == "if") {
      why = WhyInvalid(schema[WhyInvalid(rule, value).empty() ? "then" : "else"], value);
    } else {
      throw std::logic_error("a keyword that the tests don't know: " + keyword);
    }
    if (!isRight || !why.empty()) return keyword + " " + why;
  }
  return "";
}

}  // namespace test

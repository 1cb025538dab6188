#include "json_node.h"

#include <sstream>

#include "errors.h"

namespace simcam {
namespace {

std::string Number(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << value;
  return text.str();
}

}  // namespace

JsonNode::JsonNode(const Json& json, std::string file, std::string path)
    : json_(json), file_(std::move(file)), path_(std::move(path)) {
  if (!json_.is_object()) Fail("", "expected an object, found " + Text(json_));
}

void JsonNode::Fail(const std::string& field, const std::string& message) const {
  const std::string name = path_.empty() || field.empty() ? path_ + field : path_ + "." + field;
  throw InputError(file_ + ": field '" + (name.empty() ? "(whole file)" : name) + "': " + message);
}

bool JsonNode::Has(const std::string& field) {
  known_.insert(field);
  return json_.contains(field);
}

const Json& JsonNode::Get(const std::string& field, const std::string& expected) {
  if (!Has(field)) Fail(field, "expected " + expected + ", found nothing");
  return json_[field];
}

int JsonNode::Integer(const std::string& field, int low, int high) {
  const std::string expected =
      "an integer from " + std::to_string(low) + " to " + std::to_string(high);
  const Json& value = Get(field, expected);
  if (!IsInteger(value, low, high)) Fail(field, "expected " + expected + ", found " + Text(value));
  return value.get<int>();
}

void JsonNode::Integer(const std::string& field, int low, int high, int& target) {
  if (Has(field)) target = Integer(field, low, high);
}

void JsonNode::Real(const std::string& field, double low, double high, double& target) {
  if (!Has(field)) return;
  const Json& value = json_[field];
  if (!value.is_number() || !(value.get<double>() >= low && value.get<double>() <= high))
    Fail(field, "expected a number from " + Number(low) + " to " + Number(high) + ", found " +
                    Text(value));
  target = value.get<double>();
}

void JsonNode::Boolean(const std::string& field, bool& target) {
  if (!Has(field)) return;
  if (!json_[field].is_boolean())
    Fail(field, "expected true or false, found " + Text(json_[field]));
  target = json_[field].get<bool>();
}

std::string JsonNode::String(const std::string& field) {
  const Json& value = Get(field, "a text");
  if (!value.is_string()) Fail(field, "expected a text, found " + Text(value));
  return value.get<std::string>();
}

JsonNode JsonNode::Object(const std::string& field) {
  return JsonNode(Get(field, "an object"), file_, path_.empty() ? field : path_ + "." + field);
}

void JsonNode::Pair(const std::string& field, int low, int high, int& first, int& second) {
  const std::string expected =
      "two integers from " + std::to_string(low) + " to " + std::to_string(high);
  const Json& value = Get(field, expected);
  if (!value.is_array() || value.size() != 2 || !IsInteger(value[0], low, high) ||
      !IsInteger(value[1], low, high))
    Fail(field, "expected " + expected + ", found " + Text(value));
  first = value[0].get<int>();
  second = value[1].get<int>();
}

int JsonNode::Word(const std::string& field, std::initializer_list<const char*> words,
                   int fallback) {
  if (!Has(field)) return fallback;
  const std::string text = String(field);
  std::string expected;
  int index = 0;
  for (const char* word : words) {
    if (text == word) return index;
    const bool isLast = ++index == static_cast<int>(words.size());
    expected += std::string(expected.empty() ? "" : isLast ? " or " : ", ") + "'" + word + "'";
  }
  Fail(field, "expected " + expected + ", found '" + text + "'");
}

void JsonNode::OnlyKnownFields() const {
  for (const auto& [field, value] : json_.items()) {
    if (known_.count(field) != 0) continue;
    std::string names;
    for (const std::string& name : known_) names += (names.empty() ? "" : ", ") + name;
    Fail(field, "is not known here; expected one of: " + names);
  }
}

bool JsonNode::IsInteger(const Json& value, int low, int high) {
  if (!value.is_number_integer()) return false;
  const bool isHuge = value.is_number_unsigned() && value.get<uint64_t>() > INT32_MAX;
  return !isHuge && value.get<int64_t>() >= low && value.get<int64_t>() <= high;
}

std::string JsonNode::Text(const Json& value) {
  constexpr size_t kLongest = 60;
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  return text.size() <= kLongest ? text : text.substr(0, kLongest) + "...";
}

Json ParseJson(const std::string& text, const std::string& file) {
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw InputError(file + ": expected JSON: " + error.what());
  }
}

}  // namespace simcam

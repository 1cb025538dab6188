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

JsonNode::JsonNode(const JsonFile& file) : JsonNode(file, file.json, "") {}

JsonNode::JsonNode(const JsonFile& file, const Json& json, std::string path)
    : file_(file), json_(json), path_(std::move(path)) {
  if (!json_.is_object()) Fail("", "expected an object, found " + Text(json_));
}

// Of a field that isn't there: the line of what it would stand in.
int JsonNode::LineOf(std::string path) const {
  while (!path.empty()) {
    const auto found = file_.lines.find(path);
    if (found != file_.lines.end()) return found->second;
    const size_t end = path.find_last_of(".[");
    path.resize(end == std::string::npos ? 0 : end);
  }
  return 1;
}

void JsonNode::Fail(const std::string& field, const std::string& message) const {
  const std::string name = path_.empty() || field.empty() ? path_ + field : path_ + "." + field;
  throw InputError(file_.name + ":" + std::to_string(LineOf(name)) + ": field '" +
                   (name.empty() ? "(whole file)" : name) + "': " + message);
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

double JsonNode::Real(const std::string& field, double low, double high) {
  const std::string expected = "a number from " + Number(low) + " to " + Number(high);
  const Json& value = Get(field, expected);
  if (!value.is_number() || !(value.get<double>() >= low && value.get<double>() <= high))
    Fail(field, "expected " + expected + ", found " + Text(value));
  return value.get<double>();
}

bool JsonNode::Boolean(const std::string& field) {
  const Json& value = Get(field, "true or false");
  if (!value.is_boolean()) Fail(field, "expected true or false, found " + Text(value));
  return value.get<bool>();
}

std::string JsonNode::String(const std::string& field) {
  const Json& value = Get(field, "a text");
  if (!value.is_string()) Fail(field, "expected a text, found " + Text(value));
  return value.get<std::string>();
}

JsonNode JsonNode::Object(const std::string& field) {
  return JsonNode(file_, Get(field, "an object"), path_.empty() ? field : path_ + "." + field);
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

int JsonNode::Word(const std::string& field, const std::vector<std::string>& words) {
  const std::string text = String(field);
  std::string expected;
  for (size_t i = 0; i < words.size(); ++i) {
    if (text == words[i]) return static_cast<int>(i);
    const bool isLast = i + 1 == words.size();
    expected += std::string(i == 0 ? "" : isLast ? " or " : ", ") + "'" + words[i] + "'";
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

// Reading JSON description files field by field, with errors that name file, field and what was
// expected.
#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

namespace simcam {

using Json = nlohmann::json;

// One object of a file. Remembers which fields were asked for, so that a misspelt one is an error
// and not a default. What it is made from outlives it. All faults throw InputError.
class JsonNode {
 public:
  JsonNode(const Json& json, std::string file, std::string path);

  [[noreturn]] void Fail(const std::string& field, const std::string& message) const;

  bool Has(const std::string& field);
  const Json& Get(const std::string& field, const std::string& expected);

  // With a target, a field that is missing leaves it as it is.
  int Integer(const std::string& field, int low, int high);
  void Integer(const std::string& field, int low, int high, int& target);
  void Real(const std::string& field, double low, double high, double& target);
  void Boolean(const std::string& field, bool& target);
  std::string String(const std::string& field);
  JsonNode Object(const std::string& field);
  // Two integers, such as a width and a height.
  void Pair(const std::string& field, int low, int high, int& first, int& second);
  // The place of the field's text among `words`; `fallback` when the field is missing.
  int Word(const std::string& field, std::initializer_list<const char*> words, int fallback);

  void OnlyKnownFields() const;

  static bool IsInteger(const Json& value, int low, int high);
  // The value as it stands in the file, cut off when it is long.
  static std::string Text(const Json& value);

 private:
  const Json& json_;
  std::string file_;
  std::string path_;
  std::set<std::string> known_;
};

// Reads a whole file's text. Throws InputError.
Json ParseJson(const std::string& text, const std::string& file);

}  // namespace simcam

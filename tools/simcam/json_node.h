// Reading JSON description files field by field, with errors that name file, line, field and what
// was expected.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace simcam {

using Json = nlohmann::json;

// A whole file, and the lines in which its fields and the arrays and objects in arrays stand.
struct JsonFile {
  std::string name;
  Json json;
  std::map<std::string, int> lines;  // by path: "native.pixels[2]"
};

// Throws InputError for what is no JSON, for an object that has a key twice, and for nesting that
// no description needs.
JsonFile ReadJson(const std::string& text, const std::string& name);

// One object of a file. Remembers which fields were asked for, so that a misspelt one is an error
// and not a default. The file outlives it. All faults throw InputError.
class JsonNode {
 public:
  explicit JsonNode(const JsonFile& file);

  [[noreturn]] void Fail(const std::string& field, const std::string& message) const;

  bool Has(const std::string& field);
  const Json& Get(const std::string& field, const std::string& expected);

  int Integer(const std::string& field, int low, int high);
  double Real(const std::string& field, double low, double high);
  bool Boolean(const std::string& field);
  std::string String(const std::string& field);
  JsonNode Object(const std::string& field);
  // Two integers, such as a width and a height.
  void Pair(const std::string& field, int low, int high, int& first, int& second);
  // The place of the field's text among `words`.
  int Word(const std::string& field, const std::vector<std::string>& words);

  void OnlyKnownFields() const;

  static bool IsInteger(const Json& value, int low, int high);
  // The value as it stands in the file, cut off when it is long.
  static std::string Text(const Json& value);

 private:
  JsonNode(const JsonFile& file, const Json& json, std::string path);
  int LineOf(std::string path) const;

  const JsonFile& file_;
  const Json& json_;
  std::string path_;
  std::set<std::string> known_;
};

// Reads a whole file's text. Throws InputError.
Json ParseJson(const std::string& text, const std::string& file);

}  // namespace simcam

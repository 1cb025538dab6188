// JSON with comments, and the line that everything stands on.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessarine {

struct SourceNode {
  enum class Kind { kNull, kBoolean, kInteger, kReal, kText, kList, kObject };
  struct Member;

  Kind kind = Kind::kNull;
  int line = 0;
  bool boolean = false;
  int64_t integer = 0;   // INT64_MAX for one that is above it
  uint64_t natural = 0;  // of an integer that is not negative
  double real = 0;       // of an integer as well
  std::string text;
  std::vector<SourceNode> items;
  std::vector<Member> members;  // in their order

  const SourceNode* Find(const std::string& name) const;
  bool Is(Kind other) const { return kind == other; }
  bool IsNumber() const { return kind == Kind::kInteger || kind == Kind::kReal; }
  // For messages: "the text 'x'", "the number 7", "a list".
  std::string Describe() const;
};

struct SourceNode::Member {
  std::string name;
  int line = 0;
  SourceNode value;
};

// Collects what is wrong with a source, so that all of it is told at once.
class SourceErrors {
 public:
  explicit SourceErrors(std::string file) : file_(std::move(file)) {}

  // Control characters in a name that the message repeats, which would cut it off, show as '?'.
  void Note(int line, const std::string& message);
  bool IsEmpty() const { return lines_.empty(); }
  // Throws InputError with all of them, a line each, if there are any.
  void Throw() const;

 private:
  std::string file_;
  std::vector<std::pair<int, std::string>> lines_;
};

// Reads a source. Keys that are given twice are noted; throws InputError for what is no JSON.
SourceNode ParseSource(const std::string& text, const std::string& file, SourceErrors& errors);

// "; the nearest name is 'x'", or nothing where no name is near.
std::string NearestName(const std::string& word, const std::vector<std::string>& names);

}  // namespace tessarine

#include "source_text.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "common/nearest_name.h"
#include "errors.h"

namespace tessarine {
namespace {

using nlohmann::json;

// Characters of a text that tell on which line the last one that was read stands.
class LineCounter {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCounter(const char* at, int* line) : at_(at), line_(line) {}

  reference operator*() const { return *at_; }
  LineCounter& operator++() {
    // A line's end belongs to it: the next character is the first of a new one.
    if (isNewLine_) ++*line_;
    isNewLine_ = *at_ == '\n';
    ++at_;
    return *this;
  }
  LineCounter operator++(int) {
    LineCounter old = *this;
    ++*this;
    return old;
  }
  bool operator==(const LineCounter& other) const { return at_ == other.at_; }
  bool operator!=(const LineCounter& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  int* line_;
  bool isNewLine_ = false;
};

// Builds the nodes from the parser's events.
class NodeBuilder : public json::json_sax_t {
 public:
  NodeBuilder(const int& line, const std::string& file, SourceErrors& errors)
      : line_(line), file_(file), errors_(errors) {}

  SourceNode Take() { return std::move(root_); }

  bool null() override {
    Add(SourceNode::Kind::kNull);
    return true;
  }
  bool boolean(bool value) override {
    Add(SourceNode::Kind::kBoolean).boolean = value;
    return true;
  }
  bool number_integer(number_integer_t value) override {
    SourceNode& node = Add(SourceNode::Kind::kInteger);
    node.integer = value;
    node.real = static_cast<double>(value);
    return true;
  }
  bool number_unsigned(number_unsigned_t value) override {
    SourceNode& node = Add(SourceNode::Kind::kInteger);
    node.integer = static_cast<int64_t>(std::min<uint64_t>(value, INT64_MAX));
    node.natural = value;
    node.real = static_cast<double>(value);
    return true;
  }
  bool number_float(number_float_t value, const string_t&) override {
    Add(SourceNode::Kind::kReal).real = value;
    return true;
  }
  bool string(string_t& value) override {
    Add(SourceNode::Kind::kText).text = value;
    return true;
  }
  bool binary(binary_t&) override { return false; }
  bool start_object(size_t) override { return Open(SourceNode::Kind::kObject); }
  bool start_array(size_t) override { return Open(SourceNode::Kind::kList); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(string_t& name) override {
    SourceNode& object = *open_.back();
    for (const SourceNode::Member& member : object.members)
      if (member.name == name)
        errors_.Note(line_, "'" + name + "' is given twice; the first is on line " +
                                std::to_string(member.line));
    object.members.push_back({name, line_, {}});
    return true;
  }

  bool parse_error(size_t, const std::string&, const json::exception& error) override {
    // The parser's own place in front, which is the same, goes.
    const std::string text = error.what();
    const size_t place = text.find("column ");
    const size_t message = place == std::string::npos ? place : text.find(": ", place);
    throw InputError(file_ + ":" + std::to_string(line_) + ": expected JSON: " +
                     (message == std::string::npos ? text : text.substr(message + 2)));
  }

 private:
  SourceNode& Add(SourceNode::Kind kind) {
    SourceNode* node = &root_;
    if (!open_.empty() && open_.back()->Is(SourceNode::Kind::kObject))
      node = &open_.back()->members.back().value;
    else if (!open_.empty())
      node = &open_.back()->items.emplace_back();
    node->kind = kind;
    node->line = line_;
    return *node;
  }
  // Containers don't grow while one of their children is open, so pointers to those hold.
  bool Open(SourceNode::Kind kind) {
    constexpr size_t kDeepest = 64;
    if (open_.size() >= kDeepest)
      throw InputError(file_ + ":" + std::to_string(line_) +
                       ": lists and objects are nested more than " + std::to_string(kDeepest) +
                       " deep");
    open_.push_back(&Add(kind));
    return true;
  }
  bool Close() {
    open_.pop_back();
    return true;
  }

  const int& line_;
  const std::string& file_;
  SourceErrors& errors_;
  SourceNode root_;
  std::vector<SourceNode*> open_;
};

}  // namespace

const SourceNode* SourceNode::Find(const std::string& name) const {
  for (const Member& member : members)
    if (member.name == name) return &member.value;
  return nullptr;
}

std::string SourceNode::Describe() const {
  switch (kind) {
    case Kind::kNull: return "null";
    case Kind::kBoolean: return boolean ? "true" : "false";
    case Kind::kInteger: return integer < 0 ? std::to_string(integer) : std::to_string(natural);
    case Kind::kReal: return json(real).dump();
    case Kind::kText:
      return json(text.substr(0, 60)).dump(-1, ' ', false, json::error_handler_t::replace);
    case Kind::kList: return "a list of " + std::to_string(items.size());
    case Kind::kObject: return "an object";
  }
  return "";
}

void SourceErrors::Note(int line, const std::string& message) {
  std::string& shown = lines_.emplace_back(line, message).second;
  std::replace_if(
      shown.begin(), shown.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
}

void SourceErrors::Throw() const {
  if (lines_.empty()) return;
  auto sorted = lines_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::string text;
  for (const auto& [line, message] : sorted)
    text += (text.empty() ? "" : "\n") + file_ + ":" + std::to_string(line) + ": " + message;
  throw InputError(text);
}

SourceNode ParseSource(const std::string& text, const std::string& file, SourceErrors& errors) {
  int line = 1;
  NodeBuilder builder(line, file, errors);
  const char* first = text.data();
  json::sax_parse(LineCounter(first, &line), LineCounter(first + text.size(), &line), &builder,
                  nlohmann::detail::input_format_t::json, true, true);
  return builder.Take();
}

std::string NearestName(const std::string& word, const std::vector<std::string>& names) {
  const std::string nearest = tool::NearestName(word, names);
  return nearest.empty() ? "" : "; the nearest name is '" + nearest + "'";
}

}  // namespace tessarine

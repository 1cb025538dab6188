// Where the fields of a JSON file stand.
#include <cstddef>
#include <iterator>

#include "errors.h"
#include "json_node.h"

namespace simcam {
namespace {

// The characters of a text, with a count of the lines that have been begun.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator(const char* at, int* line) : at_(at), line_(line) {}
  reference operator*() const { return *at_; }
  CountingIterator& operator++() {
    if (*at_ == '\n') ++*line_;
    ++at_;
    return *this;
  }
  CountingIterator operator++(int) {
    const CountingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const CountingIterator& other) const { return at_ == other.at_; }

 private:
  const char* at_;
  int* line_;
};

// Goes through a file and notes the line of each field. Keys and brackets end where the parser
// stands when it tells of them; numbers don't, and are not noted.
class Places : public nlohmann::json_sax<Json> {
 public:
  Places(JsonFile& file, const int& line) : file_(file), line_(line) {}

  bool null() override { return Value(); }
  bool boolean(bool) override { return Value(); }
  bool number_integer(number_integer_t) override { return Value(); }
  bool number_unsigned(number_unsigned_t) override { return Value(); }
  bool number_float(number_float_t, const string_t&) override { return Value(); }
  bool string(string_t&) override { return Value(); }
  bool binary(binary_t&) override { return Value(); }

  bool start_object(std::size_t) override { return Begin(false); }
  bool start_array(std::size_t) override { return Begin(true); }
  bool end_object() override { return End(); }
  bool end_array() override { return End(); }

  bool key(string_t& name) override {
    Level& level = levels_.back();
    key_ = level.path.empty() ? name : level.path + "." + name;
    const auto [at, isNew] = level.keys.emplace(name, line_);
    file_.lines.emplace(key_, line_);
    if (isNew) return true;
    throw InputError(file_.name + ":" + std::to_string(line_) + ": field '" + key_ +
                     "': stands twice, first in line " + std::to_string(at->second));
  }

  bool parse_error(std::size_t, const std::string&, const Json::exception& error) override {
    throw InputError(file_.name + ":" + std::to_string(line_) + ": expected JSON: " + error.what());
  }

 private:
  struct Level {
    std::string path;
    bool isArray;
    size_t count = 0;                 // elements of the array up to now
    std::map<std::string, int> keys;  // of the object, with their lines
  };

  std::string NextPath() const {
    if (levels_.empty()) return "";
    const Level& level = levels_.back();
    return level.isArray ? level.path + "[" + std::to_string(level.count) + "]" : key_;
  }

  bool Value() {
    if (!levels_.empty()) ++levels_.back().count;
    return true;
  }

  bool Begin(bool isArray) {
    // Far more than a description has; paths stay short.
    constexpr size_t kDeepest = 16;
    std::string path = NextPath();
    if (levels_.size() == kDeepest)
      throw InputError(file_.name + ":" + std::to_string(line_) +
                       ": expected values nested at most " + std::to_string(kDeepest) + " deep");
    file_.lines.emplace(path, line_);
    Value();
    levels_.push_back({std::move(path), isArray, 0, {}});
    return true;
  }

  bool End() {
    levels_.pop_back();
    return true;
  }

  JsonFile& file_;
  const int& line_;
  std::vector<Level> levels_;
  std::string key_;
};

}  // namespace

JsonFile ReadJson(const std::string& text, const std::string& name) {
  JsonFile file{name, {}, {}};
  int line = 1;
  Places places(file, line);
  Json::sax_parse(CountingIterator(text.data(), &line),
                  CountingIterator(text.data() + text.size(), &line), &places);
  file.json = ParseJson(text, name);
  return file;
}

}  // namespace simcam

// Changes of sources that leave them JSON, and a quarter of the time sound: bytes changed by chance
// hardly ever compile.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "errors.h"
#include "link_texts.h"
#include "schema.h"
#include "source.h"
#include "target.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using nlohmann::json;

// An empty one is among them.
constexpr const char* kTexts =
    " Default Usecase.Video Scene.AR Default|Usecase.Video Default|Scene.AR 2.1 0.0 7.65535 1.0.1 "
    "1.0.2 1.1.0 2.0.0 3.0.0 3.0.1 3.0.2 4.0.0 5.0.0 9.0.0 1.2.3 00ff 04000000 0x7fc00000";
constexpr const char* kKeys =
    "format tool tag modeText flags layout modes mode label resident link id modules version hex "
    "values from objects modeTable shareEqual abc tessarinePDLib abf34_ife wideSymbols";

void AddFieldNames(const tessarine::RecordSchema& record, std::vector<std::string>& names) {
  for (const tessarine::FieldSchema& field : record.fields) {
    names.push_back(field.name);
    if (field.record != nullptr) AddFieldNames(*field.record, names);
  }
}

std::vector<std::string> AllKeys() {
  std::vector<std::string> names = tessarine::SplitText(kKeys, ' ');
  AddFieldNames(*tessarine::KnownModules().front().root, names);
  return names;
}

class TreeMutator {
 public:
  TreeMutator(json& root, uint32_t seed) : random_(seed) { Collect(root); }

  void Change() {
    json& node = Any();
    const json other = Any();
    switch (Below(4)) {
      case 0: node = Below(2) == 0 ? other : Leaf(); break;
      case 1: Erase(node); break;
      default: Grow(node, Below(2) == 0 ? other : Leaf()); break;
    }
  }

 private:
  size_t Below(size_t limit) { return random_() % limit; }
  json& Any() { return *nodes_[Below(nodes_.size())]; }

  void Collect(json& node) {
    nodes_.push_back(&node);
    if (node.is_structured())
      for (json& part : node) Collect(part);
  }
  json Leaf() {
    static const std::vector<std::string> texts = tessarine::SplitText(kTexts, ' ');
    constexpr int64_t kNumbers[] = {0, 1, -1, 2, 4, 255, INT32_MAX, INT32_MIN, UINT32_MAX};
    switch (Below(5)) {
      case 0: return Below(2) == 0;
      case 1: return static_cast<double>(kNumbers[Below(std::size(kNumbers))]) * 0.3;
      case 2: return json::object();
      case 3: return texts[Below(texts.size())];
      default: return kNumbers[Below(std::size(kNumbers))];
    }
  }
  void Erase(json& node) {
    if (node.is_structured() && !node.empty())
      node.erase(std::next(node.begin(), static_cast<ptrdiff_t>(Below(node.size()))));
  }
  // One more member or element; a value that has neither becomes another.
  void Grow(json& node, const json& value) {
    static const std::vector<std::string> keys = AllKeys();
    if (node.is_object())
      node[keys[Below(keys.size())]] = value;
    else if (node.is_array())
      node.push_back(Below(2) == 0 || node.empty() ? value : json(node[Below(node.size())]));
    else
      node = Leaf();
  }

  std::mt19937 random_;
  std::vector<json*> nodes_;
};

bool Compiles(const std::string& text) {
  try {
    tessarine::ReadSource(text, "source");
    return true;
  } catch (const tessarine::InputError&) {
    return false;
  }
}

// Sources that compile, each made of another one.
class SoundSources {
 public:
  // The text, if nothing is found that compiles.
  std::string Next(const std::string& text, uint32_t seed) {
    constexpr int kTries = 4;
    if (sources_.size() < kLargest && Compiles(text)) Keep(text, seed);
    if (sources_.empty()) return text;
    const std::string& start = sources_[seed / 4 % sources_.size()];
    for (uint32_t i = 0; i < kTries; ++i) {
      std::string changed = Changed(start, seed + i);
      if (!Compiles(changed)) continue;
      Keep(changed, seed);
      return changed;
    }
    return text;
  }
  static std::string Changed(const std::string& text, uint32_t seed) {
    json tree = json::parse(text, nullptr, false, true);
    if (tree.is_discarded()) return text;
    TreeMutator(tree, seed).Change();
    return tree.dump(-1, ' ', false, json::error_handler_t::replace);
  }

 private:
  static constexpr size_t kLargest = 256;
  static constexpr size_t kLongest = 600;

  void Keep(const std::string& text, uint32_t seed) {
    if (text.size() > kLongest) return;
    if (sources_.size() < kLargest)
      sources_.push_back(text);
    else
      sources_[seed % kLargest] = text;
  }

  std::vector<std::string> sources_;
};

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  static SoundSources sound;
  const std::string text(data, data + size);
  std::string changed = text;
  if (seed % 4 == 0)
    changed = sound.Next(text, seed);
  else if (seed % 4 == 1)
    changed = SoundSources::Changed(text, seed);
  if (changed == text || changed.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::copy(changed.begin(), changed.end(), data);
  return changed.size();
}

// A source as a model.
#include <algorithm>
#include <map>

#include "errors.h"
#include "json_values.h"
#include "modes.h"
#include "source.h"
#include "source_values.h"

namespace tessarine {
namespace {

using Kind = SourceNode::Kind;

class SourceReader {
 public:
  SourceReader(const std::string& file, const SourceChoices& choices)
      : file_(file), choices_(choices), errors_(file), format_(kNewestFormat) {}

  Model Read(const std::string& text);

 private:
  // A mode of the source. Their IDs are known when all are read.
  struct ReadMode {
    size_t parent;  // its own place: it has none
    const SourceNode* node;
    std::string path;
  };

  void Note(const SourceNode& node, const std::string& message) {
    errors_.Note(node.line, message);
  }
  // The member of an object, if it is there and of the kind; another kind is noted.
  const SourceNode* Find(const SourceNode& node, const std::string& name, Kind kind,
                         const char* expected, const std::string& place);
  void TakeText(const SourceNode& root, const char* name, uint32_t size, bool isHeld,
                std::string& text);
  uint32_t TakeNumber(const SourceNode& node, const char* name, const std::string& place,
                      uint32_t fallback);

  void ReadFormat(const SourceNode& root);
  void ReadHeader(const SourceNode& root);
  void ReadLayout(const SourceNode& root);
  void ReadModes(const SourceNode& list, size_t parent);
  void ReadModeFields(const SourceNode& node, const std::string& path, Mode& mode);
  void ReadModules(const SourceNode& modules, const std::string& path, size_t place);
  void ReadModule(const SourceNode& node, const std::string& name, const std::string& path,
                  size_t place);
  void ReadValues(const SourceNode& node, const std::string& place, Module& module);
  const Module* Inherited(const SourceNode& from, const Module& module, const std::string& place);
  std::vector<std::string> Paths() const;
  void ReadObjects(const SourceNode& root);
  void NumberModes();
  void ResolveLinks();
  void CheckModes(const SourceNode& root);

  std::string file_;
  SourceChoices choices_;
  SourceErrors errors_;
  Format format_;
  Model model_;
  std::vector<ReadMode> read_;            // beside the modes of the model
  std::map<std::string, size_t> byPath_;  // places of modes
};

const SourceNode* SourceReader::Find(const SourceNode& node, const std::string& name, Kind kind,
                                     const char* expected, const std::string& place) {
  const SourceNode* member = node.Find(name);
  if (member == nullptr || member->Is(kind)) return member;
  Note(*member, place + name + ": expected " + expected + ", found " + member->Describe());
  return nullptr;
}

void SourceReader::TakeText(const SourceNode& root, const char* name, uint32_t size, bool isHeld,
                            std::string& text) {
  const SourceNode* node = root.Find(name);
  if (node == nullptr) return;
  const std::optional<std::string> read = ReadText(*node);
  if (!read)
    Note(*node, std::string(name) + ": expected a text, found " + node->Describe());
  else if (!isHeld)
    Note(*node, std::string(name) + ": format " + ToText(model_.format) + " doesn't hold it");
  else if (read->size() > size)
    Note(*node, std::string(name) + ": expected at most " + std::to_string(size) +
                    " bytes, found " + std::to_string(read->size()));
  else if (read->find('\0') != std::string::npos)
    Note(*node, std::string(name) + ": expected a text without a NUL, which would end it");
  else
    text = *read;
}

uint32_t SourceReader::TakeNumber(const SourceNode& node, const char* name,
                                  const std::string& place, uint32_t fallback) {
  const SourceNode* number = node.Find(name);
  if (number == nullptr) return fallback;
  if (number->Is(Kind::kInteger) && number->integer >= 0 && number->integer <= UINT32_MAX)
    return static_cast<uint32_t>(number->integer);
  Note(*number,
       place + name + ": expected an integer from 0 to 4294967295, found " + number->Describe());
  return fallback;
}

void SourceReader::ReadFormat(const SourceNode& root) {
  const SourceNode* node = Find(root, "format", Kind::kText, "a version such as \"5.0.0\"", "");
  std::string text = node == nullptr ? ToText(kNewestFormat) : node->text;
  if (!choices_.format.empty()) text = choices_.format;
  const std::optional<Version> version = ParseVersion(text);
  if (!version || *version > kNewestFormat)
    Note(node == nullptr ? root : *node,
         "format: expected a version up to " + ToText(kNewestFormat) + ", found '" + text + "'");
  else
    model_.format = *version;
  format_ = Format(model_.format);
}

void SourceReader::ReadHeader(const SourceNode& root) {
  TakeText(root, "tool", kToolSize, format_.HasTexts(), model_.tool);
  TakeText(root, "tag", kTagSize, format_.HasTexts(), model_.tag);
  TakeText(root, "modeText", kModeTextSize, format_.HasModeText(), model_.modeText);
  const SourceNode* flags = Find(root, "flags", Kind::kInteger, "an integer", "");
  if (flags == nullptr) return;
  if (!format_.HasFlags())
    Note(*flags, "flags: format " + ToText(model_.format) + " doesn't hold it");
  if (flags->integer < 0 || (flags->natural & kCompressedFlag) != 0)
    Note(*flags, "flags: expected a number without the bit of value 2, which means compressed");
  model_.flags = flags->natural;
}

// How things stand in the file, where there is a choice.
void SourceReader::ReadLayout(const SourceNode& root) {
  const SourceNode* layout = Find(root, "layout", Kind::kObject, "an object", "");
  if (layout == nullptr) return;
  CheckNames(*layout, "layout.", {"modeTable", "dataTable", "shareEqual", "wideSymbols"}, errors_);
  const auto take = [&](const char* name, bool& target) {
    if (const SourceNode* node = Find(*layout, name, Kind::kBoolean, "true or false", "layout."))
      target = node->boolean;
  };
  take("modeTable", model_.hasModeTable);
  take("dataTable", model_.hasDataTable);
  take("shareEqual", model_.sharesEqual);
  take("wideSymbols", model_.hasWideSymbols);
  if (model_.hasWideSymbols && format_.Alignment() == 1)
    Note(*layout, "layout.wideSymbols: format " + ToText(model_.format) + " has no such choice");
}

void SourceReader::ReadModes(const SourceNode& list, size_t parent) {
  for (const SourceNode& node : list.items) {
    const std::string above = parent < read_.size() ? read_[parent].path + "|" : "";
    if (!node.Is(Kind::kObject)) {
      Note(node, above + ": expected the object of a mode, found " + node.Describe());
      continue;
    }
    const SourceNode* name = Find(node, "mode", Kind::kText, "the name of a mode", above);
    const std::optional<ModeKey> key = name == nullptr ? std::nullopt : ParseMode(name->text);
    if (!key) {
      const std::string given = name == nullptr ? "" : name->text;
      Note(name == nullptr ? node : *name,
           above + "mode: expected a mode such as \"Usecase.Video\" or \"2.1\", found '" + given +
               "'" + DidYouMeanMode(given));
      continue;
    }
    const size_t place = model_.modes.size();
    model_.modes.emplace_back().key = *key;
    read_.push_back({parent < place ? parent : place, &node, above + ToText(*key)});
    if (!byPath_.emplace(read_[place].path, place).second)
      Note(node, read_[place].path + ": the mode is given twice");
    ReadModeFields(node, read_[place].path, model_.modes[place]);
    if (const SourceNode* modules =
            Find(node, "modules", Kind::kObject, "an object of modules", above))
      ReadModules(*modules, read_[place].path, place);
    if (const SourceNode* modes = Find(node, "modes", Kind::kList, "a list of modes", above))
      ReadModes(*modes, place);
  }
}

void SourceReader::ReadModeFields(const SourceNode& node, const std::string& path, Mode& mode) {
  const std::string place = path + " ";
  CheckNames(node, place, {"mode", "label", "id", "link", "resident", "flags", "modules", "modes"},
             errors_);
  if (const SourceNode* label = Find(node, "label", Kind::kText, "a text", place))
    mode.label = label->text;
  mode.flags = TakeNumber(node, "flags", place, 0);
  const SourceNode* resident = Find(node, "resident", Kind::kBoolean, "true or false", place);
  if (resident != nullptr && resident->boolean) mode.flags |= kResidentFlag;
  if (mode.flags != 0 && !format_.HasModeFlags())
    Note(node, place + "resident: format " + ToText(model_.format) + " doesn't hold it");
}

void SourceReader::ReadModules(const SourceNode& modules, const std::string& path, size_t place) {
  for (const SourceNode::Member& member : modules.members) {
    if (member.value.Is(Kind::kObject))
      ReadModule(member.value, member.name, path, place);
    else
      Note(member.value, path + " " + member.name + ": expected the object of a module, found " +
                             member.value.Describe());
  }
}

void SourceReader::ReadModule(const SourceNode& node, const std::string& name,
                              const std::string& path, size_t place) {
  const std::string where = path + " " + name;
  CheckNames(node, where + " ", {"version", "id", "from", "values", "hex"}, errors_);
  if (name.empty() || name.find('\0') != std::string::npos)
    Note(node, where + ": expected the name of a module, without a NUL, which would end it");
  Module module;
  module.type = ShortType(name);
  if (!IsUtf8(module.type) || ShortType(module.type) != module.type)
    Note(node, where + ": can't be the name of a module, for files would hold it as '" +
                   module.type + "'");
  module.id = TakeNumber(node, "id", where + " ", 0);
  const ModuleSchema* known = FindModule(name);
  if (known != nullptr) module.version = known->version;
  if (const SourceNode* version = Find(node, "version", Kind::kText, "a text", where + " ")) {
    const std::optional<Version> parsed = ParseVersion(version->text);
    if (!parsed) Note(*version, where + " version: expected three numbers, as in \"9.0.0\"");
    module.version = parsed.value_or(Version{});
  }
  for (const Module& other : model_.modes[place].modules)
    if (other.type == module.type) Note(node, where + ": the mode has this module already");
  ReadValues(node, where, module);
  model_.modes[place].modules.push_back(std::move(module));
}

// Either values by their names, on top of those of another mode or of zeros, or bytes.
void SourceReader::ReadValues(const SourceNode& node, const std::string& place, Module& module) {
  const SourceNode* values = node.Find("values");
  const SourceNode* from = Find(node, "from", Kind::kText, "the path of a mode", place + " ");
  const ModuleSchema* schema = module.Schema();
  const SourceNode* hex = node.Find("hex");
  if (schema == nullptr) {
    std::vector<std::string> names;
    for (const ModuleSchema& known : KnownModules()) names.push_back(known.name);
    const std::optional<Bytes> raw = hex == nullptr ? std::nullopt : ReadHex(*hex);
    if (!raw || values != nullptr || from != nullptr)
      Note(node, place + ": the fields of this module are not known in version " +
                     ToText(module.version) + "; expected its data as \"hex\"" +
                     NearestName(place.substr(place.rfind(' ') + 1), names));
    module.raw = raw.value_or(Bytes{});
    return;
  }
  if (hex != nullptr) Note(*hex, place + " hex: expected \"values\", for the fields are known");
  const Module* inherited = from == nullptr ? nullptr : Inherited(*from, module, place);
  module.value = inherited != nullptr ? inherited->value : DefaultRecord(*schema->root);
  if (values != nullptr) ReadRecord(*schema->root, *values, place, errors_, module.value);
}

std::vector<std::string> SourceReader::Paths() const {
  std::vector<std::string> paths;
  for (const auto& [path, mode] : byPath_) paths.push_back(path);
  return paths;
}

const Module* SourceReader::Inherited(const SourceNode& from, const Module& module,
                                      const std::string& place) {
  const std::optional<Branch> branch = ParseBranch(from.text);
  const auto found = byPath_.find(branch ? ToText(*branch) : from.text);
  if (found != byPath_.end())
    for (const Module& other : model_.modes[found->second].modules)
      if (other.type == module.type && other.version == module.version) return &other;
  Note(from, place + " from: no mode '" + from.text + "' with this module stands above" +
                 NearestName(from.text, Paths()));
  return nullptr;
}

void SourceReader::ReadObjects(const SourceNode& root) {
  const SourceNode* list = Find(root, "objects", Kind::kList, "a list of objects", "");
  if (list == nullptr) return;
  for (const SourceNode& node : list->items) {
    const SourceNode* hex = node.Find("hex");
    const std::optional<Bytes> bytes = hex == nullptr ? std::nullopt : ReadHex(*hex);
    const uint32_t id = TakeNumber(node, "id", "objects ", 0);
    CheckNames(node, "objects ", {"id", "hex"}, errors_);
    if (!bytes || id == 0)
      Note(node, "objects: expected an object with an \"id\" from 1 and its data as \"hex\"");
    else
      model_.objects.push_back({id, *bytes});
  }
}

// A mode without an ID gets the lowest free one.
void SourceReader::NumberModes() {
  std::map<uint32_t, size_t> owners;
  for (size_t i = 0; i < model_.modes.size(); ++i) {
    const SourceNode& node = *read_[i].node;
    const std::string place = read_[i].path + " ";
    model_.modes[i].id = TakeNumber(node, "id", place, kNoLink);
    if (model_.modes[i].id == kNoLink) continue;
    if (model_.modes[i].id >= model_.modes.size())
      Note(node, place + "id: expected a number below that of the modes, " +
                     std::to_string(model_.modes.size()));
    if (!owners.emplace(model_.modes[i].id, i).second)
      Note(node, place + "id: another mode has it");
  }
  uint32_t next = 0;
  for (Mode& mode : model_.modes) {
    if (mode.id != kNoLink) continue;
    while (owners.count(next) != 0) ++next;
    mode.id = next++;
  }
  for (size_t i = 0; i < model_.modes.size(); ++i)
    model_.modes[i].parent = model_.modes[read_[i].parent].id;
}

void SourceReader::ResolveLinks() {
  for (size_t i = 0; i < model_.modes.size(); ++i) {
    const std::string place = read_[i].path + " ";
    const SourceNode* link = Find(*read_[i].node, "link", Kind::kText, "the path of a mode", place);
    if (link == nullptr) continue;
    const std::optional<Branch> branch = ParseBranch(link->text);
    const auto target = byPath_.find(branch ? ToText(*branch) : link->text);
    if (target == byPath_.end())
      Note(*link, place + "link: there is no mode '" + link->text + "'" +
                      NearestName(link->text, Paths()));
    else if (!format_.HasLinks())
      Note(*link, place + "link: format " + ToText(model_.format) + " doesn't hold it");
    else
      model_.modes[i].link = model_.modes[target->second].id;
  }
}

void SourceReader::CheckModes(const SourceNode& root) {
  if (model_.modes.empty()) return Note(root, "modes: expected a list with at least one mode");
  // The root is the first of the table, which stands in the order of the IDs.
  if (model_.modes.front().id != 0)
    Note(*read_.front().node, read_.front().path + " id: the first mode is the root, with ID 0");
  const Mode& first = model_.modes.front();
  const bool isPlain = model_.modes.size() == 1 && first.key == ModeKey{} && first.flags == 0 &&
                       first.link == kNoLink && model_.modeText.empty();
  if (!model_.hasModeTable && !isPlain)
    Note(root, "layout.modeTable: a file without modes has the mode Default alone, and plain");
}

Model SourceReader::Read(const std::string& text) {
  const SourceNode root = ParseSource(text, file_, errors_);
  if (!root.Is(Kind::kObject))
    throw InputError(file_ + ":" + std::to_string(root.line) + ": expected an object, found " +
                     root.Describe());
  CheckNames(
      root, "",
      {"$schema", "format", "tool", "tag", "flags", "modeText", "layout", "modes", "objects"},
      errors_);
  ReadFormat(root);
  ReadHeader(root);
  ReadLayout(root);
  if (const SourceNode* modes = Find(root, "modes", Kind::kList, "a list of modes", ""))
    ReadModes(*modes, SIZE_MAX);
  ReadObjects(root);
  NumberModes();
  ResolveLinks();
  CheckModes(root);
  errors_.Throw();
  for (const std::string& defect : MendModes(model_.modes)) Note(root, defect);
  errors_.Throw();
  return std::move(model_);
}

}  // namespace

Model ReadSource(const std::string& text, const std::string& file, const SourceChoices& choices) {
  return SourceReader(file, choices).Read(text);
}

}  // namespace tessarine

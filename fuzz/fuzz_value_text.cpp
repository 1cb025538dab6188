// Any texts in queries of a tuning tool: a line each, of a letter and fields between tabs.
//
//   g <branch> <module path> <names>           reads values
//   s <branch> <module path> <name> <value>    writes one
//   i <branch> <path>                          lists
#include "small_manager.h"

namespace {

constexpr int kMaxQueries = 8;

// As large as the buffer that the library is told of, so that one byte too many shows.
using Answer = std::vector<char>;

void Get(fuzz::SmallSetManager& manager, fuzz::Texts fields, uint32_t size) {
  const std::string branch = fields.Next('\t');
  const std::string path = fields.Next('\t');
  const std::string names = fields.Next('\t');
  Answer answer(size, '?');
  if (manager.GetValue(branch.c_str(), path.c_str(), names.c_str(), answer.data(), size))
    fuzz::Require(std::memchr(answer.data(), '\0', size) != nullptr, "an answer has an end");
}

// What was written can be read, and writing that again changes nothing.
void Set(fuzz::SmallSetManager& manager, fuzz::Texts fields) {
  const std::string branch = fields.Next('\t');
  const std::string path = fields.Next('\t');
  const std::string name = fields.Next('\t');
  const std::string value = fields.Next('\t');
  if (!manager.SetValue(branch.c_str(), path.c_str(), name.c_str(), value.c_str())) return;
  constexpr uint32_t kLargest = 4096;
  Answer first(kLargest);
  Answer second(kLargest);
  const auto get = [&](Answer& answer) {
    return manager.GetValue(branch.c_str(), path.c_str(), name.c_str(), answer.data(), kLargest);
  };
  if (name.empty() || name.find(',') != std::string::npos || !get(first)) return;
  const size_t start = name.size() + 1;
  fuzz::Require(std::string(first.data()).substr(0, start) == name + "=", "an answer is named");
  fuzz::Require(manager.SetValue(branch.c_str(), path.c_str(), name.c_str(), &first[start]) &&
                    get(second) && std::strcmp(first.data(), second.data()) == 0,
                "a value that was read can be written");
}

void List(fuzz::SmallSetManager& manager, fuzz::Texts fields) {
  const std::string branch = fields.Next('\t');
  const std::string path = fields.Next('\t');
  PList<ParameterParserInfo> lines;
  if (!manager.GetInfo(branch.c_str(), path.c_str(), lines)) return;
  for (uint32_t i = 0; i < lines.Count(); ++i)
    fuzz::Require(lines[i].name == nullptr || std::strlen(lines[i].name) < 1024, "names are short");
}

}  // namespace

std::vector<fuzz::Input> fuzz::Seeds() {
  return {};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const test::Bytes& good = fuzz::GoodFile();
  const fuzz::Run run;
  fuzz::SmallSetManager manager(fuzz::LogsRunOf(size));
  manager.LoadBinaryParameters(good.data(), good.size());
  fuzz::Texts queries(data, size);
  for (int i = 0; i < kMaxQueries && !queries.IsAtEnd(); ++i) {
    const std::string query = queries.Next('\n');
    fuzz::Texts fields(query.substr(query.empty() ? 0 : 1));
    switch (query[0]) {
      case 'g': Get(manager, fields, static_cast<uint32_t>(1 + size * 7 % 509)); break;
      case 's': Set(manager, fields); break;
      case 'i': List(manager, fields); break;
      default: break;
    }
  }
  return 0;
}

// The tuning that comes with the tool, compiled in each version of the format and read by the
// library: every field is what the source says. The source is read here by a parser of its own.
#include <nlohmann/json.hpp>

#include "files.h"
#include "sources.h"
#include "support/pd_tuning.h"
#include "support/temp_folder.h"
#include "tuningsetmanager.h"

namespace {

using nlohmann::json;
using test::Bytes;

// What is left out is 0, or empty.
template <class T>
void ExpectSame(const T& found, const json& source, const std::string& path) {
  if constexpr (std::is_array_v<T>) {
    for (size_t i = 0; i < std::extent_v<T>; ++i)
      ExpectSame(found[i], i < source.size() ? source[i] : json(),
                 path + "[" + std::to_string(i) + "]");
  } else if constexpr (test::TuningRecord<T>) {
    test::EachField(found, [&](const auto& field) {
      const std::string name = path + "." + field.name;
      const json& part = source.contains(field.name) ? source[field.name] : json();
      if constexpr (test::VariableArray<decltype(field)>) {
        ASSERT_EQ(found.*field.count, part.size()) << name;
        for (size_t i = 0; i < part.size(); ++i)
          ExpectSame((found.*field.elements)[i], part[i], name + "[" + std::to_string(i) + "]");
      } else {
        ExpectSame(found.*field.member, part, name);
      }
    });
  } else if constexpr (std::is_pointer_v<T>) {
    EXPECT_STREQ(found, source.is_null() ? "" : source.get<std::string>().c_str()) << path;
  } else if constexpr (std::is_same_v<T, float>) {
    EXPECT_EQ(found, source.is_null() ? 0.0f : source.get<float>()) << path;
  } else if (source.is_boolean()) {
    EXPECT_EQ(found, T(source.get<bool>())) << path;
  } else {
    EXPECT_EQ(static_cast<int64_t>(found), source.is_null() ? 0 : source.get<int64_t>()) << path;
  }
}

struct Expected {
  std::vector<TuningMode> branch;
  json values;
};

// The values in force on each branch of the source. A module with `from` has the values of that
// mode where it doesn't give them, and a mode without one those of the mode above; lists are whole.
void CollectExpected(const json& mode, const std::string& above,
                     const std::vector<TuningMode>& branch, json values,
                     std::map<std::string, Expected>& all) {
  const std::string name = mode["mode"];
  Expected expected{branch, {}};
  expected.branch.push_back(
      above.empty()
          ? TuningMode{0, 0}
          : TuningMode{1, static_cast<uint16_t>(std::stoi(name.substr(name.find('.') + 1)))});
  if (mode.contains("modules")) {
    const json& module = mode["modules"]["tessarinePDLib"];
    values = module.contains("from") ? all.at(module["from"]).values : json::object();
    values.merge_patch(module.value("values", json::object()));
  }
  expected.values = values;
  const std::string path = above + name;
  all[path] = expected;
  for (const json& child : mode.value("modes", json::array()))
    CollectExpected(child, path + "|", expected.branch, values, all);
}

std::map<std::string, Expected> ExpectedOf(const std::string& text) {
  std::map<std::string, Expected> all;
  CollectExpected(json::parse(text, nullptr, true, true)["modes"][0], "", {}, {}, all);
  return all;
}

struct Layout {
  const char* format;
  bool isWide;  // entries of the symbol table, where fields stand at multiples of 8 bytes
  bool hasDataTable = true;
};
constexpr Layout kLayouts[] = {{"1.0.2", false},       {"2.0.0", false},        {"2.0.0", true},
                               {"3.0.0", false},       {"3.0.0", true},         {"3.0.1", false},
                               {"4.0.0", false},       {"4.0.0", false, false}, {"5.0.0", false},
                               {"5.0.0", false, false}};

Bytes Compile(const std::string& text, const Layout& layout) {
  tessarine::Model model = test::FromSource(text, layout.format);
  model.hasWideSymbols = layout.isWide;
  model.hasDataTable = layout.hasDataTable;
  return tessarine::WriteFile(model);
}

TEST(TessarineMatrix, EveryVersionHoldsEveryFieldForTheLibrary) {
  const std::string text = tessarine::LoadText(TESSARINE_TUNING);
  const std::map<std::string, Expected> all = ExpectedOf(text);
  ASSERT_EQ(all.size(), 16u);  // Default and 15 sensors
  const test::TempFolder folder;
  const std::string path = (folder.path() / "tuning.bin").string();
  for (const Layout& layout : kLayouts)
    for (const bool isFile : {false, true}) {
      SCOPED_TRACE(std::string(layout.format) + (layout.isWide ? " wide" : "") +
                   (layout.hasDataTable ? "" : " without data table") +
                   (isFile ? " file" : " buffer"));
      const Bytes bytes = Compile(text, layout);
      TuningSetManager manager;
      tessarine::SaveBytes(path, bytes);
      ASSERT_TRUE(isFile ? manager.LoadBinaryParameters(path.c_str())
                         : manager.LoadBinaryParameters(bytes.data(), bytes.size()));
      EXPECT_EQ(manager.IsFileMode(), isFile);
      afpdlibelements::tessarinePDLibType* record = nullptr;
      for (const auto& [name, expected] : all) {
        record = manager.GetModule_tessarinePDLib(
            expected.branch.data(), static_cast<unsigned>(expected.branch.size()), record);
        ASSERT_NE(record, nullptr) << name;
        ExpectSame(*record, expected.values, name);
      }
      record->Release();
    }
}

}  // namespace

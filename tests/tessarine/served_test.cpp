// What the tool says that the library serves, against the library itself.
#include "served.h"

#include "files.h"
#include "host/orvo_host.h"
#include "sources.h"
#include "support/temp_folder.h"
#include "support/tuning_file.h"
#include "tuningsetmanager.h"

namespace {

using namespace tessarine;

// Keeps what the library logs of bad files from the terminal.
struct Quiet {
  Quiet() { Orvo::Host::StartLogCapture(); }
  ~Quiet() { Orvo::Host::StopLogCapture(); }
};

constexpr const char* kNames[] = {"abf34_ife", "cc13_ife"};

// The first byte of a module's data; -1 if there is no such module.
int LibraryByte(TuningSetManager& manager, const Branch& branch, const std::string& name) {
  std::vector<TuningMode> steps;
  for (const ModeKey& key : branch) steps.push_back({key.mode, key.subMode});
  const auto count = static_cast<unsigned>(steps.size());
  const tuning::RawModuleType* record =
      name == kNames[0] ? manager.GetModule_abf34_ife(steps.data(), count, nullptr)
                        : manager.GetModule_cc13_ife(steps.data(), count, nullptr);
  return record == nullptr ? -1 : record->rawData[0];
}

int ToolByte(const ModeTree& tree, const Branch& branch, const std::string& name) {
  for (const ModeTree::Found& found : tree.InForce(branch)) {
    if (found.module->type != name) continue;
    const std::vector<const Module*> modules = tree.ModulesOf(found.node);
    EXPECT_NE(std::find(modules.begin(), modules.end(), found.module), modules.end());
    return found.module->raw[0];
  }
  return -1;
}

// Trees with links, aliases, twins and tops, and modules in any order.
class TreeMaker {
 public:
  explicit TreeMaker(uint32_t seed) : random_(seed) {}

  Model Make() {
    Model model;
    const uint32_t count = 2 + Below(7);
    std::vector<uint32_t> ids;
    for (uint32_t id = 0; id < count; ++id) {
      Mode& mode = model.modes.emplace_back();
      mode.id = id;
      if (id != 0) mode.key = Key();
      mode.parent = id == 0 || Below(8) == 0 ? id : Below(count);
      if (Below(3) == 0) mode.link = Below(count);
      for (const char* name : kNames) {
        if (Below(4) == 0) continue;
        mode.modules.push_back({0, name, {1, 0, 0}, {}, {}});
        ids.push_back(static_cast<uint32_t>(ids.size() + 1));
      }
    }
    std::shuffle(ids.begin(), ids.end(), random_);
    for (Mode& mode : model.modes)
      for (Module& module : mode.modules) {
        module.id = ids.back();
        module.raw = {static_cast<uint8_t>(module.id)};
        ids.pop_back();
      }
    return model;
  }
  Branch MakeBranch() {
    Branch branch{ModeKey{}};
    for (uint32_t i = Below(5); i > 0; --i) branch.push_back(Key());
    return branch;
  }

 private:
  uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(random_()) % limit; }
  ModeKey Key() { return {static_cast<uint16_t>(2 + Below(2)), static_cast<uint16_t>(Below(2))}; }

  std::mt19937 random_;
};

TEST(TessarineServed, IsWhatTheLibraryServes) {
  const Quiet quiet;
  int sound = 0;
  int linked = 0;
  for (uint32_t seed = 0; seed < 1500; ++seed) {
    TreeMaker maker(seed);
    const Bytes file = WriteFile(maker.Make());
    const FileReading reading = ReadFile(file);
    TuningSetManager manager;
    const bool loads = manager.LoadBinaryParameters(file.data(), file.size());
    ASSERT_EQ(loads, reading.defects.empty()) << seed << test::Joined(reading.defects);
    if (!loads) continue;
    ++sound;
    const ModeTree tree(reading.model);
    for (int i = 0; i < 40; ++i) {
      const Branch branch = maker.MakeBranch();
      for (const char* name : kNames)
        ASSERT_EQ(ToolByte(tree, branch, name), LibraryByte(manager, branch, name))
            << seed << " " << ToText(branch);
    }
    for (const Mode& mode : reading.model.modes) linked += mode.link != kNoLink;
  }
  EXPECT_GT(sound, 300);
  EXPECT_GT(linked, 300);
}

TEST(TessarineServed, TellsWhatIsNot) {
  const Quiet quiet;
  const std::string first =
      R"("modules": {"abf34_ife": {"id": 1, "version": "1.0.0", "hex": "01"}})";
  const std::string second =
      R"("modules": {"abf34_ife": {"id": 2, "version": "1.0.0", "hex": "02"}})";
  const std::string sensor = R"("modules": {"PDConfigData": {"version": "2.0.0", "hex": "03"}})";
  const std::pair<std::string, std::string> cases[] = {
      {R"({"mode": "Default", )" + first + R"(, "modes": [{"mode": "Usecase.ZSL"}]})", ""},
      {R"({"mode": "Default"}, {"mode": "Sensor.1"})",
       "mode 1 Sensor.1: no branch leads to it, for it stands beside the root, Default\n"},
      {R"({"mode": "Default", "modes": [{"mode": "Usecase.ZSL", "link": "Default|Usecase.Video",
           "modes": [{"mode": "Scene.AR"}]}, {"mode": "Usecase.Video"}]})",
       "mode 2 Default|Usecase.ZSL|Scene.AR: no branch leads to it, for Default|Usecase.ZSL links "
       "to Default|Usecase.Video\n"},
      {R"({"mode": "Default", "modes": [{"mode": "Usecase.ZSL", "link": "Default|Usecase.Video", )" +
           first + R"(}, {"mode": "Usecase.Video", )" + second + "}]}",
       "mode 2 Default|Usecase.Video: no branch gets its module 2 abf34_ife, for module 1 of "
       "Default|Usecase.ZSL stands before it\n"},
      {R"({"mode": "Default", )" + first + R"(, "modes": [{"mode": "Default", )" + second + "}]}",
       "mode 1 Default: no branch gets its module 2 abf34_ife, for module 1 of Default stands "
       "before it\n"},
      {R"({"mode": "Default", "modules": {"abf34_ifa": {"version": "1.0.0", "hex": "01"}}})",
       "mode 0 Default: the library refuses the file for its module abf34_ifa, a name that no "
       "manager knows; did you mean 'abf34_ife'?\n"},
      {R"({"mode": "Default", )" + sensor + "}", ""},
      {R"({"mode": "Default", )" + first + R"(, "modes": [{"mode": "Sensor.1", )" + sensor + "}]}",
       "mode 1 Default|Sensor.1: the library refuses the file for its module PDConfigData, which "
       "belongs to ImageSensorModuleSetManager, others to TuningSetManager\n"},
      {R"({"mode": "Default", "modules": {"abf34_ife": {"version": "1.0.0", "hex": ""}}})",
       "data section: it is empty, and the library reads no modules then\n"}};
  for (const auto& [modes, unserved] : cases) {
    const Bytes file = WriteFile(test::FromSource("{\"modes\": [" + modes + "]}"));
    const FileReading reading = ReadFile(file);
    EXPECT_EQ(test::Joined(reading.unserved), unserved) << modes;
    EXPECT_EQ(test::Joined(reading.defects), "") << modes;
    TuningSetManager manager;
    const bool isRefused = unserved.find("refuses") != std::string::npos ||
                           modes.find("PDConfig") != std::string::npos;
    EXPECT_EQ(manager.LoadBinaryParameters(file.data(), file.size()), !isRefused) << modes;
  }
}

// In file mode the library reads the section table from the first 316 bytes.
TEST(TessarineServed, NeedsItsSectionTableInFront) {
  const Quiet quiet;
  Bytes file = WriteFile(test::FromSource(
      R"({"layout": {"dataTable": false}, "modes": [{"mode": "Default", "modules":
          {"abf34_ife": {"version": "1.0.0", "hex": ")" +
      std::string(400, '0') + "\"}}}]}"));
  const test::TempFolder folder;
  const std::string path = (folder.path() / "file").string();
  constexpr size_t kHeader = 168;
  constexpr size_t kTable = 3 * 12;
  const Bytes table(file.begin() + kHeader, file.begin() + kHeader + kTable);
  for (const size_t end : {315, 316, 317, 400}) {
    std::copy(table.begin(), table.end(), file.begin() + static_cast<ptrdiff_t>(end - kTable));
    test::PutWord(file, 160, static_cast<uint32_t>(end - kTable));
    SaveBytes(path, file);
    TuningSetManager manager;
    EXPECT_EQ(manager.LoadBinaryParameters(path.c_str()), end <= 316) << end;
    const std::string defects = test::Joined(ReadFile(file).defects);
    EXPECT_EQ(defects.find("section table: it reaches to byte " + std::to_string(end)) == 0,
              end > 316)
        << defects;
  }
}

}  // namespace

// The mode tree: which instance a branch of modes gets, and what file mode keeps in memory.
#include <algorithm>

#include "tuning_fixture.h"

namespace test {
namespace {

// 0.0 ─┬─ 2.0 ─── 3.1 ─── 5.4
//      ├─ 2.1 ─┬─ 2.2 ─── 3.2     (3.2: resident)
//      │       └─ 2.0
//      ├─ 2.3 ─── 3.1       (2.3 holds nothing)
//      ├─ 2.4 → 2.0         (borrows children and modules)
//      └─ 1.5               (a sensor: always resident)
// Every node but 0.0 > 2.3 holds a module whose focus map switch is its ID.
enum Node : uint32_t { kRoot, kA, kB, kC, kD, kE, kF, kG, kH, kLink, kSensor, kBelowD };

TuningFile TreeFile() {
  TuningFile file;
  file.modes = {{kRoot, 0, 0, kRoot},     {kA, 2, 0, kRoot},      {kB, 3, 1, kA},
                {kC, 5, 4, kB},           {kD, 2, 1, kRoot},      {kE, 2, 2, kD},
                {kF, 3, 2, kE},           {kG, 2, 3, kRoot},      {kH, 3, 1, kG},
                {kLink, 2, 4, kRoot, kA}, {kSensor, 1, 5, kRoot}, {kBelowD, 2, 0, kD}};
  file.modes[kF].flags = 1;
  for (const int32_t id : {kRoot, kA, kB, kC, kD, kE, kF, kH, kSensor, kBelowD})
    AddNumberedPd(file, static_cast<uint32_t>(id), id, id * 1000);
  return file;
}

class Modes : public Tuning {
 protected:
  bool isLoaded(uint32_t mode) { return manager->GetModeEntry(mode)->IsLoaded(); }
};

TEST_F(Modes, TheDeepestModeThatHoldsTheModuleWins) {
  const std::vector<std::pair<std::vector<TuningMode>, Node>> cases{
      {{}, kRoot},
      {{{0, 0}}, kRoot},
      {{{0, 0}, {2, 0}}, kA},
      {{{0, 0}, {2, 0}, {3, 1}}, kB},
      {{{0, 0}, {2, 0}, {3, 1}, {5, 4}}, kC},
      {{{0, 0}, {2, 0}, {3, 1}, {5, 5}}, kB},  // absent: the deepest ancestor
      {{{0, 0}, {2, 0}, {3, 2}, {5, 4}}, kA},  // the walk ends at the gap
      {{{0, 0}, {2, 3}}, kRoot},               // holds nothing
      {{{0, 0}, {2, 3}, {3, 1}}, kH},
      {{{0, 0}, {2, 1}, {2, 2}}, kE},  // a group of alternatives: nested nodes
      {{{0, 0}, {2, 2}, {2, 1}}, kE},  // in any order
      {{{0, 0}, {2, 1}, {2, 2}, {3, 2}}, kF},
      {{{0, 0}, {2, 0}, {2, 3}}, kRoot},    // no chain of two below either
      {{{0, 0}, {2, 0}, {2, 1}}, kBelowD},  // none below 2.0, but one below 2.1
      {{{0, 0}, {2, 9}}, kRoot},
      {{{0, 0}, {2, 4}}, kA},  // linked
      {{{0, 0}, {2, 4}, {3, 1}, {5, 4}}, kC},
      {{{0, 0}, {1, 5}}, kSensor},
      {{{0, 0}, {65536 + 2, 0}}, kRoot},  // more than a stored mode can be
      {{{7, 7}, {2, 0}}, kA},             // the first element is never looked at
  };
  for (const bool fileMode : {false, true}) {
    ASSERT_TRUE(load(TreeFile().build(), fileMode)) << error();
    for (const auto& [branch, expected] : cases) {
      EXPECT_EQ(at(branch), static_cast<int32_t>(expected))
          << (fileMode ? "file " : "buffer ") << branch.size() << " "
          << (branch.empty() ? 0 : branch.back().subMode);
    }
    EXPECT_EQ(manager->GetModule_tessarinePDLib(nullptr, 0, nullptr)->enableFocusMaps, kRoot);
    EXPECT_EQ(manager->GetModule_tessarinePDLib(nullptr, 3, nullptr)->enableFocusMaps, kRoot);
    EXPECT_EQ(manager->GetModule_aanr_atf20(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(manager->GetModule(nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(error(), "GetModule called with nullptr module name");
  }
  EXPECT_TRUE(
      logged("GetModule aanr_atf20 module not found in default scenario (0.0), mode path: "));
  EXPECT_TRUE(logged("called with modeBranch == null and modeCount = 3, will return default"));
  EXPECT_TRUE(
      logged("called with first mode != Default, might not return module data from the "
             "desired mode path: 7.7|2.0"));
}

TEST_F(Modes, AnEntryWithItsParentsKeyIsItsParent) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}, {1, 2, 3, 0}, {2, 2, 3, 1}, {3, 2, 3, 2}, {4, 3, 0, 3}};
  for (const int32_t mode : {0, 3}) AddNumberedPd(file, static_cast<uint32_t>(mode), mode);
  ASSERT_TRUE(load(file.build(), false)) << error();
  EXPECT_EQ(manager->GetModeEntry(3u), manager->GetModeEntry(1u));
  EXPECT_EQ(at({{0, 0}, {2, 3}, {3, 0}}), 3);
}

TEST_F(Modes, ModesShareAnInstanceByItsDuplicateId) {
  TuningFile file = TreeFile();
  PdSource shared(1, 7000);
  const size_t first = AddPd(file, shared, kG);
  file.modules[7].duplicateOf = static_cast<uint32_t>(first + 1);  // kH's, which stands before it
  AddPd(file, shared, kLink, static_cast<uint32_t>(first + 1));    // kA's: the first entry stays
  for (const bool fileMode : {false, true}) {
    ASSERT_TRUE(load(file.build(), fileMode)) << error();
    tessarinePDLibType* a = get({{0, 0}, {2, 3}});
    tessarinePDLibType* b = get({{0, 0}, {2, 3}, {3, 1}});
    EXPECT_EQ(a, b);
    EXPECT_EQ(Describe(*a), Describe(shared.record()));
  }
}

TEST_F(Modes, FileModeKeepsABoundedNumberOfModes) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  constexpr uint32_t kScenes = 100;
  for (uint32_t i = 0; i <= kScenes; ++i) {
    if (i != 0) file.modes.push_back({i, 5, static_cast<uint16_t>(i), 0});
    AddNumberedPd(file, i, static_cast<int32_t>(i));
  }
  ASSERT_TRUE(load(file.build(), true)) << error();
  const auto scene = [](uint32_t i) {
    return std::vector<TuningMode>{{0, 0}, {5, static_cast<uint16_t>(i)}};
  };
  const auto loadedModes = [&] {
    std::vector<uint32_t> loaded;
    for (uint32_t i = 1; i <= kScenes; ++i)
      if (isLoaded(i)) loaded.push_back(i);
    return loaded;
  };
  EXPECT_TRUE(loadedModes().empty());
  tessarinePDLibType* held = get(scene(1));
  ASSERT_TRUE(manager->SetValue("Default|Scene.Snow", "tessarinePDLib", "enablePeripheralWindows",
                                "77"));  // 5.2 is changed, and kept from now on
  for (uint32_t i = 3; i <= kScenes; ++i) {
    EXPECT_EQ(at(scene(i)), static_cast<int32_t>(i));
    EXPECT_EQ(loadedModes().size(), std::min(i, 17u + 2)) << i;
  }
  // The one that is held, the one that was changed, and the last 17.
  std::vector<uint32_t> expected{1, 2};
  for (uint32_t i = kScenes - 16; i <= kScenes; ++i) expected.push_back(i);
  EXPECT_EQ(loadedModes(), expected);
  EXPECT_EQ(held->enableFocusMaps, 1);
  EXPECT_EQ(get(scene(2))->enablePeripheralWindows, 77);

  uint64_t live = 0;
  for (int round = 0; round < 3; ++round) {
    for (uint32_t i = 3; i <= kScenes; ++i) at(scene(i));
    if (round == 0) live = Orvo::Host::Allocations().live;
  }
  EXPECT_EQ(Orvo::Host::Allocations().live, live);

  // Many in use at the same time exceed the bound; their release brings it back.
  std::vector<tessarinePDLibType*> many;
  for (uint32_t i = 3; i <= kScenes; ++i) many.push_back(get(scene(i)));
  EXPECT_EQ(loadedModes().size(), kScenes);
  for (uint32_t i = 3; i <= kScenes; ++i)
    EXPECT_EQ(many[i - 3]->enableFocusMaps, static_cast<int32_t>(i));
  for (tessarinePDLibType* record : many) record->Release();
  at(scene(3));
  EXPECT_EQ(loadedModes().size(), 17u + 2);  // the held one and the changed one beside them
  many[0]->Release();
  EXPECT_TRUE(logged(
      "Attempt to release unreferenced module.  Mode: 5, SubMode: 3, Module tessarinePDLib"));
}

TEST_F(Modes, AFileIsLoadedWithTheModesThatStayAlone) {
  ASSERT_TRUE(load(TreeFile().build(), true));
  const auto loadedModules = [&] {
    std::vector<uint32_t> ids;
    for (uint32_t id = kRoot; id <= kBelowD; ++id) {
      const ParameterModule* module = manager->GetModeEntry(id)->FindModule("tessarinePDLib");
      if (module != nullptr && module->IsLoaded()) ids.push_back(id);
    }
    return ids;
  };
  const std::vector<uint32_t> residents{kRoot, kF, kSensor};
  EXPECT_EQ(loadedModules(), residents);
  const std::vector<TuningMode> branch{{0, 0}, {2, 1}, {2, 2}, {3, 2}};
  EXPECT_EQ(at(branch), kF);
  for (uint32_t count = 2; count <= 4; ++count) manager->UnloadMode(branch.data(), count);
  EXPECT_TRUE(manager->UnloadMode(branch.data(), 1));
  EXPECT_EQ(loadedModules(), residents);
}

TEST_F(Modes, PreviousIsReleasedAndUnloadingTellsOfReferences) {
  ASSERT_TRUE(load(TreeFile().build(), true));
  manager->SetLogLevels(true, true, true);
  get({{0, 0}, {2, 4}})->Release();
  EXPECT_TRUE(logged(": Loading modules (GetModule:tessarinePDLib:0.0|2.4): 0.0|2.4->0.0|2.0"));
  tessarinePDLibType* record = get({{0, 0}, {2, 0}});
  ParameterModule* module = manager->GetModeEntry(kA)->FindModule("tessarinePDLib");
  EXPECT_EQ(module->GetReferenceCount(), 1u);
  record = get({{0, 0}, {2, 1}}, record);
  EXPECT_EQ(record->enableFocusMaps, kD);
  EXPECT_EQ(module->GetReferenceCount(), 0u);
  const TuningMode branch[] = {{0, 0}, {2, 1}};
  EXPECT_TRUE(manager->UnloadMode(branch, 2));
  EXPECT_TRUE(logged("Unloading referenced module tessarinePDLib, Mode: 0.0|2.1, Ref count: 1"));
  EXPECT_TRUE(logged("Unloading mode with 1 unreleased modules: 0.0|2.1"));
  EXPECT_TRUE(logged("ReleaseReferences called with unreleased module: tessarinePDLib, RefCnt: 1"));
  EXPECT_FALSE(isLoaded(kD));
  EXPECT_FALSE(manager->UnloadMode(std::vector<TuningMode>{{0, 0}, {2, 9}}.data(), 2));
  EXPECT_TRUE(manager->LoadMode(branch, 2, "test"));
  EXPECT_TRUE(isLoaded(kD));
}

TEST_F(Modes, ActiveModesAreTheDeepestReferencedOnes) {
  ASSERT_TRUE(load(TreeFile().build(), true));
  char text[256];
  get({{0, 0}, {2, 0}});
  get({{0, 0}, {2, 0}, {3, 1}});
  get({{0, 0}, {2, 1}});
  ASSERT_TRUE(manager->GetActiveModes(text, sizeof(text)));
  EXPECT_STREQ(text, "Default|Usecase.Snapshot;Default|Usecase.Preview|Feature1.ISPHDR");
}

TEST_F(Modes, AChangedFileIsReloadedOnce) {
  ASSERT_TRUE(load(TreeFile().build(), true));
  tessarinePDLibType* held = get({{0, 0}, {2, 0}});
  TuningFile next = TreeFile();
  next.modules.clear();
  next.objects.clear();
  for (const int32_t id : {kRoot, kB}) AddNumberedPd(next, static_cast<uint32_t>(id), 100 + id);
  WriteFile(path(), next.build());
  EXPECT_EQ(at({{0, 0}, {2, 0}}), kA);  // in memory: nobody looks at the file
  EXPECT_EQ(at({{0, 0}, {2, 0}, {3, 1}}), 100 + kB);
  EXPECT_EQ(at({{0, 0}, {2, 0}}), 100 + kRoot);
  EXPECT_EQ(held->enableFocusMaps, kA);  // still readable
  held->Release();
  EXPECT_FALSE(logged("Attempt to release"));

  // What can't be loaded leaves the old data in force.
  const auto expectRefused = [&](const char* ofLoad, const char* ofReload) {
    for (const bool bufferMode : {false, true}) {
      EXPECT_FALSE(manager->ReloadBinaryParameters(bufferMode));
      EXPECT_EQ(error(), bufferMode ? ofReload : ofLoad);
      EXPECT_STREQ(manager->GetBinaryTag(), "test");
      EXPECT_EQ(manager->GetFileVersion(), (VersionUnion{5, 0, 0}));
      EXPECT_EQ(at({{0, 0}, {2, 0}, {3, 1}}), 100 + kB);
    }
  };
  Bytes broken = next.build();
  broken[200] ^= 1;
  WriteFile(path(), broken);
  EXPECT_EQ(at({{0, 0}, {2, 0}, {3, 1}, {5, 4}}), 100 + kB);
  expectRefused("Binary file CRC validation failed",
                "ReloadBinaryParameters: File CRC check failed");
  std::filesystem::remove(path());
  expectRefused("Failed to load binary file", "ReloadBinaryParameters: Failed to open file");
  WriteFile(path(), TreeFile().build());
  EXPECT_TRUE(manager->ReloadBinaryParameters(true));
  EXPECT_FALSE(manager->IsFileMode());
  EXPECT_EQ(at({{0, 0}, {2, 0}, {3, 1}, {5, 4}}), kC);
  EXPECT_FALSE(manager->ReloadBinaryParameters(true));
  EXPECT_EQ(error(), "ReloadBinaryParameters called with empty file name");
}

TEST_F(Modes, AnUpdateKeepsOldRecordsReadable) {
  for (const bool fileMode : {false, true}) {
    TuningFile file = TreeFile();
    PdSource shared(1, 7000);
    const size_t first = AddPd(file, shared, kG);
    file.modules[7].duplicateOf = static_cast<uint32_t>(first + 1);  // kH shares kG's
    ASSERT_TRUE(load(file.build(), fileMode));
    tessarinePDLibType* held = get({{0, 0}, {2, 0}});
    const std::string before = Describe(*held);
    for (int32_t round = 1; round <= 3; ++round) {
      TuningFile next = file;
      for (TuningFile::Module& module : next.modules) {
        // The focus map switch is the last word but two.
        if (!module.data.empty())
          module.data[module.data.size() - 12] += static_cast<uint8_t>(round * 16);
      }
      const Bytes bytes = next.build();
      ASSERT_TRUE(manager->UpdateBinaryParameters(bytes.data(), bytes.size())) << error();
      EXPECT_EQ(Describe(*held), before);
      EXPECT_EQ(at({{0, 0}, {2, 0}}), static_cast<int32_t>(kA) + 16 * round);
      EXPECT_EQ(at({{0, 0}, {2, 0}, {3, 1}, {5, 4}}), static_cast<int32_t>(kC) + 16 * round);
      EXPECT_EQ(get({{0, 0}, {2, 3}}), get({{0, 0}, {2, 3}, {3, 1}}));
      EXPECT_EQ(get({{0, 0}, {2, 3}})->enableFocusMaps,
                (shared.record().enableFocusMaps & ~0xFF) |
                    ((shared.record().enableFocusMaps + 16 * round) & 0xFF));
      ASSERT_TRUE(manager->SetValue("0.0|2.0", "tessarinePDLib", "enableFocusMaps", "5"));
      EXPECT_EQ(at({{0, 0}, {2, 0}}), 5);
    }
    EXPECT_FALSE(manager->UpdateBinaryParameters("x", 1));
    EXPECT_EQ(error(), "UpdateBinaryParameters failed to load parameters");
    EXPECT_EQ(at({{0, 0}, {2, 0}}), 5);
    manager->FreeReplacedParameters();
    EXPECT_EQ(at({{0, 0}, {2, 0}}), 5);
    manager->FreeBinaryParameters();
    EXPECT_EQ(get({{0, 0}}), nullptr);
  }
}

// What a client holds of the data before an update stays its own; what it gets afterwards is of the
// manager that it asked, and the source has nothing of it any more.
TEST_F(Modes, AnUpdateMovesTheInstances) {
  ASSERT_TRUE(load(TreeFile().build(), false));
  TuningSetManager source;
  const Bytes bytes = TreeFile().build();
  ASSERT_TRUE(source.LoadBinaryParameters(bytes.data(), bytes.size()));
  const TuningMode branch[] = {{0, 0}, {2, 0}};
  ParameterModule* held = manager->GetModule("tessarinePDLib", branch, 2, nullptr);
  DefaultModule* left = source.FindDefaultModule("PDLib");
  EXPECT_NE(left->Find(1), nullptr);
  ASSERT_TRUE(manager->UpdateParameters(source));
  for (uint32_t symbol = 0; symbol <= kBelowD + 1; ++symbol)
    EXPECT_EQ(left->Find(symbol), nullptr) << symbol;
  EXPECT_EQ(left->GetInstances().First(), nullptr);

  ParameterModule* current = manager->GetModule("tessarinePDLib", branch, 2, nullptr);
  EXPECT_EQ(current->GetData()->setManager, manager.get());
  EXPECT_EQ(current->GetData()->mode, manager->GetModeEntry(kA));
  EXPECT_TRUE(held->IsRetired() && !current->IsRetired());
  EXPECT_TRUE(held->SetValue("enableFocusMaps", "77"));
  char text[16];
  EXPECT_TRUE(held->GetValue("enableFocusMaps", text, sizeof(text)));
  EXPECT_STREQ(text, "77");
  EXPECT_EQ(at({{0, 0}, {2, 0}}), kA);
  for (ParameterModule* module : {held, current}) {
    EXPECT_TRUE(module->HasClients());
    module->Release();
    EXPECT_FALSE(module->HasClients());
  }
}

TEST_F(Modes, AnUpdateNeedsAValidLoad) {
  TuningSetManager unloaded;
  ASSERT_TRUE(load(TreeFile().build(), false));
  EXPECT_FALSE(manager->UpdateParameters(unloaded) || unloaded.UpdateParameters(*manager));
  EXPECT_EQ(at({{0, 0}, {2, 0}}), kA);
  renew();
  EXPECT_FALSE(manager->LoadBinaryParameters("x", 1));
  const Bytes bytes = TreeFile().build();
  EXPECT_FALSE(manager->UpdateBinaryParameters(bytes.data(), bytes.size()));
  EXPECT_EQ(error(), "UpdateBinaryParameters failed, original parameter load is invalid");
  EXPECT_EQ(get({{0, 0}}), nullptr);
}

// Lists: what is stored, in the forms that a tool reads.
TEST_F(Modes, TextsOfBranches) {
  ASSERT_TRUE(load(TreeFile().build(), false));
  char text[512];
  using Rows = std::vector<std::pair<const char*, const char*>>;
  for (const auto& [names, expected] :
       Rows{{"Default|Usecase.Snapshot|feature1.adrc", "0.0|2.1|3.2"},
            {"0.0|Usecase.7|Scene.BestShot|6.11", "0.0|2.7|5.20|6.11"},
            {"Nothing.Snapshot|Usecase.Nothing|Usecase.Snap", "0.0|2.0|2.0"}}) {
    EXPECT_TRUE(manager->GetModeShorthand(names, text, sizeof(text)));
    EXPECT_STREQ(text, expected);
  }
  EXPECT_FALSE(manager->GetModeShorthand("Usecase.Snapshot", text, 3));
  for (const auto& [paths, expected] :
       Rows{{"0.0|2.1|3.2;0.0|6.0", "Default|Usecase.Snapshot|Feature1.ADRC;Default|Effect.None"},
            {"0.0|1.3|9.9|2.8", "Default|Sensor.3|9.9|Usecase.8"}}) {
    EXPECT_TRUE(ParameterSetManager::GetRondelModesString(paths, text, sizeof(text)));
    EXPECT_STREQ(text, expected);
  }
  for (const auto& [path, expected] : Rows{{"0.0|2.1|3.2", "0.0|2.1|3.2"},
                                           {"0|2", "0.0|2.0"},
                                           {"Default|Scene.AR", "0.0|5.17"},
                                           {"Default.0", "0.0"},
                                           {"0.0|4294967295.1", "0.0|4294967295.1"},
                                           {"0.0|2.1|", "0.0|2.1"}}) {
    PList<TuningMode> list;
    ASSERT_TRUE(ParameterSetManager::GetModeBranchFromPath(path, list)) << path;
    ParameterSetManager::GetPathFromModeBranch(&list[0], list.Count(), text, sizeof(text));
    EXPECT_STREQ(text, expected);
  }
  PList<TuningMode> none;
  for (const char* path : {"", "0.0|2.x", "0.0|2.65536", "0.0|2.", "0.0|4294967296.1", "0.0|-1.1",
                           "0.0||2.1", "0.0|12345678901.1", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(ParameterSetManager::GetModeBranchFromPath(path, none))
        << (path == nullptr ? "null" : path);
  const uint32_t length = manager->GetChildModes("Default", text, sizeof(text));
  EXPECT_EQ(length, std::strlen(text) + 1);
  EXPECT_STREQ(text, "Usecase.Preview,Usecase.Snapshot,Usecase.ZSL,Usecase.Liveshot,Sensor.5");
  manager->GetChildModes("0.0|Usecase.Liveshot", text, sizeof(text));
  EXPECT_STREQ(text, "Feature1.ISPHDR");  // of the target of its link
  EXPECT_EQ(manager->GetChildModes("0.0", text, 20), 0u);
  EXPECT_EQ(manager->GetModeEntry("0.0|2.0|3.1")->GetID(), kB);
}

TEST_F(Modes, ControlsAndTriggersAreSortedLists) {
  renew();
  char text[64];
  EXPECT_TRUE(manager->SetControlValues("9=1.5,2=-7,9=2.5"));
  manager->SetControlValue(ParameterCTValue(5, 3));
  manager->SetTriggerValue(ParameterCTValue(1, 0.25f));
  ASSERT_TRUE(manager->GetControlValues(text, sizeof(text)));
  EXPECT_STREQ(text, "2=-7,5=3,9=2.500000");
  EXPECT_FALSE(manager->GetControlValues(text, 10));
  EXPECT_STREQ(text, "2=-7,5=3");  // what fitted
  ASSERT_TRUE(manager->GetTriggerValues(text, sizeof(text)));
  EXPECT_STREQ(text, "1=0.250000");
  for (const char* bad : {"1", "=1", "1=", "x=1", "1234567890=1", "1=2=3", "1=1e5"})
    EXPECT_FALSE(manager->SetControlValues(bad)) << bad;
  ParameterCTValue value;
  EXPECT_FALSE(manager->GetControlValue(2, value));  // each text replaces the list
  EXPECT_TRUE(manager->SetControlValues("3=9223372036854775807"));
  ASSERT_TRUE(manager->GetControlValue(3, value));
  EXPECT_EQ(value.GetInteger(), INT64_MAX);
}

// Every name of the family makes a class and a module that can be had.
TEST_F(Modes, ACompleteFileLoadsCleanly) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  PdSource pd(1);
  const auto addRaw = [&](const std::string& name) {
    char type[ModuleData::kMaxType + 1];
    ModuleData::GetType(type, name.c_str());
    file.modules.push_back({type, {1, 2, 3}, 0, Bytes(name.begin(), name.end())});
  };
#define ADD_RAW(name) addRaw(#name);
#define ADD_TYPED(name, root) AddPd(file, pd, 0);
  TUNING_SET_MODULES(ADD_RAW, ADD_TYPED)
  EXPECT_EQ(file.modules.size(), 269u);
  const TuningMode root{0, 0};
  const auto checkRaw = [](const std::string& name, const tuning::RawModuleType* raw) {
    ASSERT_NE(raw, nullptr) << name;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(raw->rawData), raw->rawSize), name);
  };
  for (const bool fileMode : {false, true}) {
    ASSERT_TRUE(load(file.build(), fileMode)) << error();
#define CHECK_RAW(name) checkRaw(#name, manager->GetModule_##name(&root, 1, nullptr));
#define CHECK_TYPED(name, root_) EXPECT_NE(get({{0, 0}}), nullptr);
    TUNING_SET_MODULES(CHECK_RAW, CHECK_TYPED)
  }
  TuningFile missing;
  missing.modes = {{0, 0, 0, 0}};
  missing.modules.push_back({"NoSuchModule", {1, 0, 0}, 0, {1, 2, 3, 4}});
  AddPd(missing, pd, 0);
  EXPECT_FALSE(load(missing.build(), false));
  EXPECT_EQ(
      error(),
      "Failed to find header module:  Type: NoSuchModule, Major: 1, Minor: 0, Patch: 0, Mode: 0");
  EXPECT_NE(get({{0, 0}}), nullptr);  // all other modules are there
}

}  // namespace
}  // namespace test

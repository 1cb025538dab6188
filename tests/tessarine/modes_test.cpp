// Names of modes, the tree, and which module a branch gets.
#include "modes.h"

#include <map>

#include "sources.h"

namespace {

using namespace tessarine;

TEST(TessarineModes, AreNumbersAsWellAsNames) {
  struct Case {
    const char* text;
    ModeKey key;
    const char* name;  // as it is written
  };
  const Case cases[] = {{"Default", {0, 0}, "Default"},
                        {"Default.0", {0, 0}, "Default"},
                        {"0.0", {0, 0}, "Default"},
                        {"0", {0, 0}, "Default"},
                        {"Sensor.12", {1, 12}, "Sensor.12"},
                        {"usecase.VIDEO", {2, 2}, "Usecase.Video"},
                        {"Usecase", {2, 0}, "Usecase.Preview"},
                        {"2.7", {2, 7}, "Usecase.IdealRawReprocess"},
                        {"Usecase.8", {2, 8}, "Usecase.8"},
                        {"Scene.BestShot", {5, 20}, "Scene.BestShot"},
                        {"Effect.Whiteboard", {6, 11}, "Effect.Whiteboard"},
                        {"7.65535", {7, 65535}, "7.65535"}};
  for (const Case& c : cases) {
    ASSERT_TRUE(ParseMode(c.text)) << c.text;
    EXPECT_EQ(*ParseMode(c.text), c.key) << c.text;
    EXPECT_EQ(ToText(c.key), c.name);
  }
  for (const char* text :
       {"", "Usecase.Vide", "Usecases", "2.", ".2", "2.1.1", "70000", "-1", "1 "})
    EXPECT_FALSE(ParseMode(text)) << text;
  EXPECT_EQ(ToText(*ParseBranch("0.0|2.1|Feature1.ADRC")),
            "Default|Usecase.Snapshot|Feature1.ADRC");
  for (const char* text : {"", "Default|", "|Default", "Default||2.1"})
    EXPECT_FALSE(ParseBranch(text)) << text;
}

// Each mode holds a module whose data is its name's last letter; "v" is in Default alone.
constexpr const char* kTree = R"({"modes": [
  {"mode": "Default", "modules": {"m": {"version": "1.0.0", "hex": "0d"}, "v": {"version": "1.0.0", "hex": "ff"}},
   "modes": [
     {"mode": "Usecase.Preview", "modules": {"m": {"version": "1.0.0", "hex": "01"}},
      "modes": [{"mode": "Usecase.Snapshot", "modules": {"m": {"version": "1.0.0", "hex": "02"}},
                 "modes": [{"mode": "Feature1.ADRC", "modules": {"m": {"version": "1.0.0", "hex": "03"}}}]},
                {"mode": "Scene.Night"}]},
     {"mode": "Usecase.Video",
      "modes": [{"mode": "Scene.Night", "modules": {"m": {"version": "1.0.0", "hex": "04"}}},
                {"mode": "Usecase.Video", "modules": {"m": {"version": "1.0.0", "hex": "05"}}}]},
     {"mode": "Usecase.ZSL", "link": "Default|Usecase.Preview"}]}]})";

TEST(TessarineModes, GiveABranchTheDeepestModuleOfEachName) {
  const Model model = test::FromSource(kTree);
  const ModeTree tree(model);
  struct Case {
    const char* branch;
    uint8_t data;      // of "m"
    const char* from;  // the mode that it comes from
  };
  const Case cases[] = {
      {"Default", 0x0d, "Default"},
      // A group of one key, and one of two that needs two nested modes; the keys' order is free.
      {"Default|Usecase.Preview", 0x01, "Default|Usecase.Preview"},
      {"Default|Usecase.Preview|Usecase.Snapshot", 0x02,
       "Default|Usecase.Preview|Usecase.Snapshot"},
      {"Default|Usecase.Snapshot|Usecase.Preview", 0x02,
       "Default|Usecase.Preview|Usecase.Snapshot"},
      {"Default|Usecase.Preview|Usecase.Liveshot", 0x0d, "Default"},
      {"Default|Usecase.Snapshot", 0x0d, "Default"},
      {"Default|Usecase.Preview|Usecase.Snapshot|Feature1.ADRC", 0x03,
       "Default|Usecase.Preview|Usecase.Snapshot|Feature1.ADRC"},
      // A mode without the module inherits; one that is not there ends the walk.
      {"Default|Usecase.Preview|Scene.Night", 0x01, "Default|Usecase.Preview"},
      {"Default|Usecase.Preview|Scene.Snow|Feature1.ADRC", 0x01, "Default|Usecase.Preview"},
      // A mode with its parent's key is its parent.
      {"Default|Usecase.Video", 0x05, "Default|Usecase.Video"},
      {"Default|Usecase.Video|Scene.Night", 0x04, "Default|Usecase.Video|Scene.Night"},
      // A link borrows modules and children.
      {"Default|Usecase.ZSL", 0x01, "Default|Usecase.Preview"},
      {"Default|Usecase.ZSL|Scene.Night", 0x01, "Default|Usecase.Preview"},
      {"Default|Usecase.ZSL|Usecase.Snapshot", 0x02, "Default|Usecase.Preview|Usecase.Snapshot"},
      // The first step is the root, whatever it says.
      {"Scene.Snow|Usecase.Preview", 0x01, "Default|Usecase.Preview"}};
  for (const Case& c : cases) {
    std::map<std::string, ModeTree::Found> found;
    for (const ModeTree::Found& module : tree.InForce(*ParseBranch(c.branch)))
      EXPECT_TRUE(found.emplace(module.module->type, module).second);
    ASSERT_EQ(found.size(), 2u) << c.branch;
    EXPECT_EQ(found.at("m").module->raw, Bytes{c.data}) << c.branch;
    EXPECT_EQ(ToText(tree.PathOf(found.at("m").node)), c.from) << c.branch;
    EXPECT_EQ(ToText(tree.PathOf(found.at("v").node)), "Default") << c.branch;
  }
}

TEST(TessarineModes, AreMadeATreeOf) {
  // Parents 1 -> 2 -> 3 -> 1, links 4 -> 5 -> 4, 6 -> 6 and 9 -> 11 -> 9, where 11 is 10 once more,
  // a parent and a link that are not there.
  std::vector<Mode> modes(12);
  for (uint32_t id = 0; id < modes.size(); ++id) {
    modes[id].id = id;
    modes[id].key = {2, static_cast<uint16_t>(id)};
  }
  modes[0].key = {};
  modes[0].parent = 7;  // the root's doesn't count
  modes[1].parent = 2;
  modes[2].parent = 3;
  modes[3].parent = 1;
  modes[4].link = 5;
  modes[5].link = 4;
  modes[6].link = 6;
  modes[7].parent = 40;
  modes[8].link = 40;
  modes[9].link = 11;
  modes[10].link = 9;
  modes[11].parent = 10;
  modes[11].key = modes[10].key;
  const std::string defects = test::Joined(MendModes(modes));
  EXPECT_EQ(std::count(defects.begin(), defects.end(), '\n'), 6) << defects;
  for (const char* defect :
       {"mode 7 Usecase.IdealRawReprocess: its parent 40 is not there",
        "mode 8 Usecase.8: its link 40 is not there", "its parents form a cycle",
        "mode 5 Usecase.SnapshotReprocess: its links form a cycle",
        "mode 6 Usecase.IDEALRAW: its links form a cycle",
        "mode 10 Usecase.10: its links form a cycle"})
    EXPECT_NE(defects.find(defect), std::string::npos) << defects;
  Model model;
  model.modes = modes;
  const ModeTree tree(model);  // ends
  EXPECT_EQ(tree.Nodes().size(), 11u);
  EXPECT_TRUE(tree.InForce(*ParseBranch("Default|Usecase.Liveshot")).empty());
}

}  // namespace

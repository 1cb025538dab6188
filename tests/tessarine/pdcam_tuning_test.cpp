// The tuning that comes with the tool gives each simulated sensor what the simulated camera passes.
#include "files.h"
#include "library_records.h"
#include "sources.h"
#include "support/pd_tuning.h"
#include "support/temp_folder.h"
#include "tuningsetmanager.h"

namespace {

using namespace tessarine;

// The mode that is named after a sensor.
const Mode* ModeOf(const Model& model, const std::string& sensor) {
  for (const Mode& mode : model.modes)
    if (mode.label == sensor) return &mode;
  return nullptr;
}

struct Layout {
  const char* format;
  bool isWide = false;  // entries of the symbol table, where fields stand at multiples of 8 bytes
  bool hasDataTable = true;
};
constexpr Layout kLayouts[] = {
    {"1.0.2"}, {"2.0.0"}, {"2.0.0", true},         {"3.0.0"}, {"3.0.0", true},
    {"3.0.1"}, {"4.0.0"}, {"4.0.0", false, false}, {"5.0.0"}, {"5.0.0", false, false}};

// What the library has loaded is what the camera makes of its own description.
void ExpectSensors(TuningSetManager& manager, const Model& source) {
  afpdlibelements::tessarinePDLibType* found = nullptr;
  for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors()) {
    const simcam::SensorDescription sensor = simcam::LoadSensor(embedded.name);
    const simcam::TuningRecord record(sensor.tuning, sensor.HasVerticalViews());
    const Mode* mode = ModeOf(source, embedded.name);
    ASSERT_NE(mode, nullptr) << embedded.name;
    EXPECT_EQ(mode->key.subMode, sensor.tuningMode) << embedded.name;
    const TuningMode branch[] = {{0, 0}, {mode->key.mode, mode->key.subMode}};
    found = manager.GetModule_tessarinePDLib(branch, 2, found);
    ASSERT_NE(found, nullptr) << embedded.name;
    EXPECT_EQ(test::NumberOf(*found), test::NumberOf(record.Get()))
        << embedded.name << "\n"
        << test::DescribeSet(*found) << test::DescribeSet(record.Get());
  }
  found->Release();
}

TEST(PdcamTuning, GivesEachSensorInEveryLayoutWhatTheSimulatedCameraPasses) {
  const std::string text = LoadText(TESSARINE_TUNING);
  const test::TempFolder folder;
  const std::string path = (folder.path() / "tuning.bin").string();
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(testing::Message() << layout.format << layout.isWide << layout.hasDataTable);
    Model source = test::FromSource(text, layout.format);
    source.hasWideSymbols = layout.isWide;
    source.hasDataTable = layout.hasDataTable;
    const Bytes bytes = WriteFile(source);
    SaveBytes(path, bytes);
    for (const bool isFile : {false, true}) {
      TuningSetManager manager;
      ASSERT_TRUE(isFile ? manager.LoadBinaryParameters(path.c_str())
                         : manager.LoadBinaryParameters(bytes.data(), bytes.size()));
      EXPECT_EQ(manager.IsFileMode(), isFile);
      ExpectSensors(manager, source);
    }
  }
}

TEST(PdcamTuning, TellsTheSimulatedCameraItsChoices) {
  for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors()) {
    const simcam::SensorDescription sensor = simcam::LoadSensor(embedded.name);
    simcam::TuningChoices choices = sensor.tuning;
    choices.bandPass = true;
    choices.gridOverlap = false;
    choices.adaptive = {true, 61, 3, 4, 5, 62, 101, 102, 4.5, 1.25, 1.5, 0.5};
    const bool isVertical = sensor.HasVerticalViews();
    const simcam::TuningRecord passed(choices, isVertical);
    const simcam::TuningRecord again(simcam::ChoicesOf(passed.Get()), isVertical);
    EXPECT_EQ(test::NumberOf(again.Get()), test::NumberOf(passed.Get())) << embedded.name;
  }
}

}  // namespace

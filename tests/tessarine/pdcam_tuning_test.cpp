// The tuning that comes with the tool gives each simulated sensor what the simulated camera passes.
#include <bit>
#include <tuple>
#include <type_traits>

#include "files.h"
#include "leaves.h"
#include "library_records.h"
#include "record_tables.h"
#include "sources.h"

namespace {

using namespace tessarine;

// A record of the library as a value, walked by the tables beside the records.
Value ToValue(int32_t number) {
  return Value{std::bit_cast<uint32_t>(number), {}, {}};
}
Value ToValue(float number) {
  return Value{std::bit_cast<uint32_t>(number), {}, {}};
}
Value ToValue(char* text) {
  return Value{0, text == nullptr ? "" : text, {}};
}
template <class Enum>
requires std::is_enum_v<Enum> Value ToValue(Enum number) {
  return Value{static_cast<uint32_t>(number), {}, {}};
}

template <class Record>
requires std::is_class_v<Record> Value ToValue(const Record& record);

template <class Element>
Value ListValue(const Element* elements, size_t count) {
  Value list;
  for (size_t i = 0; i < count; ++i) list.parts.push_back(ToValue(elements[i]));
  return list;
}
template <class Record, class Member>
Value FieldValue(const Record& record, const tuning::Field<Record, Member>& field) {
  if constexpr (std::is_array_v<Member>)
    return ListValue(record.*field.member, std::extent_v<Member>);
  else
    return ToValue(record.*field.member);
}
template <class Record, class Member>
Value FieldValue(const Record& record, const tuning::EnumField<Record, Member>& field) {
  return ToValue(record.*field.member);
}
template <class Record, class Element>
Value FieldValue(const Record& record, const tuning::ArrayField<Record, Element>& field) {
  return ListValue(record.*field.elements, record.*field.count);
}
template <class Record>
requires std::is_class_v<Record> Value ToValue(const Record& record) {
  Value value;
  std::apply(
      [&](const auto&... fields) { (value.parts.push_back(FieldValue(record, fields)), ...); },
      TableOf<Record>::kFields);
  return value;
}

// The mode that is named after a sensor.
const Mode* ModeOf(const Model& model, const std::string& sensor) {
  for (const Mode& mode : model.modes)
    if (mode.label == sensor) return &mode;
  return nullptr;
}

TEST(PdcamTuning, GivesEachSensorWhatTheSimulatedCameraPasses) {
  const Model source = ReadSource(LoadText(TESSARINE_TUNING), TESSARINE_TUNING);
  const Model file = test::FromFile(WriteFile(source));
  const ModeTree tree(file);
  for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors()) {
    const simcam::SensorDescription sensor = simcam::LoadSensor(embedded.name);
    const simcam::TuningRecord record(sensor.tuning, sensor.HasVerticalViews());
    const Mode* mode = ModeOf(source, embedded.name);
    ASSERT_NE(mode, nullptr) << embedded.name;
    EXPECT_EQ(mode->key.subMode, sensor.tuningMode) << embedded.name;
    const auto inForce = tree.InForce({ModeKey{}, mode->key});
    ASSERT_EQ(inForce.size(), 1u);
    Module passed = *inForce[0].module;
    passed.value = ToValue(record.Get());
    const std::vector<Leaf> expected = LeavesOf(passed);
    const std::vector<Leaf> found = LeavesOf(*inForce[0].module);
    ASSERT_EQ(found.size(), expected.size()) << embedded.name;
    for (size_t i = 0; i < found.size(); ++i) {
      EXPECT_EQ(found[i].path, expected[i].path) << embedded.name;
      EXPECT_EQ(found[i].value, expected[i].value) << embedded.name << " " << found[i].path;
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
    EXPECT_EQ(ToValue(again.Get()), ToValue(passed.Get())) << embedded.name;
  }
}

}  // namespace

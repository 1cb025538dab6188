// Sensor description files: reading and checking.
#include "sensor_json.h"

#include <fstream>
#include <limits>
#include <sstream>

#include "common/nearest_name.h"
#include "errors.h"
#include "sensor_fields.h"

namespace simcam {
namespace {

constexpr int kLargestGainMap = 475;  // entries of the record
constexpr int kLargestDccMap = 200;

bool Applies(const SensorField& field, const SensorDescription& sensor) {
  const bool isDual = sensor.sensorType >= kFirstDualType;
  switch (field.of) {
    case FieldOf::kAll: return true;
    case FieldOf::kSparse: return !isDual;
    case FieldOf::kDual: return isDual;
    case FieldOf::kSecondIsp: return !isDual && sensor.HasTwoProcessors();
  }
  return false;
}

// Reads a field of an object into its place.
class Reader {
 public:
  Reader(JsonNode& node, const SensorField& field)
      : node_(node), field_(field), name_(field.Name()) {}

  void operator()(std::monostate) const {}  // an object, read field by field
  void operator()(int* value) const {
    if (field_.choices.empty())
      *value = node_.Integer(name_, Low(), High());
    else
      *value = OneOf(field_.choices);
  }
  void operator()(double* value) const { *value = node_.Real(name_, field_.low, field_.high); }
  void operator()(std::string* value) const { *value = node_.String(name_); }
  void operator()(IntegerPair pair) const {
    node_.Pair(name_, Low(), High(), *pair.first, *pair.second);
  }
  void operator()(Pattern* pattern) const { pattern->pixels = ReadPixels(node_, name_, *pattern); }
  void operator()(bool* value) const {
    *value = field_.words.empty() ? node_.Boolean(name_) : node_.Word(name_, field_.words) == 1;
  }
  template <class Enumeration>
  void operator()(Enumeration* value) const {
    *value = static_cast<Enumeration>(node_.Word(name_, field_.words));
  }

 private:
  int Low() const { return static_cast<int>(field_.low); }
  int High() const { return static_cast<int>(field_.high); }

  int OneOf(const std::vector<int>& choices) const {
    const int value =
        node_.Integer(name_, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    std::string names;
    for (int choice : choices) {
      if (choice == value) return value;
      names += (names.empty() ? "" : ", ") + std::to_string(choice);
    }
    node_.Fail(name_, "expected one of " + names + ", found " + std::to_string(value));
  }

  JsonNode& node_;
  const SensorField& field_;
  std::string name_;
};

// Reads the fields of the object at this path, and those of the objects in it.
void ReadObject(JsonNode node, const std::string& path, SensorDescription& sensor) {
  for (const SensorField& field : SensorFields()) {
    if (field.Parent() != path || !Applies(field, sensor)) continue;
    if (!node.Has(field.Name()) && !field.isRequired) continue;
    if (field.IsObject()) {
      JsonNode object = node.Object(field.Name());
      field.target(sensor);
      ReadObject(object, field.path, sensor);
    } else {
      std::visit(Reader(node, field), field.target(sensor));
    }
  }
  node.OnlyKnownFields();
}

// Works out what was not told.
void Complete(const Json& json, SensorDescription& sensor) {
  if (!json.contains("white_level"))
    sensor.whiteLevel = sensor.blackLevel + (sensor.MaxCode() - sensor.blackLevel) * 3 / 4;
  if (sensor.IsDual()) CompleteDual(sensor);
}

void CheckLevels(const JsonNode& root, const SensorDescription& sensor) {
  const auto expect = [&](const char* field, int value, int low, int high) {
    if (value < low || value > high)
      root.Fail(field, "expected an integer from " + std::to_string(low) + " to " +
                           std::to_string(high) + ", found " + std::to_string(value));
  };
  expect("black_level", sensor.blackLevel, 0, sensor.MaxCode() / 2);
  expect("white_level", sensor.whiteLevel, sensor.blackLevel + 1, sensor.MaxCode());
}

void CheckCalibration(const JsonNode& root, const CalibrationLayout& layout) {
  if (layout.gainMapWidth * layout.gainMapHeight > kLargestGainMap)
    root.Fail("calibration.gain_map",
              "expected at most " + std::to_string(kLargestGainMap) + " entries");
  if (layout.dccMapWidth * layout.dccMapHeight > kLargestDccMap)
    root.Fail("calibration.dcc_map",
              "expected at most " + std::to_string(kLargestDccMap) + " entries");
}

void CheckRanges(const JsonNode& root, const SensorDescription& sensor) {
  if (sensor.lens.travelFrom >= sensor.lens.travelTo)
    root.Fail("lens.travel", "expected the first code below the second");
  if (sensor.tuning.searchFrom >= sensor.tuning.searchTo)
    root.Fail("tuning.search_range", "expected the first shift below the second");
}

void CheckCoefficient(const JsonNode& root, const SensorDescription& sensor) {
  const double coefficient = sensor.lens.codesPerPx * (1 << sensor.FractionBits());
  if (coefficient < 1 || coefficient > std::numeric_limits<int16_t>::max())
    root.Fail("lens.codes_per_px", "expected a value that fits the calibration's 16 bits with " +
                                       std::to_string(sensor.FractionBits()) + " fractional bits");
}

SensorDescription Read(const JsonFile& file) {
  const JsonNode root(file);
  SensorDescription sensor;
  ReadObject(root, "", sensor);
  Complete(file.json, sensor);
  CheckLevels(root, sensor);
  CheckCalibration(root, sensor.calibration);
  CheckRanges(root, sensor);
  (sensor.IsDual() ? CheckDual : CheckSparse)(root, sensor);
  CheckCoefficient(root, sensor);
  return sensor;
}

std::string KnownSensors() {
  std::string names;
  for (const EmbeddedSensor& sensor : EmbeddedSensors())
    names += (names.empty() ? "" : ", ") + std::string(sensor.name);
  return names;
}

}  // namespace

SensorDescription ParseSensor(const std::string& json, const std::string& file) {
  return Read(ReadJson(json, file));
}

SensorDescription LoadSensor(const std::string& nameOrPath) {
  for (const EmbeddedSensor& sensor : EmbeddedSensors())
    if (nameOrPath == sensor.name) return ParseSensor(sensor.json, nameOrPath + ".json");
  if (nameOrPath.find_first_of("./") == std::string::npos)
    throw InputError("sensor '" + nameOrPath + "': expected one of " + KnownSensors() +
                     ", or the path of a JSON file" + tool::DidYouMean(nameOrPath, SensorNames()));
  std::ifstream file(nameOrPath, std::ios::binary);
  std::ostringstream content;
  if (!file || !(content << file.rdbuf()))
    throw InputError(nameOrPath + ": expected a readable JSON file");
  return ParseSensor(content.str(), nameOrPath);
}

}  // namespace simcam

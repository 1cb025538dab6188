// Sensor description files: reading and checking.
#include "sensor_json.h"

#include <fstream>
#include <initializer_list>
#include <limits>
#include <sstream>

#include "common/nearest_name.h"
#include "errors.h"

namespace simcam {
namespace {

constexpr int kLargestGainMap = 475;
constexpr int kLargestDccMap = 200;

CalibrationLayout ReadCalibration(JsonNode node) {
  CalibrationLayout layout;
  node.Integer("version", 0, 0xffff, layout.version);
  if (node.Has("gain_map"))
    node.Pair("gain_map", 2, kLargestGainMap, layout.gainMapWidth, layout.gainMapHeight);
  if (layout.gainMapWidth * layout.gainMapHeight > kLargestGainMap)
    node.Fail("gain_map", "expected at most " + std::to_string(kLargestGainMap) + " entries");
  if (node.Has("dcc_map"))
    node.Pair("dcc_map", 1, kLargestDccMap, layout.dccMapWidth, layout.dccMapHeight);
  if (layout.dccMapWidth * layout.dccMapHeight > kLargestDccMap)
    node.Fail("dcc_map", "expected at most " + std::to_string(kLargestDccMap) + " entries");
  node.Integer("q_factor", 0, 14, layout.qFactor);
  node.OnlyKnownFields();
  return layout;
}

LensDescription ReadLens(JsonNode node) {
  LensDescription lens;
  if (node.Has("travel")) node.Pair("travel", -32768, 32767, lens.travelFrom, lens.travelTo);
  if (lens.travelFrom >= lens.travelTo)
    node.Fail("travel", "expected the first code below the second");
  node.Real("codes_per_px", 0.1, 1000, lens.codesPerPx);
  node.Real("microns_per_code", 0.001, 1000, lens.micronsPerCode);
  node.Real("codes_per_ms", 0.1, 100000, lens.codesPerMs);
  node.Real("settling_ms", 0, 1000, lens.settlingMs);
  node.Real("hysteresis_codes", 0, 1000, lens.hysteresisCodes);
  node.OnlyKnownFields();
  return lens;
}

void ExpectOneOf(JsonNode& node, const std::string& field, int value,
                 std::initializer_list<int> set) {
  std::string names;
  for (int known : set) {
    if (known == value) return;
    names += (names.empty() ? "" : ", ") + std::to_string(known);
  }
  node.Fail(field, "expected one of " + names + ", found " + std::to_string(value));
}

TuningChoices ReadTuning(JsonNode node) {
  TuningChoices tuning;
  if (node.Has("search_range"))
    node.Pair("search_range", -1000, 1000, tuning.searchFrom, tuning.searchTo);
  if (tuning.searchFrom >= tuning.searchTo)
    node.Fail("search_range", "expected the first shift below the second");
  node.Integer("box_filter_length", 0, 4, tuning.boxFilterLength);
  ExpectOneOf(node, "box_filter_length", tuning.boxFilterLength, {0, 2, 4});
  node.Integer("anti_alias_filter_threshold", 0, 1023, tuning.antiAliasFilterThreshold);
  node.Integer("vertical_binning", 1, 16, tuning.verticalBinning);
  ExpectOneOf(node, "vertical_binning", tuning.verticalBinning, {1, 2, 4, 8, 16});
  node.Boolean("band_pass", tuning.bandPass);
  node.Boolean("optimized_parsing", tuning.optimizedParsing);
  node.Real("bias_vector_strength", 0, 1, tuning.biasVectorStrength);
  node.Integer("conf_integral_width", 1, 1000, tuning.confIntegralWidth);
  node.Real("range_control", 0, 10, tuning.rangeControl);
  node.Real("minimum_confidence_level", 1, 1000, tuning.minimumConfidenceLevel);
  node.Real("defocus_confidence_threshold", 0, 1023, tuning.defocusConfidenceThreshold);
  node.Real("static_weight", 0, 1, tuning.staticWeight);
  node.Real("dynamic_weight", 0, 1, tuning.dynamicWeight);
  node.Boolean("grid_overlap", tuning.gridOverlap);
  node.Boolean("overlap_sum_by_columns", tuning.overlapSumByColumns);
  node.Boolean("peripheral_windows", tuning.peripheralWindows);
  node.Integer("static_frame_count", 1, 1000000, tuning.staticFrameCount);
  node.Integer("max_frame_rate", 1, 1000, tuning.maxFrameRate);
  node.OnlyKnownFields();
  return tuning;
}

Orientation ReadOrientation(JsonNode& node) {
  return static_cast<Orientation>(
      node.Word("orientation", {"default", "mirror", "flip", "mirror-and-flip"}, 0));
}

void CheckLens(const JsonNode& root, const SensorDescription& sensor) {
  const double coefficient = sensor.lens.codesPerPx * (1 << sensor.FractionBits());
  if (coefficient < 1 || coefficient > std::numeric_limits<int16_t>::max())
    root.Fail("lens.codes_per_px", "expected a value that fits the calibration's 16 bits with " +
                                       std::to_string(sensor.FractionBits()) + " fractional bits");
}

constexpr int kFirstDualType = 4;

SensorDescription Read(JsonNode root) {
  SensorDescription sensor;
  sensor.name = root.String("name");
  if (root.Has("about")) sensor.about = root.String("about");
  root.Pair("image", 64, kLargestSide, sensor.imageWidth, sensor.imageHeight);
  sensor.orientation = ReadOrientation(root);
  sensor.sensorType = root.Integer("sensor_type", 1, 5);
  root.Integer("pixel_depth", 8, 14, sensor.pixelDepth);
  root.Integer("black_level", 0, sensor.MaxCode() / 2, sensor.blackLevel);
  sensor.whiteLevel = sensor.blackLevel + (sensor.MaxCode() - sensor.blackLevel) * 3 / 4;
  root.Integer("white_level", sensor.blackLevel + 1, sensor.MaxCode(), sensor.whiteLevel);
  root.Real("pd_offset_correction", -9.99, 9.99, sensor.pdOffsetCorrection);
  const bool isDual = sensor.sensorType >= kFirstDualType;
  (isDual ? ReadDual : ReadSparse)(root, sensor);
  if (root.Has("calibration")) sensor.calibration = ReadCalibration(root.Object("calibration"));
  if (root.Has("lens")) sensor.lens = ReadLens(root.Object("lens"));
  if (root.Has("tuning")) sensor.tuning = ReadTuning(root.Object("tuning"));
  root.Integer("tuning_mode", 0, std::numeric_limits<uint16_t>::max(), sensor.tuningMode);
  root.OnlyKnownFields();
  (isDual ? CheckDual : CheckSparse)(root, sensor);
  CheckLens(root, sensor);
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
  const Json parsed = ParseJson(json, file);
  return Read(JsonNode(parsed, file, ""));
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

// Sensor description files: reading and checking.
#include <fstream>
#include <initializer_list>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "errors.h"
#include "sensor.h"

namespace simcam {
namespace {

using Json = nlohmann::json;

constexpr int kLargestSide = 16384;
constexpr int kLargestPattern = 64;  // PD pixels of a block
constexpr int kLargestGainMap = 475;
constexpr int kLargestDccMap = 200;
constexpr size_t kLargestBuffer = size_t{1} << 29;

std::string Number(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << value;
  return text.str();
}

// One object of the file. Remembers which fields were asked for, so that a misspelt one is an error
// and not a default.
class Node {
 public:
  Node(const Json& json, std::string file, std::string path)
      : json_(json), file_(std::move(file)), path_(std::move(path)) {
    if (!json_.is_object()) Fail("", "expected an object, found " + Text(json_));
  }

  [[noreturn]] void Fail(const std::string& field, const std::string& message) const {
    const std::string name = path_.empty() || field.empty() ? path_ + field : path_ + "." + field;
    throw InputError(file_ + ": field '" + (name.empty() ? "(whole file)" : name) +
                     "': " + message);
  }

  bool Has(const std::string& field) {
    known_.insert(field);
    return json_.contains(field);
  }

  const Json& Get(const std::string& field, const std::string& expected) {
    if (!Has(field)) Fail(field, "expected " + expected + ", found nothing");
    return json_[field];
  }

  int Integer(const std::string& field, int low, int high) {
    const std::string expected =
        "an integer from " + std::to_string(low) + " to " + std::to_string(high);
    const Json& value = Get(field, expected);
    if (!IsInteger(value, low, high))
      Fail(field, "expected " + expected + ", found " + Text(value));
    return value.get<int>();
  }

  void Integer(const std::string& field, int low, int high, int& target) {
    if (Has(field)) target = Integer(field, low, high);
  }

  void Real(const std::string& field, double low, double high, double& target) {
    if (!Has(field)) return;
    const Json& value = json_[field];
    if (!value.is_number() || !(value.get<double>() >= low && value.get<double>() <= high))
      Fail(field, "expected a number from " + Number(low) + " to " + Number(high) + ", found " +
                      Text(value));
    target = value.get<double>();
  }

  void Boolean(const std::string& field, bool& target) {
    if (!Has(field)) return;
    if (!json_[field].is_boolean())
      Fail(field, "expected true or false, found " + Text(json_[field]));
    target = json_[field].get<bool>();
  }

  std::string String(const std::string& field) {
    const Json& value = Get(field, "a text");
    if (!value.is_string()) Fail(field, "expected a text, found " + Text(value));
    return value.get<std::string>();
  }

  Node Object(const std::string& field) {
    return Node(Get(field, "an object"), file_, path_.empty() ? field : path_ + "." + field);
  }

  // Two integers, such as a width and a height.
  void Pair(const std::string& field, int low, int high, int& first, int& second) {
    const std::string expected =
        "two integers from " + std::to_string(low) + " to " + std::to_string(high);
    const Json& value = Get(field, expected);
    if (!value.is_array() || value.size() != 2 || !IsInteger(value[0], low, high) ||
        !IsInteger(value[1], low, high))
      Fail(field, "expected " + expected + ", found " + Text(value));
    first = value[0].get<int>();
    second = value[1].get<int>();
  }

  void OnlyKnownFields() const {
    for (const auto& [field, value] : json_.items()) {
      if (known_.count(field) == 0) {
        std::string names;
        for (const std::string& name : known_) names += (names.empty() ? "" : ", ") + name;
        Fail(field, "is not known here; expected one of: " + names);
      }
    }
  }

  static bool IsInteger(const Json& value, int low, int high) {
    if (!value.is_number_integer()) return false;
    const bool isHuge = value.is_number_unsigned() && value.get<uint64_t>() > INT32_MAX;
    return !isHuge && value.get<int64_t>() >= low && value.get<int64_t>() <= high;
  }

  static std::string Text(const Json& value) {
    constexpr size_t kLongest = 60;
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text.size() <= kLongest ? text : text.substr(0, kLongest) + "...";
  }

 private:
  const Json& json_;
  std::string file_;
  std::string path_;
  std::set<std::string> known_;
};

std::vector<PatternPixel> ReadPixels(Node& node, const Pattern& pattern) {
  const std::string expected =
      "an even number of [x, y, type] entries, 2 to " + std::to_string(kLargestPattern);
  const Json& list = node.Get("pixels", expected);
  if (!list.is_array() || list.size() < 2 || list.size() > kLargestPattern || list.size() % 2 != 0)
    node.Fail("pixels",
              "expected " + expected + ", found " +
                  (list.is_array() ? std::to_string(list.size()) + " entries" : Node::Text(list)));
  std::vector<PatternPixel> pixels;
  for (size_t i = 0; i < list.size(); ++i) {
    const Json& entry = list[i];
    const bool isFitting =
        entry.is_array() && entry.size() == 3 && Node::IsInteger(entry[0], 0, pattern.width - 1) &&
        Node::IsInteger(entry[1], 0, pattern.height - 1) && Node::IsInteger(entry[2], 0, 1);
    if (!isFitting)
      node.Fail("pixels[" + std::to_string(i) + "]",
                "expected [x, y, type] inside the block of " + std::to_string(pattern.width) +
                    " x " + std::to_string(pattern.height) + ", type 0 or 1, found " +
                    Node::Text(entry));
    pixels.push_back({entry[0].get<int>(), entry[1].get<int>(), entry[2].get<int>()});
  }
  return pixels;
}

Pattern ReadPattern(Node node, bool hasPixels) {
  Pattern pattern;
  node.Pair("block", 1, 1024, pattern.width, pattern.height);
  if (node.Has("offset")) node.Pair("offset", 0, kLargestSide, pattern.offsetX, pattern.offsetY);
  if (hasPixels) pattern.pixels = ReadPixels(node, pattern);
  node.OnlyKnownFields();
  return pattern;
}

BufferLayout ReadBuffer(Node node) {
  BufferLayout buffer;
  buffer.height = node.Integer("height", 1, kLargestSide);
  buffer.first = ReadPattern(node.Object("first_pattern"), true);
  buffer.firstWidth = node.Integer("first_width", 1, kLargestSide);
  buffer.firstStride = node.Integer("first_stride", 2, 4 * kLargestSide);
  node.Integer("overlap", 0, kLargestSide, buffer.overlap);
  if (buffer.overlap != 0) {
    buffer.second = ReadPattern(node.Object("second_pattern"), false);
    buffer.secondWidth = node.Integer("second_width", 1, kLargestSide);
    buffer.secondStride = node.Integer("second_stride", 2, 4 * kLargestSide);
    buffer.secondImageX = node.Integer("second_image_x", 0, kLargestSide);
  }
  node.OnlyKnownFields();
  return buffer;
}

CalibrationLayout ReadCalibration(Node node) {
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

LensDescription ReadLens(Node node) {
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

void ExpectOneOf(Node& node, const std::string& field, int value, std::initializer_list<int> set) {
  std::string names;
  for (int known : set) {
    if (known == value) return;
    names += (names.empty() ? "" : ", ") + std::to_string(known);
  }
  node.Fail(field, "expected one of " + names + ", found " + std::to_string(value));
}

TuningChoices ReadTuning(Node node) {
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
  node.Real("minimum_confidence_level", 1, 1000, tuning.minimumConfidenceLevel);
  node.Real("defocus_confidence_threshold", 0, 1023, tuning.defocusConfidenceThreshold);
  node.Real("static_weight", 0, 1, tuning.staticWeight);
  node.Real("dynamic_weight", 0, 1, tuning.dynamicWeight);
  node.Boolean("grid_overlap", tuning.gridOverlap);
  node.Boolean("peripheral_windows", tuning.peripheralWindows);
  node.Integer("static_frame_count", 1, 1000000, tuning.staticFrameCount);
  node.Integer("max_frame_rate", 1, 1000, tuning.maxFrameRate);
  node.OnlyKnownFields();
  return tuning;
}

Orientation ReadOrientation(Node& node) {
  if (!node.Has("orientation")) return Orientation::kDefault;
  const std::string text = node.String("orientation");
  if (text == "default") return Orientation::kDefault;
  if (text == "mirror") return Orientation::kMirror;
  if (text == "flip") return Orientation::kFlip;
  if (text == "mirror-and-flip") return Orientation::kMirrorAndFlip;
  node.Fail("orientation",
            "expected 'default', 'mirror', 'flip' or 'mirror-and-flip', found '" + text + "'");
}

int CountOfType(const Pattern& pattern, int type) {
  int count = 0;
  for (const PatternPixel& pixel : pattern.pixels) count += pixel.type == type;
  return count;
}

void CheckPatterns(const Node& root, const SensorDescription& sensor) {
  const int pairs = static_cast<int>(sensor.native.pixels.size()) / 2;
  if (CountOfType(sensor.native, 0) != pairs)
    root.Fail("native.pixels", "expected as many pixels of type 0 as of type 1");
  if (sensor.buffer.first.pixels.size() != sensor.native.pixels.size())
    root.Fail("buffer.first_pattern.pixels", "expected as many entries as native.pixels, " +
                                                 std::to_string(sensor.native.pixels.size()) +
                                                 ", found " +
                                                 std::to_string(sensor.buffer.first.pixels.size()));
  if (CountOfType(sensor.buffer.first, 0) != pairs)
    root.Fail("buffer.first_pattern.pixels", "expected as many pixels of type 0 as of type 1");
  std::set<int> left;
  std::set<int> right;
  for (const PatternPixel& pixel : sensor.native.pixels)
    (pixel.type == 0 ? left : right).insert(pixel.x);
  if (left.size() != right.size())
    root.Fail("native.pixels", "expected as many columns of type 0 as of type 1, found " +
                                   std::to_string(left.size()) + " and " +
                                   std::to_string(right.size()));
}

void CheckGeometry(const Node& root, const SensorDescription& sensor) {
  const Pattern& native = sensor.native;
  if (native.offsetX + sensor.blocksAcross * native.width > sensor.imageWidth)
    root.Fail("blocks", "expected blocks that end inside the image, " +
                            std::to_string(sensor.imageWidth) + " pixels wide");
  if (native.offsetY + sensor.blocksDown * native.height > sensor.imageHeight)
    root.Fail("blocks", "expected blocks that end inside the image, " +
                            std::to_string(sensor.imageHeight) + " pixels high");
  const BufferLayout& buffer = sensor.buffer;
  if (buffer.firstStride % 2 != 0 || buffer.firstStride < 2 * buffer.firstWidth)
    root.Fail("buffer.first_stride", "expected an even number of bytes, at least twice the width");
  if (buffer.Bytes() > kLargestBuffer) root.Fail("buffer", "expected at most 512 MiB");

  const int usedX = sensor.IsInFrame() ? buffer.first.offsetX : 0;
  const int usedY = sensor.IsInFrame() ? buffer.first.offsetY : 0;
  const int columns = sensor.HasTwoProcessors() ? sensor.SecondFirstBlock() : sensor.blocksAcross;
  if (usedX + columns * buffer.first.width > buffer.firstWidth)
    root.Fail("buffer.first_width", "expected at least " +
                                        std::to_string(usedX + columns * buffer.first.width) +
                                        " pixels for the blocks it holds");
  if (usedY + sensor.blocksDown * buffer.first.height > buffer.height)
    root.Fail("buffer.height", "expected at least " +
                                   std::to_string(usedY + sensor.blocksDown * buffer.first.height) +
                                   " lines for the blocks it holds");
}

void CheckSecondProcessor(const Node& root, const SensorDescription& sensor) {
  if (!sensor.HasTwoProcessors()) return;
  const BufferLayout& buffer = sensor.buffer;
  if (!sensor.IsInFrame()) root.Fail("buffer.overlap", "expected 0 unless sensor_type is 3");
  if (buffer.secondStride % 2 != 0 || buffer.secondStride < 2 * buffer.secondWidth)
    root.Fail("buffer.second_stride", "expected an even number of bytes, at least twice the width");
  if (buffer.second.width != buffer.first.width || buffer.second.height != buffer.first.height)
    root.Fail("buffer.second_pattern.block", "expected the block of first_pattern");
  const int firstBlock = sensor.SecondFirstBlock();
  if (firstBlock < 0 || firstBlock > sensor.blocksAcross)
    root.Fail("buffer.second_image_x", "expected a column inside the PD area");
  const int expectedX =
      sensor.native.offsetX + firstBlock * sensor.native.width - buffer.secondImageX;
  if (buffer.second.offsetX != expectedX || buffer.second.offsetY != buffer.first.offsetY)
    root.Fail("buffer.second_pattern.offset",
              "expected [" + std::to_string(expectedX) + ", " +
                  std::to_string(buffer.first.offsetY) +
                  "], where the first block that only the second processor holds begins");
  const int blocks = sensor.blocksAcross - firstBlock;
  if (expectedX + blocks * buffer.second.width > buffer.secondWidth)
    root.Fail("buffer.second_width", "expected at least " +
                                         std::to_string(expectedX + blocks * buffer.second.width) +
                                         " pixels for the blocks it holds");
}

void CheckLens(const Node& root, const SensorDescription& sensor) {
  const double coefficient = sensor.lens.codesPerPx * (1 << sensor.calibration.FractionBits());
  if (coefficient < 1 || coefficient > std::numeric_limits<int16_t>::max())
    root.Fail("lens.codes_per_px", "expected a value that fits the calibration's 16 bits with " +
                                       std::to_string(sensor.calibration.FractionBits()) +
                                       " fractional bits");
}

SensorDescription Read(Node root) {
  SensorDescription sensor;
  sensor.name = root.String("name");
  if (root.Has("about")) sensor.about = root.String("about");
  root.Pair("image", 64, kLargestSide, sensor.imageWidth, sensor.imageHeight);
  sensor.orientation = ReadOrientation(root);
  sensor.sensorType = root.Integer("sensor_type", 1, 3);
  root.Integer("pixel_depth", 8, 14, sensor.pixelDepth);
  root.Integer("black_level", 0, sensor.MaxCode() / 2, sensor.blackLevel);
  sensor.whiteLevel = sensor.blackLevel + (sensor.MaxCode() - sensor.blackLevel) * 3 / 4;
  root.Integer("white_level", sensor.blackLevel + 1, sensor.MaxCode(), sensor.whiteLevel);
  root.Pair("blocks", 1, kLargestSide, sensor.blocksAcross, sensor.blocksDown);
  root.Real("pd_offset_correction", -9.99, 9.99, sensor.pdOffsetCorrection);
  sensor.native = ReadPattern(root.Object("native"), true);
  sensor.buffer = ReadBuffer(root.Object("buffer"));
  if (root.Has("calibration")) sensor.calibration = ReadCalibration(root.Object("calibration"));
  if (root.Has("lens")) sensor.lens = ReadLens(root.Object("lens"));
  if (root.Has("tuning")) sensor.tuning = ReadTuning(root.Object("tuning"));
  root.OnlyKnownFields();
  CheckPatterns(root, sensor);
  CheckGeometry(root, sensor);
  CheckSecondProcessor(root, sensor);
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

int SensorDescription::ColumnsPerBlock() const {
  std::set<int> columns;
  for (const PatternPixel& pixel : native.pixels)
    if (pixel.type == 0) columns.insert(pixel.x);
  return static_cast<int>(columns.size());
}

SensorDescription ParseSensor(const std::string& json, const std::string& file) {
  Json parsed;
  try {
    parsed = Json::parse(json);
  } catch (const Json::parse_error& error) {
    throw InputError(file + ": expected JSON: " + error.what());
  }
  return Read(Node(parsed, file, ""));
}

SensorDescription LoadSensor(const std::string& nameOrPath) {
  for (const EmbeddedSensor& sensor : EmbeddedSensors())
    if (nameOrPath == sensor.name) return ParseSensor(sensor.json, nameOrPath + ".json");
  if (nameOrPath.find_first_of("./") == std::string::npos)
    throw InputError("sensor '" + nameOrPath + "': expected one of " + KnownSensors() +
                     ", or the path of a JSON file");
  std::ifstream file(nameOrPath, std::ios::binary);
  std::ostringstream content;
  if (!file || !(content << file.rdbuf()))
    throw InputError(nameOrPath + ": expected a readable JSON file");
  return ParseSensor(content.str(), nameOrPath);
}

}  // namespace simcam

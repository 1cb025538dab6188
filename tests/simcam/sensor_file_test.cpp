// Description files: the shipped ones load, and what is wrong in one is named.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "json_schema.h"
#include "sensor_fields.h"
#include "small_sensor.h"
#include "support/program.h"

namespace {

using nlohmann::json;
using namespace simcam;

TEST(SensorFile, AllShippedOnesLoad) {
  for (const EmbeddedSensor& embedded : EmbeddedSensors()) {
    const SensorDescription sensor = LoadSensor(embedded.name);
    EXPECT_EQ(sensor.name, embedded.name);
    EXPECT_FALSE(sensor.about.empty());
  }
  EXPECT_EQ(LoadSensor("s16").SampleStepPx(), 4);
  EXPECT_EQ(LoadSensor("s32-2col").SampleStepPx(), 16);
  EXPECT_EQ(LoadSensor("dual").SampleStepPx(), 1);
  EXPECT_EQ(LoadSensor("dual-hdr").SampleStepPx(), 2);
}

std::string ErrorOf(const std::string& text) {
  return test::ErrorOf([&] { ParseSensor(text, "my.json"); });
}

TEST(SensorFile, NamesTheFieldThatIsWrong) {
  using Case = std::tuple<const char*, json, const char*>;
  const Case cases[] = {
      {"/name", 7, "'name': expected a text, found 7"},
      {"/image", json::array({640, 0}), "'image': expected two integers from 64 to 16384"},
      {"/image/1", 1u << 31, "'image'"},
      {"/image/1", UINT64_MAX, "'image'"},
      {"/orientation", "upside", "'orientation': expected 'default', 'mirror'"},
      {"/sensor_type", 6, "'sensor_type': expected an integer from 1 to 5, found 6"},
      {"/sensor_type", 4, "'dual': expected an object, found nothing"},
      {"/pixel_depth", 10.5, "'pixel_depth'"},
      {"/black_level", -1, "'black_level'"},
      {"/white_level", 1000, "'white_level': expected an integer from 1001 to 16383"},
      {"/blocks", json::array({40, 29}), "'blocks': expected blocks that end inside the image"},
      {"/blocks", json::array({39, 30}), "'blocks': expected blocks that end inside the image"},
      {"/pd_offset_correction", 10, "'pd_offset_correction'"},
      {"/native/block", json::array({0, 16}), "'native.block'"},
      {"/native/pixels/1", json::array({16, 3, 1}), "'native.pixels[1]': expected [x, y, type]"},
      {"/native/pixels/1", json::array({3, 3, 2}), "'native.pixels[1]'"},
      {"/native/pixels/1", json::array({3, 3}), "'native.pixels[1]'"},
      {"/native/pixels/3", json::array({3, 2, 1}),
       "'native.pixels[3]': expected a pixel at a place of its own, found that of pixels[0] again"},
      {"/buffer/first_pattern/pixels/1", json::array({3, 2, 0}),
       "'buffer.first_pattern.pixels[1]': expected a pixel at a place of its own"},
      {"/native/pixels/1/2", 0, "'native.pixels': expected as many pixels of type 0"},
      {"/native/pixels/1", json::array({11, 5, 1}),
       "'native.pixels': expected as many columns of type 0"},
      {"/native/pixels", json::array(), "'native.pixels': expected an even number"},
      {"/native/colour", 1, "'native.colour': is not known here; expected one of: block, offset"},
      {"/buffer/first_pattern/pixels/0/2", 0, "'buffer.first_pattern.pixels'"},
      {"/buffer/first_width", 300, "'buffer.first_width': expected at least 328"},
      {"/buffer/first_stride", 671, "'buffer.first_stride': expected an even number"},
      {"/buffer/height", 400, "'buffer.height': expected at least 468"},
      {"/buffer/second_pattern/offset", json::array({8, 4}),
       "'buffer.second_pattern.offset': expected [24, 4]"},
      {"/buffer/second_width", 100, "'buffer.second_width'"},
      {"/calibration", {{"gain_map", {30, 30}}}, "'calibration.gain_map': expected at most 475"},
      {"/calibration", {{"version", "4"}}, "'calibration.version'"},
      {"/lens", {{"travel", {5, 5}}}, "'lens.travel': expected the first code below"},
      {"/lens", {{"codes_per_px", 40}}, "'lens.codes_per_px': expected a value that fits"},
      {"/tuning", {{"search_range", {8, 8}}}, "'tuning.search_range'"},
      {"/tuning", {{"box_filter_length", 3}}, "expected one of 0, 2, 4, found 3"},
      {"/tuning", {{"grid_overlap", 1}}, "'tuning.grid_overlap': expected true or false"},
      {"/tuning", 3, "'tuning': expected an object, found 3"},
  };
  for (const auto& [pointer, value, message] : cases) {
    json description = json::parse(test::kSmallSensor);
    description[json::json_pointer(pointer)] = value;
    const std::string error = ErrorOf(description.dump());
    EXPECT_EQ(error.rfind("my.json:1: field ", 0), 0u) << pointer << ": " << error;
    EXPECT_NE(error.find(message), std::string::npos) << pointer << ": " << error;
  }
}

TEST(SensorFile, NamesWhatIsWrongWithADualSensor) {
  using Case = std::tuple<const char*, const char*>;
  const Case cases[] = {
      {R"({"sensor_type": 2})", "'blocks': expected two integers"},
      {R"({"blocks": [4, 4]})", "'blocks': is not known here"},
      {R"({"dual": {"site": [3, 2]}})", "'dual.site': expected sites that cover the image"},
      {R"({"dual": {"site": [2, 0]}})", "'dual.site': expected two integers from 1 to 16"},
      {R"({"dual": {"packing": "packed"}})",
       "'dual.packing': expected 'bytes', 'packed-10' or 'words', found 'packed'"},
      {R"({"dual": {"packing": "bytes"}})", "'pixel_depth': expected 8"},
      {R"({"dual": {"packing": "packed-10"}})", "'pixel_depth': expected 10"},
      {R"({"dual": {"order": "left"}})", "'dual.order'"},
      {R"({"dual": {"axis": 1}})", "'dual.axis': expected a text"},
      {R"({"dual": {"stride": 1279}})", "'dual.stride': expected at least 1280 bytes"},
      {R"({"dual": {"stride": 1281}})", "'dual.stride': expected an even number"},
      {R"({"dual": {"exposure_ratio": 0}})", "'dual.exposure_ratio'"},
      {R"({"dual": {"axis": "vertical"}, "orientation": "mirror"})", "'dual.axis'"},
      {R"({"dual": {"axis": "vertical", "exposure_ratio": 2}})", "'dual.axis'"},
      {R"({"dual": {"offset": {"middle": 9}}})", "'dual.offset.middle'"},
      {R"({"dual": {"offset": {"left": 1}}})", "'dual.offset.left': is not known here"},
      {R"({"dual": {"offset": {}}, "orientation": "flip"})", "'dual.offset': expected nothing"},
      {R"({"dual": {"offset": {}}, "pd_offset_correction": 1})", "'pd_offset_correction'"},
      {R"({"noise": {"split": 1.5}})", "'noise.split': expected a number from 0 to 1"},
      {R"({"pixel_depth": 14, "tuning": {"vertical_binning": 8}})", "'tuning.vertical_binning'"},
      {R"({"tuning": {"search_range": [-255, 44]}})",
       "'tuning.search_range': expected at most 254 pixels to either side"},
      {R"({"image": [64, 64], "calibration": {"gain_map": [40, 4]}})", "'calibration.gain_map'"},
  };
  EXPECT_EQ(ErrorOf(test::kSmallDualSensor), "accepted");
  for (const auto& [patch, message] : cases) {
    const std::string error = ErrorOf(test::Patched(test::kSmallDualSensor, patch));
    EXPECT_NE(error.find(message), std::string::npos) << patch << ": " << error;
  }
}

TEST(SensorFile, NamesTheLine) {
  struct Case {
    const char* text;
    const char* message;
  };
  const Case cases[] = {
      {"{\n\"name\": 1\n}", "my.json:2: field 'name': expected a text"},
      {"{\n\n\n}", "my.json:1: field 'name': expected a text, found nothing"},
      {"{\"name\": \"a\",\n\"name\": \"b\"}",
       "my.json:2: field 'name': stands twice, first in line 1"},
      {"{\"lens\": {\"travel\":\n[1,\n2],\n\"travel\": [1, 2]}}",
       "my.json:4: field 'lens.travel': stands twice, first in line 1"},
      {"{\"a\": [{\"b\": 1}, {\"b\": 1,\n\"b\": 2}]}", "my.json:2: field 'a[1].b': stands twice"},
      {"{\"name\": \"a\",\n", "my.json:2: expected JSON"},
      {"[[[[[[[[[[[[[[[[[[[[", "my.json:1: expected values nested at most 16 deep"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ErrorOf(c.text).rfind(c.message, 0), 0u) << c.text << ": " << ErrorOf(c.text);

  std::string text = test::kSmallSensor;
  text.replace(text.find("[11, 3, 0]"), 10, "7");
  const std::string error = ErrorOf(text);
  EXPECT_EQ(error.rfind("my.json:5: field 'native.pixels[2]'", 0), 0u) << error;
}

// Every field of a description spoilt in every way that a schema can tell: whatever the reader
// refuses, the schema refuses, and the other way round.
TEST(SensorFile, ReaderAndSchemaAgree) {
  const json schema = json::parse(SensorSchema());
  const auto agree = [&](const json& description, bool isRight, const std::string& what) {
    const std::string error = ErrorOf(description.dump());
    EXPECT_EQ(error == "accepted", isRight) << what << ": " << error;
    EXPECT_EQ(test::WhyInvalid(schema, description).empty(), isRight)
        << what << ": " << test::WhyInvalid(schema, description);
    // The place is that of the field.
    EXPECT_TRUE(isRight || error.find("field '" + what) != std::string::npos) << error;
  };
  for (const EmbeddedSensor& embedded : EmbeddedSensors())
    agree(json::parse(embedded.json), true, embedded.name);
  for (const json& whole :
       {json::parse(test::kSmallSensor),
        json::parse(
            test::Patched(test::kSmallDualSensor, R"({"dual": {"offset": {}}, "noise": {}})"))}) {
    SensorDescription defaults = DescriptionOfDefaults();
    for (const SensorField& field : SensorFields()) {
      std::string pointer = std::string("/").append(field.path);
      std::replace(pointer.begin(), pointer.end(), '.', '/');
      const json::json_pointer at(pointer);
      const bool isDual = whole.contains("dual");
      if (field.of != FieldOf::kAll && isDual != (field.of == FieldOf::kDual)) continue;
      json spoilt = whole;
      if (field.isRequired) {
        spoilt.at(at.parent_pointer()).erase(at.back());
        agree(spoilt, false, field.path);
      }
      const FieldTarget target = field.target(defaults);
      spoilt = whole;
      spoilt[at] = field.IsObject() ? json(3) : json::object();
      agree(spoilt, false, field.path);
      if (field.IsObject()) {
        spoilt[at] = whole.contains(at) ? whole[at] : json::object();
        spoilt[at]["colour"] = 1;
        agree(spoilt, false, std::string(field.path).append(".colour"));
      }
      const bool isFree = field.choices.empty();
      for (double value : {(isFree ? field.low : field.choices.front()) - 1,
                           (isFree ? field.high : field.choices.back()) + 1}) {
        if (std::holds_alternative<int*>(target)) spoilt[at] = static_cast<int>(value);
        if (std::holds_alternative<double*>(target)) spoilt[at] = value;
        if (std::holds_alternative<IntegerPair>(target))
          spoilt[at] = json::array({static_cast<int>(value), static_cast<int>(value)});
        agree(spoilt, false, field.path);
      }
    }
  }
}

// The page's tables and the schema beside it are what the program prints; its examples work.
TEST(SensorFile, DocumentsAreUpToDate) {
  const std::string docs = DOCS_FOLDER;
  const std::string page = test::ReadFile(docs + "/sensor-descriptions.md");
  EXPECT_NE(page.find(SensorFieldTables()), std::string::npos);
  EXPECT_EQ(test::ReadFile(docs + "/sensor-description.schema.json"), SensorSchema());
  const std::string fence = "```json\n";
  int examples = 0;
  for (size_t at = page.find(fence); at != std::string::npos; at = page.find(fence, at + 1)) {
    const size_t begin = at + fence.size();
    EXPECT_EQ(ErrorOf(page.substr(begin, page.find("```", begin) - begin)), "accepted");
    ++examples;
  }
  EXPECT_EQ(examples, 2);
}

TEST(SensorFile, SurvivesDamage) {
  const std::string text = test::kSmallSensor;
  EXPECT_NE(ErrorOf("").find("expected JSON"), std::string::npos);
  EXPECT_NE(ErrorOf("[1]").find("expected an object"), std::string::npos);
  for (size_t length = 0; length < text.size(); length += 7)
    EXPECT_NE(ErrorOf(text.substr(0, length)), "accepted");
  for (size_t at = 0; at < text.size(); at += 3) {
    std::string damaged = text;
    damaged[at] = '9';
    ErrorOf(damaged);  // any answer, no crash
  }
  EXPECT_THROW(LoadSensor("nosuch"), InputError);
  EXPECT_THROW(LoadSensor("/nosuch/file.json"), InputError);
}

}  // namespace

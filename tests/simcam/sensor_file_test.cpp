// Description files: the shipped ones load, and what is wrong in one is named.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "errors.h"
#include "small_dual_sensor.h"
#include "small_sensor.h"

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
  try {
    ParseSensor(text, "my.json");
  } catch (const InputError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(SensorFile, NamesTheFieldThatIsWrong) {
  struct Case {
    const char* pointer;
    json value;
    const char* message;
  };
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
      {"/native/pixels/1/2", 0, "'native.pixels': expected as many pixels of type 0"},
      {"/native/pixels/1/0", 11, "'native.pixels': expected as many columns of type 0"},
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
  for (const Case& c : cases) {
    json description = json::parse(test::kSmallSensor);
    description[json::json_pointer(c.pointer)] = c.value;
    const std::string error = ErrorOf(description.dump());
    EXPECT_EQ(error.rfind("my.json: ", 0), 0u) << c.pointer << ": " << error;
    EXPECT_NE(error.find(c.message), std::string::npos) << c.pointer << ": " << error;
  }
}

TEST(SensorFile, NamesWhatIsWrongWithADualSensor) {
  struct Case {
    const char* patch;
    const char* message;
  };
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
  for (const Case& c : cases) {
    const std::string error = ErrorOf(test::DualSensorText(c.patch));
    EXPECT_NE(error.find(c.message), std::string::npos) << c.patch << ": " << error;
  }
}

TEST(SensorFile, NamesTheFieldThatIsMissing) {
  for (const char* field : {"name", "image", "sensor_type", "blocks", "native", "buffer"}) {
    json description = json::parse(test::kSmallSensor);
    description.erase(field);
    EXPECT_NE(ErrorOf(description.dump()).find(field), std::string::npos);
  }
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

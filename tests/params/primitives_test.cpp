// The small types under the framework.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "fdsetmanager.h"
#include "imagesensormodulesetmanager.h"
#include "orvo/log.h"
#include "parametercrc.h"
#include "parameterlist.h"
#include "parametermap.h"
#include "parameterutils.h"
#include "support/log_capture.h"
#include "tuningsetmanager.h"

namespace test {
namespace {

namespace utils = ParameterUtils;

TEST(ParameterList, GrowsByItsIncrementAndReadsADefaultOutside) {
  PList<int> list(3);
  for (const int value : {5, 7, 9}) EXPECT_TRUE(list.Add(value));
  EXPECT_EQ(list.Capacity(), 3u);
  list.Insert(1, 6);
  list.Insert(99, 10);
  EXPECT_EQ(list.Capacity(), 6u);
  const int expected[] = {5, 6, 7, 9, 10};
  for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(list[i], expected[i]);
  EXPECT_EQ(list[5], 0);
  EXPECT_EQ(list[UINT32_MAX], 0);
  list.RemoveAt(0);
  list.RemoveAt(17);
  EXPECT_EQ(list.IndexOf(9), 2u);
  EXPECT_EQ(list.IndexOf(5), UINT32_MAX);
  Orvo::Host::FailAllocation(0, true);
  EXPECT_TRUE(list.Add(1) && list.Add(2));
  EXPECT_FALSE(list.Add(3));  // dropped
  Orvo::Host::NeverFailAllocation();
  EXPECT_EQ(list.Count(), 6u);
}

TEST(ParameterMapTest, AgreesWithAnOrderedMap) {
  std::mt19937 random(1);
  ParameterMap<ParameterNumber, uint32_t> map;
  std::map<uint64_t, uint32_t> expected;
  for (uint32_t i = 0; i < 20000; ++i) {
    const uint64_t key = random() % 300 * 64;  // clashing places
    switch (random() % 3) {
      case 0: EXPECT_EQ(map.Erase(key), expected.erase(key) != 0); break;
      case 1: EXPECT_EQ(map.Insert(key, i), expected.emplace(key, i).second); break;
      default:
        EXPECT_EQ(map.Find(key) != nullptr, expected.count(key) != 0);
        if (const uint32_t* value = map.Find(key)) {
          EXPECT_EQ(*value, expected[key]);
        }
    }
    ASSERT_EQ(map.Count(), expected.size());
  }
  for (uint32_t i = 0; i < map.Count(); ++i)
    EXPECT_EQ(map.ValueAt(i), expected[map.KeyAt(i).value]);
}

TEST(ParameterNumbers, AreReadFromPlainDecimalText) {
  const std::vector<std::pair<const char*, double>> numbers{
      {"0", 0.0},  {"12", 12.0}, {"-12.5", -12.5}, {"0.0625", 0.0625},
      {".5", 0.5}, {"7.", 7.0},  {"007", 7.0},     {"4294967295", 4294967295.0}};
  bool success = false;
  for (const auto& [text, value] : numbers)
    EXPECT_TRUE(utils::StringToDouble(text, &success) == value && success) << text;
  for (const char* text : {"1.2.3", "1a2", "", "-", ".", "--1", "1-", "+1", " 1", "1e3", "nan",
                           static_cast<const char*>(nullptr)})
    EXPECT_TRUE(utils::StringToDouble(text, &(success = true)) == 0.0 && !success)
        << (text == nullptr ? "null" : text);
  EXPECT_TRUE(std::isinf(utils::StringToDouble(std::string(400, '9').c_str(), &success)));
  EXPECT_TRUE(success);
}

TEST(ParameterNumbers, AreWrittenWithoutAFormat) {
  const std::vector<std::tuple<double, int, uint32_t, const char*, bool>> cases{
      {0.0, 10, 32, "0", true},
      {-2147483648.0, 0, 32, "-2147483648", true},
      {4294967295.0, 0, 32, "4294967295", true},
      {1.5, 10, 32, "1.5", true},
      {double{0.1f}, 10, 32, "0.1000000015", true},
      {-0.25, 10, 32, "-0.25", true},
      {0.99, 1, 32, "1", true},    // carries into the integer
      {9.996, 2, 32, "10", true},  // and makes it longer
      {1.06, 1, 32, "1.1", true},
      {1.04, 1, 32, "1", true},  // trailing zeros go, and the point with them
      {2.5, 0, 32, "3", true},
      {1e21, 0, 32, "1000000000000000000000", true},
      {123.456, 10, 6, "123.4", true},  // what fits
      {123456.0, 0, 4, "123", false},
      {1.0, 0, 1, "", false},
      {std::nan(""), 10, 32, "", false},
      {INFINITY, 10, 32, "", false}};
  for (const auto& [value, decimals, size, expected, succeeds] : cases) {
    char text[32] = "?";
    bool success = !succeeds;
    utils::DoubleToString(value, text, size, decimals, &success);
    EXPECT_STREQ(text, expected);
    EXPECT_EQ(success, succeeds) << expected;
  }
}

TEST(ParameterTexts, StepThroughAPath) {
  const std::vector<std::tuple<const char*, const char*, uint32_t, uint32_t>> cases{
      {"a.b", "a", utils::kNoIndex, 2},
      {"filterSet[2].x", "filterSet", 2, 13},
      {"S[12]", "S", 12, 5},
      {"S[x].y", "S", utils::kNoIndex, 5},
      {"S[1", "S", 1, 3},
      {"S[", "S", utils::kNoIndex, 2},
      {"S[99999999999]", "S", utils::kNoIndex, 14},
      {"", "", utils::kNoIndex, 0},
      {".a", "", utils::kNoIndex, 1}};
  for (const auto& [path, expected, place, consumed] : cases) {
    char name[16];
    uint32_t index = 7;
    EXPECT_EQ(utils::GetVariable(path, name, &index, sizeof(name)), consumed) << path;
    EXPECT_STREQ(name, expected);
    EXPECT_EQ(index, place) << path;
  }
  const std::string longName(300, 'n');
  char name[utils::kMaxVariable + 1];
  uint32_t index = 0;
  EXPECT_EQ(utils::GetVariable(longName.c_str(), name, &index, sizeof(name)), 300u);
  EXPECT_EQ(std::string(name), std::string(utils::kMaxVariable, 'n'));
  char part[4];
  EXPECT_EQ(utils::GetSubString("abcdef,x", ',', part, sizeof(part)), 3u);
  EXPECT_STREQ(part, "abc");
  EXPECT_EQ(utils::GetStringPos("abc", 'c'), 2u);
  EXPECT_EQ(utils::GetStringPos("abc", 'd'), UINT32_MAX);
}

TEST(ParameterTexts, RawReadsStepByTheAlignment) {
  const LogCapture log;
  const uint8_t bytes[12] = {1, 2, 3, 4, 'a', 'b', 'c', 'd', 5, 6, 7, 8};
  uint64_t position = 1;
  uint8_t value[8] = {};
  EXPECT_TRUE(utils::ReadBuffer(bytes, sizeof(bytes), &position, value, 3, 8, nullptr));
  EXPECT_EQ(position, 9u);
  EXPECT_FALSE(utils::ReadBuffer(bytes, sizeof(bytes), &position, value, 4, 1, nullptr));
  EXPECT_FALSE(utils::ReadBuffer(nullptr, 12, &position, value, 4, 1, nullptr));
  EXPECT_FALSE(utils::ReadBuffer(bytes, 12, &position, nullptr, 4, 1, nullptr));
  EXPECT_EQ(position, 9u);
  const auto lines = Orvo::Host::CapturedLog();
  ASSERT_EQ(lines.size(), 3u);
  const char* texts[] = {"ReadBuffer failed, read 3 bytes, expected 4 bytes\n",
                         "ReadBuffer called with nullptr buffer\n",
                         "ReadBuffer called with nullptr value\n"};
  for (size_t i = 0; i < 3; ++i) EXPECT_NE(lines[i].text.find(texts[i]), std::string::npos);
  char text[5];
  position = 4;
  EXPECT_TRUE(utils::ReadString(bytes, sizeof(bytes), &position, text, 4, 1, nullptr));
  EXPECT_STREQ(text, "abcd");  // a full field has no end mark of its own
  uint32_t written = 0;
  EXPECT_TRUE(utils::WriteString("abc", text, sizeof(text), &written, true, nullptr));
  EXPECT_FALSE(utils::WriteString("xy", text, sizeof(text), &written, false, nullptr));
  EXPECT_EQ(written, 4u);
}

struct Logger : IParameterLoggingAPI {
  const char* GetBinaryTag() const override { return tag; }
  bool IsLogLevelEnabled(ParameterLogLevel level) const override { return level != silent; }
  const char* tag = nullptr;
  uint32_t silent = UINT32_MAX;
};

TEST(ParameterLog, LinesHaveALevelAGroupAndAnOrigin) {
  const LogCapture log;
  Logger logger;
  char address[32];
  std::snprintf(address, sizeof(address), "%p ", static_cast<const void*>(&logger));
  using Level = std::tuple<ParameterLogLevel, uint32_t, const char*>;
  for (const auto& [level, platformLevel, word] :
       {Level{kParameterLogDebug, Orvo::Log::kLevelDebug, "[DEBUG]"},
        Level{kParameterLogWarning, Orvo::Log::kLevelWarning, "[WARNING]"},
        Level{kParameterLogError, Orvo::Log::kLevelError, "[ERROR]"}}) {
    const std::string start = std::string(word) + " ParameterParser: ";
    Orvo::Host::StartLogCapture();
    logger = {};
    ParameterLogging::Write(nullptr, level, "a/b\\c.cpp", 7, "%d\n", 5);
    ParameterLogging::Write(&logger, level, "c.cpp", 7, "5\n");
    logger.tag = "tag";
    ParameterLogging::Write(&logger, level, nullptr, 7, "5\n");
    logger.silent = level;
    ParameterLogging::Write(&logger, level, "c.cpp", 7, "5\n");
    const auto lines = Orvo::Host::CapturedLog();
    ASSERT_EQ(lines.size(), 3u);
    const std::string texts[] = {"c.cpp:7: 5\n", address + std::string("c.cpp:7: 5\n"),
                                 address + std::string("(tag): FileNameIsNULL:7: 5\n")};
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(lines[i].text, start + texts[i]);
      EXPECT_EQ(lines[i].level, platformLevel);
      EXPECT_EQ(lines[i].group, Orvo::Log::kGroupStatsAF);
    }
  }
}

TEST(ParameterTypes, ShortNamesFitTheirField) {
  const std::vector<std::pair<const char*, const char*>> cases{
      {"tessarinePDLib", "PDLib"},
      {"tessarine_abf34", "abf34"},
      {"TESSARINE_x", "x"},
      {"tessarine", "tessarine"},
      {"tessarine_", "_"},
      {"abf34_ife", "abf34_ife"},
      {"12345678901234567890123456789012", "12345678901234567890123456789012"},
      // 40 characters: the first 8, "-", the last 23
      {"1234567890123456789012345678901234567890", "12345678-89012345678901234567890"}};
  const auto typeOf = [](const char* name) {
    char type[ModuleData::kMaxType + 1];
    ModuleData::GetType(type, name);
    return std::string(type);
  };
  for (const auto& [name, expected] : cases) EXPECT_EQ(typeOf(name), expected);
  std::set<std::string> types;
#define ADD_TYPE(name) EXPECT_TRUE(types.insert(typeOf(#name)).second) << #name;
  SENSOR_SET_MODULES(ADD_TYPE)
  FACE_DETECTION_SET_MODULES(ADD_TYPE)
  ImageSensorModuleSetManager sensor;
  fdSetManager face;
  EXPECT_NE(sensor.FindDefaultModule("PDConfigData"), nullptr);
  EXPECT_NE(face.FindDefaultModule("fdconfigdata"), nullptr);
  EXPECT_EQ(face.FindDefaultModule("PDConfigData"), nullptr);
}

TEST(ParameterTypes, VersionsAreOrderedByTheirParts) {
  const VersionUnion ordered[] = {{1, 0, 2}, {1, 1, 0}, {2, 0, 0}, {3, 0, 0}, {3, 0, 1}, {3, 1, 0}};
  for (size_t a = 0; a < std::size(ordered); ++a) {
    EXPECT_EQ(VersionUnion(ordered[a].Word()), ordered[a]);
    for (size_t b = 0; b < std::size(ordered); ++b)
      EXPECT_EQ(ordered[a].Compare(ordered[b]), a < b ? -1 : (a > b ? 1 : 0));
  }
}

// The definition of the checksum, bit by bit.
uint32_t NaiveCrc(uint32_t crc, const uint8_t* data, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
  }
  return crc;
}

TEST(ParameterCrc, EveryFormGivesTheSameValue) {
  std::mt19937 random(3);
  std::vector<uint8_t> data(700);
  for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
  for (const parametercrc::Form* const* form = parametercrc::AvailableForms(); *form; ++form) {
    for (size_t offset = 0; offset < 3; ++offset) {
      for (size_t count = 0; offset + count <= data.size(); ++count) {
        const auto start = static_cast<uint32_t>(random());
        ASSERT_EQ((*form)->update(start, data.data() + offset, count),
                  NaiveCrc(start, data.data() + offset, count))
            << (*form)->name << " " << count;
      }
    }
  }
  const std::string digits = "123456789";  // the check value of this checksum
  EXPECT_EQ(parametercrc::Checksum(reinterpret_cast<const uint8_t*>(digits.data()), 9),
            0xCBF43926u);
  EXPECT_EQ(ParameterBinaryFile::m_crcLookupTable[1], 0x77073096u);
}

}  // namespace
}  // namespace test

// A module whose calibration is off, learnt by the library and kept in its file.
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "pdcam_process.h"

namespace {

using nlohmann::json;
using PdcamLearn = test::PdcamProcess;

// Of the sensor s16: 12 codes per pixel, in defocus units of a sixteenth of a code.
constexpr int kCalibratedK = 12 * 16;
constexpr const char* kFile = "/var/cache/camera/pdlibdata0.bin";

int EntryOf(const std::string& file, size_t index) {
  return static_cast<int16_t>(static_cast<unsigned char>(file[2 * index]) |
                              static_cast<unsigned char>(file[2 * index + 1]) << 8);
}

// Both directions' medians of five, near ones first, straight from the file.
std::vector<int> MediansOf(const std::string& file) {
  std::vector<int> medians;
  for (size_t history = 0; history < 96; ++history) {
    std::vector<int> entries;
    for (size_t entry = 0; entry < 5; ++entry)
      entries.push_back(EntryOf(file, history * 5 + entry));
    std::sort(entries.begin(), entries.end());
    medians.push_back(entries[2]);
  }
  return medians;
}

std::vector<int> MediansOf(const json& result) {
  std::vector<int> medians = result["near_median"];
  const std::vector<int> far = result["far_median"];
  medians.insert(medians.end(), far.begin(), far.end());
  return medians;
}

TEST_F(PdcamLearn, FindsTheTrueCoefficientAndStartsFromItAgain) {
  for (const std::string factor : {"0.8", "1.25"}) {
    const double trueK = std::stod(factor) * kCalibratedK;
    const std::string folder = Path(factor);
    const std::string arguments = "learn --json --sequences 8 --roi 0.3 0.3 0.55 0.55 --k-error " +
                                  factor + " --data-dir " + folder;
    const json result = RunJson(arguments);
    EXPECT_NEAR(result["true_k"], trueK, 1e-6);
    EXPECT_EQ(result["blob_bytes"], 960);
    EXPECT_EQ(result["propagated"], true);
    ASSERT_EQ(result["sequences"].size(), 8u);
    EXPECT_EQ(result["sequences"][0]["k_used"], kCalibratedK);
    EXPECT_EQ(result["reopened_same"], true);

    const json& second = result["second_run"];
    EXPECT_EQ(second["propagated"], false);
    EXPECT_EQ(second["started_from_file"], true);
    for (const json& sequence : second["sequences"]) {
      EXPECT_NEAR(sequence["k_used"].get<double>() / trueK, 1, 0.05);
      EXPECT_LE(sequence["frames_to_focus"], result["sequences"][0]["frames_to_focus"]);
      EXPECT_LT(sequence["overshoot_steps"], 1);
    }

    // A third opening, in a process of its own, starts with a value that the second one stored.
    const std::string file = ReadFile(folder + kFile);
    ASSERT_EQ(file.size(), 960u);
    const std::vector<int> medians = MediansOf(file);
    EXPECT_EQ(MediansOf(second), medians);
    const json again = RunJson(arguments);
    EXPECT_EQ(again["propagated"], false);
    EXPECT_EQ(again["started_from_file"], true);
    for (size_t i : {0, 1})
      EXPECT_GT(std::count(medians.begin(), medians.end(), again["sequences"][i]["k_used"]), 0);
    // What no window measured is still there, to the bit: the last cell's ten entries.
    const std::string later = ReadFile(folder + kFile);
    EXPECT_EQ(later.substr(470, 10), file.substr(470, 10));
    EXPECT_EQ(later.substr(950, 10), file.substr(950, 10));
    EXPECT_NE(EntryOf(later, 479), kCalibratedK);
  }
}

TEST_F(PdcamLearn, StopsAtTheBoundOfAnErrorThatIsTooLarge) {
  const json result =
      RunJson("learn --json --sequences 4 --roi 0.3 0.3 0.55 0.55 --k-error 2 --check");
  int largest = 0;
  for (const char* histories : {"near_history", "far_history"})
    for (const json& history : result[histories])
      for (int k : history) largest = std::max(largest, k);
  EXPECT_EQ(largest, 249);  // 1.3 * 192 = 249.6
}

TEST_F(PdcamLearn, LearnsEachRegionOfAMap) {
  json map;
  for (int row = 0; row < 6; ++row)
    for (int column = 0; column < 8; ++column)
      map[row].push_back(row < 3 ? 0.8 + 0.05 * column : 1.2 - 0.05 * column);
  Write("map.json", map.dump());
  // Rows 2 and 3, columns 2 to 5.
  const json result =
      RunJson("learn --json --sequences 10 --roi 0.25 0.33334 0.75 0.66666 --windows 4x2 --k-map " +
              Path("map.json") + " --report " + Path("learn.html"));
  for (int row : {2, 3})
    for (int column : {2, 3, 4, 5}) {
      const double trueK = map[row][column].get<double>() * kCalibratedK;
      for (const char* median : {"near_median", "far_median"})
        EXPECT_NEAR(result[median][row * 8 + column].get<double>() / trueK, 1, 0.05)
            << median << " of row " << row << ", column " << column;
    }
  ExpectReport(Path("learn.html"));
}

TEST_F(PdcamLearn, RefusesMapsAndFilesByWhatIsWrongWithThem) {
  const json row = {1, 1, 1, 1, 1, 1, 1, 1};
  const json good = {row, row, row, row, row, row};
  json shortRow = good;
  shortRow[4] = {1, 1};
  json large = good;
  large[3][5] = 3;
  json word = good;
  word[0][7] = "1";
  Write("empty.json", "");
  Write("object.json", "{}");
  Write("rows.json", json({row, row}).dump());
  Write("short-row.json", shortRow.dump());
  Write("large.json", large.dump());
  Write("word.json", word.dump());
  Write("959.bin", std::string(959, '\1'));
  Write("961.bin", std::string(961, '\1'));
  Write("good.bin", std::string(960, '\1'));
  std::string odd(960, '\1');
  odd[2 * (13 * 5 + 2)] = odd[2 * (13 * 5 + 2) + 1] = '\0';                // near, row 1, column 5
  odd[480 + 2 * (47 * 5 + 4)] = odd[480 + 2 * (47 * 5 + 4) + 1] = '\xff';  // far, the last one
  Write("odd.bin", odd);
  ExpectOutcomes({
      {"learn --k-map /nosuch.json", 3, "/nosuch.json: expected a file that can be read"},
      {"learn --k-map " + Path("empty.json"), 3, "empty.json: expected JSON"},
      {"learn --k-map " + Path("object.json"), 3, "6 rows, found a value of type object"},
      {"learn --k-map " + Path("rows.json"), 3, "6 rows, found 2 of them"},
      {"learn --k-map " + Path("short-row.json"), 3, "row 4: expected an array of 8"},
      {"learn --k-map " + Path("large.json"), 3,
       "row 3, column 5: expected a number from 0.5 to 2"},
      {"learn --k-map " + Path("word.json"), 3, "row 0, column 7: expected a number"},
      {"learn --k-error 0.8 --k-map " + Path("large.json"), 2, "--k-map"},
      {"adaptive show " + Path("959.bin"), 3, "has 959 bytes, expected 960"},
      {"adaptive check " + Path("961.bin"), 3, "has 961 bytes, expected 960"},
      {"adaptive show " + Path(""), 3, "is a folder"},
      {"adaptive check /nosuch.bin", 3, "/nosuch.bin: expected a file that can be read"},
      {"adaptive check " + Path("good.bin"), 0, "fine"},
      {"adaptive check " + Path("odd.bin"), 1,
       "near history of row 1, column 5, entry 2: 0 is not above 0\n"
       "far history of row 5, column 7, entry 4: -1 is not above 0\n"},
  });
}

TEST_F(PdcamLearn, ShowsWhatAFileHolds) {
  std::string file;
  for (int i = 0; i < 480; ++i) {
    // Histories go up by one from entry to entry, so that the middle one is the median.
    const int k = 100 + 8 * (i / 5) + i % 5;
    file += {static_cast<char>(k & 0xff), static_cast<char>(k >> 8)};
  }
  Write("learnt.bin", file);
  const json result = RunJson("adaptive show --json " + Path("learnt.bin"));
  EXPECT_EQ(result["far_median"][0], 100 + 8 * 48 + 2);
  EXPECT_EQ(result["far_history"][47], json({860, 861, 862, 863, 864}));
  EXPECT_EQ(MediansOf(result), MediansOf(file));
  ExpectTexts(Run("adaptive show " + Path("learnt.bin")).output,
              {"102", "862", "860    861    862    863    864"});
}

}  // namespace

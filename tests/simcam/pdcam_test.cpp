// The program as users start it.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "pdcam_process.h"
#include "small_sensor.h"

namespace {

using nlohmann::json;
using Pdcam = test::PdcamProcess;
using test::Outcome;

TEST_F(Pdcam, TellsByItsStatusWhatWentWrong) {
  Write("small.json", test::kSmallSensor);
  json broken = json::parse(test::kSmallSensor);
  broken["native"]["block"] = {0, 16};
  Write("broken.json", broken.dump());
  Write("photo.png", "no picture");
  json uneven = json::parse(test::kSmallSensor);
  uneven["tuning"] = {{"overlap_sum_by_columns", false}};
  Write("uneven.json", uneven.dump());
  const std::string quick = " --from 0 --to 0 --sensor " + Path("small.json");
  ExpectOutcomes({
      {"--help", 0, ""},
      {"focus --help", 0, ""},
      {"--version", 0, ""},
      {"foo", 2, "did you mean 'focus'?"},
      {"sweep --sede 3", 2, "did you mean '--seed'?"},
      {"sweep --scene mixd" + quick, 3, "did you mean 'mixed'?"},
      {"sweep --sensor s61", 3, "did you mean 's16'?"},
      {"sensors s1", 2, "did you mean 's16'?"},
      {"sensors s16 >/dev/full", 3, "standard output"},
      {"sweep --json" + quick + " >/dev/full", 3, "standard output"},
      {"sweep --report /dev/full" + quick, 3, "/dev/full"},
      {"sweep --roi 0.45 0.2 0.55 0.8" + quick, 0, "expected at least 11"},
      {"sweep --windows 4x2 --from 0 --to 0 --sensor " + Path("uneven.json"), 0,
       "OverlapSumByColumns"},
      {"", 2, "subcommand"},
      {"focus --speed 3", 2, "--speed"},
      {"focus --start 1 --start-code 2", 2, "--start"},
      {"focus --fps nan", 2, "--fps"},
      {"focus --start-code inf", 2, "--start-code"},
      {"focus --frames 5 --curve-frame 5", 2, "--curve-frame"},
      {"focus --curve-window 9", 2, "--curve-window"},
      {"sweep --from 3 --to 1", 2, "--from"},
      {"sweep --windows 0x3", 2, "--windows"},
      {"sweep --windows 20x20", 2, "--windows"},
      {"sweep --roi 0.6 0 0.4 1", 2, "--roi"},
      {"sensors nosuch", 2, "nosuch"},
      {"sweep --sensor nosuch", 3, "s16, "},
      {"sweep --sensor " + Path("broken.json"), 3, "native.block"},
      {"sweep --scene nosuch" + quick, 3, "mixed, leaves"},
      {"sweep --scene " + Path("photo.png") + quick, 3, "photo.png: expected a PNG or JPEG"},
      {"sweep --csv /nosuch/folder/file" + quick, 3, "/nosuch/folder/file"},
      {"learn --k-error 3", 2, "--k-error"},
      {"adaptive", 2, "subcommand"},
      {"adaptive show /nosuch/file", 3, "/nosuch/file: expected a file that can be read"},
      {"sweep --library /nosuch/library.so" + quick, 4, "can't load the PD library"},
  });
}

TEST_F(Pdcam, FocusTellsAllInJsonCsvAndReport) {
  Write("small.json", test::kSmallSensor);
  const std::string arguments =
      "focus --json --sensor " + Path("small.json") +
      " --scene noise --roi 0.2 0.2 0.8 0.8 --frames 9 --start 14 --calls 2"
      " --cameras 2 --second-sensor " +
      Path("small.json") + " --seed 5 --csv " + Path("f.csv") + " --report " + Path("f.html");
  const Outcome outcome = Run(arguments);
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.errors, "");  // progress is for terminals
  const json result = json::parse(outcome.output);
  for (const char* name : {"sensor", "scene", "seed", "frames_to_focus", "final_true_phase_px",
                           "overshoot_steps", "within_1_step", "within_2_steps", "within_4_steps"})
    EXPECT_TRUE(result.contains(name)) << name;
  EXPECT_EQ(result["sensor"], "small");
  EXPECT_EQ(result["seed"], 5);
  ASSERT_EQ(result["frames"].size(), 9u);
  // Each frame has the ROI, its windows, and those around it that are valid.
  ptrdiff_t lines = 1;
  for (const json& frame : result["frames"]) {
    ASSERT_EQ(frame["windows"].size(), 9u);
    EXPECT_TRUE(frame["windows"][8]["confidence"].is_number());
    lines += 10 + static_cast<ptrdiff_t>(frame.value("peripheral", json::array()).size());
  }
  for (const char* name : {"index", "lens_position", "true_phase_px", "phase_px", "defocus",
                           "confidence", "processing_result"})
    EXPECT_TRUE(result["frames"][8][name].is_number()) << name;
  EXPECT_NEAR(result["frames"][0]["true_phase_px"], 14, 0.01);
  EXPECT_LT(std::abs(result["final_true_phase_px"].get<double>()), 1);
  EXPECT_EQ(result["other_cameras"][0]["seed"], 6);
  EXPECT_EQ(Run(arguments).output, outcome.output);

  const std::string csv = ReadFile(Path("f.csv"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), lines);
  std::string version = Run("--version").output;
  version.pop_back();
  for (const char* name : {"f.html", "f-1.html"}) {
    ExpectReport(Path(name));
    ExpectTexts(ReadFile(Path(name)), {version, "pdcam focus --json", ">--dcc-error</td><td>0.08<",
                                       ">--start</td><td>14<"});
  }
}

TEST_F(Pdcam, PrintsDescriptionsThatCanBeUsed) {
  Write("mine.json", Run("sensors s16-mirror").output);
  const std::string quick = " --json --from 3 --to 5 --roi 0.45 0.45 0.55 0.55 --windows 1x1";
  const Outcome mine = Run("sweep --sensor " + Path("mine.json") + quick);
  ASSERT_EQ(mine.status, 0) << mine.errors;
  EXPECT_EQ(mine.output, Run("sweep --sensor s16-mirror" + quick).output);
  EXPECT_EQ(json::parse(Run("sensors --json").output).size(), 15u);
}

// What the library is held to: on a sensor with a sample every four pixels, and on dual-PD sensors
// with one every pixel or two.
TEST_F(Pdcam, SweepStaysWithinItsErrors) {
  struct Case {
    const char* options;
    double meanAbs, worst;
  };
  const Case cases[] = {{"s16 --noise none", 0.25, 0.75},
                        {"s16 --noise little", 0.25, 0.75},
                        {"s16 --noise much", 0.45, 1.8},
                        {"dual --noise none", 0.13, 0.3},
                        {"dual-packed --noise little --scene texture", 0.2, 0.7},
                        {"dual-hdr --noise none --from -39 --to 39 --step 2.6", 0.13, 0.3}};
  for (const Case& c : cases) {
    const json result = RunJson("sweep --json --sensor " + std::string(c.options));
    const size_t count = result["points"].size();
    ASSERT_GE(count, 31u * 9);
    // Scored here from the points, not taken from the program.
    double sum = 0;
    double worst = 0;
    double products = 0;
    double squares = 0;
    for (const json& point : result["points"]) {
      const double truth = point["true_phase_px"];
      const double error = point["phase_px"].get<double>() - truth;
      sum += std::abs(error);
      worst = std::max(worst, std::abs(error));
      products += truth * point["phase_px"].get<double>();
      squares += truth * truth;
    }
    EXPECT_LE(sum / static_cast<double>(count), c.meanAbs) << c.options;
    EXPECT_LE(worst, c.worst) << c.options;
    EXPECT_NEAR(products / squares, 1, 0.01) << c.options;  // the true values are centred on 0
    EXPECT_NEAR(result["worst_px"], worst, 1e-9);
  }
}

TEST_F(Pdcam, FocusCheckFailsWhenTheLensHasNoTime) {
  const std::string quick = "focus --check --runs 1 --sensor s16 --roi 0.42 0.42 0.58 0.58 --csv " +
                            Path("b.csv") + " --report " + Path("b.html");
  EXPECT_EQ(Run(quick + " --frames 9").status, 0);
  EXPECT_EQ(Run(quick + " --frames 2").status, 1);
  // A line for each of the two runs, out of focus both.
  const std::string csv = ReadFile(Path("b.csv"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 3) << csv;
  ExpectTexts(csv, {",0\n\"s16\",-1,1,"});
  ExpectTexts(ReadFile(Path("b.html")),
              {"0 of 2 runs end in focus", "NOT in focus", ">--runs</td><td>1<"});
}

// The fixture looks for what it may have left behind.
TEST_F(Pdcam, EndsCleanlyWhenItIsStopped) {
  Write("small.json", test::kSmallSensor);
  const std::string many = "sweep --step 0.001 --windows 1x1 --sensor " + Path("small.json");
  Start(many);
  ASSERT_TRUE(Waits([this] { return !std::filesystem::is_empty(Path("tmp")); }));
  kill(process_, SIGTERM);
  // Nobody reads what it prints.
  Run("focus --json --frames 40 --sensor " + Path("small.json") + " | head -c 1");
}

}  // namespace

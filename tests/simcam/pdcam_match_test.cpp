// Two pictures through the program as users start it.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "pdcam_process.h"

namespace {

using nlohmann::json;
using test::Outcome;

constexpr int kWidth = 400;
constexpr int kHeight = 96;

class PdcamMatch : public test::PdcamProcess {
 protected:
  // Waves of many lengths along the row, moved to the right by `shift`, which may depend on place.
  template <class Shift>
  std::string Picture(const std::string& name, int largest, Shift shift) const {
    std::string pgm = "P5\n" + std::to_string(kWidth) + " " + std::to_string(kHeight) + "\n" +
                      std::to_string(largest) + "\n";
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const double at = x - shift(x);
        double light = 0.5;
        for (double length : {31.0, 43.0, 67.0, 97.0})
          light += 0.1 * std::sin(6.2831853 * at / length + y * 0.01 * length);
        const int code = static_cast<int>(std::lround(light * largest));
        if (largest > 255) pgm += static_cast<char>(code >> 8);
        pgm += static_cast<char>(code & 255);
      }
    }
    Write(name, pgm);
    return Path(name);
  }

  // Two of them as arguments.
  template <class Shift>
  std::string Views(Shift shift, int largest = 255) const {
    return Picture("a.pgm", largest, [](int) { return 0.0; }) + " " +
           Picture("b.pgm", largest, shift) + " ";
  }

  // A picture of 8 bits behind a lens that passes this share of its light at each place along the
  // row, from 0 to 1, on a sensor with this code of black.
  template <class Share>
  std::string Shaded(const std::string& name, std::string pgm, int black, Share share) const {
    const size_t start = pgm.size() - kWidth * kHeight;
    for (size_t i = start; i < pgm.size(); ++i) {
      const double x = static_cast<double>((i - start) % kWidth) / (kWidth - 1);
      pgm[i] = static_cast<char>(std::lround(black + static_cast<uint8_t>(pgm[i]) * share(x)));
    }
    Write(name, pgm);
    return Path(name);
  }
};

TEST_F(PdcamMatch, FindsTheShiftOfEveryWindow) {
  struct Case {
    const char* options;
    int largest;
    double left, right;  // shift of the second view at the picture's edges
    size_t windows;
    double edge = 0;  // the end of the search range, where the shift lies beyond it
  };
  const Case cases[] = {
      {"--grid 4x2", 255, 3, 3, 8},
      {"--grid 4x2", 255, -5.5, -5.5, 8},
      {"--grid 5x1 --no-overlap --binning 1 --search-range -8 8", 65535, -3, 3, 5},
      {"--grid 1x1 --roi 0.1 0.1 0.9 0.9 --binning 16", 4095, 2.25, 2.25, 1},
      {"--grid 2x1 --search-range -2 4", 255, 6, 6, 2, 4},
      {"--grid 2x1 --search-range -2 4", 255, -4, -4, 2, -2},
      {"--grid 2x1 --search-range -1 4", 255, 3, 3, 2},
  };
  for (const Case& c : cases) {
    const auto shift = [&](int x) { return c.left + (c.right - c.left) * x / kWidth; };
    const json result = RunJson("match " + Views(shift, c.largest) + "--json " + c.options);
    ASSERT_EQ(result["windows"].size(), c.windows);
    for (const json& window : result["windows"]) {
      // Within a quarter of a pixel: the fit's own error is a twelfth, and the ramp changes by one
      // across a window.
      EXPECT_EQ(window["at_edge"], c.edge != 0) << c.options;
      EXPECT_NEAR(window["phase_px"], c.edge != 0 ? c.edge : shift(window["middle_px"][0]), 0.25)
          << c.options;
      EXPECT_GT(window["confidence"], 100) << c.options;
    }
  }
}

TEST_F(PdcamMatch, TellsAllInJsonCsvAndReport) {
  const json result =
      RunJson("match " + Views([](int) { return 2.0; }) + "--json --grid 3x2 --csv " +
              Path("m.csv") + " --report " + Path("m.html"));
  EXPECT_EQ(result["left"], Path("a.pgm"));
  EXPECT_EQ(result["image"], json::array({kWidth, kHeight}));
  ASSERT_EQ(result["windows"].size(), 6u);
  for (const char* name :
       {"row", "column", "phase_px", "confidence", "range_low", "range_high", "defocus"})
    EXPECT_TRUE(result["windows"][5][name].is_number()) << name;
  const json& last = result["windows"][5];
  EXPECT_EQ(last["row"].get<int>() * 10 + last["column"].get<int>(), 12);
  // 12 units of defocus for a pixel unless told otherwise; the range, of whole pixels, lies around
  // the result.
  EXPECT_NEAR(last["defocus"].get<double>(), 12 * last["phase_px"].get<double>(), 1);
  const int low = last["range_low"], high = last["range_high"], defocus = last["defocus"];
  EXPECT_LE(std::min(low, high) - 12, defocus);
  EXPECT_GE(std::max(low, high) + 12, defocus);
  const std::string csv = ReadFile(Path("m.csv"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 8);
  ExpectReport(Path("m.html"));
}

// A match beyond the search range is said to be one, to people as well.
TEST_F(PdcamMatch, SaysWhatLiesAtTheEdge) {
  const std::string views = Views([](int) { return 3.0; });
  for (const char* range : {"-4 2", "-2 8"}) {
    const bool isBeyond = std::string(range) == "-4 2";
    const Outcome outcome = Run("match " + views + "--grid 3x1 --search-range " + range +
                                " --report " + Path("m.html"));
    EXPECT_EQ(outcome.output.find("3 of 3 windows matched best at the edge of the search range, -4 "
                                  "to 2 pixels") != std::string::npos,
              isBeyond);
    EXPECT_EQ(outcome.output.find("edge") != std::string::npos, isBeyond) << outcome.output;
    EXPECT_EQ(ReadFile(Path("m.html")).find("at the edge") != std::string::npos, isBeyond);
  }
}

// The right view has less light, the more so to the right, and both stand on black: gains from
// numbers or from white fields make up for it, and both views keep their ratio.
TEST_F(PdcamMatch, TakesBlackLevelAndGains) {
  const auto leftShare = [](double x) { return 0.5 + 0.4 * x; };
  const auto rightShare = [](double x) { return 0.7 - 0.4 * x; };
  const std::string white = "P5\n" + std::to_string(kWidth) + " " + std::to_string(kHeight) +
                            "\n255\n" + std::string(kWidth * kHeight, '\xff');
  Views([](int) { return 2.0; });
  const std::string views = Shaded("l.pgm", ReadFile(Path("a.pgm")), 20, leftShare) + " " +
                            Shaded("r.pgm", ReadFile(Path("b.pgm")), 20, rightShare);
  const std::string fields = " --left-gains " + Shaded("lf.pgm", white, 20, leftShare) +
                             " --right-gains " + Shaded("rf.pgm", white, 20, rightShare);
  std::vector<double> leftGains, rightGains;
  for (int i = 0; i <= 16; ++i) {
    leftGains.push_back(1 / leftShare(i / 16.0));
    rightGains.push_back(1 / rightShare(i / 16.0));
  }
  Write("l.json", json{leftGains, leftGains}.dump());
  Write("r.json", json{rightGains, rightGains}.dump());
  const auto match = [&](const std::string& options) {
    const json window = RunJson("match " + views + " --json --grid 1x1 " + options)["windows"][0];
    return std::pair(window["confidence"].get<int>(), window["phase_px"].get<double>());
  };
  const auto plain = match("--black-level 20");
  const std::string numbers =
      " --left-gains " + Path("l.json") + " --right-gains " + Path("r.json");
  const auto exact = match("--black-level 20" + numbers);
  for (const std::string& gains : {numbers, fields}) {
    const auto corrected = match("--black-level 20" + gains);
    EXPECT_GT(corrected.first, plain.first + 100) << gains;
    EXPECT_NEAR(corrected.first, exact.first, 10) << gains;
    EXPECT_NEAR(corrected.second, 2, 0.05) << gains;
    EXPECT_LT(std::abs(corrected.second - 2), std::abs(plain.second - 2)) << gains;
    EXPECT_GT(corrected.first, match(gains).first) << gains;
  }
}

TEST_F(PdcamMatch, TellsByItsStatusWhatWentWrong) {
  const std::string left = Picture("a.pgm", 255, [](int) { return 0.0; });
  const std::string deep = Picture("deep.pgm", 65535, [](int) { return 0.0; });
  Write("small.pgm", "P5\n2 2\n255\n1234");
  Write("gains.json", "[[1, 1], [1, 1]]");
  Write("wide.json", "[[1, 1, 1], [1, 1, 1]]");
  ExpectOutcomes({
      {"match --help", 0, ""},
      {"match", 2, "left"},
      {"match " + left, 2, "right"},
      {"match a b --grid 20x20", 2, "--grid"},
      {"match a b --roi 0.5 0 0.5 1", 2, "--roi"},
      {"match a b --search-range 4 8", 2, "--search-range"},
      {"match a b --binning 3", 2, "--binning"},
      {"match a b --left-gains x", 2, "--right-gains"},
      {"match " + left + " /nosuch.pgm", 3, "/nosuch.pgm: expected a PGM"},
      {"match " + Path("gains.json") + " " + left, 3, "gains.json: expected a PGM"},
      {"match " + left + " " + Path("small.pgm"), 3,
       "small.pgm: expected 400 x 96 pixels of 8 bits as in " + left + ", found 2 x 2 of 8"},
      {"match " + left + " " + deep, 3, "found 400 x 96 of 16"},
      {"match " + Path("small.pgm") + " " + Path("small.pgm"), 3, "expected at least 49 pixels"},
      {"match " + left + " " + left + " --grid 8x4", 3,
       "expected at least 49 pixels for each of 9"},
      {"match " + left + " " + left + " --grid 4x16", 3, "expected at least 6 lines"},
      {"match " + left + " " + left + " --left-gains " + Path("gains.json") + " --right-gains " +
           Path("wide.json"),
       3, "wide.json: expected a map of the size of that in"},
      {"match " + left + " " + left + " --library /nosuch.so --grid 4x2", 4, "can't load"},
  });
}

}  // namespace

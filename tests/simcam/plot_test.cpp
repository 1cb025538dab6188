// Reports and their parts: what is drawn stays in its place, and what failed is called so.
#include "plot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>

#include "report.h"
#include "report_page.h"
#include "small_sensor.h"

namespace {

// The texts of a drawing with the places that the pattern's groups catch.
std::vector<std::smatch> Matches(const std::string& svg, const std::regex& pattern) {
  return {std::sregex_iterator(svg.begin(), svg.end(), pattern), std::sregex_iterator()};
}

TEST(PlotTest, EndsWhateverTheRange) {
  using Points = simcam::Plot::Points;
  for (const Points& points :
       {Points{}, Points{{0, 0}}, Points{{0, 192}, {1, 192}},
        Points{{0, 192}, {1, std::nextafter(192.0, 193.0)}}, Points{{0, -1e-300}, {1, 1e-300}}}) {
    simcam::Plot plot("", "", "");
    plot.AddLine("", "#000", points);
    EXPECT_LT(plot.Svg().size(), 20000u);
  }
}

// A letter takes at least half of its height.
TEST(PlotTest, LegendStaysInside) {
  simcam::Plot plot("", "", "");
  for (int i = 0; i < 9; ++i) plot.AddLine("a name of some length", "#000", {{0, 0}});
  const std::string svg = plot.Svg();
  const auto names = Matches(svg, std::regex("x=\"([0-9.]+)\" y=\"([0-9.]+)\".*>(a name[^<]*)<"));
  ASSERT_EQ(names.size(), 9u);
  for (const std::smatch& name : names)
    EXPECT_LT(std::stod(name[1]) + 6.0 * static_cast<double>(name[3].length()), 400);
  EXPECT_NE(names.front()[2], names.back()[2]);
}

TEST(ReportTest, LabelsFitTheirTiles) {
  for (const auto& [columns, rows] : {std::pair(1, 1), {3, 3}, {8, 6}, {20, 10}, {2, 20}}) {
    const simcam::Tiles tiles{columns, rows};
    PDLibDefocusInfo info{};
    info.phaseDiff = -36.06f;
    info.confidence = 1023;
    const std::string svg = simcam::TileFigure(
        "", 400, 300, tiles,
        std::vector<PDLibDefocusInfo>(static_cast<size_t>(columns * rows), info));
    double above = 0;
    for (const std::smatch& label :
         Matches(svg, std::regex("font-size:([0-9.]+)px\" x=.* y=\"([0-9.]+)\">([^<]+)<"))) {
      const double size = std::stod(label[1]);
      EXPECT_LT(0.55 * size * static_cast<double>(label[3].length()), 400.0 / columns);
      // The confidence stands below the phase difference.
      const bool isConfidence = label[3].str()[0] == 'c';
      EXPECT_GT(std::stod(label[2]) - 0.8 * size, isConfidence ? above : 0);
      above = std::stod(label[2]);
    }
  }
}

TEST(ReportTest, SaysThatARunFailed) {
  for (const bool hasFailed : {false, true}) {
    simcam::FocusResult result;
    result.sensor = test::SmallSensor();
    result.camera.scene = "noise";
    result.frames.resize(2);
    for (simcam::FocusFrame& frame : result.frames) {
      frame.isProcessed = !hasFailed;
      frame.windows.resize(result.camera.columns * result.camera.rows);
    }
    if (!hasFailed) result.scores.framesToFocus = 3;
    simcam::RunRecord run{"pdcam focus --seed <1>", "1.2.3", {{"--seed", "1", true}}, {}};
    if (hasFailed) run.failures = {"K is off"};
    const std::string report = FocusReport(result, run);
    for (const char* message : {"The camera was not in focus after 2 frames",
                                "failed on 2 of 2 frames", "K is off", "Failed"})
      EXPECT_EQ(report.find(message) != std::string::npos, hasFailed) << message;
    for (const char* text : {"pdcam focus --seed &lt;1&gt;", "1.2.3", "<td>--seed</td><td>1</td>"})
      EXPECT_NE(report.find(text), std::string::npos) << text;
  }
}

}  // namespace

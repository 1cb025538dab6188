#include <algorithm>
#include <cmath>

#include "picture.h"
#include "plot.h"
#include "report.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

constexpr int kMapWidth = 720;
constexpr int kMapPixels = 1080;
constexpr double kSmallestFullColourPx = 1;
// Windows below this are left out of the plots' lines: the tools' usual threshold.
const uint32_t kConfident = static_cast<uint32_t>(TuningChoices{}.defocusConfidenceThreshold);

double Phase(const MatchWindow& window) {
  return static_cast<double>(window.measured.phaseDiff);
}

bool IsConfident(const MatchWindow& window) {
  return window.measured.confidence > kConfident;
}

// The colours end where the confident windows do.
double FullColourPx(const MatchResult& result) {
  double largest = kSmallestFullColourPx;
  for (const MatchWindow& window : result.windows)
    if (IsConfident(window)) largest = std::max(largest, std::abs(Phase(window)));
  return largest;
}

std::string PhaseMap(const MatchResult& result) {
  const MatchSettings& settings = result.settings;
  const auto pixel = [](float share, int size) {
    return static_cast<int>(static_cast<double>(share) * size);
  };
  const Area part{
      pixel(settings.roi.startX, result.left.width), pixel(settings.roi.startY, result.left.height),
      pixel(settings.roi.endX, result.left.width), pixel(settings.roi.endY, result.left.height)};
  const int height = std::max(kMapWidth * part.Height() / std::max(part.Width(), 1), 16);
  std::vector<PDLibDefocusInfo> windows;
  for (const MatchWindow& window : result.windows) windows.push_back(window.measured);
  Tiles tiles{settings.columns, settings.rows};
  tiles.fullColourPx = FullColourPx(result);
  tiles.confidentFrom = kConfident;
  // On a narrow screen the map is shown at less than half its size.
  tiles.labelHeight = 22;
  return TileFigure(FilePicture(result.left, part, kMapPixels), kMapWidth, height, tiles, windows);
}

// All windows as dots, and the mean of the confident ones at each place along an axis as a line.
template <class Place>
std::string Along(const MatchResult& result, const char* title, const char* axis, Place place) {
  Plot plot(title, axis, "phase difference, pixels");
  plot.IncludeY(0);
  Plot::Points unsure;
  Plot::Points sure;
  std::vector<std::pair<double, std::pair<double, int>>> sums;
  for (const MatchWindow& window : result.windows) {
    (IsConfident(window) ? sure : unsure).emplace_back(place(window), Phase(window));
    if (!IsConfident(window)) continue;
    const auto at = std::find_if(sums.begin(), sums.end(),
                                 [&](const auto& sum) { return sum.first == place(window); });
    auto& sum = at != sums.end() ? *at : sums.emplace_back(place(window), std::pair(0.0, 0));
    sum.second.first += Phase(window);
    ++sum.second.second;
  }
  std::sort(sums.begin(), sums.end());
  Plot::Points means;
  for (const auto& [at, sum] : sums) means.emplace_back(at, sum.first / sum.second);
  if (!unsure.empty()) plot.AddDots("not confident", color::kWarn, unsure, Plot::Marker::kCross);
  plot.AddDots("windows", color::kWindows, sure, Plot::Marker::kRing);
  plot.AddLine("mean of the confident", color::kMeasured, means);
  return plot.Svg();
}

std::string WindowTable(const MatchResult& result) {
  std::vector<std::vector<std::string>> rows;
  const auto add = [&](const std::string& row, const std::string& column, const std::string& x,
                       const std::string& y, const PDLibDefocusInfo& measured) {
    rows.push_back({row, column, x, y, Fixed(static_cast<double>(measured.phaseDiff), 3),
                    std::to_string(measured.confidence), std::to_string(measured.rangeLow),
                    std::to_string(measured.rangeHigh), std::to_string(measured.defocus),
                    IsAtEdge(result.settings, measured) ? "at the edge" : ""});
  };
  add("whole ROI", "", "", "", result.whole);
  for (const MatchWindow& window : result.windows)
    add(std::to_string(window.row), std::to_string(window.column), Fixed(window.x, 0),
        Fixed(window.y, 0), window.measured);
  return Table("Windows",
               {"row", "column", "x, px", "y, px", "phase, px", "confidence", "range low",
                "range high", "defocus", "of the search range"},
               rows);
}

Facts Comparison(const MatchResult& result) {
  const MatchSettings& settings = result.settings;
  const GreyPicture& left = result.left;
  return {{"left view", result.leftPath},
          {"right view", result.rightPath},
          {"pictures", std::to_string(left.width) + " x " + std::to_string(left.height) +
                           " pixels of " + std::to_string(left.bits) + " bits"},
          {"windows",
           WindowsText(settings.columns, settings.rows, settings.isOverlapped, settings.roi)},
          {"search range", std::to_string(settings.searchFrom) + " to " +
                               std::to_string(settings.searchTo) + " pixels"},
          {"black level", std::to_string(settings.blackLevel)},
          {"gains", settings.gains.empty()
                        ? "none"
                        : std::to_string(settings.gains.front().columns) + " x " +
                              std::to_string(settings.gains.front().rows) + " of each view"},
          {"lines added up", std::to_string(settings.binning)},
          {"defocus per pixel", std::to_string(settings.defocusPerPx)}};
}

}  // namespace

std::string MatchReport(const MatchResult& result, const RunRecord& run) {
  const MatchSettings& settings = result.settings;
  const auto confident = std::count_if(result.windows.begin(), result.windows.end(), IsConfident);
  const double shown = FullColourPx(result);
  std::string body =
      Failures(run.failures) + Notice(EdgeWarning(result)) +
      Cards(
          {{Fixed(static_cast<double>(result.whole.phaseDiff), 2) + " px", "the whole ROI as one"},
           {std::to_string(result.whole.confidence), "its confidence"},
           {std::to_string(confident) + " of " + std::to_string(result.windows.size()),
            "windows with a confidence above " + std::to_string(kConfident)}});
  body += "<h2>Phase difference over the picture</h2>\n";
  body +=
      "<figure class=\"wide\">\n" + PhaseMap(result) + TileKeys(kConfident, shown) +
      "<figcaption>The left view, each window's place marked by its phase difference in pixels: "
      "positive where the right view lies to the right of the left one. Windows that overlap are "
      "drawn side by side.</figcaption>\n</figure>\n";
  body += "<h2>Along the axes</h2>\n";
  body += Figures(
      {{Along(result, "Across", "x, pixels", [](const MatchWindow& window) { return window.x; }),
        "Every window by the column it stands in."},
       {Along(result, "Down", "y, pixels", [](const MatchWindow& window) { return window.y; }),
        "Every window by its row."}});
  body += WindowTable(result) + SettingsSection(run, FactTable("Comparison", Comparison(result)));
  return Page("Two views matched",
              "Left " + result.leftPath + ", right " + result.rightPath + ", search range " +
                  std::to_string(settings.searchFrom) + " to " + std::to_string(settings.searchTo) +
                  " pixels",
              body);
}

}  // namespace simcam

#include "report_page.h"

#include <algorithm>
#include <cmath>

#include "picture.h"
#include "report.h"
#include "text.h"

namespace simcam {
namespace {

constexpr int kSceneWidth = 640;
constexpr int kRoiWidth = 480;

constexpr const char* kStyle = R"css(
:root { color-scheme: light; }
body { font: 15px/1.5 system-ui, -apple-system, "Segoe UI", "Liberation Sans", Arial, sans-serif;
  color: #20242b; background: #f6f7f9; margin: 0; }
main { max-width: 1120px; margin: 0 auto; padding: 28px 24px 48px; }
h1 { font-size: 26px; line-height: 1.25; margin: 0 0 4px; }
h2 { font-size: 17px; margin: 34px 0 10px; }
.sub { color: #5d6470; margin: 0 0 22px; }
.cards { display: grid; grid-template-columns: repeat(auto-fit, minmax(150px, 1fr)); gap: 12px; }
.card { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; padding: 12px 14px; }
.card b { display: block; font-size: 22px; font-weight: 600; }
.card span { color: #5d6470; font-size: 13px; }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(460px, 1fr)); gap: 16px; }
figure { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; margin: 0;
  padding: 12px 12px 8px; }
figure svg { display: block; width: 100%; height: auto; }
figcaption { color: #5d6470; font-size: 13px; padding: 6px 4px 0; }
svg text { font-family: inherit; fill: #3b414b; }
svg .title { font-size: 15px; font-weight: 600; fill: #20242b; }
svg .axis { font-size: 12.5px; fill: #5d6470; }
svg .tick { font-size: 11.5px; fill: #5d6470; }
svg .mark { font-size: 12px; fill: inherit; }
svg .grid { stroke: #eceef1; stroke-width: 1; }
svg .zero { stroke: #b9bfc8; stroke-width: 1; }
svg .band { fill: #e4f3ea; }
svg .tile { font-size: 17px; font-weight: 600; fill: #fff; stroke: #111; stroke-width: 3px;
  paint-order: stroke; }
svg .small { font-size: 11.5px; fill: #fff; stroke: #111; stroke-width: 2.5px;
  paint-order: stroke; }
.scroll { overflow-x: auto; background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; }
table { border-collapse: collapse; width: 100%; font-size: 13.5px;
  font-variant-numeric: tabular-nums; }
th, td { text-align: right; padding: 5px 12px; border-bottom: 1px solid #eceef1; }
th { color: #5d6470; font-weight: 600; }
th:first-child, td:first-child { text-align: left; }
.facts td, .facts th { text-align: left; }
details { margin-top: 34px; }
summary { font-size: 17px; font-weight: 600; cursor: pointer; }
pre { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; padding: 10px 12px;
  overflow-x: auto; font-size: 13px; }
tr:last-child td { border-bottom: 0; }
)css";

// Green in focus, blue and red to the two sides.
std::string PhaseColour(double phase, double fullColourPx) {
  const double away = std::clamp(std::abs(phase) / fullColourPx, 0.0, 1.0);
  const double hue = phase > 0 ? 130 - 130 * away : 130 + 95 * away;
  return "hsl(" + Fixed(hue, 0) + ",75%,45%)";
}

std::string Picture(const std::string& uri, int width, int height) {
  return "<image href=\"" + uri + "\" width=\"" + std::to_string(width) + "\" height=\"" +
         std::to_string(height) + "\" preserveAspectRatio=\"none\"/>\n";
}

std::string SvgOpen(int width, int height, const std::string& label) {
  return "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
         "\" role=\"img\" aria-label=\"" + label + "\">\n";
}

// The ROI in the scene as it lies before the lens: a mirrored readout sees it from the other side.
PDLibWindow RoiInScene(const SensorDescription& sensor, PDLibWindow roi) {
  if (sensor.IsMirrored()) roi = {1 - roi.endX, roi.startY, 1 - roi.startX, roi.endY};
  if (sensor.IsFlipped()) roi = {roi.startX, 1 - roi.endY, roi.endX, 1 - roi.startY};
  return roi;
}

std::string SampleText(const SensorDescription& sensor, const CameraSettings& settings) {
  if (!sensor.IsDual())
    return std::to_string(sensor.native.pixels.size() / 2) + " pairs of PD pixels in each of " +
           std::to_string(sensor.blocksAcross) + " x " + std::to_string(sensor.blocksDown) +
           " blocks";
  constexpr const char* kPackings[] = {"bytes", "packed tens", "words"};
  const DualLayout& dual = *sensor.dual;
  std::string text = "one of each view at " + std::to_string(sensor.blocksAcross) + " x " +
                     std::to_string(sensor.blocksDown) + " sites, as " +
                     kPackings[static_cast<int>(dual.packing)];
  if (sensor.IsHdr()) text += ", odd columns exposed 1/" + std::to_string(dual.exposureRatio);
  return text + ", split noise " + Short(settings.noise.split.value_or(dual.splitNoise));
}

}  // namespace

std::string Page(const std::string& title, const std::string& subtitle, const std::string& body) {
  return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
         EscapeHtml(title) + "</title>\n<style>" + kStyle +
         "</style>\n</head>\n<body>\n<main>\n<h1>" + EscapeHtml(title) +
         "</h1>\n<p class=\"sub\">" + EscapeHtml(subtitle) + "</p>\n" + body +
         "</main>\n</body>\n</html>\n";
}

std::string Cards(const std::vector<std::pair<std::string, std::string>>& cards) {
  std::string html = "<div class=\"cards\">\n";
  for (const auto& [value, meaning] : cards)
    html += "<div class=\"card\"><b>" + EscapeHtml(value) + "</b><span>" + EscapeHtml(meaning) +
            "</span></div>\n";
  return html + "</div>\n";
}

std::string Figures(const std::vector<std::pair<std::string, std::string>>& figures) {
  std::string html = "<div class=\"figures\">\n";
  for (const auto& [svg, caption] : figures)
    html +=
        "<figure>\n" + svg + "<figcaption>" + EscapeHtml(caption) + "</figcaption>\n</figure>\n";
  return html + "</div>\n";
}

std::string Table(const std::string& caption, const std::vector<std::string>& head,
                  const std::vector<std::vector<std::string>>& rows) {
  std::string html = "<h2>" + EscapeHtml(caption) + "</h2>\n<div class=\"scroll\"><table>\n<tr>";
  for (const std::string& cell : head) html += "<th>" + EscapeHtml(cell) + "</th>";
  html += "</tr>\n";
  for (const auto& row : rows) {
    html += "<tr>";
    for (const std::string& cell : row) html += "<td>" + EscapeHtml(cell) + "</td>";
    html += "</tr>\n";
  }
  return html + "</table></div>\n";
}

std::string TuningName(const CameraSettings& settings) {
  if (settings.tuning == nullptr) return "of the sensor's description";
  return settings.tuning->File().Path() + ", " + settings.tuning->Name();
}

std::string WindowsText(int columns, int rows, bool isOverlapped, const PDLibWindow& roi) {
  const auto fraction = [](float value) {
    return Short(std::round(static_cast<double>(value) * 1e4) / 1e4);
  };
  return std::to_string(columns) + " x " + std::to_string(rows) +
         (isOverlapped ? ", overlapping by half" : "") + ", ROI " + fraction(roi.startX) + " " +
         fraction(roi.startY) + " to " + fraction(roi.endX) + " " + fraction(roi.endY);
}

Facts CameraFacts(const SensorDescription& sensor, const CameraSettings& settings) {
  return {
      {"sensor", sensor.name + ": " + sensor.about},
      {"tuning", TuningName(settings)},
      {"image", std::to_string(sensor.imageWidth) + " x " + std::to_string(sensor.imageHeight) +
                    " pixels, one sample step is " + std::to_string(sensor.SampleStepPx()) +
                    " pixels"},
      {"samples", SampleText(sensor, settings)},
      {"scene, seed", settings.scene + ", " + std::to_string(settings.seed)},
      {"noise", Short(settings.noise.variancePerCode) + " codes² per code, read noise " +
                    Short(settings.noise.readNoise) + " codes, at " +
                    std::to_string(sensor.pixelDepth) + " bits"},
      {"lens shading", Short(100 * settings.shading) + " %"},
      {"blur", Short(settings.optics.blurPerPx) +
                   " pixels (standard deviation) per pixel of phase difference"},
      {"windows", WindowsText(static_cast<int>(settings.columns), static_cast<int>(settings.rows),
                              sensor.tuning.gridOverlap, settings.roi)},
      {"calls a frame", std::to_string(settings.callsPerFrame)},
      {"search range", std::to_string(sensor.tuning.searchFrom) + " to " +
                           std::to_string(sensor.tuning.searchTo) + " pixels"}};
}

std::string FactTable(const std::string& caption, const Facts& facts) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& [name, value] : facts) rows.push_back({name, value});
  return "<div class=\"facts\">\n" + Table(caption, {"what", "value"}, rows) + "</div>\n";
}

std::string SettingsSection(const RunRecord& run, const std::string& tables) {
  std::string html = "<details>\n<summary>Settings</summary>\n";
  if (!run.commandLine.empty())
    html += "<p>Run as</p>\n<pre>" + EscapeHtml(run.commandLine) + "</pre>\n";
  if (!run.version.empty()) html += "<p>Version " + EscapeHtml(run.version) + "</p>\n";
  html += tables;
  std::vector<std::vector<std::string>> rows;
  for (const RunRecord::Option& option : run.options)
    rows.push_back({option.name, option.value, option.isGiven ? "given" : "default"});
  if (!rows.empty())
    html +=
        "<div class=\"facts\">\n" + Table("Options", {"option", "value", ""}, rows) + "</div>\n";
  return html + "</details>\n";
}

std::string TileFigure(const std::string& pictureUri, int width, int height, const Tiles& tiles,
                       const std::vector<PDLibDefocusInfo>& windows) {
  std::string svg =
      SvgOpen(width, height, "the windows coloured by result") + Picture(pictureUri, width, height);
  const double cellWidth = static_cast<double>(width) / tiles.columns;
  const double cellHeight = static_cast<double>(height) / tiles.rows;
  for (size_t i = 0; i < windows.size(); ++i) {
    const int column = static_cast<int>(i) % tiles.columns;
    const int row = static_cast<int>(i) / tiles.columns;
    const double x = (tiles.isMirrored ? tiles.columns - 1 - column : column) * cellWidth;
    const double y = (tiles.isFlipped ? tiles.rows - 1 - row : row) * cellHeight;
    const double sure = std::min(windows[i].confidence / 1023.0, 1.0);
    const double phase = static_cast<double>(windows[i].phaseDiff);
    const std::string colour = PhaseColour(phase, tiles.fullColourPx);
    svg += "<rect x=\"" + Fixed(x + 1, 1) + "\" y=\"" + Fixed(y + 1, 1) + "\" width=\"" +
           Fixed(cellWidth - 2, 1) + "\" height=\"" + Fixed(cellHeight - 2, 1) + "\" fill=\"" +
           colour + "\" fill-opacity=\"" + Fixed(0.06 + (tiles.fullOpacity - 0.06) * sure, 2) +
           "\" stroke=\"" + colour + "\" stroke-width=\"2\"/>\n";
    if (cellWidth < 60 || cellHeight < 40) continue;
    svg += "<text class=\"tile\" text-anchor=\"middle\" x=\"" + Fixed(x + cellWidth / 2, 1) +
           "\" y=\"" + Fixed(y + cellHeight / 2 + 2, 1) + "\">" + Fixed(phase, 2) + " px</text>\n" +
           "<text class=\"small\" text-anchor=\"middle\" x=\"" + Fixed(x + cellWidth / 2, 1) +
           "\" y=\"" + Fixed(y + cellHeight / 2 + 19, 1) + "\">confidence " +
           std::to_string(windows[i].confidence) + "</text>\n";
  }
  return svg + "</svg>\n";
}

std::string ColourScale(double fullColourPx, int width) {
  constexpr int kSteps = 48;
  constexpr int kHeight = 36;
  std::string svg = SvgOpen(width, kHeight, "phase difference by colour");
  for (int step = 0; step < kSteps; ++step) {
    const double phase = (2.0 * (step + 0.5) / kSteps - 1) * fullColourPx;
    svg += "<rect x=\"" + Fixed(static_cast<double>(width) * step / kSteps, 1) +
           "\" y=\"0\" width=\"" + Fixed(static_cast<double>(width) / kSteps + 0.5, 1) +
           "\" height=\"14\" fill=\"" + PhaseColour(phase, fullColourPx) + "\"/>\n";
  }
  const auto tick = [&](double x, const char* anchor, double phase) {
    svg += "<text class=\"tick\" text-anchor=\"" + std::string(anchor) + "\" x=\"" + Fixed(x, 0) +
           "\" y=\"30\">" + Fixed(phase, 1) + " px</text>\n";
  };
  tick(0, "start", -fullColourPx);
  tick(width / 2.0, "middle", 0);
  tick(width, "end", fullColourPx);
  return svg + "</svg>\n";
}

std::string SceneFigure(const SensorDescription& sensor, const CameraSettings& settings) {
  const int height = kSceneWidth * sensor.imageHeight / sensor.imageWidth;
  const PDLibWindow roi = RoiInScene(sensor, settings.roi);
  const auto x = [&](float share) { return Fixed(static_cast<double>(share) * kSceneWidth, 1); };
  const auto y = [&](float share) { return Fixed(static_cast<double>(share) * height, 1); };
  return SvgOpen(kSceneWidth, height, "the scene with the ROI") +
         Picture(ScenePicture(sensor, settings, kSceneWidth), kSceneWidth, height) + "<rect x=\"" +
         x(roi.startX) + "\" y=\"" + y(roi.startY) + "\" width=\"" + x(roi.endX - roi.startX) +
         "\" height=\"" + y(roi.endY - roi.startY) +
         "\" fill=\"none\" stroke=\"#ffd54a\" stroke-width=\"2.5\"/>\n</svg>\n";
}

std::string RoiFigure(const SensorDescription& sensor, const CameraSettings& settings,
                      double truePhasePx, const std::vector<PDLibDefocusInfo>& windows) {
  const PDLibWindow& roi = settings.roi;
  const double shape = static_cast<double>((roi.endY - roi.startY)) * sensor.imageHeight /
                       (static_cast<double>(roi.endX - roi.startX) * sensor.imageWidth);
  const int height = std::max(static_cast<int>(kRoiWidth * shape), 16);
  Tiles tiles{static_cast<int>(settings.columns), static_cast<int>(settings.rows),
              sensor.IsMirrored(), sensor.IsFlipped()};
  return TileFigure(RoiPicture(sensor, settings, truePhasePx, kRoiWidth), kRoiWidth, height, tiles,
                    windows);
}

}  // namespace simcam

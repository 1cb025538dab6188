// The parts of a page.
#include "report_page.h"

#include <cmath>

#include "report.h"
#include "report_style.h"
#include "text.h"

namespace simcam {
namespace {

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
         EscapeHtml(title) + "</title>\n<style>" + kReportStyle +
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

std::string Failures(const std::vector<std::string>& failures) {
  if (failures.empty()) return "";
  std::string html = "<div class=\"notice failed\" role=\"alert\"><b>Failed</b><ul>\n";
  for (const std::string& failure : failures) html += "<li>" + EscapeHtml(failure) + "</li>\n";
  return html + "</ul></div>\n";
}

std::string Notice(const std::string& text) {
  return text.empty() ? "" : "<p class=\"notice\">" + EscapeHtml(text) + "</p>\n";
}

std::string Figures(const std::vector<std::pair<std::string, std::string>>& figures) {
  // Two and two look better than three and one.
  std::string html =
      figures.size() % 3 == 1 ? "<div class=\"figures even\">\n" : "<div class=\"figures\">\n";
  for (const auto& [svg, caption] : figures)
    html +=
        "<figure>\n" + svg + "<figcaption>" + EscapeHtml(caption) + "</figcaption>\n</figure>\n";
  return html + "</div>\n";
}

std::string Table(const std::string& caption, const std::vector<std::string>& head,
                  const std::vector<std::vector<std::string>>& rows) {
  std::string html = "<h2>" + EscapeHtml(caption) +
                     "</h2>\n<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"" +
                     EscapeHtml(caption) + "\"><table>\n<tr>";
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

}  // namespace simcam

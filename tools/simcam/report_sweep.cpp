#include <algorithm>
#include <cmath>
#include <map>

#include "plot.h"
#include "report.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

double MeasuredPhase(const SweepPoint& point) {
  return static_cast<double>(point.measured.phaseDiff);
}

template <class Value>
Plot::Points ByPhase(const std::vector<SweepPoint>& points, Value value) {
  Plot::Points plotted;
  for (const SweepPoint& point : points) plotted.emplace_back(point.truePhasePx, value(point));
  return plotted;
}

std::string MeasuredAgainstTrue(const SweepResult& result) {
  Plot plot("Measured against true", "true phase difference, pixels", "measured, pixels");
  plot.AddDots("windows", color::kWindows, ByPhase(result.points, MeasuredPhase),
               Plot::Marker::kRing);
  plot.AddLine("whole ROI", color::kMeasured, ByPhase(result.roiPoints, MeasuredPhase));
  plot.AddLine("no error", color::kTruth,
               ByPhase(result.roiPoints, [](const SweepPoint& p) { return p.truePhasePx; }),
               Plot::Line::kDashed);
  return plot.Svg();
}

std::string Errors(const SweepResult& result) {
  const auto error = [](const SweepPoint& point) {
    return MeasuredPhase(point) - point.truePhasePx;
  };
  Plot plot("Error", "true phase difference, pixels", "measured - true, pixels");
  plot.IncludeY(0.5);
  plot.IncludeY(-0.5);
  plot.AddDots("windows", color::kWindows, ByPhase(result.points, error), Plot::Marker::kRing);
  plot.AddLine("whole ROI", color::kMeasured, ByPhase(result.roiPoints, error));
  return plot.Svg();
}

std::string Defocus(const SweepResult& result) {
  Plot plot("Defocus", "true defocus, actuator codes", "measured, actuator codes");
  Plot::Points windows;
  Plot::Points truth;
  for (const SweepPoint& point : result.points)
    windows.emplace_back(point.trueDefocus, point.measured.defocus);
  for (const SweepPoint& point : result.roiPoints)
    truth.emplace_back(point.trueDefocus, point.trueDefocus);
  plot.AddDots("windows", color::kMeasured, windows, Plot::Marker::kRing);
  plot.AddLine("no error", color::kTruth, truth, Plot::Line::kDashed);
  return plot.Svg();
}

std::string Confidence(const SweepResult& result) {
  const auto confidence = [](const SweepPoint& point) {
    return static_cast<double>(point.measured.confidence);
  };
  Plot plot("Confidence", "true phase difference, pixels", "confidence, 0 to 1023");
  plot.IncludeY(0);
  plot.IncludeY(1023);
  plot.AddDots("windows", color::kConfidence, ByPhase(result.points, confidence),
               Plot::Marker::kRing);
  plot.AddLine("whole ROI", color::kConfidence, ByPhase(result.roiPoints, confidence));
  plot.AddLine(
      "threshold", color::kWarn,
      ByPhase(result.roiPoints,
              [&](const SweepPoint&) { return result.sensor.tuning.defocusConfidenceThreshold; }),
      Plot::Line::kDotted);
  return plot.Svg();
}

std::vector<std::string> ScoreRow(const std::string& name, const ErrorScores& scores) {
  return {name,
          std::to_string(scores.points),
          Fixed(scores.bias, 3),
          Fixed(scores.meanAbs, 3),
          Fixed(scores.rms, 3),
          Fixed(scores.worst, 3),
          Fixed(scores.slope, 4),
          Fixed(100 * scores.confidentShare, 1) + " %"};
}

std::string ScoreTable(const SweepResult& result) {
  std::vector<std::vector<std::string>> rows = {
      ScoreRow("all windows", result.scores),
      ScoreRow("those above the confidence threshold", result.confidentScores),
      ScoreRow("whole ROI", result.roiScores)};
  for (size_t i = 0; i < result.windows.size(); ++i)
    rows.push_back(ScoreRow("window " + std::to_string(i), result.windows[i]));
  return Table("Errors, pixels",
               {"", "points", "bias", "mean", "rms", "worst", "slope", "confident"}, rows);
}

}  // namespace

std::string SweepReport(const SweepResult& result, const RunRecord& run) {
  const ErrorScores& scores = result.scores;
  std::vector<PDLibDefocusInfo> firstStep;
  for (size_t i = 0; i < result.windows.size(); ++i) firstStep.push_back(result.points[i].measured);
  const SweepPoint& middle = result.points[result.points.size() / 2];
  std::vector<PDLibDefocusInfo> middleStep;
  for (const SweepPoint& point : result.points)
    if (point.truePhasePx == middle.truePhasePx) middleStep.push_back(point.measured);

  std::vector<std::string> failures = run.failures;
  if (result.failedFrames > 0)
    failures.push_back("The library failed on " + std::to_string(result.failedFrames) +
                       " frames; what they delivered counts as measured.");
  std::string body =
      Failures(failures) + Cards({{Fixed(scores.meanAbs, 2) + " px", "mean error without sign"},
                                  {Fixed(scores.worst, 2) + " px", "worst"},
                                  {Fixed(scores.bias, 2) + " px", "bias"},
                                  {Fixed(scores.rms, 2) + " px", "root of mean square"},
                                  {Fixed(scores.slope, 4), "slope, measured against true"},
                                  {Fixed(100 * scores.confidentShare, 0) + " %", "confident"}});
  body += "<h2>Through the travel</h2>\n";
  body += Figures({{MeasuredAgainstTrue(result), "Every window at every step."},
                   {Errors(result), "Measured minus true."},
                   {Defocus(result), "The way to focus in actuator codes."},
                   {Confidence(result), "How sure the library is of each window."}});
  body += "<h2>What the camera saw</h2>\n";
  body += Figures(
      {{RoiFigure(result.sensor, result.camera, result.points.front().truePhasePx, firstStep),
        "At a true phase difference of " + Fixed(result.points.front().truePhasePx, 1) +
            " pixels, each window's place marked by what was measured in it."},
       {RoiFigure(result.sensor, result.camera, middle.truePhasePx, middleStep),
        "At " + Fixed(middle.truePhasePx, 1) + " pixels."},
       {SceneFigure(result.sensor, result.camera), "The scene and the ROI in it."}});
  body += TileKeys(result.sensor.tuning.defocusConfidenceThreshold, Tiles{}.fullColourPx);
  body += ScoreTable(result) +
          SettingsSection(run, FactTable("Camera", CameraFacts(result.sensor, result.camera)));
  return Page(
      (failures.empty() ? std::string() : "Failed: ") + "Measured against true phase difference",
      "Simulated camera, sensor " + result.sensor.name + ", scene " + result.camera.scene +
          ", seed " + std::to_string(result.camera.seed),
      body);
}

}  // namespace simcam

#include <algorithm>
#include <cmath>

#include "plot.h"
#include "report.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

double Phase(const PDLibDefocusInfo& info) {
  return static_cast<double>(info.phaseDiff);
}

template <class Value>
Plot::Points ByFrame(const FocusResult& result, Value value) {
  Plot::Points points;
  for (const FocusFrame& frame : result.frames) points.emplace_back(frame.index, value(frame));
  return points;
}

std::string Convergence(const FocusResult& result) {
  Plot plot("Convergence", "frame", "phase difference, pixels");
  plot.AddBand(-1, 1, "one lens step");
  plot.AddLine("true", color::kTruth,
               ByFrame(result, [](const FocusFrame& frame) { return frame.truePhasePx; }),
               Plot::Line::kDashed);
  plot.AddDots("measured", color::kMeasured,
               ByFrame(result, [](const FocusFrame& frame) { return Phase(frame.roi); }));
  return plot.Svg();
}

std::string LensTravel(const FocusResult& result) {
  Plot plot("Lens", "frame", "lens position, actuator codes");
  plot.AddLine("lens", color::kMeasured,
               ByFrame(result, [](const FocusFrame& frame) { return frame.lensPosition; }));
  plot.AddLine("focus", color::kTruth,
               ByFrame(result, [&](const FocusFrame&) { return result.focusCode; }),
               Plot::Line::kDashed);
  return plot.Svg();
}

std::string MeasuredAgainstTrue(const FocusResult& result) {
  Plot plot("Measured against true", "true phase difference, pixels", "measured, pixels");
  Plot::Points windows;
  Plot::Points roi;
  for (const FocusFrame& frame : result.frames) {
    for (const PDLibDefocusInfo& info : frame.windows)
      windows.emplace_back(frame.truePhasePx, Phase(info));
    roi.emplace_back(frame.truePhasePx, Phase(frame.roi));
  }
  plot.AddDots("windows", color::kWindows, windows, Plot::Marker::kRing);
  plot.AddDots("whole ROI", color::kMeasured, roi);
  double reach = 1;
  for (const FocusFrame& frame : result.frames)
    reach = std::max(reach, std::abs(frame.truePhasePx));
  plot.AddLine("no error", color::kTruth, {{-reach, -reach}, {reach, reach}}, Plot::Line::kDashed);
  return plot.Svg();
}

std::string Confidence(const FocusResult& result) {
  Plot plot("Confidence", "frame", "confidence, 0 to 1023");
  plot.IncludeY(0);
  plot.IncludeY(1023);
  plot.AddLine("whole ROI", color::kConfidence, ByFrame(result, [](const FocusFrame& frame) {
                 return static_cast<double>(frame.roi.confidence);
               }));
  plot.AddLine(
      "threshold", color::kWarn,
      ByFrame(result,
              [&](const FocusFrame&) { return result.sensor.tuning.defocusConfidenceThreshold; }),
      Plot::Line::kDotted);
  return plot.Svg();
}

std::string Curve(const FocusResult& result) {
  Plot plot("Match of the two views, frame " + std::to_string(result.settings.curveFrame) +
                ", window " + std::to_string(result.settings.curveWindow),
            "trial phase difference, pixels", "mean difference, codes");
  Plot::Points points;
  for (const CurvePoint& point : result.curve) points.emplace_back(point.phasePx, point.difference);
  plot.IncludeY(0);
  plot.AddLine("", color::kMeasured, points);
  plot.AddDots("", color::kMeasured, points);
  const size_t index = static_cast<size_t>(result.settings.curveFrame);
  const size_t window = static_cast<size_t>(result.settings.curveWindow);
  if (index < result.frames.size() && window < result.frames[index].windows.size()) {
    plot.MarkX(result.frames[index].truePhasePx, color::kTruth, "true", Plot::Line::kDashed);
    plot.MarkX(Phase(result.frames[index].windows[window]), color::kWarn, "measured");
  }
  return plot.Svg();
}

std::string FrameTable(const FocusResult& result) {
  std::vector<std::vector<std::string>> rows;
  for (const FocusFrame& frame : result.frames)
    rows.push_back({std::to_string(frame.index), Fixed(frame.lensPosition, 1),
                    Fixed(frame.truePhasePx, 2), Fixed(Phase(frame.roi), 2),
                    std::to_string(frame.roi.defocus), std::to_string(frame.roi.confidence),
                    std::to_string(frame.processingResult), ActionName(frame.action)});
  return Table("Frames",
               {"frame", "lens, codes", "true, px", "measured, px", "defocus, codes", "confidence",
                "processing result", "the stack"},
               rows);
}

std::string Share(const FocusScores& scores, double value) {
  return scores.heldFrom ? Fixed(100 * value, 0) + " %" : "-";
}

std::vector<std::string> FailuresOf(const FocusResult& result) {
  std::vector<std::string> failures;
  const FocusScores& scores = result.scores;
  const auto isFailed = [](const FocusFrame& frame) { return !frame.isProcessed; };
  const auto failed = std::count_if(result.frames.begin(), result.frames.end(), isFailed);
  if (!scores.framesToFocus)
    failures.push_back("The camera was not in focus after " + std::to_string(result.frames.size()) +
                       " frames: the true phase difference at the end was " +
                       Fixed(scores.finalTruePhasePx, 2) + " pixels" +
                       (scores.heldFrom ? ", where the stack held the lens."
                                        : ", and the stack never held the lens for good."));
  if (failed > 0)
    failures.push_back("The library failed on " + std::to_string(failed) + " of " +
                       std::to_string(result.frames.size()) + " frames.");
  return failures;
}

}  // namespace

std::string FocusReport(const FocusResult& result, const RunRecord& run) {
  const FocusScores& scores = result.scores;
  std::vector<std::string> failures = FailuresOf(result);
  failures.insert(failures.end(), run.failures.begin(), run.failures.end());
  const std::string title =
      scores.framesToFocus
          ? "In focus after " + std::to_string(*scores.framesToFocus) + " frames"
          : "Failed: not in focus after " + std::to_string(result.frames.size()) + " frames";
  const FocusFrame& first = result.frames.front();
  const FocusFrame& last = result.frames.back();
  std::string body =
      Failures(failures) +
      Cards({
          {scores.framesToFocus ? std::to_string(*scores.framesToFocus) : "never",
           "frames to focus"},
          {Fixed(scores.finalTruePhasePx, 2) + " px", "true phase difference at the end"},
          {Fixed(scores.overshootSteps, 2), "overshoot, lens steps"},
          {Share(scores, scores.within1Step), "of held frames within 1 lens step"},
          {Share(scores, scores.within2Steps), "within 2"},
          {Share(scores, scores.within4Steps), "within 4"},
      });
  body += "<h2>What the camera saw</h2>\n";
  body += Figures(
      {{RoiFigure(result.sensor, result.camera, first.truePhasePx, first.windows),
        "First frame: the ROI as the lens showed it, each window's place marked by the phase "
        "difference that was measured in it."},
       {RoiFigure(result.sensor, result.camera, last.truePhasePx, last.windows), "Last frame."},
       {SceneFigure(result.sensor, result.camera), "The scene and the ROI in it."}});
  body += TileKeys(result.sensor.tuning.defocusConfidenceThreshold, Tiles{}.fullColourPx);
  body += "<h2>What was measured</h2>\n";
  body += Figures({{Convergence(result), "The whole ROI, frame by frame."},
                   {LensTravel(result), "The lens in the middle of each exposure."},
                   {MeasuredAgainstTrue(result), "All frames; those of a moving lens too."},
                   {Confidence(result), "The stack follows results above the threshold."},
                   {Curve(result),
                    "Computed here from the sensor's samples, black level and shading taken out, "
                    "and not by the library: the views match best where the curve is lowest."}});
  body +=
      "<p class=\"sub\" style=\"margin-top:14px\">A lens step is the travel that changes the true "
      "phase difference by one pixel. ";
  body += scores.heldFrom
              ? "Held frames are those from frame " + std::to_string(*scores.heldFrom) +
                    " on, in which the stack first held the lens for good.</p>\n"
              : "No frame counts as held: the stack never held the lens for good.</p>\n";
  body += FrameTable(result) +
          SettingsSection(run, FactTable("Camera", CameraFacts(result.sensor, result.camera)));
  return Page(title,
              "Simulated camera, sensor " + result.sensor.name + ", scene " + result.camera.scene +
                  ", seed " + std::to_string(result.camera.seed) + ", started " +
                  Fixed(first.truePhasePx, 1) + " pixels out of focus",
              body);
}

}  // namespace simcam

#include <algorithm>
#include <cmath>

#include "plot.h"
#include "report.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

constexpr int kCellWidth = 50;
constexpr int kCellHeight = 42;
constexpr int kTitleHeight = 26;

// White at the calibrated K; below it blue with a marker that points down, above it red with one
// that points up. Full at this share of it.
constexpr double kFullShare = 0.3;

struct Heat {
  const char* colour;
  double opacity;
  const char* marker;
};

Heat HeatOf(int k, int calibratedK) {
  constexpr double kFullOpacity = 0.55;
  const double share = (static_cast<double>(k) / calibratedK - 1) / kFullShare;
  const double opacity = kFullOpacity * std::min(std::abs(share), 1.0);
  if (share < 0) return {color::kMeasured, opacity, "l7,0 l-3.5,6 Z"};
  return {color::kWarn, opacity, share > 0 ? "m0,6 l7,0 l-3.5,-6 Z" : ""};
}

// The cells as they lie in the PD area; those with a window's middle in them are framed.
std::string HeatMap(const std::string& title, const LearnResult& result,
                    const AdaptiveMedians& medians) {
  const int width = kAdaptiveColumns * kCellWidth;
  const int height = kTitleHeight + kAdaptiveRows * kCellHeight;
  std::string svg = "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
                    "\" role=\"img\" aria-label=\"" + EscapeHtml(title) + "\">\n" +
                    "<text class=\"title\" x=\"4\" y=\"16\">" + EscapeHtml(title) + "</text>\n";
  for (size_t cell = 0; cell < kAdaptiveCells; ++cell) {
    const int x = static_cast<int>(cell) % kAdaptiveColumns * kCellWidth;
    const int y = kTitleHeight + static_cast<int>(cell) / kAdaptiveColumns * kCellHeight;
    const bool isMeasured = result.measured[cell];
    const double factor = KFactor(result.settings, static_cast<int>(cell));
    const Heat heat = HeatOf(medians[cell], result.calibratedK);
    const std::string middle = std::to_string(x + kCellWidth / 2);
    svg += "<rect x=\"" + std::to_string(x + 2) + "\" y=\"" + std::to_string(y + 2) +
           "\" width=\"" + std::to_string(kCellWidth - 4) + "\" height=\"" +
           std::to_string(kCellHeight - 4) + "\" rx=\"3\" fill=\"" + heat.colour +
           "\" fill-opacity=\"" + Fixed(heat.opacity, 2) + "\" stroke=\"" +
           (isMeasured ? "#20242b" : "#d5d9df") + "\" stroke-width=\"" + (isMeasured ? "2" : "1") +
           "\"/>\n<text class=\"title\" text-anchor=\"middle\" x=\"" + middle + "\" y=\"" +
           std::to_string(y + 18) + "\">" + std::to_string(medians[cell]) +
           "</text>\n<text class=\"tick\" text-anchor=\"middle\" x=\"" + middle + "\" y=\"" +
           std::to_string(y + 35) + "\">" + Fixed(factor * result.calibratedK, 0) + "</text>\n";
    if (*heat.marker != '\0')
      svg += std::string("<path d=\"M") + std::to_string(x + 5) + "," + std::to_string(y + 9) +
             " " + heat.marker + "\" fill=\"" + heat.colour + "\"/>\n";
  }
  return svg + "</svg>\n";
}

// One figure for each direction, before and after.
std::string HeatMaps(const LearnResult& result) {
  const int filterSize = result.sensor.tuning.adaptive.filterSize;
  const auto medians = [&](const std::optional<AdaptiveFile>& file, bool isFar) {
    AdaptiveMedians even{};
    even.fill(result.calibratedK);
    if (!file) return even;
    return Medians(isFar ? file->far : file->near, filterSize);
  };
  std::vector<std::pair<std::string, std::string>> figures;
  for (bool isFar : {false, true}) {
    const std::string direction = isFar ? "far" : "near";
    figures.emplace_back(HeatMap("Towards " + direction + " targets, before", result,
                                 medians(result.first.found, isFar)),
                         result.first.found ? "What an earlier run left." : "The calibration.");
    figures.emplace_back(HeatMap("Towards " + direction + " targets, after", result,
                                 medians(result.first.stored, isFar)),
                         "Medians of the file stored at the first close.");
  }
  return Figures(figures);
}

// Both openings on one axis, sequence after sequence.
template <class Value>
Plot::Points BySequence(const LearnResult& result, Value value) {
  Plot::Points points;
  for (const LearnPass* pass : {&result.first, &result.second})
    for (const LearnSequence& sequence : pass->sequences) {
      const std::optional<double> y = value(sequence);
      if (y) points.emplace_back(points.size(), *y);
    }
  return points;
}

void MarkSecond(Plot& plot, const LearnResult& result) {
  plot.MarkX(static_cast<double>(result.first.sequences.size()) - 0.5, color::kTruth,
             "opened again", Plot::Line::kDotted);
}

std::string KPlot(const LearnResult& result) {
  Plot plot("K by which the ROI was driven", "sequence", "defocus per pixel");
  plot.AddLine("used", color::kMeasured,
               BySequence(result, [](const LearnSequence& s) -> std::optional<double> {
                 return s.kUsed ? std::optional<double>(*s.kUsed) : std::nullopt;
               }));
  plot.AddLine("true", color::kTruth,
               BySequence(result, [](const LearnSequence& s) { return std::optional(s.trueK); }),
               Plot::Line::kDashed);
  MarkSecond(plot, result);
  return plot.Svg();
}

std::string FramesPlot(const LearnResult& result) {
  Plot plot("Frames to focus", "sequence", "frames");
  plot.IncludeY(0);
  plot.AddLine("frames", color::kMeasured, BySequence(result, [](const LearnSequence& s) {
                 return std::optional<double>(s.scores.framesToFocus.value_or(s.frames));
               }));
  MarkSecond(plot, result);
  return plot.Svg();
}

std::string OvershootPlot(const LearnResult& result) {
  Plot plot("Overshoot", "sequence", "lens steps");
  plot.IncludeY(0);
  plot.AddLine("overshoot", color::kWarn, BySequence(result, [](const LearnSequence& s) {
                 return std::optional(s.scores.overshootSteps);
               }));
  MarkSecond(plot, result);
  return plot.Svg();
}

std::string SequenceTable(const std::string& caption, const LearnPass& pass) {
  std::vector<std::vector<std::string>> rows;
  for (size_t i = 0; i < pass.sequences.size(); ++i) {
    const LearnSequence& s = pass.sequences[i];
    rows.push_back({std::to_string(i), s.isFar ? "far" : "near",
                    s.kUsed ? std::to_string(*s.kUsed) : "-", Fixed(s.trueK, 1),
                    s.scores.framesToFocus ? std::to_string(*s.scores.framesToFocus) : "never",
                    Fixed(s.scores.overshootSteps, 2), Fixed(s.scores.finalTruePhasePx, 2)});
  }
  return Table(caption,
               {"sequence", "target", "K used", "true K", "frames to focus", "overshoot, steps",
                "at the end, px"},
               rows);
}

std::string HistoryText(const AdaptiveHistory& history) {
  std::string text;
  for (int k : history) text += (text.empty() ? "" : "  ") + std::to_string(k);
  return text;
}

std::string HistoryTable(const LearnResult& result) {
  std::vector<std::vector<std::string>> rows;
  for (size_t cell = 0; cell < kAdaptiveCells; ++cell) {
    if (!result.measured[cell]) continue;
    rows.push_back(
        {std::to_string(cell / kAdaptiveColumns) + ", " + std::to_string(cell % kAdaptiveColumns),
         HistoryText(result.first.stored->near[cell]),
         HistoryText(result.first.stored->far[cell])});
  }
  return Table("Histories of the cells under windows, newest first, at the first close",
               {"row, column", "near", "far"}, rows);
}

std::string LearningTable(const LearnResult& result) {
  const AdaptiveChoices& adaptive = result.sensor.tuning.adaptive;
  const auto number = [](int value) { return std::to_string(value); };
  return FactTable(
      "Learning",
      {{"a start", number(adaptive.startFrames) + " frames, from " + Short(adaptive.startPhasePx) +
                       " pixels and confidence " + number(adaptive.startConfidence)},
       {"an end", number(adaptive.endFrames) + " frames, up to " + Short(adaptive.endPhasePx) +
                      " pixels and from confidence " + number(adaptive.endConfidence)},
       {"smallest travel", number(adaptive.minimumTravel) + " codes"},
       {"time-out", number(adaptive.timeoutFrames) + " frames"},
       {"entries in the median", number(adaptive.filterSize)},
       {"bounds", Short(adaptive.lowerTolerance) + " to " + Short(adaptive.upperTolerance) +
                      " times the calibrated K"},
       {"unit of defocus", Short(result.sensor.lens.codesPerDefocus) + " actuator codes"}});
}

std::vector<std::string> FailuresOf(const LearnResult& result, const RunRecord& run) {
  std::vector<std::string> failures = run.failures;
  int unfocused = 0;
  for (const LearnPass* pass : {&result.first, &result.second})
    for (const LearnSequence& sequence : pass->sequences)
      unfocused += sequence.scores.framesToFocus ? 0 : 1;
  if (unfocused > 0)
    failures.push_back("Sequences that never came into focus: " + std::to_string(unfocused) + ".");
  if (!result.isReopenedSame)
    failures.push_back("The file changed when it was opened and closed again.");
  return failures;
}

}  // namespace

std::string LearnReport(const LearnResult& result, const RunRecord& run) {
  const LearntScores scores = ScoreLearnt(result);
  const bool hasMap = !result.settings.kMap.empty();
  std::string body =
      Failures(FailuresOf(result, run)) +
      Cards({
          {std::to_string(result.calibratedK), "calibrated K"},
          {Fixed(result.trueK, 1), hasMap ? "true K, mean of the map" : "true K"},
          {Fixed(100 * scores.worstKError, 1) + " %", "worst error of K, later sequences"},
          {Fixed(scores.framesToFocus, 1), "frames to focus, later sequences"},
          {Fixed(scores.overshootSteps, 2), "overshoot, lens steps, later sequences"},
          {result.isReopenedSame ? "same" : "changed", "the file, opened and closed again"},
      });
  body += "<h2>What was learnt</h2>\n" + HeatMaps(result);
  body +=
      "<p class=\"sub\" style=\"margin-top:10px\">In each cell the K in use, and below it the true "
      "one. White is the calibrated K; a K above it has a red cell and a marker that points up, "
      "one "
      "below it a blue cell and a marker that points down. Framed cells lie under the middle of a "
      "window; the others hold " +
      std::string(result.first.isPropagated
                      ? "the first measurement, which was spread over the whole image."
                      : "what they held when the camera was opened.") +
      "</p>\n";
  body += "<h2>What it did for focus</h2>\n";
  body += Figures({{KPlot(result), "Whole ROI, at the start of each sequence."},
                   {FramesPlot(result), "Counted from the first move."},
                   {OvershootPlot(result), "Furthest past focus."},
                   {SceneFigure(result.sensor, result.camera), "The scene and the ROI in it."}});
  body += SequenceTable("First opening", result.first) +
          SequenceTable("Second opening", result.second) + HistoryTable(result) +
          SettingsSection(run, LearningTable(result) +
                                   FactTable("Camera", CameraFacts(result.sensor, result.camera)));
  const std::string title =
      hasMap ? "Learning a map of K"
             : "Learning a K of " + Fixed(result.settings.kError, 2) + " times the calibrated one";
  return Page(title,
              "Simulated camera, sensor " + result.sensor.name + ", scene " + result.camera.scene +
                  ", seed " + std::to_string(result.camera.seed),
              body);
}

}  // namespace simcam

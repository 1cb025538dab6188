#include "report_batch.h"

#include <algorithm>

#include "plot.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

std::string DirectionText(const BatchGroup& group) {
  return group.direction > 0 ? "+" : "-";
}

std::string FramesText(const std::optional<int>& frames) {
  return frames ? std::to_string(*frames) : "never";
}

// The way of all runs of a group. Those that end out of focus stand out.
std::string Convergence(const BatchGroup& group) {
  Plot plot(group.Sensor() + ", from " + DirectionText(group), "frame",
            "true phase difference, pixels");
  plot.AddBand(-group.AllowedPx(), group.AllowedPx(), "in focus");
  for (const bool isInFocus : {true, false})
    for (const FocusResult& run : group.runs) {
      if (group.IsInFocus(run) != isInFocus) continue;
      Plot::Points points;
      for (const FocusFrame& frame : run.frames)
        points.emplace_back(frame.index, frame.truePhasePx);
      plot.AddLine("", isInFocus ? color::kMeasured : color::kWarn, points);
    }
  return plot.Svg();
}

std::string GroupTable(const BatchResult& result) {
  std::vector<std::vector<std::string>> rows;
  for (const BatchGroup& group : result.groups)
    rows.push_back({group.Sensor(), DirectionText(group),
                    std::to_string(group.InFocus()) + " of " + std::to_string(group.runs.size()),
                    Short(group.AllowedPx()) + " px", Fixed(group.WorstPx(), 2),
                    Fixed(group.FramesToFocus(), 1), group.IsPassed() ? "passed" : "FAILED"});
  return Table("Sensors",
               {"sensor", "from", "in focus", "allowed", "worst at the end, px",
                "frames to focus, mean", "19 of 20"},
               rows);
}

std::string RunTable(const BatchResult& result) {
  std::vector<std::vector<std::string>> rows;
  for (const BatchGroup& group : result.groups)
    for (const FocusResult& run : group.runs) {
      const FocusScores& scores = run.scores;
      rows.push_back({group.Sensor(), std::to_string(run.camera.seed),
                      Fixed(run.settings.startPhasePx, 1), FramesText(scores.framesToFocus),
                      Fixed(scores.finalTruePhasePx, 2), Fixed(scores.overshootSteps, 2),
                      Fixed(100 * scores.within1Step, 0) + " %",
                      group.IsInFocus(run) ? "in focus" : "NOT in focus"});
    }
  return Table("Runs",
               {"sensor", "seed", "start, px", "frames to focus", "at the end, px",
                "overshoot, lens steps", "within 1 step", "at the end"},
               rows);
}

}  // namespace

std::string BatchReport(const BatchResult& result, const RunRecord& run) {
  size_t runs = 0;
  int inFocus = 0;
  double worst = 0;
  std::vector<std::pair<std::string, std::string>> figures;
  for (const BatchGroup& group : result.groups) {
    runs += group.runs.size();
    inFocus += group.InFocus();
    worst = std::max(worst, group.WorstPx());
    figures.emplace_back(Convergence(group), std::to_string(group.InFocus()) + " of " +
                                                 std::to_string(group.runs.size()) +
                                                 " runs end in focus.");
  }
  const std::string share = std::to_string(inFocus) + " of " + std::to_string(runs);
  return Page(share + " runs end in focus",
              std::string("Simulated camera, many focus runs; the check of 19 of 20 ") +
                  (result.IsPassed() ? "passed" : "FAILED"),
              Cards({{share, "runs in focus at the end"},
                     {Fixed(worst, 2) + " px", "worst true phase difference at the end"},
                     {result.IsPassed() ? "passed" : "FAILED",
                      "19 of 20 in focus, for each sensor and direction"}}) +
                  GroupTable(result) + "<h2>The way of each run</h2>\n" + Figures(figures) +
                  RunTable(result) + SettingsSection(run, ""));
}

}  // namespace simcam

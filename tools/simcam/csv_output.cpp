#include "csv_output.h"

#include <optional>
#include <vector>

#include "text.h"

namespace simcam {
namespace {

std::string Line(const std::vector<std::string>& values) {
  std::string line = values.front();
  for (size_t i = 1; i < values.size(); ++i) line += "," + values[i];
  return line + "\n";
}

std::string PhaseText(const PDLibDefocusInfo& measured) {
  return Fixed(static_cast<double>(measured.phaseDiff), 4);
}

std::string OrNothing(const std::optional<int>& value) {
  return value ? std::to_string(*value) : "";
}

// The name of a sensor may hold anything.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char letter : text) quoted += letter == '"' ? "\"\"" : std::string(1, letter);
  return quoted + "\"";
}

void AddFrame(std::string& csv, const FocusFrame& frame) {
  const auto add = [&](const std::string& window, const PDLibDefocusInfo& measured) {
    csv += Line({std::to_string(frame.index), Fixed(frame.lensPosition, 3),
                 Fixed(frame.truePhasePx, 4), window, PhaseText(measured),
                 std::to_string(measured.defocus), std::to_string(measured.confidence),
                 std::to_string(frame.processingResult), ActionName(frame.action)});
  };
  add("roi", frame.roi);
  for (size_t i = 0; i < frame.windows.size(); ++i) add(std::to_string(i), frame.windows[i]);
  for (size_t i = 0; i < frame.peripheral.size(); ++i)
    add("peripheral-" + std::to_string(i), frame.peripheral[i]);
}

std::string SweepLine(const SweepPoint& point, const std::string& window) {
  const double error = static_cast<double>(point.measured.phaseDiff) - point.truePhasePx;
  return Line({Fixed(point.truePhasePx, 4), window, PhaseText(point.measured), Fixed(error, 4),
               std::to_string(point.measured.confidence), std::to_string(point.measured.defocus),
               Fixed(point.trueDefocus, 2)});
}

void AddMatched(std::string& csv, const MatchSettings& settings,
                const std::vector<std::string>& place, const PDLibDefocusInfo& measured) {
  std::vector<std::string> values = place;
  values.insert(values.end(),
                {PhaseText(measured), std::to_string(measured.confidence),
                 std::to_string(measured.rangeLow), std::to_string(measured.rangeHigh),
                 std::to_string(measured.defocus), IsAtEdge(settings, measured) ? "1" : "0"});
  csv += Line(values);
}

void AddPass(std::string& csv, const char* opening, const LearnPass& pass) {
  for (size_t i = 0; i < pass.sequences.size(); ++i) {
    const LearnSequence& sequence = pass.sequences[i];
    csv += Line({opening, std::to_string(i), sequence.isFar ? "far" : "near",
                 OrNothing(sequence.kUsed), Fixed(sequence.trueK, 2),
                 OrNothing(sequence.scores.framesToFocus), Fixed(sequence.scores.overshootSteps, 3),
                 std::to_string(sequence.frames)});
  }
}

}  // namespace

std::string FocusCsv(const FocusResult& result) {
  std::string csv =
      "index,lens_position,true_phase_px,window,phase_px,defocus,confidence,processing_result,"
      "action\n";
  for (const FocusFrame& frame : result.frames) AddFrame(csv, frame);
  return csv;
}

std::string SweepCsv(const SweepResult& result) {
  std::string csv = "true_phase_px,window,phase_px,error_px,confidence,defocus,true_defocus\n";
  const size_t windows = result.windows.size();
  for (size_t step = 0; step < result.roiPoints.size(); ++step) {
    csv += SweepLine(result.roiPoints[step], "roi");
    for (size_t i = 0; i < windows; ++i)
      csv += SweepLine(result.points[step * windows + i], std::to_string(i));
  }
  return csv;
}

std::string MatchCsv(const MatchResult& result) {
  std::string csv =
      "row,column,x_px,y_px,phase_px,confidence,range_low,range_high,defocus,at_edge\n";
  AddMatched(csv, result.settings, {"roi", "", "", ""}, result.whole);
  for (const MatchWindow& window : result.windows)
    AddMatched(csv, result.settings,
               {std::to_string(window.row), std::to_string(window.column), Fixed(window.x, 1),
                Fixed(window.y, 1)},
               window.measured);
  return csv;
}

std::string BatchCsv(const BatchResult& result) {
  std::string csv =
      "sensor,direction,seed,start_phase_px,frames_to_focus,final_true_phase_px,overshoot_steps,"
      "within_1_step,within_2_steps,within_4_steps,allowed_px,in_focus\n";
  for (const BatchGroup& group : result.groups)
    for (const FocusResult& run : group.runs) {
      const FocusScores& scores = run.scores;
      csv += Line({Quoted(group.Sensor()), std::to_string(group.direction),
                   std::to_string(run.camera.seed), Fixed(run.settings.startPhasePx, 3),
                   OrNothing(scores.framesToFocus), Fixed(scores.finalTruePhasePx, 4),
                   Fixed(scores.overshootSteps, 3), Fixed(scores.within1Step, 3),
                   Fixed(scores.within2Steps, 3), Fixed(scores.within4Steps, 3),
                   Short(group.AllowedPx()), group.IsInFocus(run) ? "1" : "0"});
    }
  return csv;
}

std::string LearnCsv(const LearnResult& result) {
  std::string csv =
      "opening,sequence,target,k_used,true_k,frames_to_focus,overshoot_steps,frames\n";
  AddPass(csv, "first", result.first);
  AddPass(csv, "second", result.second);
  return csv;
}

}  // namespace simcam

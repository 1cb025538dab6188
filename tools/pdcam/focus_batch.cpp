#include "focus_batch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "json_output.h"
#include "random.h"

namespace pdcam {
namespace {

using simcam::FocusResult;

constexpr int kCheckRuns = 20;
constexpr double kNeededShare = 0.95;
constexpr double kStartSpreadPx = 4;
constexpr int kCoarseStepPx = 16;  // from here on two lens steps count as focus

struct Summary {
  std::string sensor;
  int direction = 1;
  int runs = 0;
  int inFocus = 0;
  double worstPx = 0;
  double framesToFocus = 0;  // mean over the runs that got there
  double allowedPx = 1;

  bool IsPassed() const { return inFocus >= static_cast<int>(std::ceil(kNeededShare * runs)); }
};

std::vector<std::string> SensorNames(const BatchOptions& options, const CameraOptions& camera) {
  const bool isAll = camera.sensor == "all" || (options.isCheck && !camera.isSensorNamed);
  if (!isAll) return {camera.sensor};
  std::vector<std::string> names;
  for (const simcam::EmbeddedSensor& sensor : simcam::EmbeddedSensors())
    names.push_back(sensor.name);
  return names;
}

Summary Summarize(const std::vector<FocusResult>& results, int direction) {
  Summary summary;
  summary.sensor = results.front().sensor.name;
  summary.direction = direction;
  summary.runs = static_cast<int>(results.size());
  summary.allowedPx = results.front().sensor.SampleStepPx() >= kCoarseStepPx ? 2 : 1;
  int arrived = 0;
  for (const FocusResult& result : results) {
    const double distance = std::abs(result.scores.finalTruePhasePx);
    summary.inFocus += distance <= summary.allowedPx;
    summary.worstPx = std::max(summary.worstPx, distance);
    if (!result.scores.framesToFocus) continue;
    summary.framesToFocus += *result.scores.framesToFocus;
    ++arrived;
  }
  if (arrived > 0) summary.framesToFocus /= arrived;
  return summary;
}

simcam::OrderedJson RunJson(const FocusResult& result) {
  simcam::OrderedJson json = ToJson(result);
  json.erase("frames");
  json["start_phase_px"] = result.settings.startPhasePx;
  return json;
}

simcam::OrderedJson SummaryJson(const Summary& summary) {
  return {{"sensor", summary.sensor},
          {"direction", summary.direction},
          {"runs", summary.runs},
          {"in_focus", summary.inFocus},
          {"allowed_steps", summary.allowedPx},
          {"worst_final_px", summary.worstPx},
          {"mean_frames_to_focus", summary.framesToFocus},
          {"passed", summary.IsPassed()}};
}

}  // namespace

void BatchOptions::AddTo(CLI::App& command) {
  command.add_option("--runs", runs, "Many runs, one for each of so many seeds")
      ->check(CLI::Range(1, 10000));
  command.add_flag("--both-directions", areBothDirections, "Each of them from both sides of focus");
  command.add_flag("--check", isCheck,
                   "Exit status 1 unless 19 of 20 runs end within a lens step of focus (two where "
                   "a sample step is 16 pixels or more); all sensors, 20 runs, both directions");
}

int RunBatch(const BatchOptions& options, const CameraOptions& camera,
             const simcam::CameraSettings& settings, const simcam::FocusSettings& focus,
             bool isJson) {
  const int runs = options.runs > 0 ? options.runs : kCheckRuns;
  const bool areBoth = options.areBothDirections || options.isCheck;
  const std::vector<std::string> names = SensorNames(options, camera);
  const Device device(camera);
  simcam::OrderedJson json = {{"runs", simcam::OrderedJson::array()},
                              {"sensors", simcam::OrderedJson::array()}};
  bool isPassed = true;
  if (!isJson)
    std::printf("%-16s %9s %9s %9s %12s %15s\n", "sensor", "direction", "in focus", "allowed",
                "worst, px", "frames to focus");
  for (const std::string& name : names) {
    simcam::SensorDescription sensor = camera.Sensor(name);
    // Exposing the windows around the ROI would take most of the time.
    sensor.tuning.peripheralWindows = false;
    simcam::CameraSettings sensorSettings = settings;
    camera.Fit(sensor, sensorSettings);
    for (int direction : {1, -1}) {
      if (direction < 0 && !areBoth) continue;
      std::vector<FocusResult> results;
      Progress progress;
      for (int run = 0; run < runs; ++run) {
        simcam::CameraSettings runSettings = sensorSettings;
        runSettings.seed += static_cast<uint64_t>(run);
        simcam::FocusSettings runFocus = focus;
        const double spread = (2 * simcam::Unit(simcam::Mix(runSettings.seed, 0x57a7)) - 1);
        runFocus.startPhasePx = direction * (focus.startPhasePx + kStartSpreadPx * spread);
        simcam::FocusRun one(device.Library(), sensor, runSettings, runFocus);
        while (!one.IsDone()) one.Step();
        results.push_back(one.Result());
        progress.Show(name + ": run " + std::to_string(run + 1) + " of " + std::to_string(runs));
      }
      progress.Show("");
      const Summary summary = Summarize(results, direction);
      isPassed = isPassed && summary.IsPassed();
      json["sensors"].push_back(SummaryJson(summary));
      for (const FocusResult& result : results) json["runs"].push_back(RunJson(result));
      if (!isJson)
        std::printf("%-16s %9s %4d / %2d %7.0f px %12.2f %15.1f%s\n", summary.sensor.c_str(),
                    direction > 0 ? "+" : "-", summary.inFocus, summary.runs, summary.allowedPx,
                    summary.worstPx, summary.framesToFocus, summary.IsPassed() ? "" : "  failed");
    }
  }
  json["passed"] = isPassed;
  if (isJson) PrintJson(json);
  return options.isCheck && !isPassed ? kCheckFailed : kDone;
}

}  // namespace pdcam

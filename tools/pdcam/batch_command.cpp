#include "batch_command.h"

#include <cstdio>

#include "csv_output.h"
#include "json_output.h"
#include "report_batch.h"
#include "stop.h"

namespace pdcam {
namespace {

using simcam::BatchGroup;
using simcam::BatchResult;
using simcam::FocusResult;

constexpr int kCheckRuns = 20;

std::vector<std::string> SensorNames(const BatchOptions& options, const CameraOptions& camera) {
  const bool isAll = camera.sensor == "all" || (options.isCheck && !camera.isSensorNamed);
  if (!isAll) return {camera.sensor};
  return simcam::SensorNames();
}

void PrintHead() {
  std::printf("%-16s %9s %9s %9s %12s %15s\n", "sensor", "direction", "in focus", "allowed",
              "worst, px", "frames to focus");
}

void Print(const BatchGroup& group) {
  std::printf("%-16s %9s %4d / %2zu %7.0f px %12.2f %15.1f%s\n", group.Sensor().c_str(),
              group.direction > 0 ? "+" : "-", group.InFocus(), group.runs.size(),
              group.AllowedPx(), group.WorstPx(), group.FramesToFocus(),
              group.IsPassed() ? "" : "  failed");
}

FocusResult RunOne(const Device& device, const simcam::SensorDescription& sensor,
                   const simcam::CameraSettings& settings, const simcam::FocusSettings& focus) {
  simcam::FocusRun run(device.Library(), sensor, settings, focus);
  while (!run.IsDone()) {
    ThrowIfStopped();
    run.Step();
  }
  return run.Result();
}

BatchGroup RunGroup(const Device& device, const simcam::SensorDescription& sensor,
                    const simcam::CameraSettings& settings, const simcam::FocusSettings& focus,
                    int direction, int runs) {
  BatchGroup group{direction, {}};
  Progress progress;
  for (int run = 0; run < runs; ++run) {
    progress.Show(sensor.name + ": run " + std::to_string(run + 1) + " of " + std::to_string(runs));
    simcam::CameraSettings runSettings = settings;
    runSettings.seed += static_cast<uint64_t>(run);
    simcam::FocusSettings runFocus = focus;
    runFocus.startPhasePx = simcam::StartPhase(focus.startPhasePx, direction, runSettings.seed);
    group.runs.push_back(RunOne(device, sensor, runSettings, runFocus));
  }
  return group;
}

}  // namespace

void BatchOptions::AddTo(CLI::App& command) {
  command.add_option("--runs", runs, "Many runs, one for each of so many seeds")
      ->default_str("one, or 20 with --check")
      ->check(CLI::Range(1, 10000));
  command.add_flag("--both-directions", areBothDirections, "Each of them from both sides of focus");
  command.add_flag("--check", isCheck,
                   "Exit status 1 unless 19 of 20 runs end within a lens step of focus (two where "
                   "a sample step is 16 pixels or more); all sensors, 20 runs, both directions");
}

int RunBatch(const BatchOptions& options, const CameraOptions& camera,
             const simcam::CameraSettings& settings, const simcam::FocusSettings& focus,
             const OutputOptions& output) {
  const int runs = options.runs > 0 ? options.runs : kCheckRuns;
  const bool areBoth = options.areBothDirections || options.isCheck;
  const Device device(camera);
  BatchResult result;
  if (!output.isJson) PrintHead();
  for (const std::string& name : SensorNames(options, camera)) {
    simcam::SensorDescription sensor = camera.Sensor(name);
    // Exposing the windows around the ROI would take most of the time.
    sensor.tuning.peripheralWindows = false;
    simcam::CameraSettings sensorSettings = settings;
    camera.Fit(sensor, sensorSettings);
    WarnOfWindows(sensor, sensorSettings);
    for (const int direction : {1, -1}) {
      if (direction < 0 && !areBoth) continue;
      result.groups.push_back(RunGroup(device, sensor, sensorSettings, focus, direction, runs));
      if (!output.isJson) Print(result.groups.back());
    }
  }
  output.SaveCsv(BatchCsv(result));
  output.SaveReport(BatchReport(result, output.Record()));
  if (output.isJson) PrintJson(ToJson(result));
  return options.isCheck && !result.IsPassed() ? kCheckFailed : kDone;
}

}  // namespace pdcam

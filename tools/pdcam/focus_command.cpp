// pdcam focus: the closed loop, once to look at or many times to be judged.
#include <cmath>
#include <cstdio>

#include "focus_batch.h"
#include "focus_run.h"
#include "json_output.h"
#include "options.h"
#include "report.h"
#include "report_page.h"

namespace pdcam {
namespace {

using simcam::FocusFrame;
using simcam::FocusResult;
using simcam::FocusRun;

struct Options {
  CameraOptions camera;
  OutputOptions output;
  BatchOptions batch;
  simcam::FocusSettings focus;
  double startCode = 0;
  bool hasStartCode = false;
  int cameras = 1;
  std::string secondSensor;
  bool hasPeripheral = true;
};

void PrintTable(const FocusResult& result, uint32_t camera) {
  std::printf("camera %u: sensor %s, scene %s, seed %llu, tuning %s\n", camera,
              result.sensor.name.c_str(), result.camera.scene.c_str(),
              static_cast<unsigned long long>(result.camera.seed),
              simcam::TuningName(result.camera).c_str());
  std::printf("%5s %10s %9s %12s %8s %10s %6s  %s\n", "frame", "lens, code", "true, px",
              "measured, px", "defocus", "confidence", "result", "stack");
  for (const FocusFrame& frame : result.frames)
    std::printf("%5d %10.1f %9.2f %12.2f %8d %10u %6u  %s%s\n", frame.index, frame.lensPosition,
                frame.truePhasePx, static_cast<double>(frame.roi.phaseDiff), frame.roi.defocus,
                frame.roi.confidence, frame.processingResult, ActionName(frame.action),
                frame.isProcessed ? "" : "  (failed)");
  const simcam::FocusScores& scores = result.scores;
  if (scores.framesToFocus)
    std::printf("in focus after %d frames", *scores.framesToFocus);
  else
    std::printf("not in focus");
  std::printf(", %.2f px from it at the end, overshoot %.2f lens steps, within 1 step %.0f %%\n",
              scores.finalTruePhasePx, scores.overshootSteps, 100 * scores.within1Step);
}

std::string ProgressText(const FocusFrame& frame, int frames) {
  char text[96];
  std::snprintf(text, sizeof(text), "frame %d of %d: %+.1f px out of focus, confidence %u",
                frame.index + 1, frames, frame.truePhasePx, frame.roi.confidence);
  return text;
}

// Several cameras take turns, frame by frame, in one process, as in a phone.
std::vector<FocusResult> RunCameras(const Options& options, const Device& device) {
  std::vector<std::unique_ptr<FocusRun>> runs;
  for (int camera = 0; camera < options.cameras; ++camera) {
    const std::string& name =
        camera == 1 && !options.secondSensor.empty() ? options.secondSensor : options.camera.sensor;
    simcam::SensorDescription sensor = options.camera.Sensor(name);
    if (!options.hasPeripheral) sensor.tuning.peripheralWindows = false;
    simcam::CameraSettings settings = options.camera.Settings();
    options.camera.Fit(sensor, settings);
    settings.cameraId = static_cast<uint32_t>(camera);
    settings.seed += static_cast<uint64_t>(camera);
    runs.push_back(std::make_unique<FocusRun>(device.Library(), sensor, settings, options.focus));
  }
  Progress progress;
  while (!runs.front()->IsDone())
    for (const auto& run : runs) progress.Show(ProgressText(run->Step(), options.focus.frames));
  std::vector<FocusResult> results;
  for (const auto& run : runs) results.push_back(run->Result());
  return results;
}

// "focus.html" of camera 1 is "focus-1.html".
std::string PathOf(const std::string& path, size_t camera) {
  if (camera == 0) return path;
  const size_t dot = path.find_last_of("./");
  const size_t at = dot == std::string::npos || path[dot] == '/' ? path.size() : dot;
  return path.substr(0, at) + "-" + std::to_string(camera) + path.substr(at);
}

int RunOnce(const Options& options) {
  const Device device(options.camera);
  const std::vector<FocusResult> results = RunCameras(options, device);
  simcam::OrderedJson json;
  for (size_t i = 0; i < results.size(); ++i) {
    const OutputOptions& output = options.output;
    if (!output.csv.empty()) simcam::WriteFile(PathOf(output.csv, i), FocusCsv(results[i]));
    if (!output.report.empty())
      simcam::WriteFile(PathOf(output.report, i), FocusReport(results[i]));
    if (!output.isJson)
      PrintTable(results[i], static_cast<uint32_t>(i));
    else if (i == 0)
      json = ToJson(results[i]);
    else
      json["other_cameras"].push_back(ToJson(results[i]));
  }
  if (options.output.isJson) std::printf("%s\n", json.dump(2).c_str());
  return kDone;
}

int Run(const Options& given) {
  Options options = given;
  if (options.hasStartCode) options.focus.startCode = options.startCode;
  simcam::CameraSettings settings = options.camera.Settings();
  if (!options.batch.IsWanted()) {
    simcam::SensorDescription sensor = options.camera.Sensor(options.camera.sensor);
    options.camera.Fit(sensor, settings);
  }
  const int windows = static_cast<int>(settings.columns * settings.rows);
  if (options.focus.curveWindow < 0) options.focus.curveWindow = windows / 2;
  if (options.focus.curveWindow >= windows)
    throw CLI::ValidationError("--curve-window", "expected a window of the grid");
  if (options.focus.curveFrame < 0 || options.focus.curveFrame >= options.focus.frames)
    throw CLI::ValidationError("--curve-frame", "expected one of the frames");
  if (options.batch.IsWanted())
    return RunBatch(options.batch, options.camera, settings, options.focus, options.output.isJson);
  return RunOnce(options);
}

}  // namespace

void AddFocusCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<Options>();
  options->camera.settings.dccError = 0.08;
  options->focus.curveWindow = -1;
  CLI::App* command = app.add_subcommand("focus", "Brings the camera into focus, frame by frame");
  options->camera.AddTo(*command);
  options->output.AddTo(*command);
  command->add_option("--frames", options->focus.frames, "Frames to run")
      ->check(CLI::Range(1, 100000));
  CLI::Option* start =
      command
          ->add_option("--start", options->focus.startPhasePx,
                       "True phase difference at the start, pixels; the sign is the side")
          ->check(Between(-100.0, 100.0));
  CLI::Option* startCode = command
                               ->add_option("--start-code", options->startCode,
                                            "Lens position at the start instead, actuator codes")
                               ->check(Between(-32768, 32767))
                               ->excludes(start);
  command
      ->add_option("--dcc-error", options->camera.settings.dccError,
                   "The calibrated travel per pixel is too large by this share")
      ->check(Between(-0.5, 0.5));
  command->add_option("--cameras", options->cameras, "Cameras that run at once, taking turns")
      ->check(CLI::Range(1, static_cast<int>(kMaxCameras)));
  command->add_option("--second-sensor", options->secondSensor, "Sensor of the second camera");
  command->add_flag("--peripheral,!--no-peripheral", options->hasPeripheral,
                    "Expose the whole image for the windows around the ROI");
  command->add_option("--curve-frame", options->focus.curveFrame,
                      "Frame whose match of the views the report shows");
  command->add_option("--curve-window", options->focus.curveWindow, "Window of it");
  options->batch.AddTo(*command);
  command->footer(
      "Examples:\n"
      "  pdcam focus --report focus.html\n"
      "  pdcam focus --sensor s16-mirror --start -30 --calls 3 --json\n"
      "  pdcam focus --cameras 2 --second-sensor in-frame\n"
      "  pdcam focus --sensor dual --tuning tuning.bin --mode 'Default|Sensor.8'\n"
      "  pdcam focus --check                     all sensors, 20 seeds, both directions\n"
      "  pdcam focus --runs 5 --both-directions --sensor s16");
  CLI::Option* sensor = command->get_option("--sensor");
  command->callback([options, startCode, sensor, &status] {
    options->camera.isSensorNamed = sensor->count() > 0;
    options->hasStartCode = startCode->count() > 0;
    status = Run(*options);
  });
}

}  // namespace pdcam

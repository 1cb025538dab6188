// pdcam focus: the closed loop, once to look at or many times to be judged.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "batch_command.h"
#include "csv_output.h"
#include "focus_run.h"
#include "json_output.h"
#include "options.h"
#include "report.h"
#include "report_page.h"
#include "stop.h"

namespace pdcam {
namespace {

using simcam::FocusFrame;
using simcam::FocusResult;
using simcam::FocusRun;

constexpr int kMostFrames = 100000;

struct FocusOptions {
  CameraOptions camera;
  OutputOptions output;
  BatchOptions batch;
  simcam::FocusSettings focus;
  int cameras = 1;
  std::string secondSensor;
  bool hasPeripheral = true;
  bool hasNoEnd = false;  // --frames wasn't given
};

void PrintHead(const simcam::SensorDescription& sensor, const simcam::CameraSettings& settings) {
  std::printf("camera %u: sensor %s, scene %s, seed %llu, tuning %s\n", settings.cameraId,
              sensor.name.c_str(), settings.scene.c_str(),
              static_cast<unsigned long long>(settings.seed), simcam::TuningName(settings).c_str());
  std::printf("%5s %10s %9s %12s %8s %10s %6s  %s\n", "frame", "lens, code", "true, px",
              "measured, px", "defocus", "confidence", "result", "stack");
}

void PrintFrame(const FocusFrame& frame) {
  std::printf("%5d %10.1f %9.2f %12.2f %8d %10u %6u  %s%s%s\n", frame.index, frame.lensPosition,
              frame.truePhasePx, static_cast<double>(frame.roi.phaseDiff), frame.roi.defocus,
              frame.roi.confidence, frame.processingResult, ActionName(frame.action),
              frame.isTuningNew ? "  (new tuning)" : "", frame.isProcessed ? "" : "  (failed)");
}

void PrintScores(const simcam::FocusScores& scores) {
  if (scores.framesToFocus)
    std::printf("in focus after %d frames", *scores.framesToFocus);
  else
    std::printf("not in focus");
  std::printf(", %.2f px from it at the end, overshoot %.2f lens steps, within 1 step %.0f %%\n",
              scores.finalTruePhasePx, scores.overshootSteps, 100 * scores.within1Step);
}

void PrintTable(const FocusResult& result) {
  PrintHead(result.sensor, result.camera);
  for (const FocusFrame& frame : result.frames) PrintFrame(frame);
  PrintScores(result.scores);
}

std::string ProgressText(const FocusFrame& frame, int frames) {
  char text[96];
  std::snprintf(text, sizeof(text), "frame %d of %d: %+.1f px out of focus, confidence %u",
                frame.index + 1, frames, frame.truePhasePx, frame.roi.confidence);
  return text;
}

std::unique_ptr<FocusRun> OpenCamera(const FocusOptions& options, const Device& device,
                                     int camera) {
  const std::string& name =
      camera == 1 && !options.secondSensor.empty() ? options.secondSensor : options.camera.sensor;
  simcam::SensorDescription sensor = options.camera.Sensor(name);
  if (!options.hasPeripheral) sensor.tuning.peripheralWindows = false;
  simcam::CameraSettings settings = options.camera.Settings();
  options.camera.Fit(sensor, settings);
  settings.cameraId = static_cast<uint32_t>(camera);
  settings.seed += static_cast<uint64_t>(camera);
  WarnOfWindows(sensor, settings);
  return std::make_unique<FocusRun>(device.Library(), sensor, settings, options.focus);
}

// Several cameras take turns, frame by frame, in one process, as in a phone.
std::vector<FocusResult> RunCameras(const FocusOptions& options, const Device& device) {
  std::vector<std::unique_ptr<FocusRun>> runs;
  for (int camera = 0; camera < options.cameras; ++camera)
    runs.push_back(OpenCamera(options, device, camera));
  Progress progress;
  while (!runs.front()->IsDone())
    for (const auto& run : runs) {
      ThrowIfStopped();
      progress.Show(ProgressText(run->Step(), options.focus.frames));
    }
  std::vector<FocusResult> results;
  for (const auto& run : runs) results.push_back(run->Result());
  return results;
}

// What a reader wants to see of a camera that runs on: how it comes into focus, what a change
// brings about, and now and then that it still runs.
class LiveTable {
 public:
  explicit LiveTable(double frameRate) : framesASecond_(std::max(1L, std::lround(frameRate))) {}

  void Show(const FocusFrame& frame) {
    constexpr int kFramesToShow = 12;
    if (frame.index == 0 || frame.isTuningNew) shownTo_ = frame.index + kFramesToShow;
    if (frame.index < shownTo_ || frame.index % framesASecond_ == 0) PrintFrame(frame);
    std::fflush(stdout);
  }

 private:
  long framesASecond_;
  int shownTo_ = 0;
};

// Tells when the library begins to refuse the tuning.
class RefusalLine {
 public:
  void Show(const std::string& refusal) {
    if (refusal != shown_ && !refusal.empty())
      std::fprintf(stderr, "pdcam: %s; frames fail until its tuning is changed\n", refusal.c_str());
    shown_ = refusal;
  }

 private:
  std::string shown_;
};

// In real time, with the live link up, until all frames have run or somebody stops it.
std::vector<FocusResult> RunLinked(const FocusOptions& options, const Device& device) {
  const auto run = OpenCamera(options, device, 0);
  const unsigned port = options.camera.File()->LinkPort();
  std::fprintf(stderr, "live link on port %u: try 'tessarine link --port %u info'; Ctrl-C ends\n",
               port, port);
  if (!options.output.isJson) PrintHead(run->Sensor(), run->Settings());
  const double frameRate = options.camera.settings.frameRate;
  LiveTable table(frameRate);
  RefusalLine refusalLine;
  auto due = std::chrono::steady_clock::now();
  while (!run->IsDone() && !IsStopWanted()) {
    const FocusFrame& frame = run->Step();
    refusalLine.Show(run->Refusal());
    if (!options.output.isJson) table.Show(frame);
    due += std::chrono::microseconds(std::lround(1e6 / frameRate));
    std::this_thread::sleep_until(due);
  }
  TakeStopForDone();
  return {run->Result()};
}

int RunOnce(const FocusOptions& options) {
  const Device device(options.camera);
  const bool isLinked = options.camera.isLinked;
  const std::vector<FocusResult> results =
      isLinked ? RunLinked(options, device) : RunCameras(options, device);
  simcam::OrderedJson json;
  for (size_t i = 0; i < results.size(); ++i) {
    const OutputOptions& output = options.output;
    output.SaveCsv(FocusCsv(results[i]), i);
    output.SaveReport(FocusReport(results[i], output.Record()), i);
    if (!output.isJson && isLinked)
      PrintScores(results[i].scores);
    else if (!output.isJson)
      PrintTable(results[i]);
    else if (i == 0)
      json = ToJson(results[i]);
    else
      json["other_cameras"].push_back(ToJson(results[i]));
  }
  if (options.output.isJson) PrintJson(json);
  return kDone;
}

int Run(const FocusOptions& given) {
  FocusOptions options = given;
  if (options.camera.isLinked && options.hasNoEnd) options.focus.frames = kMostFrames;
  if (options.camera.isLinked && (options.batch.IsWanted() || options.cameras > 1))
    throw CLI::ValidationError("--link", "goes with one camera and one run");
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
    return RunBatch(options.batch, options.camera, settings, options.focus, options.output);
  return RunOnce(options);
}

}  // namespace

void AddFocusCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<FocusOptions>();
  options->camera.settings.dccError = 0.08;
  options->focus.curveWindow = -1;
  CLI::App* command = AddCommand(app, "focus", "Brings the camera into focus, frame by frame");
  options->camera.AddTo(*command);
  options->output.AddTo(*command);
  CLI::Option* frames = command->add_option("--frames", options->focus.frames, "Frames to run")
                            ->default_str("20, or without end with --link")
                            ->check(CLI::Range(1, kMostFrames));
  command
      ->add_flag(
          "--link", options->camera.isLinked,
          "Keep the live tuning link up, and run in real time until Ctrl-C, or for --frames; "
          "changed values count from the next frame on")
      ->needs(command->get_option("--tuning"));
  CLI::Option* start =
      command
          ->add_option("--start", options->focus.startPhasePx,
                       "True phase difference at the start, pixels; the sign is the side")
          ->check(Between(-100.0, 100.0));
  command
      ->add_option("--start-code", options->focus.startCode,
                   "Lens position at the start instead, actuator codes")
      ->default_str("as --start says")
      ->check(Between(-32768, 32767))
      ->excludes(start);
  command
      ->add_option("--dcc-error", options->camera.settings.dccError,
                   "The calibrated travel per pixel of the lens is too large by this share; other "
                   "commands have none of it")
      ->check(Between(-0.5, 0.5));
  command->add_option("--cameras", options->cameras, "Cameras that run at once, taking turns")
      ->check(CLI::Range(1, static_cast<int>(kMaxCameras)));
  command->add_option("--second-sensor", options->secondSensor, "Sensor of the second camera")
      ->default_str("as --sensor says");
  command
      ->add_flag("--peripheral,!--no-peripheral", options->hasPeripheral,
                 "Expose the whole image for the windows around the ROI, as is done unless the "
                 "tuning says otherwise, but not in many runs")
      ->default_str("as the tuning says");
  command->add_option("--curve-frame", options->focus.curveFrame,
                      "Frame whose match of the views the report shows");
  command->add_option("--curve-window", options->focus.curveWindow, "Window of it")
      ->default_str("the one in the middle");
  options->batch.AddTo(*command);
  command->footer(
      "Examples:\n"
      "  pdcam focus --report focus.html\n"
      "  pdcam focus --sensor s16-mirror --start -30 --calls 3 --json\n"
      "  pdcam focus --cameras 2 --second-sensor in-frame\n"
      "  pdcam focus --sensor dual --tuning tuning.bin --mode 'Default|Sensor.8'\n"
      "  pdcam focus --tuning tuning.bin --link  and in another terminal 'tessarine link info'\n"
      "  pdcam focus --check                     all sensors, 20 seeds, both directions\n"
      "  pdcam focus --runs 5 --both-directions --sensor s16");
  CLI::Option* sensor = command->get_option("--sensor");
  command->callback([options, sensor, frames, &status] {
    options->hasNoEnd = frames->count() == 0;
    options->camera.isSensorNamed = sensor->count() > 0;
    status = Run(*options);
  });
}

}  // namespace pdcam

// pdcam sweep: measured against true phase difference through the lens' travel.
#include <cstdio>

#include "csv_output.h"
#include "json_output.h"
#include "options.h"
#include "report.h"
#include "stop.h"
#include "sweep.h"

namespace pdcam {
namespace {

using simcam::ErrorScores;
using simcam::SweepResult;

constexpr int kMostSteps = 100000;

struct SweepOptions {
  CameraOptions camera;
  OutputOptions output;
  simcam::SweepSettings sweep;
};

void PrintScores(const char* name, const ErrorScores& scores) {
  std::printf("%-12s %6d %9.3f %9.3f %9.3f %9.3f %9.4f %9.1f %%\n", name, scores.points,
              scores.bias, scores.meanAbs, scores.rms, scores.worst, scores.slope,
              100 * scores.confidentShare);
}

void PrintTable(const SweepResult& result) {
  std::printf("sensor %s, scene %s, seed %llu; errors in pixels, measured - true\n",
              result.sensor.name.c_str(), result.camera.scene.c_str(),
              static_cast<unsigned long long>(result.camera.seed));
  std::printf("%-12s %6s %9s %9s %9s %9s %9s %11s\n", "", "points", "bias", "mean abs", "rms",
              "worst", "slope", "confident");
  PrintScores("all windows", result.scores);
  PrintScores("confident", result.confidentScores);
  PrintScores("whole ROI", result.roiScores);
  for (size_t i = 0; i < result.windows.size(); ++i)
    PrintScores(("window " + std::to_string(i)).c_str(), result.windows[i]);
  if (result.failedFrames > 0) std::printf("%d frames failed\n", result.failedFrames);
}

int Run(const SweepOptions& options) {
  if (options.sweep.from > options.sweep.to)
    throw CLI::ValidationError("--from", "expected a value up to that of --to");
  if ((options.sweep.to - options.sweep.from) / options.sweep.step > kMostSteps)
    throw CLI::ValidationError("--step", "expected at most 100000 steps");
  simcam::CameraSettings settings = options.camera.Settings();
  simcam::SensorDescription sensor = options.camera.Sensor(options.camera.sensor);
  options.camera.Fit(sensor, settings);
  // The windows of the ROI alone are judged.
  sensor.tuning.peripheralWindows = false;
  WarnOfWindows(sensor, settings);

  const Device device(options.camera);
  SweepResult result;
  {
    Progress progress;
    result =
        simcam::RunSweep(device.Library(), sensor, settings, options.sweep, [&](int done, int all) {
          ThrowIfStopped();
          progress.Show("step " + std::to_string(done) + " of " + std::to_string(all));
        });
  }
  options.output.SaveCsv(SweepCsv(result));
  options.output.SaveReport(SweepReport(result, options.output.Record()));
  if (options.output.isJson)
    PrintJson(ToJson(result));
  else
    PrintTable(result);
  return result.failedFrames == 0 ? kDone : kCheckFailed;
}

}  // namespace

void AddSweepCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<SweepOptions>();
  CLI::App* command =
      AddCommand(app, "sweep", "Measures through the lens' travel and compares with the truth");
  options->camera.AddTo(*command);
  options->output.AddTo(*command);
  command->add_option("--from", options->sweep.from, "First true phase difference, pixels")
      ->check(Between(-100.0, 100.0));
  command->add_option("--to", options->sweep.to, "Last one")->check(Between(-100.0, 100.0));
  command->add_option("--step", options->sweep.step, "Step")->check(Between(0.001, 100.0));
  command->footer(
      "Examples:\n"
      "  pdcam sweep --noise none\n"
      "  pdcam sweep --sensor dual-hdr --scene texture --split-noise 0.5\n"
      "  pdcam sweep --sensor in-frame --scene leaves --noise much --report sweep.html");
  command->callback([options, &status] { status = Run(*options); });
}

}  // namespace pdcam

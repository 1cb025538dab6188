// pdcam learn: a module whose calibration is off, and the library that learns how it really is.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "adaptive_table.h"
#include "csv_output.h"
#include "json_output.h"
#include "learn_run.h"
#include "options.h"
#include "report.h"
#include "stop.h"
#include "text.h"

namespace pdcam {
namespace {

using simcam::LearnPass;
using simcam::LearnResult;
using simcam::LearnSequence;
using simcam::LearntScores;

constexpr double kAllowedKError = 0.05;
// What noise and the whole-number codes of the lens make of two equal runs (measured over seeds and
// K errors: 0.06 and 0.04).
constexpr double kAllowedFrames = 0.1;
constexpr double kAllowedOvershoot = 0.05;

struct LearnOptions {
  CameraOptions camera;
  simcam::LearnSettings learn;
  std::string kMap;
  bool hasRoi = false;
  bool hasWindows = false;
  bool isCheck = false;
  OutputOptions output;
};

void PrintPass(const char* name, const LearnPass& pass) {
  std::printf(
      "\n%s: %s\n", name,
      pass.found ? "starts with what the file holds" : "no file, starts with the calibration");
  std::printf("%9s %6s %8s %8s %16s %16s\n", "sequence", "target", "K used", "true K",
              "frames to focus", "overshoot, steps");
  for (size_t i = 0; i < pass.sequences.size(); ++i) {
    const LearnSequence& sequence = pass.sequences[i];
    const auto& frames = sequence.scores.framesToFocus;
    std::printf("%9zu %6s %8s %8.1f %16s %16.2f\n", i, sequence.isFar ? "far" : "near",
                sequence.kUsed ? std::to_string(*sequence.kUsed).c_str() : "-", sequence.trueK,
                frames ? std::to_string(*frames).c_str() : "never", sequence.scores.overshootSteps);
  }
  if (!pass.found)
    std::printf("%s\n", pass.isPropagated ? "the first measurement was spread over the whole image"
                                          : "no measurement was spread over the whole image");
}

void Print(const LearnResult& result) {
  std::printf("calibrated K %d, true K %.1f%s (defocus per pixel of phase difference)\n",
              result.calibratedK, result.trueK,
              result.settings.kMap.empty() ? "" : " in the mean of the map");
  PrintPass("first opening", result.first);
  std::printf("\nstored at close: %zu bytes; opened and closed again, the file %s\n",
              result.first.blobBytes, result.isReopenedSame ? "is the same" : "CHANGED");
  if (result.first.found) {
    std::printf("\nbefore\n");
    PrintAdaptiveMedians(*result.first.found, result.sensor.tuning.adaptive.filterSize);
  } else {
    std::printf("\nbefore: %d in all cells, the calibration\n", result.calibratedK);
  }
  std::printf("\nafter\n");
  PrintAdaptiveMedians(*result.first.stored, result.sensor.tuning.adaptive.filterSize);
  PrintAdaptiveHistories(*result.first.stored);
  PrintPass("second opening", result.second);
}

// A K beyond the tolerances can't be learnt; the histories then stop at the bound.
bool IsWithinTolerances(const LearnResult& result) {
  const auto& adaptive = result.sensor.tuning.adaptive;
  const double error = result.settings.kError;
  return error < adaptive.upperTolerance && error > adaptive.lowerTolerance;
}

bool AreHistoriesBounded(const LearnResult& result) {
  const auto& adaptive = result.sensor.tuning.adaptive;
  // In single precision, as the library has it.
  const auto bound = [&](double tolerance) {
    return static_cast<int>(static_cast<float>(tolerance) * static_cast<float>(result.calibratedK));
  };
  const int upper = bound(adaptive.upperTolerance);
  const int lower = bound(adaptive.lowerTolerance);
  bool hasBound = false;
  for (const auto* histories : {&result.first.stored->near, &result.first.stored->far})
    for (const simcam::AdaptiveHistory& history : *histories)
      for (int k : history) {
        if (k > upper || k < lower) return false;
        hasBound = hasBound || k == (result.settings.kError > 1 ? upper : lower);
      }
  return hasBound;
}

struct PassedCheck {
  std::string what;
  bool isPassed;
};

std::vector<PassedCheck> Judge(const LearnResult& result, const LearnResult& perfect) {
  std::vector<PassedCheck> checks;
  const auto add = [&](std::string what, bool isPassed) {
    checks.push_back({std::move(what), isPassed});
  };
  add("opened again, the file is the same", result.isReopenedSame);
  add("nothing is spread in the second opening", !result.second.isPropagated);
  if (!IsWithinTolerances(result)) {
    add("histories stop at the bound", AreHistoriesBounded(result));
    return checks;
  }
  const LearntScores scores = ScoreLearnt(result);
  const LearntScores wanted = ScoreLearnt(perfect);
  // What is measured of a good calibration may be that very calibration: nothing to spread then.
  const bool isOff = std::abs(result.trueK / result.calibratedK - 1) > kAllowedKError;
  if (!result.first.found && isOff)
    add("the first measurement was spread over the image", result.first.isPropagated);
  if (result.settings.kMap.empty())
    add("K in use is at most " + simcam::Fixed(100 * scores.worstKError, 2) +
            " % from the true one, allowed " + simcam::Fixed(100 * kAllowedKError, 0) + " %",
        scores.worstKError <= kAllowedKError);
  add("frames to focus " + simcam::Fixed(scores.framesToFocus, 2) +
          ", with a perfect calibration " + simcam::Fixed(wanted.framesToFocus, 2),
      scores.framesToFocus <= wanted.framesToFocus + kAllowedFrames);
  add("overshoot " + simcam::Fixed(scores.overshootSteps, 2) +
          " lens steps, with a perfect calibration " + simcam::Fixed(wanted.overshootSteps, 2),
      scores.overshootSteps <= wanted.overshootSteps + kAllowedOvershoot);
  return checks;
}

LearnResult RunOne(const CameraOptions& camera, const simcam::CameraSettings& settings,
                   const simcam::SensorDescription& sensor, const simcam::LearnSettings& learn) {
  const Device device(camera);
  Progress progress;
  return simcam::RunLearning(device.Library(), device.Folder(), sensor, settings, learn,
                             [&](int sequence, int sequences) {
                               ThrowIfStopped();
                               progress.Show("sequence " + std::to_string(sequence + 1) + " of " +
                                             std::to_string(sequences));
                             });
}

int Run(const LearnOptions& given) {
  LearnOptions options = given;
  if (!options.kMap.empty()) {
    options.learn.kMap = simcam::LoadKMap(options.kMap);
    // One window for each region of the middle: a window across regions would see several K at
    // once.
    if (!options.hasRoi) options.camera.roi = {0.125, 1.0 / 6, 0.875, 5.0 / 6};
    if (!options.hasWindows) options.camera.windows = "6x4";
    options.camera.isOverlapped = false;
  }
  simcam::CameraSettings settings = options.camera.Settings();
  simcam::SensorDescription sensor = options.camera.Sensor(options.camera.sensor);
  options.camera.Fit(sensor, settings);
  WarnOfWindows(sensor, settings);

  std::vector<PassedCheck> checks;
  std::optional<LearnResult> perfect;
  if (options.isCheck) {
    CameraOptions elsewhere = options.camera;
    elsewhere.dataFolder.clear();
    // The same module, so that its lens has as far to go, calibrated right. It learns as well: what
    // is measured takes in the play of the lens, which a calibration doesn't know.
    simcam::SensorDescription calibrated = sensor;
    calibrated.lens.codesPerPx *= MeanKFactor(options.learn);
    simcam::LearnSettings learn = options.learn;
    learn.kError = 1;
    learn.kMap.clear();
    perfect = RunOne(elsewhere, settings, calibrated, learn);
  }
  const LearnResult result = RunOne(options.camera, settings, sensor, options.learn);
  if (perfect) checks = Judge(result, *perfect);
  const bool isPassed = std::all_of(checks.begin(), checks.end(),
                                    [](const PassedCheck& check) { return check.isPassed; });

  options.output.SaveCsv(LearnCsv(result));
  simcam::RunRecord record = options.output.Record();
  for (const PassedCheck& check : checks)
    if (!check.isPassed) record.failures.push_back(check.what);
  options.output.SaveReport(LearnReport(result, record));
  if (options.output.isJson) {
    simcam::OrderedJson json = ToJson(result);
    for (const PassedCheck& check : checks)
      json["checks"].push_back({{"what", check.what}, {"passed", check.isPassed}});
    PrintJson(json);
  } else {
    Print(result);
    if (!checks.empty()) std::printf("\n");
    for (const PassedCheck& check : checks)
      std::printf("%s: %s\n", check.isPassed ? "passed" : "FAILED", check.what.c_str());
  }
  return isPassed ? kDone : kCheckFailed;
}

}  // namespace

void AddLearnCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<LearnOptions>();
  CLI::App* command =
      AddCommand(app, "learn",
                 "Focuses a module whose calibration is off, while the library learns how it is");
  options->camera.AddTo(*command);
  options->output.AddTo(*command);
  CLI::Option* error =
      command
          ->add_option("--k-error", options->learn.kError,
                       "True defocus per pixel of phase difference over the calibrated one")
          ->check(Between(0.55, 2.5));
  command
      ->add_option("--k-map", options->kMap,
                   "JSON file with such a factor for each region, 6 rows of 8; windows are then "
                   "those regions unless --roi and --windows say otherwise")
      ->default_str("none")
      ->excludes(error);
  command->add_option("--sequences", options->learn.sequences, "Focus sequences of an opening")
      ->check(CLI::Range(1, 1000));
  command
      ->add_option("--start", options->learn.startPhasePx,
                   "True phase difference at the start of a sequence, pixels")
      ->check(Between(6.0, 40.0));
  command->add_flag("--check", options->isCheck,
                    "Exit status 1 unless what is learnt is right, kept, and as good as a perfect "
                    "calibration");
  command->footer(
      "Examples:\n"
      "  pdcam learn --k-error 0.8 --report learn.html\n"
      "  pdcam learn --k-error 1.25 --check\n"
      "  pdcam learn --k-map map.json --data-dir phone --json\n"
      "  pdcam adaptive show phone/var/cache/camera/pdlibdata0.bin");
  CLI::Option* roi = command->get_option("--roi");
  CLI::Option* windows = command->get_option("--windows");
  command->callback([options, roi, windows, &status] {
    options->hasRoi = roi->count() > 0;
    options->hasWindows = windows->count() > 0;
    status = Run(*options);
  });
}

}  // namespace pdcam

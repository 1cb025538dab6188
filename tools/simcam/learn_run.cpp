#include "learn_run.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "errors.h"
#include "random.h"
#include "window_samples.h"

namespace simcam {
namespace {

// Frames for which the lens must be held before a sequence ends, beyond those that the library asks
// for: the measurement is stored on the frame after them.
constexpr int kFramesAfterEnd = 2;
// Targets are not always equally far apart.
constexpr double kTargetSpreadPx = 2;

// K is a whole number. In units of whole codes it would be about 12, too coarse by far, so this
// module tells defocus in sixteenths of a code. Ten fractional bits have no room for that.
constexpr double kCodesPerDefocus = 1.0 / 16;
constexpr int kVersionWithSixBits = 0x400;
constexpr int kSixBits = 6;

SensorDescription LearningSensor(const SensorDescription& sensor) {
  SensorDescription adapted = sensor;
  adapted.calibration.version |= kVersionWithSixBits;
  adapted.calibration.qFactor = kSixBits;  // dual-PD sensors have no such version
  adapted.lens.codesPerDefocus = kCodesPerDefocus;
  // The library divides travel by phase difference and by the sensitivity; with positions in codes,
  // the sensitivity that makes it a K is that of codes per unit of defocus.
  adapted.lens.micronsPerCode = kCodesPerDefocus;
  adapted.tuning.peripheralWindows = false;
  adapted.tuning.adaptive.isOn = true;
  return adapted;
}

// A larger K is a larger travel for the same phase difference.
std::vector<double> PhaseScale(const LearnSettings& settings) {
  std::vector<double> scale;
  for (double factor : settings.kMap) scale.push_back(MeanKFactor(settings) / factor);
  return scale;
}

std::vector<bool> MeasuredRegions(const SensorDescription& sensor, const CameraSettings& camera) {
  std::vector<bool> measured(kRegions, false);
  const auto mark = [&](const PDLibWindow& window) {
    const double x = static_cast<double>(window.startX + window.endX) / 2;
    const double y = static_cast<double>(window.startY + window.endY) / 2;
    measured[static_cast<size_t>(RegionAt(sensor, x, y))] = true;
  };
  const int columns = static_cast<int>(camera.columns);
  const int rows = static_cast<int>(camera.rows);
  for (int window = 0; window < columns * rows; ++window)
    mark(ResultWindow(camera.roi, columns, rows, sensor.tuning.gridOverlap, window));
  mark(camera.roi);
  return measured;
}

std::optional<AdaptiveFile> FileIfThere(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return std::nullopt;
  return LoadAdaptiveFile(path);
}

bool IsUniform(const AdaptiveFile& file, size_t cell, int k) {
  const auto is = [k](int entry) { return entry == k; };
  return std::all_of(file.near[cell].begin(), file.near[cell].end(), is) &&
         std::all_of(file.far[cell].begin(), file.far[cell].end(), is);
}

// A value that was spread fills all entries of a cell, and those of a cell in which no window
// measures keep it. Where windows measure everywhere it is left in the oldest entries, for a while.
bool IsSpread(const AdaptiveFile& file, const std::vector<bool>& measured, int calibratedK) {
  const int spread = file.near[kAdaptiveCells - 1].back();
  bool isEverywhere = spread != calibratedK;
  for (size_t cell = 0; cell < kAdaptiveCells; ++cell) {
    const int k = file.near[cell].back();
    if (!measured[cell] && k != calibratedK && IsUniform(file, cell, k)) return true;
    isEverywhere = isEverywhere && k == spread && file.far[cell].back() == spread;
  }
  return isEverywhere;
}

// The stack around one opening of the camera. Time goes on from sequence to sequence.
class LearnStack {
 public:
  LearnStack(const PdLibrary& library, const SensorDescription& sensor,
             const CameraSettings& camera, const LearnSettings& settings)
      : settings_(settings),
        camera_(library, sensor, camera),
        calibratedK_(sensor.lens.codesPerPx / sensor.lens.codesPerDefocus),
        trueCodesPerPx_(sensor.lens.codesPerPx * MeanKFactor(settings)),
        focusCode_(Target(0)),
        lens_(sensor.lens, focusCode_) {}

  LearnSequence Run(int index, const std::function<void()>& beforeFrame) {
    focusCode_ = Target(index + 1);
    Autofocus autofocus(camera_.Sensor());
    LearnSequence sequence;
    sequence.trueK = calibratedK_ * MeanKFactor(settings_);
    std::vector<double> phases;
    std::optional<int> heldFrom;
    int held = 0;
    const int heldEnough = camera_.Sensor().tuning.adaptive.endFrames + kFramesAfterEnd;
    while (sequence.frames < settings_.framesPerSequence && held < heldEnough) {
      beforeFrame();
      const Shot shot = Shoot();
      ++sequence.frames;
      if (sequence.frames < settings_.dwellFrames) continue;
      if (phases.empty()) Begin(shot.result.Roi(), sequence);
      phases.push_back(shot.truePhasePx);
      const Autofocus::Decision decision =
          autofocus.Decide(shot.result, shot.lensCode, shot.wasSettled);
      const bool isHeld = decision.action == FocusAction::kHold;
      held = isHeld ? held + 1 : 0;
      if (!isHeld) heldFrom.reset();
      if (isHeld && autofocus.IsInFocus() && !heldFrom)
        heldFrom = static_cast<int>(phases.size()) - 1;
      if (!isHeld && decision.action != FocusAction::kWait)
        lens_.MoveTo(decision.targetCode, time_);
    }
    sequence.scores = ScoreFocus(phases, heldFrom);
    return sequence;
  }

 private:
  struct Shot {
    FrameResult result;
    double truePhasePx;
    int lensCode;
    bool wasSettled;
  };

  // Far and near targets in turn, in the middle of the travel.
  double Target(int index) const {
    const LensDescription& lens = camera_.Sensor().lens;
    const double spread =
        (Unit(Mix(camera_.Settings().seed, 0x1ea7, static_cast<uint64_t>(index))) - 0.5) *
        kTargetSpreadPx;
    const double side = index % 2 == 0 ? -1 : 1;
    return (lens.travelFrom + lens.travelTo) / 2.0 +
           side * (settings_.startPhasePx + spread) / 2 * trueCodesPerPx_;
  }

  // Exposes a frame; the next one starts when its result is there.
  Shot Shoot() {
    const double period = 1000 / camera_.Settings().frameRate;
    const double begin = time_;
    const double middle = begin + period * kExposureShare / 2;
    const bool wasSettled = lens_.IsSettled(begin);
    const double truePhase = (focusCode_ - lens_.Position(middle)) / trueCodesPerPx_;
    const int lensCode = static_cast<int>(std::lround(lens_.DriverCode(middle)));
    time_ = begin + period;
    return {camera_.Shoot(truePhase, lensCode), truePhase, lensCode, wasSettled};
  }

  // Defocus is K times phase difference with the fraction cut off, which the large phase difference
  // of a start hardly feels.
  static void Begin(const PDLibDefocusInfo& roi, LearnSequence& sequence) {
    const double phase = static_cast<double>(roi.phaseDiff);
    sequence.isFar = phase > 0;
    if (std::abs(phase) > 2) sequence.kUsed = static_cast<int>(std::lround(roi.defocus / phase));
  }

  LearnSettings settings_;
  Camera camera_;
  double calibratedK_;
  double trueCodesPerPx_;
  double focusCode_;
  Lens lens_;
  double time_ = 0;
};

}  // namespace

double KFactor(const LearnSettings& settings, int region) {
  return settings.kMap.empty() ? settings.kError : settings.kMap[static_cast<size_t>(region)];
}

double MeanKFactor(const LearnSettings& settings) {
  double sum = 0;
  for (int region = 0; region < kRegions; ++region) sum += KFactor(settings, region);
  return sum / kRegions;
}

LearnResult RunLearning(const PdLibrary& library, const DataFolder& folder,
                        const SensorDescription& sensor, const CameraSettings& camera,
                        const LearnSettings& settings, const LearnProgress& progress) {
  LearnResult result;
  result.sensor = LearningSensor(sensor);
  result.camera = camera;
  result.camera.phaseScale = PhaseScale(settings);
  result.settings = settings;
  const double calibratedK = result.sensor.lens.codesPerPx / result.sensor.lens.codesPerDefocus;
  result.calibratedK = static_cast<int>(calibratedK);
  result.trueK = calibratedK * MeanKFactor(settings);
  result.measured = MeasuredRegions(result.sensor, result.camera);
  const std::string path = folder.AdaptiveFile(camera.cameraId);

  const auto run = [&](LearnPass& pass, int done) {
    pass.found = FileIfThere(path);
    {
      LearnStack stack(library, result.sensor, result.camera, settings);
      for (int i = 0; i < settings.sequences; ++i)
        pass.sequences.push_back(stack.Run(i, [&] { progress(done + i, 2 * settings.sequences); }));
    }
    pass.stored = FileIfThere(path);
    if (!pass.stored) throw DeviceError(path + ": the PD library stored no file at close");
    pass.blobBytes = static_cast<size_t>(std::filesystem::file_size(path));
    pass.isPropagated = !pass.found && IsSpread(*pass.stored, result.measured, result.calibratedK);
  };
  run(result.first, 0);
  { const Camera reopened(library, result.sensor, result.camera); }
  result.isReopenedSame = FileIfThere(path) == result.first.stored;
  run(result.second, settings.sequences);
  return result;
}

LearntScores ScoreLearnt(const LearnResult& result) {
  const auto& first = result.first.sequences;
  std::vector<LearnSequence> learnt(first.begin() + static_cast<ptrdiff_t>(first.size() / 2),
                                    first.end());
  learnt.insert(learnt.end(), result.second.sequences.begin(), result.second.sequences.end());
  LearntScores scores;
  const double count = static_cast<double>(learnt.size());
  for (const LearnSequence& sequence : learnt) {
    scores.framesToFocus += sequence.scores.framesToFocus.value_or(sequence.frames) / count;
    scores.overshootSteps += sequence.scores.overshootSteps / count;
    const double error = sequence.kUsed ? std::abs(*sequence.kUsed / sequence.trueK - 1) : 1.0;
    scores.worstKError = std::max(scores.worstKError, error);
  }
  return scores;
}

}  // namespace simcam

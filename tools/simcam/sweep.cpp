#include "sweep.h"

#include <cmath>

namespace simcam {
namespace {

template <class Test>
ErrorScores Score(const std::vector<SweepPoint>& points, Test isCounted) {
  std::vector<PhaseSample> samples;
  for (const SweepPoint& point : points)
    if (isCounted(point))
      samples.push_back(
          {point.truePhasePx, static_cast<double>(point.measured.phaseDiff), point.isConfident});
  return ScoreErrors(samples);
}

}  // namespace

SweepResult RunSweep(const PdLibrary& library, const SensorDescription& sensor,
                     const CameraSettings& cameraSettings, const SweepSettings& settings,
                     const SweepProgress& progress) {
  Camera camera(library, sensor, cameraSettings);
  SweepResult result{camera.Sensor(), camera.Settings(), {}, {}, 0, {}, {}, {}, {}};
  const int windows = static_cast<int>(cameraSettings.columns * cameraSettings.rows);
  const double threshold = sensor.tuning.defocusConfidenceThreshold;
  const double middle = (sensor.lens.travelFrom + sensor.lens.travelTo) / 2.0;
  const int steps =
      static_cast<int>(std::floor((settings.to - settings.from) / settings.step + 1e-9));
  for (int i = 0; i <= steps; ++i) {
    SweepPoint point;
    point.truePhasePx = settings.from + i * settings.step;
    point.trueDefocus = point.truePhasePx * sensor.lens.codesPerPx;
    const FrameResult frame =
        camera.Shoot(point.truePhasePx, static_cast<int>(std::lround(middle - point.trueDefocus)));
    result.failedFrames += !frame.isProcessed;
    const auto take = [&](int window, const PDLibDefocusInfo& measured) {
      point.window = window;
      point.measured = measured;
      point.isConfident = frame.isProcessed && measured.confidence > threshold;
      return point;
    };
    for (int window = 0; window < windows; ++window)
      result.points.push_back(take(window, frame.output.defocusInfo[window]));
    result.roiPoints.push_back(take(-1, frame.Roi()));
    if (progress) progress(i + 1, steps + 1);
  }
  const auto all = [](const SweepPoint&) { return true; };
  result.scores = Score(result.points, all);
  result.confidentScores =
      Score(result.points, [](const SweepPoint& point) { return point.isConfident; });
  result.roiScores = Score(result.roiPoints, all);
  for (int window = 0; window < windows; ++window)
    result.windows.push_back(
        Score(result.points, [&](const SweepPoint& point) { return point.window == window; }));
  return result;
}

}  // namespace simcam

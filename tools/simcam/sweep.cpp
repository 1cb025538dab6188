#include "sweep.h"

#include <cmath>

namespace simcam {
namespace {

double ErrorOf(const SweepPoint& point) {
  return static_cast<double>(point.measured.phaseDiff) - point.truePhasePx;
}

double SlopeOf(const std::vector<SweepPoint>& points) {
  double meanTrue = 0;
  double meanMeasured = 0;
  for (const SweepPoint& point : points) {
    meanTrue += point.truePhasePx / static_cast<double>(points.size());
    meanMeasured +=
        static_cast<double>(point.measured.phaseDiff) / static_cast<double>(points.size());
  }
  double together = 0;
  double spread = 0;
  for (const SweepPoint& point : points) {
    const double offset = point.truePhasePx - meanTrue;
    together += offset * (static_cast<double>(point.measured.phaseDiff) - meanMeasured);
    spread += offset * offset;
  }
  return spread > 0 ? together / spread : 0;
}

template <class Test>
std::vector<SweepPoint> Select(const std::vector<SweepPoint>& points, Test test) {
  std::vector<SweepPoint> selected;
  for (const SweepPoint& point : points)
    if (test(point)) selected.push_back(point);
  return selected;
}

}  // namespace

ErrorScores ScoreErrors(const std::vector<SweepPoint>& points) {
  ErrorScores scores;
  scores.points = static_cast<int>(points.size());
  if (points.empty()) return scores;
  double squares = 0;
  int confident = 0;
  for (const SweepPoint& point : points) {
    const double error = ErrorOf(point);
    scores.bias += error;
    scores.meanAbs += std::abs(error);
    squares += error * error;
    scores.worst = std::max(scores.worst, std::abs(error));
    confident += point.isConfident;
  }
  const double count = scores.points;
  scores.bias /= count;
  scores.meanAbs /= count;
  scores.rms = std::sqrt(squares / count);
  scores.slope = SlopeOf(points);
  scores.confidentShare = confident / count;
  return scores;
}

SweepResult RunSweep(const PdLibrary& library, const SensorDescription& sensor,
                     const CameraSettings& cameraSettings, const SweepSettings& settings,
                     const SweepProgress& progress) {
  Camera camera(library, sensor, cameraSettings);
  SweepResult result{camera.Sensor(), cameraSettings, {}, {}, 0, {}, {}, {}, {}};
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
  result.scores = ScoreErrors(result.points);
  result.confidentScores =
      ScoreErrors(Select(result.points, [](const SweepPoint& p) { return p.isConfident; }));
  result.roiScores = ScoreErrors(result.roiPoints);
  for (int window = 0; window < windows; ++window)
    result.windows.push_back(ScoreErrors(
        Select(result.points, [&](const SweepPoint& p) { return p.window == window; })));
  return result;
}

}  // namespace simcam

#include "scores.h"

#include <algorithm>
#include <cmath>

namespace simcam {
namespace {

double SlopeOf(const std::vector<PhaseSample>& samples) {
  double meanTruth = 0;
  double meanMeasured = 0;
  for (const PhaseSample& sample : samples) {
    meanTruth += sample.truth / static_cast<double>(samples.size());
    meanMeasured += sample.measured / static_cast<double>(samples.size());
  }
  double together = 0;
  double spread = 0;
  for (const PhaseSample& sample : samples) {
    together += (sample.truth - meanTruth) * (sample.measured - meanMeasured);
    spread += (sample.truth - meanTruth) * (sample.truth - meanTruth);
  }
  return spread > 0 ? together / spread : 0;
}

}  // namespace

ErrorScores ScoreErrors(const std::vector<PhaseSample>& samples) {
  ErrorScores scores;
  scores.points = static_cast<int>(samples.size());
  if (samples.empty()) return scores;
  double squares = 0;
  int confident = 0;
  for (const PhaseSample& sample : samples) {
    const double error = sample.measured - sample.truth;
    scores.bias += error;
    scores.meanAbs += std::abs(error);
    squares += error * error;
    scores.worst = std::max(scores.worst, std::abs(error));
    confident += sample.isConfident;
  }
  const double count = scores.points;
  scores.bias /= count;
  scores.meanAbs /= count;
  scores.rms = std::sqrt(squares / count);
  scores.slope = SlopeOf(samples);
  scores.confidentShare = confident / count;
  return scores;
}

FocusScores ScoreFocus(const std::vector<double>& truePhases, std::optional<int> heldFrom) {
  FocusScores scores;
  scores.heldFrom = heldFrom;
  if (truePhases.empty()) return scores;
  scores.finalTruePhasePx = truePhases.back();

  const auto lastOutside = std::find_if(truePhases.rbegin(), truePhases.rend(),
                                        [](double phase) { return std::abs(phase) > 1; });
  const int framesBefore = static_cast<int>(truePhases.rend() - lastOutside);
  if (framesBefore < static_cast<int>(truePhases.size())) scores.framesToFocus = framesBefore;

  const double side = truePhases.front() > 0 ? 1 : -1;
  for (double phase : truePhases)
    scores.overshootSteps = std::max(scores.overshootSteps, -side * phase);

  const auto first = truePhases.begin() + heldFrom.value_or(0);
  const auto share = [&](double steps) {
    const auto count = std::count_if(first, truePhases.end(),
                                     [&](double phase) { return std::abs(phase) <= steps; });
    return static_cast<double>(count) / static_cast<double>(truePhases.end() - first);
  };
  scores.within1Step = share(1);
  scores.within2Steps = share(2);
  scores.within4Steps = share(4);
  return scores;
}

}  // namespace simcam

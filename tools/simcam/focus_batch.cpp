#include "focus_batch.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace simcam {
namespace {

constexpr double kNeededShare = 0.95;
constexpr double kStartSpreadPx = 4;
constexpr int kCoarseStepPx = 16;  // from here on two lens steps count as focus

}  // namespace

double BatchGroup::AllowedPx() const {
  return runs.front().sensor.SampleStepPx() >= kCoarseStepPx ? 2 : 1;
}

bool BatchGroup::IsInFocus(const FocusResult& run) const {
  return std::abs(run.scores.finalTruePhasePx) <= AllowedPx();
}

int BatchGroup::InFocus() const {
  return static_cast<int>(std::count_if(runs.begin(), runs.end(),
                                        [this](const FocusResult& run) { return IsInFocus(run); }));
}

double BatchGroup::WorstPx() const {
  double worst = 0;
  for (const FocusResult& run : runs)
    worst = std::max(worst, std::abs(run.scores.finalTruePhasePx));
  return worst;
}

double BatchGroup::FramesToFocus() const {
  int sum = 0;
  int arrived = 0;
  for (const FocusResult& run : runs) {
    sum += run.scores.framesToFocus.value_or(0);
    arrived += run.scores.framesToFocus.has_value();
  }
  return arrived > 0 ? static_cast<double>(sum) / arrived : 0;
}

bool BatchGroup::IsPassed() const {
  return InFocus() >= static_cast<int>(std::ceil(kNeededShare * static_cast<double>(runs.size())));
}

bool BatchResult::IsPassed() const {
  return std::all_of(groups.begin(), groups.end(),
                     [](const BatchGroup& group) { return group.IsPassed(); });
}

double StartPhase(double startPhasePx, int direction, uint64_t seed) {
  const double spread = 2 * Unit(Mix(seed, 0x57a7)) - 1;
  return direction * (startPhasePx + kStartSpreadPx * spread);
}

}  // namespace simcam

// Over more than a million random runs of frames: histories stay within their bounds but for what
// spreading writes, and nothing but active windows changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "adaptive/learner.h"
#include "adaptive/random_frames.h"

namespace {

constexpr int kStates = 16 * 1024;
constexpr int kRunsPerState = 64;
static_assert(kStates * kRunsPerState > 1'000'000);

// A tolerance times a coefficient as a whole number of 16 bits, in double precision throughout.
int BoundOf(float tolerance, int initial) {
  const double bound = static_cast<double>(tolerance) * initial;
  return std::isnan(bound) ? 0 : static_cast<int>(std::clamp(std::trunc(bound), -32768.0, 32767.0));
}

struct Range {
  int low, high;
  bool Holds(int value) const { return value >= low && value <= high; }
};

Range RangeOf(float upper, float lower, int initial) {
  const int low = BoundOf(lower, initial);
  return {low, std::max(low, BoundOf(upper, initial))};
}

// One state, and what may stand in each of its cells.
class Watched {
 public:
  explicit Watched(RandomSource* random) : tuning_(RandomTuning(random)), learner_(tuning_) {
    learner_.state.data.history_locked = random->OneIn(2) ? 1 : 0;
    for (int i = 0; i < kAdaptiveKCells; ++i) {
      near_[i] = RangeOf(tuning_.tolNearTargetUpperBound, tuning_.tolNearTargetLowerBound, 100 + i);
      far_[i] = RangeOf(tuning_.tolFarTargetUpperBound, tuning_.tolFarTargetLowerBound, 100 + i);
    }
  }

  void Run(RandomSource* random) {
    if (random->OneIn(3)) adaptive_k_reset(&learner_.state);
    const int window = random->Below(kAdaptiveKWindows);
    const int cell = random->Below(kAdaptiveKCells - 1);  // the last one is never measured
    learner_.Place(window, cell);
    const bool wasLocked = learner_.state.data.history_locked != 0;
    const pdaf_adaptive_k_t& state = learner_.state;
    before_ = {state.data, state.estimator, state.interpolator};
    ShowRun(random, &learner_);
    if (!wasLocked && state.data.history_locked != 0) CheckSpreading();
    CheckHistories();
    CheckInactive();
  }

  int Learnt() const { return learnt_; }
  bool Spread() const { return spread_; }

 private:
  void CheckSpreading() {
    spread_ = true;
    spreadValue_ = learner_.state.data.grid[kAdaptiveKCells - 1].nearTargetHistory[4];
    bool measured = false;
    for (int i = 0; i < kAdaptiveKWindows; ++i) {
      if (before_.estimator.active[i] != 1) continue;
      const int cell =
          adaptive_k_util_get_dataGrid_idx(&before_.data, &before_.estimator.grid[i].coordinate);
      measured |= near_[cell].Holds(spreadValue_) || far_[cell].Holds(spreadValue_);
    }
    ASSERT_TRUE(measured) << "spread " << spreadValue_ << ", which no window can have measured";
  }

  bool MayStand(const Range& range, int cell, int value) const {
    return range.Holds(value) || value == (spread_ ? spreadValue_ : 100 + cell);
  }

  void CheckHistories() {
    const adaptive_k_data_t& data = learner_.state.data;
    if (Same(data, before_.data)) return;
    ++learnt_;
    for (int c = 0; c < kAdaptiveKCells; ++c) {
      for (int e = 0; e < kAdaptiveKHistory; ++e) {
        ASSERT_TRUE(MayStand(near_[c], c, data.grid[c].nearTargetHistory[e]))
            << "near, cell " << c << ": " << data.grid[c].nearTargetHistory[e];
        ASSERT_TRUE(MayStand(far_[c], c, data.grid[c].farTargetHistory[e]))
            << "far, cell " << c << ": " << data.grid[c].farTargetHistory[e];
      }
    }
  }

  void CheckInactive() {
    const pdaf_adaptive_k_t& state = learner_.state;
    for (int i = 0; i < kAdaptiveKWindows; ++i) {
      ASSERT_EQ(state.estimator.active[i], before_.estimator.active[i]);
      if (state.estimator.active[i] == 1) continue;
      ASSERT_TRUE(Same(state.estimator.grid[i], before_.estimator.grid[i]));
      ASSERT_TRUE(Same(state.interpolator.grid[i], before_.interpolator.grid[i]));
    }
    const adaptive_k_interpolator_t& now = state.interpolator;
    const adaptive_k_interpolator_t& then = before_.interpolator;
    ASSERT_TRUE(Same(now.peripheralGrid, then.peripheralGrid));
    ASSERT_TRUE(Same(now.focusMapGrid, then.focusMapGrid));
  }

  struct Snapshot {
    adaptive_k_data_t data;
    adaptive_k_estimator_t estimator;
    adaptive_k_interpolator_t interpolator;
  };

  AdaptiveTuning tuning_;
  Learner learner_;
  Snapshot before_{};
  Range near_[kAdaptiveKCells];
  Range far_[kAdaptiveKCells];
  bool spread_ = false;
  int spreadValue_ = 0;
  int learnt_ = 0;
};

TEST(AdaptiveProperties, HistoriesKeepTheirBoundsAndInactiveWindowsRest) {
  RandomSource random(1);
  int learnt = 0;
  int spread = 0;
  for (int i = 0; i < kStates && !HasFatalFailure(); ++i) {
    Watched watched(&random);
    for (int run = 0; run < kRunsPerState && !HasFatalFailure(); ++run) watched.Run(&random);
    learnt += watched.Learnt();
    spread += watched.Spread() ? 1 : 0;
  }
  // Or the above would have watched nothing happen.
  EXPECT_GT(learnt, kStates * kRunsPerState / 10);
  EXPECT_GT(spread, kStates / 10);
}

}  // namespace

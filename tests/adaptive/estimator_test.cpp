// The state machine of a measurement: every transition, and what each looks at.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "adaptive/learner.h"
#include "adaptive/pdlib_adaptive_k_estimator.h"
#include "support/log_capture.h"

namespace {

using Tune = std::function<void(AdaptiveTuning&)>;

struct Case {
  std::string name;
  Tune tune;
  std::vector<Frame> frames;
  int state;
};

AdaptiveTuning Tuned(const Tune& tune) {
  AdaptiveTuning tuning = PlainTuning();
  if (tune) tune(tuning);
  return tuning;
}

std::vector<Frame> operator*(size_t count, const Frame& frame) {
  return std::vector<Frame>(count, frame);
}

std::vector<Frame> operator+(std::vector<Frame> first, const std::vector<Frame>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

const Frame kHeld{1000, 800, 8.0F};
const Frame kMoved{900, 0, 0.0F};  // its own result doesn't count
const Frame kSettled{400, 800, 0.5F};

Tune StartFrames(int n) {
  return [n](AdaptiveTuning& t) { t.state0StableCntThres = n; };
}
Tune EndFrames(int m) {
  return [m](AdaptiveTuning& t) { t.state1StableCntThres = m; };
}
Tune Timeout(int frames) {
  return [frames](AdaptiveTuning& t) { t.timeoutFrameCntThres = frames; };
}

// Two frames before the move, as the plain tuning wants them.
std::vector<Frame> AfterHolding(uint32_t confidence, float phase) {
  return 2 * Frame{1000, confidence, phase} + 1 * kMoved;
}

TEST(AdaptiveEstimator, Start) {
  for (const Case& c : std::vector<Case>{
           {"held, then moved", {}, 2 * kHeld + 1 * kMoved, 1},
           {"held too short", {}, 1 * kHeld + 1 * kMoved, 0},
           {"not moved", {}, 9 * kHeld, 0},
           {"moves every frame",
            {},
            {{1000, 800, 8}, {990, 800, 8}, {980, 800, 8}, {970, 800, 8}},
            0},
           {"no position", {}, 2 * kHeld + 1 * Frame{0, 800, 8}, 0},
           {"phase at the threshold", {}, AfterHolding(800, 4.0F), 1},
           {"phase below it", {}, AfterHolding(800, 3.999F), 0},
           {"negative phase", {}, AfterHolding(800, -4.0F), 1},
           {"infinite phase", {}, AfterHolding(800, -kInfinity), 1},
           {"NaN phase", {}, AfterHolding(800, kNaN), 0},
           {"confidence at the threshold", {}, AfterHolding(500, 8), 1},
           {"confidence below it", {}, AfterHolding(499, 8), 0},
           {"confidence beyond a signed word", {}, AfterHolding(0x80000000u, 8), 0},
           {"one frame to hold", StartFrames(2), 1 * kHeld + 1 * kMoved, 1},
           {"nothing to hold", StartFrames(1), {{1000, 0, 0}}, 1},
           {"N of 0", StartFrames(0), {{1000, 0, kNaN}}, 1},
           {"N below 0", StartFrames(kMinInt), {{1000, 0, 0}}, 1},
           {"full buffer", StartFrames(10), 9 * kHeld + 1 * kMoved, 1},
           {"one short of it", StartFrames(10), 8 * kHeld + 1 * kMoved, 0},
           {"N above 10", StartFrames(11), 9 * kHeld + 1 * kMoved, 1},
           {"N far above 10", StartFrames(kMaxInt), 9 * kHeld + 1 * kMoved, 1},
       }) {
    Learner learner(Tuned(c.tune));
    learner.Place(0, 0);
    learner.Show(c.frames);
    EXPECT_EQ(learner.Estimator().state, c.state) << c.name;
    if (c.state == 0) continue;
    const float held = c.frames.size() == 1 ? 0.0F : 1000.0F;  // the frame before the move
    EXPECT_EQ(learner.Estimator().LensPos_S, held) << c.name;
    const auto& lens = learner.Estimator().buffer_lens_pos;
    EXPECT_EQ(std::count(std::begin(lens), std::end(lens), 0), 10) << c.name;
  }
}

// After a start in state 1, which has its buffers empty.
TEST(AdaptiveEstimator, End) {
  for (const Case& c : std::vector<Case>{
           {"settled", {}, 2 * kSettled, 2},
           {"settled once", {}, 1 * kSettled, 1},
           {"still moving", {}, {{400, 800, 0.5F}, {401, 800, 0.5F}}, 1},
           {"phase at the threshold", {}, 2 * Frame{400, 800, -1.0F}, 2},
           {"phase above it", {}, 2 * Frame{400, 800, 1.001F}, 1},
           {"NaN phase", {}, 2 * Frame{400, 800, kNaN}, 1},
           {"confidence at the threshold", {}, 2 * Frame{400, 600, 0.5F}, 2},
           {"confidence below it", {}, 2 * Frame{400, 599, 0.5F}, 1},
           {"no position", {}, 2 * Frame{0, 800, 0.5F}, 1},
           {"a bad frame between", {}, 1 * kSettled + 1 * kMoved + 2 * kSettled, 2},
           {"M of 0", EndFrames(0), {{400, 0, kNaN}}, 2},
           {"M below 0", EndFrames(kMinInt), {{400, 0, 9}}, 2},
           {"full buffer", EndFrames(10), 10 * kSettled, 2},
           {"one short of it", EndFrames(10), 9 * kSettled, 1},
           {"M above 10", EndFrames(11), 10 * kSettled, 2},
           {"M far above 10", EndFrames(kMaxInt), 10 * kSettled, 2},
           {"travel just enough", {}, 2 * Frame{900, 800, 0.5F}, 2},
           {"travel too small", {}, 2 * Frame{901, 800, 0.5F}, 0},
           {"travel upwards", {}, 2 * Frame{1100, 800, 0.5F}, 2},
           {"before the time-out", {}, 31 * kMoved, 1},
           {"time-out", {}, 32 * kMoved, 0},
           {"time-out without position", {}, 32 * Frame{0, 0, 0}, 0},
           {"settled in the last frame", Timeout(2), 2 * kSettled, 2},
           {"settled too late", Timeout(2), 1 * kMoved + 2 * kSettled, 0},
           {"one frame lets none through",
            [](AdaptiveTuning& t) {
              EndFrames(1)(t);
              Timeout(1)(t);
            },
            1 * kSettled, 0},
           {"limit below 0", Timeout(kMinInt), 1 * kSettled, 0},
           {"no limit", Timeout(kMaxInt), 2000 * kMoved, 1},
       }) {
    Learner learner(Tuned(c.tune));
    learner.Place(0, 0);
    learner.Show(2 * kHeld + 1 * kMoved);
    ASSERT_EQ(learner.Estimator().state, 1) << c.name;
    learner.Show(c.frames);
    EXPECT_EQ(learner.Estimator().state, c.state) << c.name;
    const bool measured = c.state == 2;
    EXPECT_EQ(learner.Estimator().LensPos_E,
              measured ? static_cast<float>(c.frames.back().lens) : 0.0F)
        << c.name;
    EXPECT_EQ(learner.Estimator().LensPos_S, c.state == 0 ? 0.0F : 1000.0F) << c.name;
    EXPECT_EQ(learner.Estimator().PD_S, c.state == 0 ? 0.0F : 8.0F) << c.name;
  }
}

TEST(AdaptiveEstimator, CoefficientIsTravelPerPhaseAndSensitivity) {
  struct Measurement {
    float lensStart, lensEnd, phaseStart, phaseEnd, sensitivity;
    int16_t k;
  };
  for (const Measurement& m : std::vector<Measurement>{
           {1000, 400, 8, 0.5F, 1, 80},
           {400, 1000, -8, -0.5F, 1, 80},
           {1000, 400, 8, 0.5F, 0.5F, 160},
           {1000, 400, 8, 0.5F, -0.5F, 160},
           {100, 0, 3, 0, 1, 33},           // 33.3
           {65541, 0, 1, 0, 1, 5},          // the low 16 of 32 bits
           {40000, 0, 1, 0, 1, -25536},     // likewise
           {1000, 400, 8, 8, 1, -1},        // infinity: the largest of 32 bits
           {1000, 400, 8, 0.5F, 0, -1},     // likewise
           {400, 400, 8, 8, 1, 0},          // NaN
           {1000, 400, 8, 0.5F, kNaN, 0},   // likewise
           {1000, 400, kInfinity, 0, 1, 0}  // nothing per infinitely much
       }) {
    adaptive_k_estimator_grid_t grid{};
    grid.LensPos_S = m.lensStart;
    grid.LensPos_E = m.lensEnd;
    grid.PD_S = m.phaseStart;
    grid.PD_E = m.phaseEnd;
    EXPECT_EQ(adaptive_k_calculate_estimatorGrid_K(&grid, m.sensitivity), m.k)
        << m.lensStart << " to " << m.lensEnd;
  }
}

TEST(AdaptiveEstimator, StoresInTheDirectionOfTheMove) {
  struct Move {
    int to;
    float sensitivity;
    int16_t near, far;
  };
  // Cell 10 starts from 110. Near is bounded by 55 and 165, far by 27 and 220; from 1000 and a
  // phase change of 7.5.
  for (const Move& move : std::vector<Move>{{400, 1.0F, 80, 110},
                                            {1600, 1.0F, 110, 80},
                                            {1000, 1.0F, 110, 27},  // no travel counts as far
                                            {400, 0.25F, 165, 110},
                                            {1600, 0.25F, 110, 220},
                                            {400, 0.0F, 55, 110},
                                            {1600, kNaN, 110, 27}}) {
    AdaptiveTuning tuning = PlainTuning();
    tuning.minimumLensPosDelta = 0;
    tuning.filterSize = 1;
    Learner learner(tuning);
    learner.Place(0, 10);
    learner.Place(47, 20);  // sees the same
    learner.Show(2 * kHeld + 1 * kMoved + 2 * Frame{move.to, 800, 0.5F});
    ASSERT_EQ(learner.Estimator().state, 2) << move.to;
    const pdaf_adaptive_k_t before = learner.state;
    learner.Show({0, 0, kNaN}, move.sensitivity);  // whatever comes: the measurement is over
    EXPECT_EQ(learner.Estimator().state, 0);
    EXPECT_EQ(learner.Estimator().counter, 0);

    const adaptive_k_data_grid_t& cell = learner.state.data.grid[10];
    EXPECT_EQ(cell.nearTargetHistory[0], move.near) << move.to;
    EXPECT_EQ(cell.farTargetHistory[0], move.far) << move.to;
    EXPECT_EQ(cell.nearTargetHistory[1], 110);
    EXPECT_EQ(cell.farTargetHistory[1], 110);
    EXPECT_EQ(learner.state.interpolator.grid[0].nearTargetDCC, move.near);
    EXPECT_EQ(learner.state.interpolator.grid[0].farTargetDCC, move.far);
    for (int c = 0; c < kAdaptiveKCells; ++c) {
      if (c == 10 || c == 20) continue;
      EXPECT_TRUE(Same(learner.state.data.grid[c], before.data.grid[c])) << c;
    }
  }
}

void Reach(Learner* learner, int state) {
  if (state > 0) learner->Show(2 * kHeld + 1 * kMoved);
  if (state > 1) learner->Show(2 * kSettled);
  ASSERT_EQ(learner->Estimator().state, state);
}

TEST(AdaptiveEstimator, ResetEndsAnyMeasurementOfAnActiveWindow) {
  for (const int state : {0, 1, 2}) {
    Learner learner;
    learner.Place(0, 0);
    Reach(&learner, state);
    const adaptive_k_estimator_grid_t inputs = learner.Estimator();
    learner.state.estimator.grid[5].state = 1;  // inactive
    adaptive_k_reset(&learner.state);
    EXPECT_EQ(learner.Estimator().state, 0);
    EXPECT_EQ(learner.Estimator().counter, 0);
    EXPECT_EQ(learner.Estimator().LensPos_S, 0.0F);
    EXPECT_EQ(learner.Estimator().PD_E, 0.0F);
    EXPECT_EQ(learner.state.estimator.active[0], 0u);
    EXPECT_EQ(learner.Estimator(5).state, 1);
    EXPECT_EQ(learner.Estimator().lens_pos[0], inputs.lens_pos[0]);  // a sample to carry over
    EXPECT_EQ(learner.Estimator().pd[1], inputs.pd[1]);
    const adaptive_k_estimator_grid_t reset = learner.Estimator();
    learner.Show(3 * kHeld);  // no longer looked at
    EXPECT_TRUE(Same(reset, learner.Estimator()));
  }
}

TEST(AdaptiveEstimator, ConfiguringCarriesAGoodSampleOver) {
  struct Carry {
    std::string name;
    Frame older, newest;
    int state;
    float lens, phase;
  };
  for (const Carry& c : std::vector<Carry>{
           {"the newest", {900, 800, 5}, {1000, 800, -8}, 1, 1000, -8},
           {"the older", {900, 800, -8}, {1000, 800, 5}, 1, 900, -8},
           {"the older of equals", {900, 800, 8}, {1000, 800, -8}, 1, 900, 8},
           {"phase at the threshold", {900, 800, 4}, {1000, 800, 4}, 0, 0, 0},
           {"phase above it", {900, 800, 4}, {1000, 800, 4.001F}, 1, 1000, 4.001F},
           {"confidence at the threshold", {900, 800, 5}, {1000, 500, 8}, 0, 0, 0},
           {"confidence above it", {900, 800, 5}, {1000, 501, 8}, 1, 1000, 8},
           {"NaN is never a start", {900, 800, 5}, {1000, 800, kNaN}, 0, 0, 0},
           {"nor is it more significant", {900, 800, kNaN}, {1000, 800, 8}, 1, 1000, 8},
       }) {
    for (const int from : {0, 1, 2}) {
      Learner learner;
      learner.Place(0, 0);
      Reach(&learner, from);
      for (const Frame& frame : {c.older, c.newest}) {
        adaptive_k_update_estimatorGrid_inputs(&learner.state.estimator.grid[0], frame.lens,
                                               static_cast<int>(frame.confidence), frame.phase, 0);
      }
      learner.Place(0, 0);
      EXPECT_EQ(learner.Estimator().state, c.state) << c.name << " from state " << from;
      EXPECT_EQ(learner.Estimator().LensPos_S, c.lens) << c.name;
      EXPECT_EQ(learner.Estimator().PD_S, c.phase) << c.name;
      EXPECT_EQ(learner.Estimator().buffer_lens_pos[0], 0) << c.name;
    }
  }
}

TEST(AdaptiveEstimator, TheFirstConfigurationCarriesNothing) {
  Learner learner;
  EXPECT_EQ(learner.Estimator(3).is_first_run, 1u);
  adaptive_k_update_estimatorGrid_inputs(&learner.state.estimator.grid[3], 1000, 800, 8.0F, 0);
  learner.Place(3, 12);
  EXPECT_EQ(learner.Estimator(3).is_first_run, 0u);
  EXPECT_EQ(learner.Estimator(3).state, 0);
  EXPECT_EQ(learner.Estimator(3).coordinate.x, 450);
  EXPECT_EQ(learner.Estimator(3).coordinate.y, 150);
  EXPECT_EQ(learner.state.estimator.active[3], 1u);
}

TEST(AdaptiveEstimator, AStateThatIsNoneIsAnErrorAndStays) {
  for (const int state : {3, -1, kMaxInt}) {
    Learner learner;
    learner.Place(0, 0);
    learner.state.estimator.grid[0].state = state;
    learner.state.estimator.grid[0].counter = 5;
    const test::LogCapture log;
    learner.Show(kHeld);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"ADAPTK: S099 - Error in Adaptive K State!"});
    EXPECT_EQ(learner.Estimator().state, state);
    EXPECT_EQ(learner.Estimator().counter, 5);
  }
}

// Which histories hold nothing but `value`.
bool IsUniform(const adaptive_k_data_t& data, int16_t value) {
  return std::all_of(std::begin(data.grid), std::end(data.grid), [&](const auto& cell) {
    return std::count(cell.nearTargetHistory, cell.nearTargetHistory + 5, value) == 5 &&
           std::count(cell.farTargetHistory, cell.farTargetHistory + 5, value) == 5;
  });
}

TEST(AdaptiveSpreading, TheFirstNewMedianFillsTheGrid) {
  struct Spread {
    int filterSize;
    int lensEnd;
    int measurements;  // until the median leaves the oldest entry; 0: never
    int16_t value;
  };
  // Cell 0 starts from 100; a move of 600 is 80, one of 900 is 120.
  for (const Spread& s : {Spread{3, 400, 2, 80}, Spread{3, 1600, 2, 80}, Spread{5, 1900, 3, 120},
                          Spread{4, 400, 2, 80}, Spread{4, 1900, 3, 120}, Spread{2, 400, 1, 80},
                          Spread{1, 400, 0, 0}, Spread{0, 400, 0, 0}, Spread{99, 400, 3, 80}}) {
    AdaptiveTuning tuning = PlainTuning();
    tuning.filterSize = s.filterSize;
    Learner learner(tuning);
    learner.Place(0, 0);
    adaptive_k_configure_peripheral_window(&learner.state, 0, 100, 0, 100, 0);
    int measurements = 0;
    while (measurements < 8 && learner.state.data.history_locked == 0) {
      learner.Show(Move(1000, s.lensEnd));
      ++measurements;
    }
    EXPECT_EQ(measurements, s.measurements == 0 ? 8 : s.measurements) << s.filterSize;
    EXPECT_EQ(IsUniform(learner.state.data, s.value), s.measurements != 0) << s.filterSize;
    EXPECT_EQ(learner.state.data.grid[7].nearTargetInitDCC, 107);
    if (s.measurements == 0) continue;
    EXPECT_EQ(learner.state.interpolator.grid[0].nearTargetDCC, s.value);
    EXPECT_EQ(learner.state.interpolator.grid[0].farTargetDCC, s.value);
    EXPECT_EQ(learner.state.interpolator.grid[1].farTargetDCC, 0);  // never configured
    EXPECT_EQ(learner.state.interpolator.peripheralGrid[0].nearTargetDCC, 100);
    // From now on a measurement, here of 60, stays in its cell.
    const adaptive_k_data_grid_t other = learner.state.data.grid[1];
    for (int i = 0; i < 5; ++i) learner.Show(Move(1000, 550));
    EXPECT_EQ(learner.state.data.grid[0].nearTargetHistory[4], 60);
    EXPECT_TRUE(Same(other, learner.state.data.grid[1]));
  }
}

TEST(AdaptiveSpreading, ALoadedBlobKeepsMeasurementsInTheirCell) {
  Learner learner;
  const int16_t zeros[480] = {};
  ASSERT_EQ(adaptive_k_set_data(&learner.state, zeros, 960), 1);
  learner.Place(0, 5);
  for (int i = 0; i < 5; ++i) {
    learner.Show(Move(1000, 400));
    adaptive_k_propagate_init_data(&learner.state.data, &learner.state.estimator,
                                   &learner.state.interpolator, 5, 0);
  }
  for (int c = 0; c < kAdaptiveKCells; ++c) {
    const adaptive_k_data_grid_t& cell = learner.state.data.grid[c];
    const int16_t near = static_cast<int16_t>(c == 5 ? 80 : 100 + c);
    EXPECT_EQ(std::count(cell.nearTargetHistory, cell.nearTargetHistory + 5, near), 5) << c;
    EXPECT_EQ(std::count(cell.farTargetHistory, cell.farTargetHistory + 5, 100 + c), 5) << c;
  }
}

}  // namespace

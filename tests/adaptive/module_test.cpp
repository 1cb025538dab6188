// The module as flows call it: initialisation, windows, coefficients, debug lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "adaptive/learner.h"
#include "adaptive/pdlib_adaptive_k.h"
#include "support/log_capture.h"

using test::LogCapture;

namespace {

// Every byte says whether it was written.
pdaf_adaptive_k_t Marked() {
  pdaf_adaptive_k_t state;
  std::memset(&state, 0x5A, sizeof(state));
  return state;
}

TEST(AdaptiveInit, WithoutTuningOrTableNothingIsLearnt) {
  const AdaptiveTuning tuning = PlainTuning();
  const auto table = PlainTable();
  const pdaf_adaptive_k_t marked = Marked();
  const LogCapture log;
  pdaf_adaptive_k_t state = marked;
  adaptive_k_pd_init(&state, nullptr, table.data(), 6, 800, 600);
  adaptive_k_dpd_init(&state, nullptr, table.data(), 6, 800, 600);
  adaptive_k_pd_init(&state, &tuning, nullptr, 6, 800, 600);
  EXPECT_TRUE(Same(state, marked));

  // The dual-PD form goes on; only the histories stay.
  adaptive_k_dpd_init(&state, &tuning, nullptr, 6, 800, 600);
  EXPECT_EQ(state.enable, 1u);
  EXPECT_EQ(state.data.width, 400);
  EXPECT_EQ(state.data.grid[0].nearTargetHistory[0], 0x5A5A);
  EXPECT_EQ(state.data.grid[0].farTargetInitDCC, 0x5A5A);
  EXPECT_EQ(state.data.history_locked, 0x5A5A5A5Au);
  EXPECT_EQ(log.texts().size(), 5u);
  EXPECT_EQ(log.count("ADAPTK: S100 - Sending the NULL tuning pointer "), 2);
  EXPECT_EQ(log.count("ADAPTK: S100 - Sending the NULL calibration pointer "), 2);
  EXPECT_EQ(log.count("ADAPTK: S001 - Sending the NULL calibration data pointer "), 1);
}

TEST(AdaptiveInit, TurnedOffItTouchesNothingButDebug) {
  AdaptiveTuning tuning = PlainTuning();
  tuning.enable = 0;
  pdaf_adaptive_k_t expected = Marked();
  expected.debug = 0;
  pdaf_adaptive_k_t state = Marked();
  adaptive_k_pd_init(&state, &tuning, PlainTable().data(), 6, 800, 600);
  EXPECT_TRUE(Same(state, expected));
}

TEST(AdaptiveInit, StartsAllButTheFocusMapAnew) {
  AdaptiveTuning tuning = PlainTuning();
  tuning.enable = 2;  // stored; the flows ask for 1
  pdaf_adaptive_k_t state = Marked();
  adaptive_k_pd_init(&state, &tuning, PlainTable().data(), 6, 800, 600);
  EXPECT_EQ(state.enable, 2u);
  EXPECT_EQ(state.data.filterSize, 3);
  EXPECT_EQ(state.data.tolNearTargetUpperBound, 1.5F);
  EXPECT_EQ(state.data.tolNearTargetLowerBound, 0.5F);
  EXPECT_EQ(state.data.tolFarTargetUpperBound, 2.0F);
  EXPECT_EQ(state.data.tolFarTargetLowerBound, 0.25F);
  EXPECT_EQ(state.data.grid[47].farTargetHistory[4], 147);
  EXPECT_TRUE(Same(state.estimator.param, {3, 4.0F, 500, 2, 1.0F, 600, 32, 100}));

  adaptive_k_estimator_grid_t idle{};
  idle.is_first_run = 1;
  const adaptive_k_interpolator_grid_t zero{};
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    EXPECT_EQ(state.estimator.active[i], 0u);
    EXPECT_TRUE(Same(state.estimator.grid[i], idle)) << i;
    EXPECT_TRUE(Same(state.interpolator.grid[i], zero)) << i;
  }
  for (const adaptive_k_interpolator_grid_t& grid : state.interpolator.peripheralGrid) {
    EXPECT_TRUE(Same(grid, zero));
  }
  for (const adaptive_k_interpolator_grid_t& grid : state.interpolator.focusMapGrid) {
    EXPECT_EQ(grid.nearTargetDCC, 0x5A5A);
  }
}

TEST(AdaptiveInit, TheDualPdFrameIsHalfAsWide) {
  const AdaptiveTuning tuning = PlainTuning();
  pdaf_adaptive_k_t state{};
  adaptive_k_dpd_init(&state, &tuning, PlainTable().data(), 6, 100, 100);
  EXPECT_EQ(state.data.width, 50);
  EXPECT_EQ(state.data.height, 100);
  EXPECT_EQ(state.data.grid[7].end_x, 47);  // eight cells of 6
}

TEST(AdaptiveWindows, TakeTheCoefficientsUnderTheirCentre) {
  Learner learner;
  std::fill_n(learner.state.data.grid[10].nearTargetHistory, 5, int16_t{70});
  std::fill_n(learner.state.data.grid[10].farTargetHistory, 5, int16_t{90});
  // The mean of 199 and 202 is 200, of 150 and 151 it is 150: the corner of cell 10.
  adaptive_k_config_window(&learner.state, kRoiDefault, 199, 202, 150, 151, 47);
  adaptive_k_configure_peripheral_window(&learner.state, 199, 202, 150, 151, 35);
  adaptive_k_configure_focus_map(&learner.state, 199, 202, 150, 151, 399);
  for (const auto& [phase, dcc] : std::vector<std::pair<float, int16_t>>{
           {0.0F, 70}, {-0.0F, 70}, {-3.0F, 70}, {kNaN, 70}, {0.001F, 90}, {9.0F, 90}}) {
    EXPECT_EQ(adaptive_k_get_interpolated_DCC(&learner.state, phase, 47), dcc) << phase;
    EXPECT_EQ(adaptive_k_get_interpolated_DCC_peripheral(&learner.state, phase, 35), dcc);
    EXPECT_EQ(adaptive_k_get_interpolated_DCC_focus_map(&learner.state, phase, 399), dcc);
  }
  EXPECT_EQ(learner.state.interpolator.grid[47].coordinate.x, 200);
  EXPECT_EQ(learner.state.interpolator.focusMapGrid[399].coordinate.y, 150);
}

TEST(AdaptiveWindows, AnIndexBeyondTheArraysIsIgnored) {
  for (const int window : {-1, 48, 200, kMaxInt, kMinInt}) {
    Learner learner;
    const pdaf_adaptive_k_t before = learner.state;
    EXPECT_FALSE(adaptive_k_has_window(window));
    adaptive_k_config_window(&learner.state, kRoiDefault, 0, 100, 0, 100, window);
    EXPECT_EQ(adaptive_k_get_interpolated_DCC(&learner.state, 1.0F, window), 0);
    if (window == -1 || window > 399) {
      EXPECT_FALSE(adaptive_k_has_focus_map_window(window));
      adaptive_k_configure_focus_map(&learner.state, 0, 100, 0, 100, window);
      EXPECT_EQ(adaptive_k_get_interpolated_DCC_focus_map(&learner.state, 1.0F, window), 0);
    }
    EXPECT_FALSE(adaptive_k_has_peripheral_window(window));
    adaptive_k_configure_peripheral_window(&learner.state, 0, 100, 0, 100, window);
    EXPECT_EQ(adaptive_k_get_interpolated_DCC_peripheral(&learner.state, 1.0F, window), 0);
    EXPECT_TRUE(Same(learner.state, before)) << window;
  }
}

// What was learnt reaches windows without an estimator when they are configured again.
TEST(AdaptiveWindows, OnlyMeasuringWindowsFollowAtOnce) {
  Learner learner;
  learner.state.data.history_locked = 1;
  learner.Place(0, 0);
  adaptive_k_configure_peripheral_window(&learner.state, 0, 100, 0, 100, 0);
  adaptive_k_configure_focus_map(&learner.state, 0, 100, 0, 100, 0);
  for (int i = 0; i < 3; ++i) learner.Show(Move(1000, 400));
  EXPECT_EQ(adaptive_k_get_interpolated_DCC(&learner.state, -1.0F, 0), 80);
  EXPECT_EQ(adaptive_k_get_interpolated_DCC_peripheral(&learner.state, -1.0F, 0), 100);
  EXPECT_EQ(adaptive_k_get_interpolated_DCC_focus_map(&learner.state, -1.0F, 0), 100);
  adaptive_k_configure_peripheral_window(&learner.state, 0, 100, 0, 100, 0);
  adaptive_k_configure_focus_map(&learner.state, 0, 100, 0, 100, 0);
  EXPECT_EQ(adaptive_k_get_interpolated_DCC_peripheral(&learner.state, -1.0F, 0), 80);
  EXPECT_EQ(adaptive_k_get_interpolated_DCC_focus_map(&learner.state, -1.0F, 0), 80);
}

TEST(AdaptiveLog, DebugLinesNeedTheLevelAtInitialisation) {
  for (const int level : {0, 1, 2, 3, 4}) {
    const LogCapture log(level);
    Learner learner;
    EXPECT_EQ(learner.state.debug, level == 3 ? 1u : 0u);
    PDLIB_LOG = 0;  // what the switch says later is another camera's
    learner.Place(0, 0);
    adaptive_k_print_active_gridID(&learner.state);
    for (int i = 0; i < 2; ++i) learner.Show(Move(1000, 400));
    learner.Show(Move(1000, 950));
    const int16_t zeros[480] = {};
    adaptive_k_set_data(&learner.state, zeros, 960);
    adaptive_k_reset(&learner.state);
    adaptive_k_deinit(&learner.state);
    if (level != 3) {
      EXPECT_TRUE(log.texts().empty()) << level;
      continue;
    }
    for (const char* text :
         {"ADAPTK: S010 - Update data grid[00] with estimated K 80, from LensPos_S 1000.000000, "
          "LensPos_E 400.000000, PD_S 8.000000, PD_E 0.500000",
          "ADAPTK: S010 - LensPos delta is too small delta 50, minimum 100",
          "ADAPTK: S020 - Propagate first estimated to all data [Far2Near].",
          "ADAPTK: Setting adaptive K data from pdlibdata0.bin"}) {
      EXPECT_EQ(log.count(text),
                std::string(text).find("S010 - Update") == std::string::npos ? 1 : 2)
          << text;
    }
  }
}

}  // namespace

// The grid of cells, its initial values, what bounds a measurement, and the blob.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "adaptive/learner.h"
#include "adaptive/pdlib_adaptive_k_data.h"
#include "support/log_capture.h"

namespace {

TEST(AdaptiveGrid, CellsTileTheFrame) {
  using Case = std::tuple<int, int, int, int>;
  // The parts of an axis, cut down to a whole number.
  for (const auto& [width, height, cellWidth, cellHeight] :
       {Case{800, 600, 100, 100}, Case{100, 100, 12, 16}, Case{8, 6, 1, 1}}) {
    adaptive_k_data_t data{};
    adaptive_k_layout_dataGrid(&data, width, height);
    EXPECT_EQ(data.width, width);
    EXPECT_EQ(data.height, height);
    for (int i = 0; i < kAdaptiveKCells; ++i) {
      const adaptive_k_data_grid_t& cell = data.grid[i];
      EXPECT_EQ(cell.start_x, i % 8 * cellWidth);
      EXPECT_EQ(cell.start_y, i / 8 * cellHeight);
      EXPECT_EQ(cell.end_x, cell.start_x + cellWidth - 1);
      EXPECT_EQ(cell.end_y, cell.start_y + cellHeight - 1);
      EXPECT_EQ(cell.center.x, (cell.start_x + cell.end_x) / 2);
      EXPECT_EQ(cell.center.y, (cell.start_y + cell.end_y) / 2);
    }
  }
}

TEST(AdaptiveGrid, SizesWithoutUsableCellsReadCellZero) {
  for (const int size : {7, 5, 0, -1, -1000}) {
    adaptive_k_data_t data{};
    adaptive_k_layout_dataGrid(&data, size, size);
    const adaptive_k_coordinate_t point{3, 3};
    EXPECT_EQ(adaptive_k_util_get_dataGrid_idx(&data, &point), 0) << size;
  }
  // A sixth of the largest height rounds up in single precision: six of them pass its end.
  adaptive_k_data_t data{};
  adaptive_k_layout_dataGrid(&data, kMaxInt, kMaxInt);
  EXPECT_EQ(data.grid[47].end_x, kMaxInt);
  EXPECT_EQ(data.grid[47].end_y, kMaxInt - 1);
  adaptive_k_layout_dataGrid(&data, kMinInt, kMinInt);
  EXPECT_EQ(data.grid[0].start_x, 0);
}

TEST(AdaptiveGrid, FindsTheCellOfAPoint) {
  adaptive_k_data_t data{};
  adaptive_k_layout_dataGrid(&data, 807, 605);  // cells of 100 by 100 and strips of 7 and 5
  using Case = std::tuple<adaptive_k_coordinate_t, int>;
  for (const auto& [point, cell] : std::vector<Case>{{{0, 0}, 0},
                                                     {{99, 99}, 0},
                                                     {{100, 99}, 1},
                                                     {{99, 100}, 8},
                                                     {{799, 599}, 47},
                                                     {{450, 250}, 20},
                                                     {{800, 599}, 0},  // the strip at the right
                                                     {{799, 600}, 0},  // the strip below
                                                     {{-1, 300}, 0},
                                                     {{kMinInt, kMaxInt}, 0}}) {
    EXPECT_EQ(adaptive_k_util_get_dataGrid_idx(&data, &point), cell) << point.x << ' ' << point.y;
  }
}

TEST(AdaptiveData, InitialValuesAreWholeCoefficients) {
  using Case = std::tuple<int16_t, uint16_t, int16_t>;
  for (const auto& [calibrated, qFormat, initial] :
       {Case{6400, 6, 100}, Case{6463, 6, 100}, Case{-1, 6, 0}, Case{-65, 6, -1}, Case{77, 0, 77},
        Case{32767, 15, 0}, Case{-32768, 15, -1}, Case{-32768, 31, 0}, Case{5, 32, 5},
        Case{640, 65535, 0}}) {
    std::array<int16_t, kAdaptiveKCells> table{};
    table[17] = calibrated;
    adaptive_k_data_t data{};
    data.history_locked = 1;
    adaptive_k_init_data(&data, table.data(), qFormat, kAdaptiveKMapAll, 0);
    const adaptive_k_data_grid_t& cell = data.grid[17];
    EXPECT_EQ(cell.nearTargetInitDCC, initial) << calibrated << " Q" << qFormat;
    EXPECT_EQ(cell.farTargetInitDCC, initial);
    EXPECT_EQ(std::count(cell.nearTargetHistory, cell.nearTargetHistory + 5, initial), 5);
    EXPECT_EQ(std::count(cell.farTargetHistory, cell.farTargetHistory + 5, initial), 5);
    EXPECT_EQ(data.history_locked, 0u);
  }
}

TEST(AdaptiveData, MappingDecidesWhatSurvives) {
  using Case = std::tuple<uint32_t, int16_t, uint32_t>;
  for (const auto& [mapping, history, locked] :
       {Case{0, 2, 0}, Case{1, 1, 1}, Case{2, 2, 1}, Case{~0u, 2, 1}}) {
    std::array<int16_t, kAdaptiveKCells> table;
    adaptive_k_data_t data{};
    table.fill(1);
    adaptive_k_init_data(&data, table.data(), 0, kAdaptiveKMapAll, 0);
    data.history_locked = 1;
    table.fill(2);
    adaptive_k_init_data(&data, table.data(), 0, static_cast<adaptive_k_mapping_type>(mapping), 0);
    EXPECT_EQ(data.grid[47].nearTargetHistory[4], history) << mapping;
    EXPECT_EQ(data.grid[47].farTargetHistory[0], history) << mapping;
    EXPECT_EQ(data.grid[47].nearTargetInitDCC, 2) << mapping;
    EXPECT_EQ(data.history_locked, locked) << mapping;
  }
}

TEST(AdaptiveData, MedianOfACountBeyondTheHistoryIsThatOfItsEnd) {
  const int16_t values[] = {5, 4, 3, 2, 1};
  using Case = std::tuple<int, int16_t>;
  for (const auto& [count, median] :
       {Case{2, 4}, Case{5, 3}, Case{6, 3}, Case{kMaxInt, 3}, Case{0, 5}, Case{kMinInt, 5}}) {
    EXPECT_EQ(adaptive_k_util_get_median(values, count), median) << count;
    Learner learner;  // the tuned size is held the same way
    learner.state.data.filterSize = count;
    std::copy_n(values, 5, learner.state.data.grid[3].farTargetHistory);
    EXPECT_EQ(adaptive_k_util_get_dataGrid_DCC(&learner.state.data, 3, kAdaptiveKFarTarget),
              median);
  }
}

TEST(AdaptiveData, MedianIsTheLowerMiddleOfEveryOrder) {
  constexpr int16_t kSteps[] = {-32768, -1, 0, 1, 32767};
  for (int order = 0; order < 5 * 5 * 5 * 5 * 5; ++order) {
    int16_t values[5];
    for (int i = 0, rest = order; i < 5; ++i, rest /= 5) values[i] = kSteps[rest % 5];
    for (int count = 1; count <= 5; ++count) {
      std::vector<int16_t> sorted(values, values + count);
      std::sort(sorted.begin(), sorted.end());
      ASSERT_EQ(adaptive_k_util_get_median(values, count),
                sorted[static_cast<size_t>(count - 1) / 2])
          << order << " of " << count;
    }
  }
}

TEST(AdaptiveData, MeanTruncatesTowardZeroAndNeverOverflows) {
  EXPECT_EQ(adaptive_k_util_get_mean(3, 4), 3);
  EXPECT_EQ(adaptive_k_util_get_mean(-3, -4), -3);
  EXPECT_EQ(adaptive_k_util_get_mean(kMaxInt, kMaxInt), kMaxInt);
  EXPECT_EQ(adaptive_k_util_get_mean(kMinInt, kMinInt), kMinInt);
}

TEST(AdaptiveData, TolerancesBoundWhatIsStored) {
  struct Case {
    int16_t initial;
    float upper, lower;
    int16_t k, stored;
  };
  for (const Case& c : std::vector<Case>{
           {100, 1.5F, 0.5F, 80, 80},
           {100, 1.5F, 0.5F, 150, 150},
           {100, 1.5F, 0.5F, 151, 150},
           {100, 1.5F, 0.5F, 50, 50},
           {100, 1.5F, 0.5F, 49, 50},
           {101, 1.5F, 0.5F, 32767, 151},  // 151.5
           {101, 1.5F, 0.5F, -1, 50},      // 50.5
           {100, 0.5F, 1.5F, 100, 150},    // crossing: the lower bound wins
           {-100, 1.5F, 0.5F, 80, -50},    // and so for a negative coefficient
           {0, 1.5F, 0.5F, 80, 0},
           {100, kInfinity, 0.5F, 32767, 32767},
           {100, kNaN, 0.5F, 80, 50},
           {100, 1.5F, kNaN, -7, 0},
           {30000, 2.0F, 1.5F, 100, 32767},  // beyond 16 bits: their end, not around it
           {100, -kInfinity, -kInfinity, 100, -32768},
       }) {
    for (const bool near : {true, false}) {
      Learner learner;
      adaptive_k_data_t& data = learner.state.data;
      adaptive_k_data_grid_t& cell = data.grid[9];
      (near ? cell.nearTargetInitDCC : cell.farTargetInitDCC) = c.initial;
      (near ? data.tolNearTargetUpperBound : data.tolFarTargetUpperBound) = c.upper;
      (near ? data.tolNearTargetLowerBound : data.tolFarTargetLowerBound) = c.lower;
      int16_t* history = near ? cell.nearTargetHistory : cell.farTargetHistory;
      const int16_t* other = near ? cell.farTargetHistory : cell.nearTargetHistory;
      const int16_t before[5] = {5, 4, 3, 2, 1};
      std::copy_n(before, 5, history);
      adaptive_k_update_data_history(&data, 9, c.k,
                                     near ? kAdaptiveKNearTarget : kAdaptiveKFarTarget);
      EXPECT_EQ(history[0], c.stored) << c.initial << " K " << c.k << (near ? " near" : " far");
      EXPECT_TRUE(std::equal(before, before + 4, history + 1));
      EXPECT_EQ(std::count(other, other + 5, 109), 5);
    }
  }
}

TEST(AdaptiveData, BadDirectionsAndCellsAreErrors) {
  const auto direction = static_cast<adaptive_k_dir_type>(2);
  Learner learner;
  adaptive_k_data_t& data = learner.state.data;
  const adaptive_k_data_t before = data;
  const test::LogCapture log;
  EXPECT_EQ(adaptive_k_util_get_dataGrid_DCC(&data, 0, direction), 0);
  for (const int cell : {-1, 48, kMinInt, kMaxInt}) {
    EXPECT_EQ(adaptive_k_util_get_dataGrid_DCC(&data, cell, kAdaptiveKNearTarget), 0);
    adaptive_k_update_data_history(&data, cell, 7, kAdaptiveKNearTarget);
  }
  adaptive_k_update_data_history(&data, 0, 7, direction);
  adaptive_k_update_interpolatorGrid(&learner.state.interpolator.grid[0], &data, direction, 0);
  adaptive_k_print_data(&data, kAdaptiveKPrintNewest, direction);
  adaptive_k_init_data(&data, nullptr, 6, kAdaptiveKMapAll, 0);

  EXPECT_TRUE(Same(before, data));
  EXPECT_EQ(log.texts().size(), 1u + 2u * 4u + 4u);
  for (const char* text : {"ADAPTK: S006 - PDLIB error in Adaptive K get data grid K(DCC)!",
                           "ADAPTK: S099 - Error in Adaptive K update data!",
                           "ADAPTK: S099 - Error in Adaptive K update interpolator grid",
                           "ADAPTK: S020-S021 PDLIB error in adaptive K data!",
                           "ADAPTK: S001 - Sending the NULL calibration data pointer "}) {
    EXPECT_TRUE(log.has(text)) << text;
  }
}

TEST(AdaptiveBlob, HoldsNearThenFarAndComesBackWhole) {
  Learner learner;
  for (int c = 0; c < kAdaptiveKCells; ++c) {
    for (int e = 0; e < 5; ++e) {
      learner.state.data.grid[c].nearTargetHistory[e] = static_cast<int16_t>(1000 + 10 * c + e);
      learner.state.data.grid[c].farTargetHistory[e] = static_cast<int16_t>(-1000 - 10 * c - e);
    }
  }
  int16_t blob[482];
  std::fill_n(blob, 482, int16_t{-7});
  int size = 0;
  EXPECT_EQ(adaptive_k_get_data(&learner.state, blob, &size), 1);
  EXPECT_EQ(size, 960);
  EXPECT_EQ(blob[480], -7);
  for (int c = 0; c < kAdaptiveKCells; ++c) {
    for (int e = 0; e < 5; ++e) {
      EXPECT_EQ(blob[c * 5 + e], 1000 + 10 * c + e);
      EXPECT_EQ(blob[240 + c * 5 + e], -1000 - 10 * c - e);
    }
  }

  Learner next;
  EXPECT_EQ(adaptive_k_set_data(&next.state, blob, 960), 1);
  EXPECT_EQ(next.state.data.history_locked, 1u);
  next.state.data.history_locked = 0;
  EXPECT_TRUE(Same(next.state.data, learner.state.data));
}

TEST(AdaptiveBlob, APositionWithoutNearValueKeepsBoth) {
  Learner learner;
  int16_t blob[480] = {};
  blob[2 * 5 + 1] = 55;        // near and far
  blob[240 + 2 * 5 + 1] = -9;  // beyond every tolerance
  blob[3 * 5 + 4] = 66;        // near alone
  blob[240 + 4 * 5] = 77;      // far alone
  EXPECT_EQ(adaptive_k_set_data(&learner.state, blob, 960), 1);
  Learner fresh;
  adaptive_k_data_t expected = fresh.state.data;
  expected.history_locked = 1;
  expected.grid[2].nearTargetHistory[1] = 55;
  expected.grid[2].farTargetHistory[1] = -9;
  expected.grid[3].nearTargetHistory[4] = 66;
  expected.grid[3].farTargetHistory[4] = 0;
  EXPECT_TRUE(Same(expected, learner.state.data));
}

TEST(AdaptiveBlob, WhatIsRefusedChangesNothing) {
  Learner learner;
  const pdaf_adaptive_k_t before = learner.state;
  const std::vector<int16_t> exact(480, 5);
  const test::LogCapture log;
  for (const int size : {959, 961, 0, -1, 480, kMinInt, kMaxInt}) {
    EXPECT_EQ(adaptive_k_set_data(&learner.state, exact.data(), size), 0) << size;
  }
  EXPECT_EQ(adaptive_k_set_data(&learner.state, nullptr, 960), 0);
  EXPECT_TRUE(Same(before, learner.state));
  std::vector<std::string> lines(7, "ADAPTK: Setting adaptive K data filed - Wrong data size!");
  lines.push_back("ADAPTK: Setting adaptive K data failed - Null Pointer!");
  EXPECT_EQ(log.texts(), lines);
}

TEST(AdaptiveBlob, OnlyAModuleThatIsOnGivesOne) {
  for (const int enable : {0, 2, -1}) {
    AdaptiveTuning tuning = PlainTuning();
    tuning.enable = enable;
    Learner learner(tuning);
    int16_t first = 77;
    int size = -1;
    EXPECT_EQ(adaptive_k_get_data(&learner.state, &first, &size), 1);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(first, 77);
  }
}

}  // namespace

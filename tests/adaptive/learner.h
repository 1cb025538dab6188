// A state with round numbers around it: a frame of 800 by 600 in cells of 100 by 100, whose
// calibrated coefficients are 100 in cell 0, 101 in cell 1 and so on.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "adaptive/pdlib_adaptive_k.h"

inline constexpr int kMaxInt = std::numeric_limits<int>::max();
inline constexpr int kMinInt = std::numeric_limits<int>::min();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Whether two records hold the same bytes.
template <class Record>
bool Same(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof(Record)) == 0;
}

using AdaptiveTuning = afpdlibelements::tessarineTuningAdaptiveK;

struct Frame {
  int lens;
  uint32_t confidence;
  float phase;
};

inline AdaptiveTuning PlainTuning() {
  AdaptiveTuning tuning{};
  tuning.enable = 1;
  tuning.timeoutFrameCntThres = 32;
  tuning.filterSize = 3;
  tuning.state0StableCntThres = 3;
  tuning.state1StableCntThres = 2;
  tuning.minimumLensPosDelta = 100;
  tuning.state0ConfThres = 500;
  tuning.state1ConfThres = 600;
  tuning.state0PhaseDiffThres = 4.0F;
  tuning.state1PhaseDiffThres = 1.0F;
  tuning.tolNearTargetUpperBound = 1.5F;
  tuning.tolNearTargetLowerBound = 0.5F;
  tuning.tolFarTargetUpperBound = 2.0F;
  tuning.tolFarTargetLowerBound = 0.25F;
  return tuning;
}

inline std::array<int16_t, kAdaptiveKCells> PlainTable() {
  std::array<int16_t, kAdaptiveKCells> table;
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<int16_t>((100 + i) << 6);
  return table;
}

struct Learner {
  explicit Learner(const AdaptiveTuning& tuning = PlainTuning()) {
    adaptive_k_pd_init(&state, &tuning, PlainTable().data(), 6, 800, 600);
  }

  // Puts a window into the middle of a cell.
  void Place(int window, int cell) {
    const int x = cell % 8 * 100;
    const int y = cell / 8 * 100;
    adaptive_k_config_window(&state, kRoiDefault, x, x + 100, y, y + 100, window);
  }

  // All windows see the same.
  void Show(const Frame& frame, float sensitivity = 1.0F) {
    for (int i = 0; i < kAdaptiveKWindows; ++i) {
      output.defocusInfo[i].confidence = frame.confidence;
      output.defocusInfo[i].phaseDiff = frame.phase;
    }
    adaptive_k_process_frame(&state, sensitivity, frame.lens, &output);
  }
  void Show(const std::vector<Frame>& frames) {
    for (const Frame& frame : frames) Show(frame);
  }

  const adaptive_k_estimator_grid_t& Estimator(int window = 0) const {
    return state.estimator.grid[window];
  }

  pdaf_adaptive_k_t state{};
  PDLibOutputData output{};
};

// A lens that stands, moves from `from` to `to`, settles, and one frame more, which stores: with
// the plain tuning one measurement of |from - to| / (8 - 0.5).
inline std::vector<Frame> Move(int from, int to) {
  return {{from, 800, 8.0F}, {from, 800, 8.0F}, {to, 100, 3.0F},
          {to, 800, 0.5F},   {to, 800, 0.5F},   {to, 800, 0.5F}};
}

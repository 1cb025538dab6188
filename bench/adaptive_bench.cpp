#include <array>
#include <memory>

#include "adaptive/pdlib_adaptive_k.h"
#include "bench.h"

namespace pdlib_bench {
namespace {

struct Lesson {
  pdaf_adaptive_k_t state{};
  PDLibOutputData output{};
};

// All windows active, over all cells.
void Prepare(Lesson* lesson) {
  afpdlibelements::tessarineTuningAdaptiveK tuning{};
  tuning.enable = 1;
  tuning.timeoutFrameCntThres = 32;
  tuning.filterSize = 5;
  tuning.state0StableCntThres = 3;
  tuning.state1StableCntThres = 3;
  tuning.minimumLensPosDelta = 100;
  tuning.state0PhaseDiffThres = 4.0F;
  tuning.state1PhaseDiffThres = 1.0F;
  tuning.tolNearTargetUpperBound = tuning.tolFarTargetUpperBound = 1.5F;
  tuning.tolNearTargetLowerBound = tuning.tolFarTargetLowerBound = 0.5F;
  std::array<int16_t, kAdaptiveKCells> table;
  table.fill(80 << 6);
  adaptive_k_pd_init(&lesson->state, &tuning, table.data(), 6, 800, 600);
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    const int x = i % kAdaptiveKColumns * 100;
    const int y = i / kAdaptiveKColumns * 100;
    adaptive_k_config_window(&lesson->state, kRoiDefault, x, x + 100, y, y + 100, i);
  }
}

// Three frames far out of focus, then four in focus after a move: one measurement per window and
// round, always of the calibrated value.
void ShowFrame(Lesson* lesson, int index) {
  const bool focused = index % 7 >= 3;
  for (int i = 0; i < kAdaptiveKWindows; ++i) {
    lesson->output.defocusInfo[i].confidence = 800;
    lesson->output.defocusInfo[i].phaseDiff = focused ? 0.5F : 8.0F;
  }
  adaptive_k_process_frame(&lesson->state, 1.0F, focused ? 400 : 1000, &lesson->output);
}

}  // namespace

void RegisterAdaptive() {
  auto lesson = std::make_shared<Lesson>();
  Prepare(lesson.get());
  benchmark::RegisterBenchmark("adaptive_k_process_frame/windows:48", [=](benchmark::State& state) {
    int index = 0;
    for (auto unused : state) {
      lesson->state.data.history_locked = 0;  // the longer way: looks for a first measurement
      ShowFrame(lesson.get(), index++);
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kAdaptiveKWindows);
  });
}

}  // namespace pdlib_bench

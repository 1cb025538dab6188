// The module inside the sparse flow: where its coefficients go, and what it is shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "adaptive/learner.h"
#include "support/flow_run.h"

namespace {

using Blob = std::array<int16_t, kAdaptiveKBlobEntries>;

// Calibrated to 64 in Q6, with the sensitivity of half a micron a unit that the camera has.
struct LearningRun : test::SparseRun {
  LearningRun() {
    camera.tuning.adaptiveK = PlainTuning();
    camera.tuning.adaptiveK.state0ConfThres = camera.tuning.adaptiveK.state1ConfThres = 100;
    camera.calibration.DCC_param = {0, 6, 8, 6};
    std::fill_n(camera.calibration.DCC_map, kDccMapEntries, static_cast<int16_t>(64 << 6));
  }

  void Init() { ASSERT_EQ(init(), kPDStatusOk); }
  // A lens at `position` with this true phase difference.
  void Show(int position, int phase) {
    camera.param.lensPosition = position;
    camera.exposeShifted(-phase);
    ASSERT_EQ(frame(), kPDStatusOk);
  }
  // 288 steps per 8 pixels at half a micron: K is 72. Three frames to start from, four to settle.
  void MoveOnce() {
    for (int i = 0; i < 3; ++i) Show(1000, 8);
    for (int i = 0; i < 4; ++i) Show(712, 0);
  }

  Blob Learnt() {
    const void* data = nullptr;
    int size = 0;
    Blob blob{};
    EXPECT_EQ(flow->GetAdaptiveData(&data, &size), kPDStatusOk);
    EXPECT_EQ(size, kAdaptiveDataSize);
    if (size == kAdaptiveDataSize) std::memcpy(blob.data(), data, sizeof(blob));
    return blob;
  }
  void Teach(int16_t near, int16_t far) {
    Blob blob;
    std::fill_n(blob.begin(), 240, near);
    std::fill_n(blob.begin() + 240, 240, far);
    ASSERT_EQ(flow->SetAdaptiveData(blob.data(), sizeof(blob)), kPDStatusOk);
  }
};

int DefocusBy(float coefficient, float phase) {
  return static_cast<int>(std::trunc(coefficient * phase));
}

TEST(AdaptiveFlow, DefocusComesFromTheLearntCoefficientOfItsSign) {
  for (const int phase : {8, -8}) {
    LearningRun run;
    run.Init();
    run.Teach(50, 70);
    run.Show(1000, phase);
    for (int i = 0; i < 10; ++i) {  // the sum window is the tenth
      const PDLibDefocusInfo& result = run.output.defocusInfo[i];
      ASSERT_GT(result.phaseDiff * static_cast<float>(phase), 32.0F) << i;
      EXPECT_EQ(result.defocus, DefocusBy(phase > 0 ? 70 : 50, result.phaseDiff)) << i;
    }
  }
}

TEST(AdaptiveFlow, WindowsBeyondTheModuleKeepTheCalibration) {
  LearningRun run;
  run.camera.setBlockCounts(160, 60);
  run.camera.tuning.postProcess.enableGridOverlap = 0;
  run.camera.setWindows(10, 6);
  run.Init();
  run.Teach(50, 50);
  run.Show(1000, 8);
  for (int i = 0; i < 61; ++i) {
    const PDLibDefocusInfo& result = run.output.defocusInfo[i];
    ASSERT_NE(result.defocus, 0) << i;
    EXPECT_EQ(result.defocus, DefocusBy(i < 48 ? 50 : 64, result.phaseDiff)) << i;
  }
}

TEST(AdaptiveFlow, LearnsTheTravelPerPhaseOfAMove) {
  LearningRun run;
  run.Init();
  run.Teach(100, 100);  // locked: what is measured stays in its cell
  run.MoveOnce();
  const Blob learnt = run.Learnt();
  int measured = 0;
  for (size_t cell = 0; cell < kAdaptiveKCells; ++cell) {
    const int newest = learnt[cell * 5];
    if (newest == 100) continue;
    ++measured;
    EXPECT_NEAR(newest, 72, 0.05 * 72) << cell;
  }
  EXPECT_EQ(measured, 9);  // the cells under the 3 by 3 windows, the sum window's among them
  EXPECT_TRUE(std::all_of(learnt.begin() + 240, learnt.end(), [](int k) { return k == 100; }));
}

}  // namespace

// Random input for the module: moves that can be measured among noise, and values no camera should
// deliver. The same numbers on every machine.
#pragma once

#include <cstdint>
#include <iterator>

#include "adaptive/learner.h"
#include "support/random.h"

class RandomSource : public test::Random {
 public:
  using Random::Random;
  int Below(int count) { return static_cast<int>(Bits() % static_cast<uint64_t>(count)); }
  bool OneIn(int count) { return Below(count) == 0; }
  // -16 to 16 in steps of a 64th, exact in single precision.
  float Phase() { return static_cast<float>(Below(2049) - 1024) / 64.0F; }
  template <class Value, size_t count>
  Value Of(const Value (&values)[count]) {
    return values[Below(static_cast<int>(count))];
  }
};

inline float OddFloat(RandomSource* random) {
  constexpr float kOdd[] = {kNaN,
                            kInfinity,
                            -kInfinity,
                            std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::denorm_min(),
                            0.0F};
  return random->Of(kOdd);
}

inline int OddInt(RandomSource* random) {
  constexpr int kOdd[] = {kMaxInt, kMinInt, -1, 0};
  return random->Of(kOdd);
}

inline AdaptiveTuning RandomTuning(RandomSource* random) {
  constexpr float kTolerances[] = {0.25F, 0.5F, 0.75F, 1.25F, 1.5F, 2.0F};
  AdaptiveTuning tuning = PlainTuning();
  const auto tolerance = [&] {
    return random->OneIn(8) ? OddFloat(random) : random->Of(kTolerances);
  };
  tuning.tolNearTargetUpperBound = tolerance();
  tuning.tolNearTargetLowerBound = tolerance();
  tuning.tolFarTargetUpperBound = tolerance();
  tuning.tolFarTargetLowerBound = tolerance();
  tuning.filterSize = random->OneIn(8) ? OddInt(random) : random->Below(7);
  tuning.state0StableCntThres = random->OneIn(8) ? OddInt(random) : random->Below(4);
  tuning.state1StableCntThres = random->OneIn(8) ? OddInt(random) : random->Below(4);
  tuning.timeoutFrameCntThres = random->OneIn(8) ? OddInt(random) : 4 + random->Below(30);
  tuning.minimumLensPosDelta = random->OneIn(8) ? OddInt(random) : random->Below(200);
  return tuning;
}

// Shows a short run of frames: half of the time a lens that stands, moves and settles.
inline void ShowRun(RandomSource* random, Learner* learner) {
  const float sensitivity =
      random->OneIn(16) ? OddFloat(random) : 0.25F * static_cast<float>(random->Below(8));
  if (!random->OneIn(2)) {
    const int from = 1 + random->Below(2000);
    const int to = 1 + random->Below(2000);
    for (const Frame& frame : Move(from, to)) {
      learner->Show(
          {frame.lens, frame.confidence, random->OneIn(32) ? OddFloat(random) : frame.phase},
          sensitivity);
    }
    return;
  }
  for (int count = random->Below(8); count > 0; --count) {
    learner->Show({random->OneIn(16) ? OddInt(random) : random->Below(4) * 300,
                   random->OneIn(16) ? ~0u : static_cast<uint32_t>(random->Below(1024)),
                   random->OneIn(16) ? OddFloat(random) : random->Phase()},
                  sensitivity);
  }
}

// Prints a digest of what long random sequences of frames teach, blobs and coefficients in use
// included. Builds for other machines, compilers and optimisation levels must print the same.
#include "adaptive/learner.h"
#include "adaptive/random_frames.h"
#include "support/digest.h"

void DigestLearning() {
  constexpr int kStates = 400;
  constexpr int kRuns = 100;
  RandomSource random(2);
  test::Digest digest;
  int16_t blob[kAdaptiveKBlobEntries] = {};
  for (int i = 0; i < kStates; ++i) {
    Learner learner(RandomTuning(&random));
    // Now and then what the last camera has learnt, damaged in one place.
    if (random.OneIn(4)) {
      const int place = random.Below(kAdaptiveKBlobEntries);
      blob[place] = static_cast<int16_t>(random.Bits());
      adaptive_k_set_data(&learner.state, blob, kAdaptiveDataSize);
    }
    for (int run = 0; run < kRuns; ++run) {
      const int window = random.Below(kAdaptiveKWindows);
      learner.Place(window, random.Below(kAdaptiveKCells));
      ShowRun(&random, &learner);
    }
    int size = 0;
    adaptive_k_get_data(&learner.state, blob, &size);
    for (const int16_t value : blob) digest.Add(value);
    for (const adaptive_k_interpolator_grid_t& grid : learner.state.interpolator.grid) {
      digest.Add(grid.nearTargetDCC);
      digest.Add(grid.farTargetDCC);
    }
  }
  digest.Print("adaptive_k");
}

// What a run is worth in numbers. Phase differences are pixels of the full resolution; a lens step
// is the travel that changes the true phase difference by one such pixel.
#pragma once

#include <optional>
#include <vector>

namespace simcam {

struct PhaseSample {
  double truth = 0;
  double measured = 0;
  bool isConfident = false;
};

// Errors are measured minus true.
struct ErrorScores {
  int points = 0;
  double bias = 0;
  double meanAbs = 0;
  double rms = 0;
  double worst = 0;  // largest without regard to sign
  double slope = 0;  // of measured against true, least squares; 0 with a single true value
  double confidentShare = 0;
};

ErrorScores ScoreErrors(const std::vector<PhaseSample>& samples);

struct FocusScores {
  // Frames delivered before the true phase difference came within one lens step for good; none if
  // it did not.
  std::optional<int> framesToFocus;
  double finalTruePhasePx = 0;
  double overshootSteps = 0;  // furthest past focus, seen from the start
  // Share of the frames within so many lens steps, counted from `heldFrom`; from the first frame if
  // there is none.
  double within1Step = 0;
  double within2Steps = 0;
  double within4Steps = 0;
  std::optional<int> heldFrom;  // the frame from which the stack held the lens for good
};

// `truePhases` frame by frame.
FocusScores ScoreFocus(const std::vector<double>& truePhases, std::optional<int> heldFrom);

}  // namespace simcam

// Many focus runs, judged by where they end.
#pragma once

#include <string>
#include <vector>

#include "focus_run.h"

namespace simcam {

// Runs of one sensor that start on the same side of focus, one for each seed.
struct BatchGroup {
  int direction = 1;  // the sign of the true phase difference at the start
  std::vector<FocusResult> runs;

  const std::string& Sensor() const { return runs.front().sensor.name; }
  // How far from focus a run may end, pixels of phase difference: a lens step, or two where samples
  // lie far apart.
  double AllowedPx() const;
  bool IsInFocus(const FocusResult& run) const;
  int InFocus() const;
  double WorstPx() const;
  // Mean over the runs that got there; 0 if none did.
  double FramesToFocus() const;
  // 19 of 20 are in focus.
  bool IsPassed() const;
};

struct BatchResult {
  std::vector<BatchGroup> groups;

  bool IsPassed() const;
};

// Where run `seed` starts: each a little elsewhere.
double StartPhase(double startPhasePx, int direction, uint64_t seed);

}  // namespace simcam

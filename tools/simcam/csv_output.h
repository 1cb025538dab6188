// Results as lines of values, a head line first.
#pragma once

#include <string>

#include "focus_batch.h"
#include "focus_run.h"
#include "learn_run.h"
#include "match_run.h"
#include "sweep.h"

namespace simcam {

// A line for each window of each frame or step. `window` is its number, row by row, "roi" for the
// ROI as a whole, and "peripheral-0" to "peripheral-7" for those around it while they are valid.
std::string FocusCsv(const FocusResult& result);
std::string SweepCsv(const SweepResult& result);
// A line for each window; `row` is "roi" for the ROI as a whole.
std::string MatchCsv(const MatchResult& result);
// A line for each run.
std::string BatchCsv(const BatchResult& result);
// A line for each focus sequence of the two openings of the camera.
std::string LearnCsv(const LearnResult& result);

}  // namespace simcam

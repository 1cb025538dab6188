// Results for other programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "focus_batch.h"
#include "focus_run.h"
#include "learn_run.h"
#include "match_run.h"
#include "sweep.h"

namespace simcam {

using OrderedJson = nlohmann::ordered_json;

OrderedJson ToJson(const FocusResult& result);
OrderedJson ToJson(const SweepResult& result);
OrderedJson ToJson(const LearnResult& result);
OrderedJson ToJson(const MatchResult& result);
OrderedJson ToJson(const AdaptiveFile& file, int filterSize);
// Each run without its frames, and a summary of each group.
OrderedJson ToJson(const BatchResult& result);

}  // namespace simcam

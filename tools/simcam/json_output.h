// Results for other programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

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

// One line per frame, per point and per window.
std::string FocusCsv(const FocusResult& result);
std::string SweepCsv(const SweepResult& result);
std::string MatchCsv(const MatchResult& result);

}  // namespace simcam

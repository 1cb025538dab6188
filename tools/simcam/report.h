// Reports a person looks at: one self-contained HTML file, nothing fetched from elsewhere.
#pragma once

#include <string>

#include "focus_run.h"
#include "learn_run.h"
#include "match_run.h"
#include "sweep.h"

namespace simcam {

std::string FocusReport(const FocusResult& result);
std::string SweepReport(const SweepResult& result);
std::string LearnReport(const LearnResult& result);
std::string MatchReport(const MatchResult& result);

// Writes a file whole. Throws InputError.
void WriteFile(const std::string& path, const std::string& content);

}  // namespace simcam

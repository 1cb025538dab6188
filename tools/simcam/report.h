// Reports a person looks at: one self-contained HTML file, nothing fetched from elsewhere.
#pragma once

#include <string>
#include <vector>

#include "focus_run.h"
#include "learn_run.h"
#include "match_run.h"
#include "sweep.h"

namespace simcam {

// How a program was run, for its report's folded section of settings.
struct RunRecord {
  struct Option {
    std::string name;
    std::string value;
    bool isGiven = false;  // on the command line; else this is the default
  };
  std::string commandLine;
  std::string version;
  std::vector<Option> options;             // all that are in force
  std::vector<std::string> failures = {};  // checks of the program that weren't passed
};

std::string FocusReport(const FocusResult& result, const RunRecord& run = {});
std::string SweepReport(const SweepResult& result, const RunRecord& run = {});
std::string LearnReport(const LearnResult& result, const RunRecord& run = {});
std::string MatchReport(const MatchResult& result, const RunRecord& run = {});

}  // namespace simcam

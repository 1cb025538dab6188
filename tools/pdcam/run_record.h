// How the program was run, for reports.
#pragma once

#include <CLI/CLI.hpp>

#include "report.h"

namespace pdcam {

void RememberCommandLine(int argc, const char* const* argv);

// The command line, the program's version, and all options of the command that are in force.
simcam::RunRecord RecordOf(const CLI::App& command);

}  // namespace pdcam

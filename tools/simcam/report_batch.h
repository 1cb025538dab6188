#pragma once

#include <string>

#include "focus_batch.h"
#include "report.h"

namespace simcam {

// A page like those of report.h: each run of a batch, and how each group of them fared.
std::string BatchReport(const BatchResult& result, const RunRecord& run = {});

}  // namespace simcam

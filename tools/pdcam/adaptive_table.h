// What a camera has learnt, as tables on the terminal.
#pragma once

#include "adaptive_file.h"

namespace pdcam {

// Both directions, as the cells lie in the image.
void PrintAdaptiveMedians(const simcam::AdaptiveFile& file, int filterSize);
// Cells that hold one value alone come last, on one line for each value.
void PrintAdaptiveHistories(const simcam::AdaptiveFile& file);

}  // namespace pdcam

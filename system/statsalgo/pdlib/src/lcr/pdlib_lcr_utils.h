// LCR: phase from whole sensor lines, where left, centre and right lines mix.
#pragma once

#include "base/pdlib_common.h"

// Fills the native pattern of the lines that LCR compares. LCR is not measured in this version: no
// line is selected, and only the geometry of the block is carried over.
void pdaf_lcr_fill_native_pattern(PDLibLcrBlockPattern* pattern,
                                  const PDLibSensorNativeInfo* sensor,
                                  const afpdlibelements::tessarinePDLibType* tuning);

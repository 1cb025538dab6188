// Hooks for dumps of what the library is given. This version writes no dump.
#pragma once

#include "base/pdlib_common.h"

// From the core, after the flow's Init.
void PDInitOutput(PDLibVersion version, const PDLibInitParam* init,
                  const afpdlibelements::tessarinePDLibType* tuning);

// From each flow's Process, before any work; `is_last_call` on the call with all lines.
void PDMetaOutput(const PDLibDataBufferInfo& bufferInfo, const PDLibParam* param, int is_last_call);

// Whether a sensor description can be worked with: the tables of the context index the PD buffer
// and the gain maps without further checks, so what they rest on is checked here once.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// Sizes, counts, offsets and pixels inside what the tables and 16-bit fields hold. 0, or 1 with a
// log line.
int validate_sensor_description(const PDLibSensorNativeInfo& native,
                                const PDLibDataBufferInfo& buffer);

// Fills requiredBufferBytes from the finished tables and checks it against the buffer's lines, and
// the row of samples against the 16 bits that correlation counts with. 0, or 1 with a log line.
int validate_tables(pdaf_context_t* context);

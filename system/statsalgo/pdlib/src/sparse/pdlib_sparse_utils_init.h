// The Init-time work of the sparse flows: from the init record and the tuning to a working context.
#pragma once

#include "sparse/pdlib_sparse_context.h"

// Fills the sensor geometry. 0, or 1 for an invalid crop or orientation; the geometry is filled in
// either case.
int init_sensor_info(sensor_logic_t* sensor, const PDLibSensorNativeInfo& native);

// Copies the tuning, or puts a fallback in its place when it has no search range, and applies the
// extension parameters. Always 0.
int pdaf_param_init_tuning(pdaf_context_t* context,
                           const afpdlibelements::tessarinePDLibType& tuning);

// All of the Init-time work: geometry, tuning, tables, search range, bias. 0, or 1 with a log line;
// an empty search range alone fails silently.
int set_pd_context_init_info(pdaf_context_t* context, const PDLibInitParam& init,
                             const afpdlibelements::tessarinePDLibType& tuning);

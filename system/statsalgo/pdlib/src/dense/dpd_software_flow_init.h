// The Init-time work of the dual-PD flow: from the init record and the tuning to a context that
// waits for its first window.
#pragma once

#include "dense/pdlib_dpd_context.h"

// Geometry, crop, flips: 0, or 1 for an orientation that doesn't exist.
int InitDPDSensorInfo(dpd_context_t* context, const PDLibSensorNativeInfo& native);

// Copies the tuning, or puts a fallback in its place when there is none or it has no search range,
// and mirrors the search range where left and right come exchanged. Always 0.
int InitDPDParamTuning(dpd_context_t* context, const afpdlibelements::tessarinePDLibType* tuning);

// Fills the three filter sets, a band-pass of second order each.
void SetDPDFilter(dpd_context_t* context);

// All of the Init-time work: kPDStatusOk, kPDStatusBadInput or kPDStatusFlowFailed (no memory).
int InitDPDContext(dpd_context_t* context, const PDLibInitParam& init,
                   const afpdlibelements::tessarinePDLibType* tuning);

// Process-wide debugging switches. Every PDLibInit overwrites all of them from its init record:
// with several cameras the last one wins.
#pragma once

#include <atomic>
#include <cstdint>

// A plain 32-bit word that any thread may read while another camera is being initialised. Converts
// to and from int32_t; pass `.load()` to a printf-like function.
using PDLibSwitch = std::atomic<int32_t>;
static_assert(sizeof(PDLibSwitch) == sizeof(int32_t) && PDLibSwitch::is_always_lock_free);

extern PDLibSwitch PDLIB_PROFILING;    // non-zero: log the time of init and of each call
extern PDLibSwitch PDLIB_TEST_MODE;    // non-zero: run a test flow beside the flow
extern PDLibSwitch PDLIB_LOG;          // 0: errors only; non-zero: info lines; 2 or more: verbose
extern PDLibSwitch PDLIB_DUMP;         // non-zero: dump inputs; bit 0: a single shot
extern PDLibSwitch PDLIB_LCR_DISABLE;  // non-zero: no LCR whatever the tuning says

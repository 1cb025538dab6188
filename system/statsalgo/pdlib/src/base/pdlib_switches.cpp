#include "base/pdlib_switches.h"

PDLibSwitch PDLIB_PROFILING{0};
PDLibSwitch PDLIB_TEST_MODE{0};
PDLibSwitch PDLIB_LOG{0};
PDLibSwitch PDLIB_DUMP{0};
PDLibSwitch PDLIB_LCR_DISABLE{0};

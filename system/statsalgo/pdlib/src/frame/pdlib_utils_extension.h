// Extension parameters: named lists of values beside the fields of the tuning record.
#pragma once

#include "statsglobalelements.h"

// The first value of an extension parameter that is enabled and holds data; null when `entry` is
// none.
const float* extension_value(const statsglobalelements::statsExtensionParamType& entry);

// Whether an entry is the known parameter and holds a value. Compared over the known name's length
// and no further: a longer name that starts alike also matches.
bool is_extension(const statsglobalelements::statsExtensionParamType& entry, const char* known);

// Whether an enabled entry is "HVSelection", in full, with its data; how many values it needs is
// the caller's to say.
bool is_hv_selection(const statsglobalelements::statsExtensionParamType& entry);

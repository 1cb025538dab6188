// Status of the core and of the flows.
#pragma once

inline constexpr int kPDStatusOk = 0;
inline constexpr int kPDStatusNoMemory = 1;  // out of memory or a failed allocation
inline constexpr int kPDStatusBadInput = 2;  // a null pointer, a bad size, an invalid configuration
inline constexpr int kPDStatusFlowFailed = 3;

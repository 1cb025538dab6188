// What a tool's exit status means, the same in all of them.
#pragma once

namespace tool {

inline constexpr int kDone = 0;
inline constexpr int kFound = 1;  // a check failed, or a difference was found
inline constexpr int kWrongUsage = 2;
inline constexpr int kBadFile = 3;   // a file, standard output as well, that can't be used
inline constexpr int kNoDevice = 4;  // no device, or no answer of it

}  // namespace tool

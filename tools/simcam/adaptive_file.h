// The file in which the library keeps the conversion coefficients (K) that a camera has learnt: per
// cell of a grid of 8 by 6 over the image a history towards near and one towards far targets.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace simcam {

inline constexpr int kAdaptiveColumns = 8;
inline constexpr int kAdaptiveRows = 6;
inline constexpr int kAdaptiveCells = kAdaptiveColumns * kAdaptiveRows;
inline constexpr int kAdaptiveEntries = 5;
inline constexpr size_t kAdaptiveFileBytes = 960;

using AdaptiveHistory = std::array<int, kAdaptiveEntries>;  // newest first
using AdaptiveMedians = std::array<int, kAdaptiveCells>;    // row by row

struct AdaptiveFile {
  std::array<AdaptiveHistory, kAdaptiveCells> near{};
  std::array<AdaptiveHistory, kAdaptiveCells> far{};

  bool operator==(const AdaptiveFile&) const = default;
};

// `name` is only named in errors. Throws InputError unless there are 960 bytes.
AdaptiveFile ParseAdaptiveFile(const std::string& bytes, const std::string& name);
// Throws InputError for what can't be read, folders among it.
AdaptiveFile LoadAdaptiveFile(const std::string& path);

// Of the newest `filterSize` entries (1 to 5); of an even count the lower one in the middle.
int Median(const AdaptiveHistory& history, int filterSize);
AdaptiveMedians Medians(const std::array<AdaptiveHistory, kAdaptiveCells>& histories,
                        int filterSize);

// What no camera can have learnt, one line each: a coefficient is a travel, above zero.
std::vector<std::string> ImplausibleEntries(const AdaptiveFile& file);

}  // namespace simcam

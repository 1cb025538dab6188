// What the camera has learnt: a grid of 8 by 6 cells over the image, each with a short history of
// measured conversion coefficients (K) towards near and towards far targets, and the blob that
// carries the histories from one run of the camera to the next.
//
// Plain data and free functions: nothing is allocated, and no function keeps a pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "base/pdlib_common.h"
#include "base/pdlib_log.h"

inline constexpr int kAdaptiveKColumns = 8;
inline constexpr int kAdaptiveKRows = 6;
inline constexpr int kAdaptiveKCells = kAdaptiveKColumns * kAdaptiveKRows;
inline constexpr int kAdaptiveKHistory = 5;

// Lines of this module below error level go out only for a state that was initialised while
// PDLIB_LOG was 3, whatever the switch says later.
#define ADAPTK_DEBUG(debug, ...)                                                     \
  do {                                                                               \
    if ((debug) != 0) [[unlikely]]                                                   \
      PDLIB_LOG_LINE(::Orvo::Log::kLevelInfo, ::pdlib::LogTag::kStats, __VA_ARGS__); \
  } while (false)

// Which way the lens moved. Any other value is an error of the caller.
enum adaptive_k_dir_type : uint32_t {
  kAdaptiveKNearTarget = 0,  // towards lower lens positions
  kAdaptiveKFarTarget = 1,
};

// What adaptive_k_init_data writes. Any other value fills as kAdaptiveKMapAll does and leaves
// `history_locked` alone.
enum adaptive_k_mapping_type : uint32_t {
  kAdaptiveKMapAll = 0,      // histories and initial values; opens the histories to propagation
  kAdaptiveKMapInitial = 1,  // only the initial values: what was learnt survives
};

enum adaptive_k_print_data_type : uint32_t {
  kAdaptiveKPrintNewest = 0,
  kAdaptiveKPrintMedian = 1,
};

// A place in the units of the frame that the grid divides: PD blocks or samples, as the flow has
// it.
struct adaptive_k_coordinate_t {
  int32_t x;
  int32_t y;
};

// One cell. Histories have the newest entry first.
struct adaptive_k_data_grid_t {
  int32_t start_x;
  int32_t start_y;
  int32_t end_x;  // inclusive
  int32_t end_y;  // inclusive
  adaptive_k_coordinate_t center;
  int16_t farTargetHistory[kAdaptiveKHistory];
  int16_t nearTargetHistory[kAdaptiveKHistory];
  int16_t farTargetInitDCC;   // calibrated: what the far tolerances multiply
  int16_t nearTargetInitDCC;  // calibrated: what the near tolerances multiply
};
static_assert(sizeof(adaptive_k_data_grid_t) == 48);
static_assert(offsetof(adaptive_k_data_grid_t, farTargetHistory) == 24);
static_assert(offsetof(adaptive_k_data_grid_t, nearTargetHistory) == 34,
              "the ten entries of a cell are neighbours, far first");

struct adaptive_k_data_t {
  uint32_t history_locked;  // non-zero: a blob was accepted or a measurement spread; no spreading
  int32_t filterSize;       // as tuned; read it through adaptive_k_util_get_filter_size
  int32_t width;            // of the frame that the grid divides
  int32_t height;
  float tolNearTargetUpperBound;  // multipliers of a cell's initial value
  float tolNearTargetLowerBound;
  float tolFarTargetUpperBound;
  float tolFarTargetLowerBound;
  adaptive_k_data_grid_t grid[kAdaptiveKCells];  // row by row
};
static_assert(offsetof(adaptive_k_data_t, tolNearTargetUpperBound) == 16);
static_assert(offsetof(adaptive_k_data_t, grid) == 32);
static_assert(std::is_trivially_copyable_v<adaptive_k_data_t>);

// The blob: the near histories of all cells, then the far ones. No header, no checksum; its size is
// all that tells a blob from anything else.
inline constexpr int kAdaptiveKBlobEntries = 2 * kAdaptiveKCells * kAdaptiveKHistory;
static_assert(kAdaptiveKBlobEntries * sizeof(int16_t) == kAdaptiveDataSize);
static_assert(kAdaptiveDataSize == 960);

// Lays out the cells over a frame of this size and stores the size. What the division leaves at the
// right and lower edge belongs to no cell.
void adaptive_k_layout_dataGrid(adaptive_k_data_t* data, int width, int height);

// Fills the cells from the calibration: 6 rows of 8 coefficients with `dccQFormat` fractional bits,
// which are cut off. A null table is an error and writes nothing.
void adaptive_k_init_data(adaptive_k_data_t* data, const int16_t* calibrationTable,
                          uint16_t dccQFormat, adaptive_k_mapping_type mapping, uint32_t debug);

// Bounds a measured K by the cell's tolerances and puts it in front of the history. Where the
// bounds cross, the lower one wins.
void adaptive_k_update_data_history(adaptive_k_data_t* data, int cell, int16_t k,
                                    adaptive_k_dir_type direction);

// Both take or give kAdaptiveKBlobEntries values. A position whose near value is 0 in the blob
// keeps both its entries; what is taken is not bounded by the tolerances.
void adaptive_k_take_blob(adaptive_k_data_t* data, const int16_t* blob);
void adaptive_k_give_blob(const adaptive_k_data_t& data, int16_t* blob);

// How many entries of a history take part in its median: the tuned size, held to 1 to 5.
int adaptive_k_util_get_filter_size(const adaptive_k_data_t& data);
// The first cell that holds the point; 0 for a point in no cell.
int adaptive_k_util_get_dataGrid_idx(const adaptive_k_data_t* data,
                                     const adaptive_k_coordinate_t* point);
// The median of a cell's history in one direction; 0, with an error line, for a bad direction or
// cell.
int16_t adaptive_k_util_get_dataGrid_DCC(const adaptive_k_data_t* data, int cell,
                                         adaptive_k_dir_type direction);
// Of the first `count` values, held to 1 to 5; the lower of the two middle ones if even.
int16_t adaptive_k_util_get_median(const int16_t* values, int count);
int adaptive_k_util_get_mean(int a, int b);

// Logs one value per cell, a row of cells per line. Callers ask only when debugging.
void adaptive_k_print_data(const adaptive_k_data_t* data, adaptive_k_print_data_type type,
                           adaptive_k_dir_type direction);

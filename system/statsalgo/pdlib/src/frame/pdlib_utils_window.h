// Windows of a frame: what is asked for, in blocks of the PD area, around it, and how much of it
// has arrived.
#pragma once

#include <cstdint>

#include "base/pdlib_common.h"

// A window as a flow keeps it. Fractions of the image; w and h are the distances between the
// corners.
struct win_config_t {
  uint32_t horizontalWindowCount;
  uint32_t verticalWindowCount;
  float x;
  float y;
  float w;
  float h;
  float endX;  // as configured: `x` + `w` may differ in its last bit
  float endY;
};

// Installs a configuration.
void set_window_configure_info(win_config_t* window, const PDLibWindowConfig& config);

// Whether counts and corners differ from the installed window, without tolerance.
bool window_differs(const win_config_t& window, const PDLibWindowConfig& config);

// A window that can be measured: finite corners within 0 to 1, start not behind end.
bool is_window_valid(const PDLibWindow& window);

// Whether the results of the grid fit into `defocusInfo`. With kMaxWindows windows the sum window
// of the default ROI decides as ever, but has no place in the record.
bool window_count_fits(const PDLibWindowConfig& config);

// Blocks of the PD area and where they start, pixels.
struct BlockGeometry {
  int globalX;
  int globalY;
  int blockWidth;
  int blockHeight;
  int horizontalBlockCount;
  int verticalBlockCount;
};

// A window of fractions in blocks. The last block that it touches counts fully, so that it is never
// empty.
void get_grid_configure(int imageWidth, int imageHeight, float x, float y, float width,
                        float height, const BlockGeometry& blocks, int* blockX, int* blockY,
                        int* blockColumns, int* blockRows);

// A crop in pixels in blocks: only blocks wholly inside it count, so that it may be empty.
void get_crop_configure(int cropWidth, int cropHeight, int x, int y, const BlockGeometry& blocks,
                        int* blockX, int* blockY, int* blockColumns, int* blockRows);

// The eight rectangles around the ROI in the order of `peripheralInfo`.
struct PeripheralRectangle {
  const char* name;
  float x;
  float y;
  float width;
  float height;
};
// Where a peripheral window lies in the 3 by 3 tiling around the ROI.
struct PeripheralPlace {
  int column;
  int row;
};
PeripheralPlace peripheral_place(uint32_t index);
PeripheralRectangle peripheral_rectangle(const win_config_t& roi, uint32_t index);

// The part of the ROI that `lines` PD lines cover: below 0 before its top, 1 and more when
// complete.
float written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines);

// The same; where it is negative, 0 and a log line.
float checked_written_ratio(const win_config_t& roi, uint32_t imageHeight, uint32_t lines);

// Grid rows whose lines have arrived. Only a ratio inside (0, 1) reduces them: one of 0
// leaves the grid whole.
uint32_t ready_rows(uint32_t rows, float ratio);

// Whether the windows of a frame can be measured and their results stored; logs it if not.
bool is_window_usable(const PDLibWindowConfig& config);

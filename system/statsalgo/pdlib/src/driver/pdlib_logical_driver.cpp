#include "driver/pdlib_logical_driver.h"

namespace {

constexpr int kGainColumns = 17;
constexpr int kGainRows = 13;
static_assert(kGainColumns * kGainRows == kHwGainEntries);

// Falls with the square of the distance from the corners to the centre, in steps of 32. Flows
// replace the table by the calibrated one; this is only a plausible lens.
void FillDefaultGain(uint16_t* table) {
  constexpr int kCentre = 438 * 32;
  constexpr int kRise = 531 * 32;
  constexpr int kHalfColumns = kGainColumns / 2;
  constexpr int kHalfRows = kGainRows / 2;
  constexpr int kCorner = 2 * kHalfColumns * kHalfColumns * kHalfRows * kHalfRows;
  for (int row = 0; row < kGainRows; ++row) {
    for (int column = 0; column < kGainColumns; ++column) {
      const int x = (column - kHalfColumns) * kHalfRows;
      const int y = (row - kHalfRows) * kHalfColumns;
      const int gain = kCentre + kRise * (x * x + y * y) / kCorner;
      table[row * kGainColumns + column] = static_cast<uint16_t>(gain / 32 * 32);
    }
  }
}

}  // namespace

LogicalDriver::LogicalDriver() {
  config_.interruptLine = 100;

  config_.cropEnable = 1;
  config_.lastPixel = 2015;
  config_.lastLine = 755;

  config_.gainMapEnable = 1;
  config_.gainMapHorizontalCount = 15;
  config_.gainMapVerticalCount = 11;
  config_.gainMapHorizontalStep = 8326;
  config_.gainMapVerticalStep = 133329;
  FillDefaultGain(config_.gainMapLeft);
  FillDefaultGain(config_.gainMapRight);

  config_.binEnable = 1;
  config_.verticalBinningLine = 3;
  config_.verticalDecimateCount = 7;

  config_.blackLevel[0] = 64;
  config_.blackLevel[1] = 64;

  config_.hdrMergeSelect = 1;
  config_.hdrMode = 2;
  config_.hdrThreshold = 1023.0f;
  config_.hdrRatio = 1.0f;

  config_.iirEnable = 1;
  config_.init0 = 0.0582f;
  config_.init1 = -0.0582f;
  config_.a1 = 1.8732f;
  config_.a2 = -0.8837f;
  config_.b0 = 0.0582f;
  config_.b2 = -0.0582f;

  config_.sadEnable = 1;
  config_.sadSelect = 1;
  config_.horizontalOffset = 112;
  config_.verticalOffset = 42;
  config_.regionWidth = 111;
  config_.regionHeight = 55;
  config_.horizontalNum = 15;
  config_.verticalNum = 11;
  config_.config0Phase = 0xffff0000u;
  config_.config1Phase = 0xffffu;
}

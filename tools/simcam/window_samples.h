// Reads PD samples back from a buffer, plainly and without the library: for plots and for tests.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "frame_renderer.h"
#include "sensor.h"

namespace simcam {

// Samples of the two views; a row is a row of blocks, a sample the sum of a block's column, black
// level and shading taken out. Views that are compared down the image come with rows and columns
// exchanged.
struct WindowSamples {
  int rows = 0;
  int columns = 0;
  std::vector<double> left;
  std::vector<double> right;
};

WindowSamples ReadSamples(const SensorDescription& sensor, const Shading& shading,
                          const std::vector<uint8_t>& buffer, const BlockArea& blocks);

struct CurvePoint {
  double phasePx;     // phase difference that this shift stands for
  double difference;  // mean absolute difference of the views, codes
};

// How well the views match when one is shifted over the search range of the sensor's tuning.
std::vector<CurvePoint> ShiftCurve(const SensorDescription& sensor, const WindowSamples& samples);

// Where result window `index` of a grid lies, fractions of the image. With overlap, windows span
// two cells each way.
PDLibWindow ResultWindow(const PDLibWindow& roi, int columns, int rows, bool isOverlapped,
                         int index);

}  // namespace simcam

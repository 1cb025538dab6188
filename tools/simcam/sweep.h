// The lens goes through its travel; what is measured is set against what is true.
#pragma once

#include <functional>
#include <vector>

#include "camera.h"
#include "scores.h"

namespace simcam {

struct SweepSettings {
  double from = -20;  // true phase difference, pixels
  double to = 20;
  double step = 1;
};

struct SweepPoint {
  double truePhasePx = 0;
  double trueDefocus = 0;  // actuator codes
  int window = 0;          // row by row
  PDLibDefocusInfo measured{};
  bool isConfident = false;
};

struct SweepResult {
  SensorDescription sensor;
  CameraSettings camera;
  std::vector<SweepPoint> points;     // of the result windows, step by step
  std::vector<SweepPoint> roiPoints;  // of the ROI as a whole; window is -1
  int failedFrames = 0;
  ErrorScores scores;                // all windows and steps, certain or not
  ErrorScores confidentScores;       // points above the confidence threshold alone
  ErrorScores roiScores;             // the ROI as a whole
  std::vector<ErrorScores> windows;  // by window
};

using SweepProgress = std::function<void(int done, int all)>;

SweepResult RunSweep(const PdLibrary& library, const SensorDescription& sensor,
                     const CameraSettings& camera, const SweepSettings& settings,
                     const SweepProgress& progress);

}  // namespace simcam

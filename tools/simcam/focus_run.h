// A camera that focuses, frame by frame, and what became of it.
#pragma once

#include <optional>
#include <vector>

#include "autofocus.h"
#include "camera.h"
#include "lens.h"
#include "scores.h"
#include "window_samples.h"

namespace simcam {

struct FocusSettings {
  double startPhasePx = 36;         // true phase difference at the start
  std::optional<double> startCode;  // the lens position instead, actuator codes
  int frames = 20;
  int curveFrame = 0;  // frame and window whose curve is kept
  int curveWindow = 4;
};

struct FocusFrame {
  int index = 0;
  double lensPosition = 0;  // actuator codes, the lens itself at the middle of the exposure
  int lensCode = 0;         // what the stack told the library
  double truePhasePx = 0;
  PDLibDefocusInfo roi{};  // the ROI as a whole
  uint32_t processingResult = 0;
  bool isProcessed = false;
  bool isPeripheralValid = false;
  bool isTuningNew = false;  // the first frame with changed tuning values
  FocusAction action = FocusAction::kHold;
  std::vector<PDLibDefocusInfo> windows;     // row by row
  std::vector<PDLibDefocusInfo> peripheral;  // the eight around the ROI, if they are valid
};

struct FocusResult {
  SensorDescription sensor;
  CameraSettings camera;
  FocusSettings settings;
  double focusCode = 0;
  std::vector<FocusFrame> frames;
  FocusScores scores;
  std::vector<CurvePoint> curve;  // of the frame and window asked for
};

// Runs one frame at a time, so that several cameras can take turns.
class FocusRun {
 public:
  FocusRun(const PdLibrary& library, const SensorDescription& sensor, const CameraSettings& camera,
           const FocusSettings& settings);

  bool IsDone() const { return static_cast<int>(frames_.size()) >= settings_.frames; }
  const FocusFrame& Step();
  FocusResult Result() const;
  const SensorDescription& Sensor() const { return camera_.Sensor(); }
  const CameraSettings& Settings() const { return camera_.Settings(); }
  // Why frames fail at the moment; "" if the library takes the camera.
  const std::string& Refusal() const { return camera_.Refusal(); }

 private:
  double TruePhase(double lensCode) const;
  void KeepCurve();

  FocusSettings settings_;
  Camera camera_;
  double focusCode_;
  Lens lens_;
  Autofocus autofocus_;
  std::vector<FocusFrame> frames_;
  std::optional<int> heldFrom_;
  std::vector<CurvePoint> curve_;
};

}  // namespace simcam

// A camera that focuses, frame by frame, and what became of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "autofocus.h"
#include "camera.h"
#include "lens.h"

namespace simcam {

struct FocusSettings {
  double startPhasePx = 32;         // true phase difference at the start
  std::optional<double> startCode;  // the lens position instead, actuator codes
  int frames = 30;
};

struct FocusFrame {
  int index = 0;
  double lensPosition = 0;  // actuator codes, the lens itself at the middle of the exposure
  int lensCode = 0;         // what the stack told the library
  double truePhasePx = 0;
  PDLibDefocusInfo roi{};
  uint32_t processingResult = 0;
  bool isProcessed = false;
  bool isPeripheralValid = false;
  FocusAction action = FocusAction::kHold;
  std::vector<PDLibDefocusInfo> windows;  // row by row
};

// A lens step is the travel that changes the true phase difference by one pixel of the full
// resolution.
struct FocusScores {
  // Frames delivered before the true phase difference came within one lens step for good; none if
  // it did not.
  std::optional<int> framesToFocus;
  double finalTruePhasePx = 0;
  double overshootSteps = 0;  // furthest past focus, seen from the start
  // Share of the frames within so many lens steps, counted from the frame in which the stack first
  // held the lens for good; from the first one if it never did.
  double within1Step = 0;
  double within2Steps = 0;
  double within4Steps = 0;
  std::optional<int> heldFrom;  // that frame
};

struct FocusResult {
  SensorDescription sensor;
  CameraSettings camera;
  double focusCode = 0;
  std::vector<FocusFrame> frames;
  FocusScores scores;
};

FocusScores ScoreFocus(const std::vector<FocusFrame>& frames, std::optional<int> heldFrom);

// Runs one frame at a time, so that several cameras can take turns.
class FocusRun {
 public:
  FocusRun(const PdLibrary& library, const SensorDescription& sensor, const CameraSettings& camera,
           const FocusSettings& settings);

  bool IsDone() const { return static_cast<int>(frames_.size()) >= settings_.frames; }
  const FocusFrame& Step();
  FocusResult Result() const;
  const Camera& TheCamera() const { return camera_; }

 private:
  double TruePhase(double lensCode) const;

  FocusSettings settings_;
  Camera camera_;
  double focusCode_;
  Lens lens_;
  Autofocus autofocus_;
  std::vector<FocusFrame> frames_;
  std::optional<int> heldFrom_;
};

}  // namespace simcam

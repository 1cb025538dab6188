// The camera stack's side of autofocus: decides from each frame's result where the lens goes next.
#pragma once

#include "camera.h"

namespace simcam {

enum class FocusAction {
  kWait,    // the frame saw a moving lens: its result isn't used
  kMove,    // drives by the measured defocus
  kSearch,  // nothing certain in sight: goes on through the travel
  kHold,    // stands
};

const char* ActionName(FocusAction action);

class Autofocus {
 public:
  explicit Autofocus(const SensorDescription& sensor) : sensor_(sensor) {}

  // Goes on with other tuning values.
  void Follow(const SensorDescription& sensor) { sensor_ = sensor; }

  struct Decision {
    FocusAction action = FocusAction::kHold;
    double targetCode = 0;
  };

  // `wasSettled`: the lens stood still while this frame was exposed at `lensCode`.
  Decision Decide(const FrameResult& result, double lensCode, bool wasSettled);
  // The stack has held the lens for long enough to call it in focus.
  bool IsInFocus() const { return heldFrames_ >= kHeldFramesToSettle; }

 private:
  static constexpr int kHeldFramesToSettle = 2;

  Decision Search(double lensCode);

  SensorDescription sensor_;
  int heldFrames_ = 0;
  int searchDirection_ = 0;
  double lastDefocus_ = 0;
};

}  // namespace simcam

#include "focus_run.h"

#include <cmath>

#include "random.h"

namespace simcam {
namespace {

// Focus lies near the middle of the travel, elsewhere for each seed, so that both ways are open.
double FocusCode(const LensDescription& lens, uint64_t seed) {
  const double share = 0.44 + 0.12 * Unit(Mix(seed, 0xf0c5));
  return lens.travelFrom + share * (lens.travelTo - lens.travelFrom);
}

double StartCode(const FocusSettings& settings, const LensDescription& lens, double focusCode) {
  if (settings.startCode) return *settings.startCode;
  return focusCode - settings.startPhasePx * lens.codesPerPx;
}

}  // namespace

FocusRun::FocusRun(const PdLibrary& library, const SensorDescription& sensor,
                   const CameraSettings& camera, const FocusSettings& settings)
    : settings_(settings),
      camera_(library, sensor, camera),
      focusCode_(FocusCode(sensor.lens, camera.seed)),
      lens_(sensor.lens, StartCode(settings, sensor.lens, focusCode_)),
      autofocus_(sensor) {}

// Positive where the lens has to go to higher codes, as the library reports it.
double FocusRun::TruePhase(double lensCode) const {
  return (focusCode_ - lensCode) / lens_.Description().codesPerPx;
}

const FocusFrame& FocusRun::Step() {
  const double period = 1000 / camera_.Settings().frameRate;
  FocusFrame frame;
  frame.index = static_cast<int>(frames_.size());
  const double begin = frame.index * period;
  const double middle = begin + period * kExposureShare / 2;
  const bool wasSettled = lens_.IsSettled(begin);
  frame.lensPosition = lens_.Position(middle);
  frame.lensCode = static_cast<int>(std::lround(lens_.DriverCode(middle)));
  frame.truePhasePx = TruePhase(frame.lensPosition);

  const FrameResult result = camera_.Shoot(frame.truePhasePx, frame.lensCode);
  frame.roi = result.Roi();
  frame.isProcessed = result.isProcessed;
  frame.isTuningNew = result.isTuningNew;
  if (frame.isTuningNew) autofocus_.Follow(camera_.Sensor());
  frame.processingResult = result.output.processingResult;
  frame.isPeripheralValid = result.output.isPeripheralValid != 0;
  const PDLibDefocusInfo* infos = result.output.defocusInfo;
  frame.windows.assign(infos, infos + camera_.Settings().columns * camera_.Settings().rows);

  const PDLibDefocusInfo* around = result.output.peripheralInfo;
  if (frame.isPeripheralValid) frame.peripheral.assign(around, around + kPeripheralWindows);

  // The result is there when the frame is; the next exposure already sees the lens on its way.
  const Autofocus::Decision decision = autofocus_.Decide(result, frame.lensCode, wasSettled);
  frame.action = decision.action;
  const bool isDriven =
      decision.action == FocusAction::kMove || decision.action == FocusAction::kSearch;
  if (isDriven) {
    lens_.MoveTo(decision.targetCode, begin + period);
    heldFrom_.reset();
  } else if (autofocus_.IsInFocus() && !heldFrom_) {
    heldFrom_ = frame.index;
  }
  frames_.push_back(std::move(frame));
  if (frames_.back().index == settings_.curveFrame) KeepCurve();
  return frames_.back();
}

void FocusRun::KeepCurve() {
  const CameraSettings& settings = camera_.Settings();
  const SensorDescription& sensor = camera_.Sensor();
  const PDLibWindow window = ResultWindow(settings.roi, static_cast<int>(settings.columns),
                                          static_cast<int>(settings.rows),
                                          sensor.tuning.gridOverlap, settings_.curveWindow);
  curve_ = ShiftCurve(sensor, ReadSamples(sensor, camera_.Renderer().LensShading(),
                                          camera_.Buffer(), BlocksOf(sensor, window)));
}

FocusResult FocusRun::Result() const {
  std::vector<double> truePhases;
  for (const FocusFrame& frame : frames_) truePhases.push_back(frame.truePhasePx);
  return {camera_.Sensor(),
          camera_.Settings(),
          settings_,
          focusCode_,
          frames_,
          ScoreFocus(truePhases, heldFrom_),
          curve_};
}

}  // namespace simcam

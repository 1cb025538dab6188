// The lens and its actuator.
#pragma once

namespace simcam {

struct LensDescription {
  int travelFrom = 0;  // actuator codes
  int travelTo = 1023;
  double codesPerPx = 12;  // codes that change the true phase difference by one pixel
  double micronsPerCode = 0.5;
  double codesPerDefocus = 1;  // actuator codes that one unit of the library's defocus stands for
  double codesPerMs = 8;       // speed
  double settlingMs = 8;       // until the swinging after a move has died down
  double hysteresisCodes = 2;  // play when the direction changes
};

// Moves over time as an actuator does: at its speed, with a swing at the end and some play. Times
// are milliseconds and never go back.
class Lens {
 public:
  // At rest at `code`, with the play taken up in the middle.
  Lens(const LensDescription& description, double code);

  // Drives to `code` (limited to the travel) from the time on.
  void MoveTo(double code, double time);
  // Where the driver stands at that time: what a camera stack knows.
  double DriverCode(double time) const;
  // Where the lens stands at that time: what the light sees.
  double Position(double time);
  bool IsSettled(double time) const;

  const LensDescription& Description() const { return description_; }

 private:
  double ArrivalTime() const;

  LensDescription description_;
  double from_;
  double to_;
  double start_ = 0;
  double carried_;  // the lens itself, dragged along by the driver
};

}  // namespace simcam

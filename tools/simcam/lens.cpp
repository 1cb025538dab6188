#include "lens.h"

#include <algorithm>
#include <cmath>

namespace simcam {
namespace {

// Swing after a stop: a share of the move that led to it, and cycles while it settles.
constexpr double kSwingShare = 0.03;
constexpr double kLargestSwingCodes = 4;
constexpr double kSwingCycles = 2;

}  // namespace

Lens::Lens(const LensDescription& description, double code)
    : description_(description),
      from_(std::clamp<double>(code, description.travelFrom, description.travelTo)),
      to_(from_),
      start_(-1e9),
      carried_(from_) {}

void Lens::MoveTo(double code, double time) {
  from_ = DriverCode(time);
  to_ = std::clamp<double>(code, description_.travelFrom, description_.travelTo);
  start_ = time;
}

double Lens::ArrivalTime() const {
  return start_ + std::abs(to_ - from_) / description_.codesPerMs;
}

double Lens::DriverCode(double time) const {
  const double moved = std::max(time - start_, 0.0) * description_.codesPerMs;
  const double distance = to_ - from_;
  if (moved >= std::abs(distance)) return to_;
  return from_ + std::copysign(moved, distance);
}

double Lens::Position(double time) {
  const double driver = DriverCode(time);
  const double play = description_.hysteresisCodes / 2;
  carried_ = std::clamp(carried_, driver - play, driver + play);
  const double since = time - ArrivalTime();
  if (since < 0 || since >= description_.settlingMs) return carried_;
  const double swing =
      std::clamp(kSwingShare * (to_ - from_), -kLargestSwingCodes, kLargestSwingCodes);
  const double progress = since / description_.settlingMs;
  return carried_ +
         swing * std::exp(-4 * progress) * std::sin(2 * 3.14159265 * kSwingCycles * progress);
}

bool Lens::IsSettled(double time) const {
  return time >= ArrivalTime() + description_.settlingMs;
}

}  // namespace simcam

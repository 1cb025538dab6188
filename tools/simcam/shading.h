// Light that a PD pixel loses towards the image's border, and the calibration that makes up for it.
#pragma once

#include "base/pdlib_common.h"
#include "sample_layout.h"
#include "sensor.h"

namespace simcam {

// The lens darkens the corners, and each side of the pupil darkens one side of the image more than
// the other: by `loss` in the darkest corner, by nothing where the lens doesn't shade.
class Shading {
 public:
  Shading(const SensorDescription& sensor, double loss);

  // Share of the light that remains at a pixel of the unmirrored sensor, 1 - loss to 1.
  double At(Side side, double x, double y) const;
  // The same in the coordinates of the calibration maps: -1 and 1 at the middles of their first and
  // last entries.
  double AtMap(Side side, double u, double v) const;

 private:
  double loss_;
  bool isTiltedDown_;  // the two sides of the pupil are the upper and the lower one
  double centerX_;
  double centerY_;
  double halfWidth_;
  double halfHeight_;
};

// What the factory would have measured of this module, its coefficients too large by the share
// `dccError`.
_pdaf_cal_param_t MakeCalibration(const SensorDescription& sensor, const Shading& shading,
                                  double dccError = 0);

}  // namespace simcam

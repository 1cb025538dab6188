// Small pictures of the scene for reports.
#pragma once

#include <string>

#include "camera.h"
#include "picture_file.h"

namespace simcam {

// The whole scene, upright as it lies before the lens, `width` pixels wide; JPEG as a data URI.
std::string ScenePicture(const SensorDescription& sensor, const CameraSettings& settings,
                         int width);

// The ROI as the image shows it at this true phase difference, `width` pixels wide.
std::string RoiPicture(const SensorDescription& sensor, const CameraSettings& settings,
                       double truePhasePx, int width);

// A part of a picture as it is, full pixels x0 to x1 by y0 to y1, `width` pixels wide.
std::string FilePicture(const GreyPicture& picture, const Area& part, int width);

}  // namespace simcam

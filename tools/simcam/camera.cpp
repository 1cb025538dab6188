#include "camera.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace simcam {
namespace {

constexpr double kExposureShare = 0.3;  // of the frame time

SensorDescription Checked(const SensorDescription& sensor, const CameraSettings& settings) {
  SensorDescription adapted = sensor;
  if (settings.columns * settings.rows == 1) adapted.tuning.gridOverlap = false;
  return adapted;
}

// Peripheral windows may read any part of the image.
BlockArea RenderedBlocks(const SensorDescription& sensor, const CameraSettings& settings) {
  if (sensor.tuning.peripheralWindows)
    return BlockArea{0, 0, sensor.blocksAcross, sensor.blocksDown};
  return BlocksOf(sensor, settings.roi);
}

FrameRenderer MakeRenderer(const SensorDescription& sensor, const CameraSettings& settings) {
  const auto scene =
      MakeScene(settings.scene, sensor.imageWidth, sensor.imageHeight, settings.seed);
  return FrameRenderer(sensor, *scene, settings.optics, settings.noise, settings.shading,
                       RenderedBlocks(sensor, settings));
}

}  // namespace

std::vector<uint32_t> LineInterrupts(int imageHeight, double roiBottom, int calls) {
  const int first = std::min(static_cast<int>(std::ceil(roiBottom * imageHeight)) + 1, imageHeight);
  std::vector<uint32_t> lines;
  for (int call = 0; call + 1 < calls; ++call)
    lines.push_back(
        static_cast<uint32_t>(first + (imageHeight - first) * call / std::max(calls - 1, 1)));
  lines.push_back(static_cast<uint32_t>(imageHeight));
  // A ROI that reaches the last line leaves room for one call alone.
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

Camera::Camera(const PdLibrary& library, const SensorDescription& sensor,
               const CameraSettings& settings)
    : sensor_(Checked(sensor, settings)),
      settings_(settings),
      renderer_(MakeRenderer(sensor_, settings)),
      session_(library, sensor_,
               MakeCalibration(sensor_, renderer_.LensShading(), settings.dccError),
               settings.cameraId, settings.logLevel),
      interrupts_(LineInterrupts(sensor_.imageHeight, static_cast<double>(settings.roi.endY),
                                 settings.callsPerFrame)) {}

FrameResult Camera::Shoot(double truePhasePx, int lensCode) {
  renderer_.Render(truePhasePx, Mix(settings_.seed, 0xf7a3e, frameIndex_), buffer_);

  PDLibInputs inputs{};
  PDLibParam& param = inputs.param;
  param.PDBuffer = buffer_.data();
  param.PDBufferFd = -1;
  param.PDBufferSize = static_cast<int64_t>(buffer_.size());
  param.windowConfig = {kRoiDefault, settings_.roi, settings_.columns, settings_.rows};
  param.gain = static_cast<float>(settings_.sensorGain);
  param.fps = static_cast<float>(settings_.frameRate);
  param.integrationTime = static_cast<float>(kExposureShare / settings_.frameRate);
  param.lensPosition = lensCode;
  param.cameraInfo = {0, settings_.cameraId};

  FrameResult result;
  result.isProcessed = true;
  for (uint32_t lines : interrupts_) {
    inputs.linesWritten = lines;
    result.isProcessed = session_.Process(inputs, result.output) && result.isProcessed;
  }
  result.hasSumWindow = result.isProcessed;
  ++frameIndex_;
  return result;
}

}  // namespace simcam

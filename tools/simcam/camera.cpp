#include "camera.h"

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "random.h"

namespace simcam {
namespace {

SensorDescription Checked(const SensorDescription& sensor, const CameraSettings& settings) {
  SensorDescription adapted = sensor;
  if (settings.columns * settings.rows == 1) adapted.tuning.gridOverlap = false;
  if (settings.tuning != nullptr) settings.tuning->Override(adapted.tuning);
  return adapted;
}

// Noise in the sensor's own codes.
CameraSettings Adapted(CameraSettings settings, const SensorDescription& sensor) {
  if (settings.noiseBits == 0) return settings;
  const double scale = std::ldexp(1.0, sensor.pixelDepth - settings.noiseBits);
  settings.noise.variancePerCode *= scale;
  settings.noise.readNoise *= scale;
  settings.noiseBits = 0;
  return settings;
}

// Without a link the only changes are those that another camera's options make.
bool IsTunedLive(const CameraSettings& settings) {
  return settings.tuning != nullptr && settings.tuning->File().IsLinked();
}

// Peripheral windows may read any part of the image.
BlockArea RenderedBlocks(const SensorDescription& sensor, const CameraSettings& settings) {
  if (sensor.tuning.peripheralWindows || IsTunedLive(settings))
    return BlockArea{0, 0, sensor.blocksAcross, sensor.blocksDown};
  return BlocksOf(sensor, settings.roi);
}

// Blocks of a region. The library takes the PD area of a dual-PD sensor to be half the image's
// width and all of its height in sites, whatever the sites' size.
struct RegionSize {
  int width;
  int height;
};

RegionSize SizeOfRegions(const SensorDescription& sensor) {
  if (sensor.IsDual())
    return {std::max(sensor.imageWidth / 2 / kRegionColumns, 1),
            std::max(sensor.imageHeight / kRegionRows, 1)};
  return {std::max(sensor.blocksAcross / kRegionColumns, 1),
          std::max(sensor.blocksDown / kRegionRows, 1)};
}

// What the division leaves over belongs to the last column and row.
BlockArea RegionBlocks(const SensorDescription& sensor, int region) {
  const int column = region % kRegionColumns;
  const int row = region / kRegionColumns;
  const RegionSize size = SizeOfRegions(sensor);
  return {column * size.width, row * size.height,
          column + 1 == kRegionColumns ? sensor.blocksAcross : (column + 1) * size.width,
          row + 1 == kRegionRows ? sensor.blocksDown : (row + 1) * size.height};
}

BlockArea Intersection(const BlockArea& a, const BlockArea& b) {
  return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

std::vector<ExposedRegion> MakeRegions(const SensorDescription& sensor,
                                       const CameraSettings& settings) {
  const auto scene =
      MakeScene(settings.scene, sensor.imageWidth, sensor.imageHeight, settings.seed);
  const BlockArea all = RenderedBlocks(sensor, settings);
  std::vector<ExposedRegion> regions;
  const auto add = [&](const BlockArea& blocks, double scale) {
    if (blocks.x0 >= blocks.x1 || blocks.y0 >= blocks.y1) return;
    regions.push_back(
        {FrameRenderer(sensor, *scene, settings.optics, settings.noise, settings.shading, blocks),
         scale});
  };
  if (settings.phaseScale.empty()) {
    add(all, 1);
    return regions;
  }
  for (int region = 0; region < kRegions; ++region)
    add(Intersection(all, RegionBlocks(sensor, region)),
        settings.phaseScale[static_cast<size_t>(region)]);
  return regions;
}

}  // namespace

int RegionAt(const SensorDescription& sensor, double x, double y) {
  const RegionSize size = SizeOfRegions(sensor);
  const int column = static_cast<int>(x * sensor.blocksAcross / size.width);
  const int row = static_cast<int>(y * sensor.blocksDown / size.height);
  return std::clamp(row, 0, kRegionRows - 1) * kRegionColumns +
         std::clamp(column, 0, kRegionColumns - 1);
}

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

FrameResult ProcessFrame(CameraSession& session, const CameraSettings& settings,
                         const std::vector<uint8_t>& buffer, int lensCode,
                         const std::vector<uint32_t>& interrupts) {
  PDLibInputs inputs{};
  PDLibParam& param = inputs.param;
  param.PDBuffer = buffer.data();
  param.PDBufferFd = -1;
  param.PDBufferSize = static_cast<int64_t>(buffer.size());
  param.windowConfig = {kRoiDefault, settings.roi, settings.columns, settings.rows};
  param.gain = static_cast<float>(settings.sensorGain);
  param.fps = static_cast<float>(settings.frameRate);
  param.integrationTime = static_cast<float>(kExposureShare / settings.frameRate);
  param.lensPosition = lensCode;
  param.offsetLensPosition = lensCode;
  param.cameraInfo = {0, settings.cameraId};

  FrameResult result;
  result.isProcessed = true;
  for (uint32_t lines : interrupts) {
    inputs.linesWritten = lines;
    result.isProcessed = session.Process(inputs, result.output) && result.isProcessed;
  }
  result.hasSumWindow = result.isProcessed;
  return result;
}

Camera::Camera(const PdLibrary& library, const SensorDescription& sensor,
               const CameraSettings& settings)
    : library_(library),
      sensor_(Checked(sensor, settings)),
      settings_(Adapted(settings, sensor)),
      regions_(MakeRegions(sensor_, settings_)),
      interrupts_(LineInterrupts(sensor_.imageHeight, static_cast<double>(settings.roi.endY),
                                 settings.callsPerFrame)) {
  if (IsTunedLive(settings_))
    OpenLiveSession();
  else
    OpenSession();
}

void Camera::OpenSession() {
  session_.reset();
  session_ = std::make_unique<CameraSession>(
      library_, sensor_, MakeCalibration(sensor_, Renderer().LensShading(), settings_.dccError),
      settings_.cameraId, settings_.logLevel, settings_.tuning);
}

void Camera::OpenLiveSession() {
  // Counted before the values are read: one that is changed meanwhile opens the camera once more.
  tuningChanges_ = settings_.tuning->File().Changes();
  sensor_.tuning = settings_.tuning->Choices();
  refusal_.clear();
  try {
    OpenSession();
  } catch (const DeviceError& error) {
    refusal_ = error.what();
  }
}

// The library copies its tuning when a camera is opened, so a stack opens it anew.
bool Camera::TakeChangedTuning() {
  if (!IsTunedLive(settings_) || settings_.tuning->File().Changes() == tuningChanges_) return false;
  OpenLiveSession();
  return true;
}

FrameResult Camera::Shoot(double truePhasePx, int lensCode) {
  const bool isTuningNew = TakeChangedTuning();
  if (IsTunedLive(settings_))
    settings_.tuning->File().Store({static_cast<int64_t>(frameIndex_), lensCode,
                                    settings_.frameRate, settings_.sensorGain,
                                    1000 * kExposureShare / settings_.frameRate});
  const uint64_t noiseSeed = Mix(settings_.seed, 0xf7a3e, frameIndex_);
  for (ExposedRegion& region : regions_)
    region.renderer.Render(truePhasePx * region.phaseScale, noiseSeed, buffer_);

  ++frameIndex_;
  FrameResult result;
  if (session_ != nullptr)
    result = ProcessFrame(*session_, settings_, buffer_, lensCode, interrupts_);
  result.isTuningNew = isTuningNew;
  return result;
}

}  // namespace simcam

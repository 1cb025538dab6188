// The camera and the stack around it: exposes frames and takes them through the PD library call by
// call, as line interrupts come in.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame_renderer.h"
#include "pd_library.h"
#include "sensor.h"

namespace simcam {

// The part of a frame's time in which it is exposed.
inline constexpr double kExposureShare = 0.3;

struct CameraSettings {
  std::string scene = "mixed";
  uint64_t seed = 1;  // of the scene and of the noise
  OpticsSettings optics;
  NoiseSettings noise;
  int noiseBits = 0;  // pixel depth whose codes `noise` is told in; 0: the sensor's own
  double shading = 0.35;
  double dccError = 0;  // the calibration's coefficients are too large by this share
  PDLibWindow roi{0.35f, 0.35f, 0.65f, 0.65f};
  uint32_t columns = 3;  // grid of result windows
  uint32_t rows = 3;
  int callsPerFrame = 1;
  double frameRate = 30;
  double sensorGain = 1;
  uint32_t logLevel = 0;
  uint32_t cameraId = 0;
  std::shared_ptr<const TuningBranch> tuning;  // null: what the sensor's description says
  // Per region of the image, row by row as the library divides its PD blocks: what the true phase
  // difference is multiplied by there. Empty: by nothing.
  std::vector<double> phaseScale;
};

// The regions of `phaseScale`.
inline constexpr int kRegionColumns = 8;
inline constexpr int kRegionRows = 6;
inline constexpr int kRegions = kRegionColumns * kRegionRows;

// The region in which the library sees a point of the image, given in fractions of it.
int RegionAt(const SensorDescription& sensor, double x, double y);

// A part of the PD area that is exposed with a phase difference of its own.
struct ExposedRegion {
  FrameRenderer renderer;
  double phaseScale;
};

// What the library said of one frame, in its last call.
struct FrameResult {
  bool isProcessed = false;
  bool isTuningNew = false;  // values of the tuning file were changed since the frame before
  PDLibOutputData output{};
  bool hasSumWindow = false;

  // The result for the ROI as a whole.
  const PDLibDefocusInfo& Roi() const {
    return output
        .defocusInfo[hasSumWindow ? output.horizontalWindowCount * output.verticalWindowCount : 0];
  }
};

class Camera {
 public:
  // Throws DeviceError when the library refuses the camera. Behind the live link that is no end:
  // frames fail until the tuning is changed to what the library takes.
  Camera(const PdLibrary& library, const SensorDescription& sensor, const CameraSettings& settings);

  // Exposes a frame with this true phase difference and processes it. `lensCode` is what the stack
  // believes of the lens. Values that were changed in the tuning file count from this frame on.
  FrameResult Shoot(double truePhasePx, int lensCode);

  const SensorDescription& Sensor() const { return sensor_; }
  const CameraSettings& Settings() const { return settings_; }
  const std::vector<uint8_t>& Buffer() const { return buffer_; }
  const FrameRenderer& Renderer() const { return regions_.front().renderer; }
  CameraSession& Session() { return *session_; }
  // Why there is no session at the moment; "" while there is one.
  const std::string& Refusal() const { return refusal_; }

 private:
  void OpenSession();
  void OpenLiveSession();
  bool TakeChangedTuning();

  const PdLibrary& library_;
  SensorDescription sensor_;
  CameraSettings settings_;
  std::vector<ExposedRegion> regions_;
  std::unique_ptr<CameraSession> session_;  // null: the library refuses the tuning
  std::string refusal_;
  uint32_t tuningChanges_ = 0;
  std::vector<uint8_t> buffer_;
  std::vector<uint32_t> interrupts_;
  uint64_t frameIndex_ = 0;
};

// Takes a frame that lies in the buffer through the library, call by call.
FrameResult ProcessFrame(CameraSession& session, const CameraSettings& settings,
                         const std::vector<uint8_t>& buffer, int lensCode,
                         const std::vector<uint32_t>& interrupts);

// Lines written at each call of a frame. The first comes when the ROI is complete: the library
// measures at the first call of a frame and would otherwise see only a part of it. The last is the
// whole image.
std::vector<uint32_t> LineInterrupts(int imageHeight, double roiBottom, int calls);

}  // namespace simcam

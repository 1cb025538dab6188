// The PD library as a camera stack loads it: through its exported entry alone.
#pragma once

#include <memory>
#include <string>

#include "library_records.h"
#include "orvopdlibinterface.h"
#include "tuning_file.h"

namespace simcam {

class PdLibrary {
 public:
  // Loads the library and asks it for its callbacks. Throws DeviceError.
  explicit PdLibrary(const std::string& path);
  ~PdLibrary();
  PdLibrary(const PdLibrary&) = delete;
  PdLibrary& operator=(const PdLibrary&) = delete;

  // Where an installed program finds it: ../lib from the program's own folder.
  static std::string DefaultPath();

  const PDLibCallbacks& Callbacks() const { return callbacks_; }

 private:
  void* handle_ = nullptr;
  PDLibCallbacks callbacks_{};
};

// One open camera, from CreatePDLib to PDLibDestroy.
class CameraSession {
 public:
  // The library finds its tuning in the branch, or else gets that of the description. Throws
  // DeviceError when it refuses the camera.
  CameraSession(const PdLibrary& library, const SensorDescription& sensor,
                const _pdaf_cal_param_t& calibration, uint32_t cameraId, uint32_t logLevel,
                std::shared_ptr<const TuningBranch> branch = nullptr);
  ~CameraSession();
  CameraSession(const CameraSession&) = delete;
  CameraSession& operator=(const CameraSession&) = delete;

  // One call of the library with that many lines in the buffer; false if it reports a failure.
  bool Process(const PDLibInputs& inputs, PDLibOutputData& outputs);
  // Whether the library runs the PD pixels of this camera through a hardware block.
  bool UsesHardware();
  uint32_t CameraId() const { return camera_.cameraId; }

 private:
  void Close();

  PDLibCameraInfo camera_;
  std::unique_ptr<_pdaf_cal_param_t> calibration_;
  TuningRecord tuning_;
  std::shared_ptr<const TuningBranch> branch_;
  VekPDLib* lib_ = nullptr;
};

// A folder that the library's absolute paths lead into, so that no tool writes outside of it.
class DataFolder {
 public:
  // "" makes a temporary folder that goes with this object. Throws InputError.
  explicit DataFolder(const std::string& path);
  ~DataFolder();
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  const std::string& Path() const { return path_; }
  // Where the library keeps what it learnt of a camera.
  std::string AdaptiveFile(uint32_t cameraId) const;

 private:
  std::string path_;
  bool isTemporary_;
};

}  // namespace simcam

// The shared library as a camera stack sees it, and a camera to go with it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/orvo_host.h"
#include "orvopdlibinterface.h"
#include "support/log_capture.h"
#include "support/sparse_camera.h"
#include "support/temp_folder.h"

namespace test {

// The list of CreatePDLib and PDLibDestroy. Lives as long as the call that it is given to.
class ParamList {
 public:
  static ParamList Open(uint32_t cameraId, int32_t override = 1);
  static ParamList Close(uint32_t cameraId, int32_t override = 1);
  ParamList& addCamera(uint32_t type, uint32_t cameraId, uint32_t size = sizeof(PDLibCameraInfo));
  ParamList& addOverride(uint32_t type, int32_t value, uint32_t size = sizeof(int32_t));
  const PDLibParamList* get();

 private:
  struct Item {
    uint32_t type;
    uint32_t size;
    int32_t words[2];
  };
  std::vector<Item> items_;
  std::vector<PDLibListEntry> entries_;
  PDLibParamList list_{};
};

// The sparse camera with 640 by 480 pixels and the records of a session. Left and right see the
// same texture. Changes of `init` come too late for `createParams`.
struct Camera : SparseCamera {
  explicit Camera(uint32_t cameraId);

  PDLibInputs inputs(uint32_t columns = 2, uint32_t rows = 2) const;

  static constexpr uint32_t kHeight = 480;
  PDLibCreateParams createParams{};
};

// Loads a copy of the library, so that its globals are new in every test; captures the log, and
// takes all files below a folder of its own.
class Plugin : public testing::Test {
 protected:
  Plugin();
  ~Plugin() override;

  // Calls the entry and takes the callbacks.
  void enter();
  VekPDLib* open(uint32_t cameraId);  // enters first, if need be
  // Opens the camera, or throws, and initialises its session.
  VekPDLib* start(const Camera& camera);
  // A frame of the camera with so many windows, into `output_`.
  int process(VekPDLib* lib, const Camera& camera, uint32_t columns = 2, uint32_t rows = 2);
  void close(uint32_t cameraId);

  std::filesystem::path dataFile(uint32_t cameraId) const;
  static std::vector<std::string> logTexts();
  static bool wasLogged(const std::string& text);

  TempFolder folder_;
  void* library_ = nullptr;
  void (*entry_)(PDLibCallbacks*) = nullptr;
  PDLibCallbacks callbacks_{};
  PDLibOutputData output_{};
  const uint64_t liveBefore_ = Orvo::Host::Allocations().live;
};

}  // namespace test

#include "pd_library.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <filesystem>
#include <system_error>

#include "errors.h"
#include "host/orvo_host.h"

namespace simcam {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraryName = "com.zyn.stats.pdlib.so";
constexpr const char* kCacheFolder = "var/cache/camera";

std::string LoaderError() {
  const char* text = dlerror();
  return text != nullptr ? text : "unknown error";
}

// Larger than any record that the library writes to.
struct HardwareConfigRoom {
  alignas(8) unsigned char bytes[65536];
};

}  // namespace

std::string PdLibrary::DefaultPath() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const fs::path folder = error ? fs::path(".") : program.parent_path();
  return (folder / ".." / "lib" / kLibraryName).lexically_normal().string();
}

PdLibrary::PdLibrary(const std::string& path) {
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) throw DeviceError("can't load the PD library: " + LoaderError());
  using Entry = decltype(&VekPDLibraryEntry);
  const Entry entry = reinterpret_cast<Entry>(dlsym(handle_, "VekPDLibraryEntry"));
  if (entry == nullptr) {
    const std::string reason = LoaderError();
    dlclose(handle_);
    throw DeviceError(path + ": no entry of a PD library: " + reason);
  }
  callbacks_.size = sizeof(callbacks_);
  entry(&callbacks_);
  if (callbacks_.pfnCreate == nullptr) {
    dlclose(handle_);
    throw DeviceError(path + ": the PD library hands out no callbacks");
  }
  callbacks_.pfnGetCapabilities(nullptr);
}

PdLibrary::~PdLibrary() {
  dlclose(handle_);
}

CameraSession::CameraSession(const PdLibrary& library, const SensorDescription& sensor,
                             const _pdaf_cal_param_t& calibration, uint32_t cameraId,
                             uint32_t logLevel, std::shared_ptr<const TuningBranch> branch)
    : camera_{0, cameraId},
      calibration_(std::make_unique<_pdaf_cal_param_t>(calibration)),
      tuning_(sensor.tuning, sensor.HasVerticalViews()),
      branch_(std::move(branch)) {
  const uint32_t actualOpen = 1;
  const PDLibListEntry entries[] = {{kCreateOverrideCameraOpen, &actualOpen, sizeof(actualOpen)},
                                    {kCreateCameraInfo, &camera_, sizeof(camera_)}};
  const PDLibParamList list{entries, 2};
  if (library.Callbacks().pfnCreate(&lib_, &list) != kPDLibSuccess || lib_ == nullptr)
    throw DeviceError("the PD library gives no instance for camera " + std::to_string(cameraId));

  const auto params = std::make_unique<PDLibCreateParams>();
  params->initParam = MakeInitParam(sensor);
  params->initParam.calibration = calibration_.get();
  params->initParam.cameraInfo = camera_;
  params->initParam.logLevel = logLevel;
  if (branch_ != nullptr)
    branch_->LendTo(*params);
  else
    params->initParam.tuningData = &tuning_.Get();
  if (lib_->pfnInitialize(lib_, params.get()) == kPDLibSuccess) return;
  Close();
  throw DeviceError("the PD library refuses sensor '" + sensor.name + "'");
}

CameraSession::~CameraSession() {
  Close();
}

void CameraSession::Close() {
  const uint32_t actualClose = 1;
  const PDLibListEntry entries[] = {
      {kDestroyOverrideCameraClose, &actualClose, sizeof(actualClose)},
      {kDestroyCameraInfo, &camera_, sizeof(camera_)}};
  const PDLibParamList list{entries, 2};
  lib_->pfnDestroy(lib_, &list);
}

bool CameraSession::Process(const PDLibInputs& inputs, PDLibOutputData& outputs) {
  return lib_->pfnProcess(lib_, &inputs, &outputs) == kPDLibSuccess;
}

bool CameraSession::UsesHardware() {
  const auto room = std::make_unique<HardwareConfigRoom>();
  PDLibGetParamRequest request{kGetHardwareConfig, {room->bytes, sizeof(room->bytes)}};
  uint32_t isUsed = 0;
  if (lib_->pfnGetParam(lib_, &request) != kPDLibSuccess) return false;
  std::copy(room->bytes, room->bytes + sizeof(isUsed), reinterpret_cast<unsigned char*>(&isUsed));
  return isUsed != 0;
}

DataFolder::DataFolder(const std::string& path) : path_(path), isTemporary_(path.empty()) {
  std::error_code error;
  if (isTemporary_) {
    std::string pattern = (fs::temp_directory_path(error) / "pdcam-XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr)
      throw InputError("can't make a temporary folder");
    path_ = pattern;
  }
  fs::create_directories(fs::path(path_) / kCacheFolder, error);
  if (error) throw InputError(path_ + ": can't make folder " + kCacheFolder + " in it");
  Orvo::Host::SetRootFolder(path_);
}

DataFolder::~DataFolder() {
  Orvo::Host::SetRootFolder("");
  std::error_code ignored;
  if (isTemporary_) fs::remove_all(path_, ignored);
}

std::string DataFolder::AdaptiveFile(uint32_t cameraId) const {
  return (fs::path(path_) / kCacheFolder / ("pdlibdata" + std::to_string(cameraId) + ".bin"))
      .string();
}

}  // namespace simcam

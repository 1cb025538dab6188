#include "plugin.h"

#include <dlfcn.h>

#include <cstring>
#include <stdexcept>

namespace test {

namespace fs = std::filesystem;

// ---- ParamList

ParamList ParamList::Open(uint32_t cameraId, int32_t override) {
  ParamList list;
  list.addOverride(kCreateOverrideCameraOpen, override).addCamera(kCreateCameraInfo, cameraId);
  return list;
}

ParamList ParamList::Close(uint32_t cameraId, int32_t override) {
  ParamList list;
  list.addCamera(kDestroyCameraInfo, cameraId).addOverride(kDestroyOverrideCameraClose, override);
  return list;
}

ParamList& ParamList::addCamera(uint32_t type, uint32_t cameraId, uint32_t size) {
  items_.push_back({type, size, {0, static_cast<int32_t>(cameraId)}});
  return *this;
}

ParamList& ParamList::addOverride(uint32_t type, int32_t value, uint32_t size) {
  items_.push_back({type, size, {value, 0}});
  return *this;
}

const PDLibParamList* ParamList::get() {
  entries_.clear();
  for (const Item& item : items_) entries_.push_back({item.type, item.words, item.size});
  list_ = {entries_.data(), static_cast<uint32_t>(entries_.size())};
  return &list_;
}

// ---- Camera

Camera::Camera(uint32_t cameraId) : SparseCamera(40, 30) {
  std::fill_n(calibration.DCC_map, kDccMapEntries, int16_t{1024});
  tuning.postProcess.enableGridOverlap = 0;
  setRoi(0.25F, 0.25F, 0.75F, 0.75F);
  createParams.initParam = init;
  createParams.initParam.cameraInfo.cameraId = cameraId;
}

PDLibInputs Camera::inputs(uint32_t columns, uint32_t rows) const {
  PDLibInputs inputs{param, imageHeight()};
  inputs.param.windowConfig.horizontalWindowCount = columns;
  inputs.param.windowConfig.verticalWindowCount = rows;
  inputs.param.cameraInfo = createParams.initParam.cameraInfo;
  return inputs;
}

// ---- Plugin

Plugin::Plugin() {
  const fs::path copy = folder_.path() / "library.so";
  fs::copy_file(PDLIB_LIBRARY, copy);
  fs::create_directories(folder_.path() / "var/cache/camera");
  Orvo::Host::SetRootFolder(folder_.path().string());
  library_ = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(library_, nullptr) << dlerror();
  void* symbol = library_ == nullptr ? nullptr : dlsym(library_, "VekPDLibraryEntry");
  std::memcpy(&entry_, &symbol, sizeof(entry_));
  Orvo::Host::StartLogCapture();
}

Plugin::~Plugin() {
  Orvo::Host::NeverFailAllocation();
  Orvo::Host::UseSystemClock();
  Orvo::Host::SetRootFolder("");
  Orvo::Host::StopLogCapture();
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_);
  if (library_ != nullptr) dlclose(library_);
}

void Plugin::enter() {
  callbacks_.size = sizeof(callbacks_);
  entry_(&callbacks_);
}

VekPDLib* Plugin::open(uint32_t cameraId) {
  if (callbacks_.pfnCreate == nullptr) enter();
  VekPDLib* lib = nullptr;
  EXPECT_EQ(callbacks_.pfnCreate(&lib, ParamList::Open(cameraId).get()), kPDLibSuccess);
  return lib;
}

VekPDLib* Plugin::start(const Camera& camera) {
  VekPDLib* lib = open(camera.createParams.initParam.cameraInfo.cameraId);
  if (lib == nullptr) throw std::runtime_error("the camera doesn't open");
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
  return lib;
}

int Plugin::process(VekPDLib* lib, const Camera& camera, uint32_t columns, uint32_t rows) {
  const PDLibInputs inputs = camera.inputs(columns, rows);
  return lib->pfnProcess(lib, &inputs, &output_);
}

// Any object's function serves: the list says which camera is meant. A closed one has none left.
void Plugin::close(uint32_t cameraId) {
  VekPDLib* another = open(7);
  ASSERT_NE(another, nullptr);
  EXPECT_EQ(another->pfnDestroy(another, ParamList::Close(cameraId).get()), kPDLibSuccess);
  EXPECT_EQ(another->pfnDestroy(another, ParamList::Close(7).get()), kPDLibSuccess);
}

fs::path Plugin::dataFile(uint32_t cameraId) const {
  return folder_.path() / "var/cache/camera" / ("pdlibdata" + std::to_string(cameraId) + ".bin");
}

std::vector<std::string> Plugin::logTexts() {
  std::vector<std::string> texts;
  for (const auto& line : Orvo::Host::CapturedLog()) texts.push_back(TextOf(line));
  return texts;
}

bool Plugin::wasLogged(const std::string& text) {
  const auto texts = logTexts();
  return std::count(texts.begin(), texts.end(), text) > 0;
}

}  // namespace test

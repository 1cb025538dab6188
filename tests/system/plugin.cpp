#include "plugin.h"

#include <dlfcn.h>

#include <cstring>

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

namespace {

// Left and right pixels of a block stand in the same columns, eight lines apart.
PDLibBlockPattern MakePattern() {
  PDLibBlockPattern pattern{};
  pattern.blockDimension = {16, 16};
  for (uint32_t pair = 0; pair < 4; ++pair) {
    const uint32_t x = 4 * pair + 1;
    pattern.pixelCoordinate[pattern.pixelCount++] = {x, 3, kShieldHorizontal0};
    pattern.pixelCoordinate[pattern.pixelCount++] = {x, 11, kShieldHorizontal1};
  }
  return pattern;
}

uint16_t Texture(uint32_t column, uint32_t blockRow) {
  uint32_t hash = column * 2654435761u ^ blockRow * 40503u;
  hash ^= hash >> 15;
  return static_cast<uint16_t>(100 + hash % 700);
}

}  // namespace

Camera::Camera(uint32_t cameraId) {
  calibration.MapWidth = 17;
  calibration.MapHeight = 13;
  for (auto* map : {calibration.Left_GainMap, calibration.Right_GainMap}) {
    for (int i = 0; i < kGainMapEntries; ++i) map[i] = 1024;
  }
  calibration.DCC_param = {0, 10, 8, 6};
  for (int16_t& entry : calibration.DCC_map) entry = 1024;

  tuning.correlation.searchRange = {-32, 32};
  tuning.correlation.minimumConfidenceLevel = 250.0f;
  tuning.correlation.defocusConfidenceThreshold = 250.0f;
  tuning.postProcess.temporalFilterStaticWeight = 1.0f;
  tuning.postProcess.temporalFilterDynamicWeight = 1.0f;
  tuning.postProcess.confIntegralWidth = 24;
  tuning.singleWindowProcessingLevel.dynamicLevel = 100;
  tuning.singleWindowProcessingLevel.staticLevel = 100;
  tuning.skipControl.staticFrameCountThres = 1000;
  tuning.skipControl.maxFrameRate = 30;

  PDLibInitParam& init = createParams.initParam;
  PDLibSensorNativeInfo& native = init.nativePatternInfo;
  native.blockPattern = MakePattern();
  native.horizontalBlockCount = kWidth / 16;
  native.verticalBlockCount = kHeight / 16;
  native.cropRegion = {0, 0, kWidth, kHeight};
  native.originalImageWidth = native.currentImageWidth = kWidth;
  native.originalImageHeight = native.currentImageHeight = kHeight;
  native.bufferFormat = kBufferUnpacked16;
  native.horizontalDownscaleFactor = native.verticalDownscaleFactor = 1.0f;
  PDLibDataBufferInfo& buffer = init.bufferDataInfo;
  buffer.isp1BlockPattern = native.blockPattern;
  buffer.isp1BufferWidth = kWidth;
  buffer.isp1BufferStride = kWidth * 2;
  buffer.ispBufferHeight = kHeight;
  buffer.bufferFormat = kBufferUnpacked16;
  buffer.sensorType = kSensorSparse2;
  init.pixelDepth = 10;
  init.actuatorSensitivity = 1.0f;
  init.calibration = &calibration;
  init.cameraInfo.cameraId = cameraId;
  init.tuningData = &tuning;

  frame.resize(size_t{kWidth} * kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) frame[y * kWidth + x] = Texture(x, y / 16);
  }
}

PDLibInputs Camera::inputs(uint32_t columns, uint32_t rows) const {
  PDLibInputs inputs{};
  PDLibParam& param = inputs.param;
  param.PDBuffer = reinterpret_cast<const uint8_t*>(frame.data());
  param.PDBufferSize = static_cast<int64_t>(frame.size() * sizeof(frame[0]));
  param.windowConfig = {kRoiDefault, {0.25f, 0.25f, 0.75f, 0.75f}, columns, rows};
  param.gain = 1.0f;
  param.fps = 30.0f;
  param.cameraInfo = createParams.initParam.cameraInfo;
  inputs.linesWritten = kHeight;
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
  VekPDLib* lib = nullptr;
  EXPECT_EQ(callbacks_.pfnCreate(&lib, ParamList::Open(cameraId).get()), kPDLibSuccess);
  return lib;
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
  for (const auto& line : Orvo::Host::CapturedLog()) {
    texts.push_back(line.text.substr(line.text.find("() ") + 3));
  }
  return texts;
}

bool Plugin::wasLogged(const std::string& text) {
  for (const std::string& line : logTexts()) {
    if (line == text) return true;
  }
  return false;
}

}  // namespace test

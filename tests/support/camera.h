// What the cameras of the tests share: the records that the library gets, and changes to them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "afpdlibelements.h"
#include "base/pdlib_common.h"

namespace test {

// Tests change the records before they use them.
struct PdCamera {
  PdCamera() {
    init.bufferDataInfo.bufferFormat = kBufferUnpacked16;
    init.pixelDepth = 10;
    init.actuatorSensitivity = 0.5F;
    init.calibration = &calibration;
    init.tuningData = &tuning;
    param.gain = 1;
    param.fps = 30;
    setWindows(3, 3);
  }
  PdCamera(const PdCamera&) = delete;  // the records point into the object
  PdCamera& operator=(const PdCamera&) = delete;

  void setWindows(uint32_t columns, uint32_t rows, uint32_t roiType = kRoiDefault) {
    PDLibWindowConfig& config = param.windowConfig;
    config = {PDLibRoiType(roiType), config.window, columns, rows};
  }
  void setRoi(float startX, float startY, float endX, float endY) {
    param.windowConfig.window = {startX, startY, endX, endY};
  }
  void setImageSize(uint32_t width, uint32_t height) {
    native().originalImageWidth = native().currentImageWidth = width;
    native().originalImageHeight = native().currentImageHeight = height;
  }
  // Adds a named parameter to the tuning.
  void addExtension(const char* name, const std::vector<float>& values = {1}, int32_t enabled = 1) {
    names_.emplace_back(name);
    values_.push_back(values);
    extensions_.push_back({0, names_.back().data(), enabled, static_cast<uint32_t>(values.size()),
                           0, values_.back().data()});
    tuning.extensionParam = extensions_.data();
    tuning.extensionParamCount = static_cast<uint32_t>(extensions_.size());
  }

  uint32_t imageHeight() const { return init.nativePatternInfo.currentImageHeight; }
  PDLibSensorNativeInfo& native() { return init.nativePatternInfo; }
  PDLibDataBufferInfo& buffer() { return init.bufferDataInfo; }

  _pdaf_cal_param_t calibration{};
  afpdlibelements::tessarinePDLibType tuning{};
  PDLibInitParam init{};
  PDLibParam param{};
  std::vector<uint8_t> frame;  // exactly as large as the geometry needs

 protected:
  // A dark frame of so many bytes.
  void startFrame(size_t bytes) {
    frame.assign(bytes, 0);
    param.PDBuffer = frame.data();
    param.PDBufferSize = static_cast<int64_t>(bytes);
  }

 private:
  std::vector<statsglobalelements::statsExtensionParamType> extensions_;
  std::deque<std::string> names_;
  std::deque<std::vector<float>> values_;
};

}  // namespace test

#include "support/dual_camera.h"

#include <algorithm>

#include "support/sparse_camera.h"

namespace test {

DualCamera::DualCamera() {
  constexpr uint16_t kColumns = 5;
  constexpr uint16_t kRows = 4;
  calibration.MapWidth = kColumns;
  calibration.MapHeight = kRows;
  for (int i = 0; i < kColumns * kRows; ++i) {  // the same along a row
    calibration.Left_GainMap[i] = static_cast<uint16_t>(1000 + i / kColumns * 16);
    calibration.Right_GainMap[i] = static_cast<uint16_t>(1060 - i / kColumns * 8);
    calibration.Up_GainMap[i] = calibration.Down_GainMap[i] = 1024;
  }
  calibration.DCC_param = {0, 4, 8, 6};
  for (int i = 0; i < 48; ++i) {
    calibration.DCC_map[i] = static_cast<int16_t>((i % 2 == 0 ? 16 : -16) * i);
    calibration.DCC_map_vertical[i] = 320;
  }

  constexpr float kGainStart[] = {8, 4, 1};
  constexpr int kBins[] = {8, 4, 2};
  for (auto* path : {&tuning.preProcess, &tuning.preProcessVertical}) {
    for (int set = 0; set < 3; ++set) {
      path->filterTrigger.filterSet[set].AECTrigger.gain_start = kGainStart[set];
      path->filterTrigger.filterSet[set].verticalMode = kBins[set];
    }
  }
  for (auto* path : {&tuning.correlation, &tuning.correlationVertical}) {
    path->defocusConfidenceThreshold = 150;
    path->PDRangeControl = 0.1F;
    path->searchRange = {-32, 16};
  }
  for (auto* path : {&tuning.postProcess, &tuning.postProcessVertical}) {
    path->temporalFilterStaticWeight = path->temporalFilterDynamicWeight = 1;
    path->enableGridOverlap = 1;
    path->confIntegralWidth = 32;
  }
  tuning.enablePeripheralWindows = 1;
  tuning.singleWindowProcessingLevel.processingMode = afpdlibelements::tessarinePDProcessingMode(3);

  native().originalImageWidth = native().currentImageWidth = 480;
  native().originalImageHeight = native().currentImageHeight = 240;
  native().horizontalDownscaleFactor = native().verticalDownscaleFactor = 2;
  buffer().isp1BufferWidth = 480;
  buffer().ispBufferHeight = 120;
  buffer().sensorType = kSensorDualPD1;
  setFormat(kBufferUnpacked16);
  init.pixelDepth = 10;
  init.actuatorSensitivity = 0.5F;
  init.calibration = &calibration;
  init.tuningData = &tuning;
  param.gain = 1;
  param.fps = 30;
  setWindows(3, 3);
  setRoi(0.25F, 0.25F, 0.75F, 0.75F);
  exposeShifted(0);
}

void DualCamera::setBlock(uint32_t width, uint32_t height, const std::vector<uint32_t>& types) {
  PDLibBlockPattern& pattern = buffer().isp1BlockPattern;
  pattern.blockDimension = {width, height};
  pattern.pixelCount = static_cast<int32_t>(types.size());
  for (uint32_t i = 0; i < types.size(); ++i) {
    pattern.pixelCoordinate[i] = {i % width, i / width, PDAFPixelShieldInformation(types[i])};
  }
  buffer().isp1BufferWidth = 240 * width;
  buffer().ispBufferHeight = 120 * height;
  setFormat(buffer().bufferFormat);
}

void DualCamera::setFormat(uint32_t format) {
  const uint32_t width = buffer().isp1BufferWidth;
  buffer().bufferFormat = PDAFBufferDataFormat(format);
  const uint32_t bytes[] = {width, width * 5 / 4, width * 2};
  // Some room between the lines; whole words.
  buffer().isp1BufferStride = (format < 3 ? bytes[format] : width) + 12;
}

void DualCamera::setWindows(uint32_t columns, uint32_t rows, uint32_t roiType) {
  param.windowConfig.roiType = PDLibRoiType(roiType);
  param.windowConfig.horizontalWindowCount = columns;
  param.windowConfig.verticalWindowCount = rows;
}

void DualCamera::setRoi(float startX, float startY, float endX, float endY) {
  param.windowConfig.window = {startX, startY, endX, endY};
}

void DualCamera::setOffsets(float pixels) {
  PDLibOffsetMap& map = calibration.PD_OffsetMap;
  map = {1, {}, calibration.DCC_param.MapWidth, calibration.DCC_param.MapHeight, {}};
  std::fill_n(map.map, kDccMapEntries, pixels);
}

void DualCamera::addExtension(const char* name, const std::vector<float>& values, int32_t enabled) {
  extensionNames_.emplace_back(name);
  extensionValues_.push_back(values);
  extensions_.push_back({0, extensionNames_.back().data(), enabled,
                         static_cast<uint32_t>(values.size()), 0, extensionValues_.back().data()});
  tuning.extensionParam = extensions_.data();
  tuning.extensionParamCount = static_cast<uint32_t>(extensions_.size());
}

void DualCamera::startFrame(uint64_t lastLineBytes) {
  frame.assign(uint64_t{buffer().isp1BufferStride} * (buffer().ispBufferHeight - 1) + lastLineBytes,
               0);
  param.PDBuffer = frame.data();
  param.PDBufferSize = static_cast<int64_t>(frame.size());
}

void DualCamera::exposeWords(const std::function<int(uint32_t column, uint32_t row)>& words) {
  startFrame(buffer().isp1BufferWidth * 2);
  for (uint32_t row = 0; row < buffer().ispBufferHeight; ++row) {
    uint8_t* byte = frame.data() + size_t{row} * buffer().isp1BufferStride;
    for (uint32_t column = 0; column < buffer().isp1BufferWidth; ++column) {
      const int word = words(column, row);
      *byte++ = static_cast<uint8_t>(word);
      *byte++ = static_cast<uint8_t>(word >> 8);
    }
  }
}

void DualCamera::expose(const std::function<int(int sample, int x, int y)>& codes) {
  if (buffer().bufferFormat == kBufferUnpacked16) {
    exposeWords([&](uint32_t column, uint32_t row) {
      return codes(static_cast<int>(column % 2), static_cast<int>(column / 2),
                   static_cast<int>(row));
    });
    return;
  }
  const bool packed = buffer().bufferFormat == kBufferFormat1;
  const size_t width = buffer().isp1BufferWidth;
  startFrame(packed ? width * 5 / 4 : width);
  for (uint32_t y = 0; y < buffer().ispBufferHeight; ++y) {
    uint8_t* line = frame.data() + size_t{y} * buffer().isp1BufferStride;
    for (size_t i = 0; i < width; ++i) {
      const int code = codes(static_cast<int>(i % 2), static_cast<int>(i / 2), static_cast<int>(y));
      line[packed ? i + i / 4 : i] = static_cast<uint8_t>(code >> 2);
      if (packed) line[i / 4 * 5 + 4] |= static_cast<uint8_t>((code & 3) << i % 4 * 2);
    }
  }
}

void DualCamera::exposeShifted(int shift) {
  expose([shift](int sample, int x, int y) { return Texture(x + sample * shift, y / 8); });
}

}  // namespace test

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

  setImageSize(480, 240);
  native().horizontalDownscaleFactor = native().verticalDownscaleFactor = 2;
  buffer().isp1BufferWidth = 480;
  buffer().ispBufferHeight = 120;
  buffer().sensorType = kSensorDualPD1;
  setFormat(kBufferUnpacked16);
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

void DualCamera::setOffsets(float pixels) {
  PDLibOffsetMap& map = calibration.PD_OffsetMap;
  map = {1, {}, calibration.DCC_param.MapWidth, calibration.DCC_param.MapHeight, {}};
  std::fill_n(map.map, kDccMapEntries, pixels);
}

void DualCamera::startFrame(size_t lastLineBytes) {
  PdCamera::startFrame(size_t{buffer().isp1BufferStride} * (buffer().ispBufferHeight - 1) +
                       lastLineBytes);
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

#include "support/sparse_camera.h"

#include <algorithm>

namespace test {

namespace {

constexpr uint32_t kBlock = 16;
constexpr uint32_t kBlackLevel = 64;

uint32_t Hash(uint32_t a, uint32_t b) {
  uint32_t hash = a * 2654435761u ^ (b + 1) * 2246822519u;
  hash ^= hash >> 15;
  hash *= 2246822519u;
  return hash ^ hash >> 13;
}

}  // namespace

std::vector<PdPixel> FourColumns(uint32_t rowsPerColumn) {
  std::vector<PdPixel> pixels;
  for (uint32_t x = 1; x < kBlock; x += 4) {
    for (uint32_t i = 0; i < rowsPerColumn; ++i) {
      const uint32_t y = i * kBlock / rowsPerColumn;
      pixels.push_back({x, y, true, x, y});
      pixels.push_back({x, y + 1, false, x, y + 1});
    }
  }
  return pixels;
}

int Texture(int x, int blockRow) {
  constexpr int kKnot = 8;
  const uint32_t place = static_cast<uint32_t>(x + 4096);
  const int part = static_cast<int>(place % kKnot);
  const auto knot = [blockRow](uint32_t index) {
    return static_cast<int>(Hash(index, static_cast<uint32_t>(blockRow)) % 800);
  };
  return 100 + (knot(place / kKnot) * (kKnot - part) + knot(place / kKnot + 1) * part) / kKnot;
}

SparseCamera::SparseCamera(uint32_t columns, uint32_t rows) {
  calibration.MapWidth = 17;
  calibration.MapHeight = 13;
  for (auto* map : {calibration.Left_GainMap, calibration.Right_GainMap}) {
    std::fill_n(map, kGainMapEntries, uint16_t{256});
  }
  calibration.DCC_param = {0, 10, 8, 6};
  std::fill_n(calibration.DCC_map, kDccMapEntries, int16_t{2048});

  tuning.preProcess.boxFilterLength = 2;
  tuning.preProcess.antiAliasFilterThreshold = 100;
  tuning.correlation.minimumConfidenceLevel = 140.0f;
  tuning.correlation.defocusConfidenceThreshold = 250.0f;
  tuning.correlation.searchRange = {-48, 48};
  tuning.postProcess.temporalFilterStaticWeight = 0.5f;
  tuning.postProcess.temporalFilterDynamicWeight = 1.0f;
  tuning.postProcess.enableGridOverlap = 1;
  tuning.postProcess.confIntegralWidth = 16;
  tuning.singleWindowProcessingLevel = {afpdlibelements::tessarinePDProcessingMode(4), 100, 100};
  tuning.PeripheralProcessing = tuning.singleWindowProcessingLevel;
  tuning.skipControl = {1000, 30};

  native().blockPattern.blockDimension =
      buffer().isp1BlockPattern.blockDimension = {kBlock, kBlock};
  native().bufferFormat = kBufferUnpacked16;
  buffer().sensorType = kSensorSparse2;
  init.blackLevel = kBlackLevel;

  setBlockCounts(columns, rows);
  setPixels(FourColumns(2));
  setRoi(0.2f, 0.2f, 0.8f, 0.8f);
  exposeShifted(0);
}

void SparseCamera::setPixels(const std::vector<PdPixel>& newPixels) {
  pixels = newPixels;
  PDLibBlockPattern& native = init.nativePatternInfo.blockPattern;
  PDLibBlockPattern& buffer = init.bufferDataInfo.isp1BlockPattern;
  native.pixelCount = buffer.pixelCount = static_cast<int32_t>(pixels.size());
  for (size_t i = 0; i < pixels.size(); ++i) {
    const PdPixel& pixel = pixels[i];
    native.pixelCoordinate[i] = {pixel.nativeX, pixel.nativeY,
                                 pixel.left ? kShieldHorizontal0 : kShieldHorizontal1};
    buffer.pixelCoordinate[i] = {pixel.bufferX, pixel.bufferY,
                                 pixel.left ? kShieldHorizontal1 : kShieldHorizontal0};
  }
}

void SparseCamera::setBlockCounts(uint32_t columns, uint32_t rows) {
  const PDLibBlockDimension& block = native().blockPattern.blockDimension;
  native().horizontalBlockCount = columns;
  native().verticalBlockCount = rows;
  setImageSize(columns * block.width, rows * block.height);
  native().cropRegion = {0, 0, columns * block.width, rows * block.height};
  const PDLibBlockDimension& stored = buffer().isp1BlockPattern.blockDimension;
  buffer().isp1BufferWidth = columns * stored.width;
  buffer().isp1BufferStride = buffer().isp1BufferWidth * 2;
  buffer().ispBufferHeight = rows * stored.height;
}

void SparseCamera::addSecondProcessor(uint32_t firstBlock, uint32_t overlapPixels) {
  secondFirstBlock_ = firstBlock;
  PDLibSensorNativeInfo& native = init.nativePatternInfo;
  PDLibDataBufferInfo& buffer = init.bufferDataInfo;
  const uint32_t rightBlocks = native.horizontalBlockCount - firstBlock;
  buffer.sensorType = kSensorSparseInFrame;
  buffer.imageOverlap = overlapPixels;
  buffer.isp2ImageOffset = firstBlock * kBlock - overlapPixels;
  buffer.isp2BlockPattern = buffer.isp1BlockPattern;
  buffer.isp2BlockPattern.horizontalPDOffset = overlapPixels;
  buffer.isp1BufferWidth = firstBlock * kBlock;
  buffer.isp2BufferWidth = rightBlocks * kBlock + overlapPixels;
  buffer.isp1BufferStride = buffer.isp1BufferWidth * 2;
  buffer.isp2BufferStride = buffer.isp2BufferWidth * 2;
}

size_t SparseCamera::pixelPosition(uint32_t blockX, uint32_t blockY, const PdPixel& pixel) const {
  const PDLibDataBufferInfo& buffer = init.bufferDataInfo;
  const size_t bytes = buffer.bufferFormat == kBufferUnpacked16 ? 2 : 1;
  const bool second = blockX >= secondFirstBlock_;
  const PDLibBlockPattern& pattern = second ? buffer.isp2BlockPattern : buffer.isp1BlockPattern;
  const bool inFrame = buffer.sensorType == kSensorSparseInFrame;
  const size_t startX = inFrame ? pattern.horizontalPDOffset : 0;
  const size_t startY = inFrame ? pattern.verticalPDOffset : 0;
  const size_t column = second ? blockX - secondFirstBlock_ : blockX;
  const size_t x = startX + column * pattern.blockDimension.width + pixel.bufferX;
  const size_t y = startY + blockY * pattern.blockDimension.height + pixel.bufferY;
  const size_t line = y * (buffer.isp1BufferStride + buffer.isp2BufferStride);
  return line + (second ? buffer.isp1BufferStride : 0) + x * bytes;
}

void SparseCamera::expose(const std::function<int(bool left, int x, int blockRow)>& codes) {
  const PDLibSensorNativeInfo& native = init.nativePatternInfo;
  const PDLibDataBufferInfo& buffer = init.bufferDataInfo;
  const bool wide = buffer.bufferFormat == kBufferUnpacked16;
  const size_t lineBytes = buffer.isp1BufferStride + buffer.isp2BufferStride;
  startFrame(lineBytes * buffer.ispBufferHeight);
  for (uint32_t y = 0; y < native.verticalBlockCount; ++y) {
    for (uint32_t x = 0; x < native.horizontalBlockCount; ++x) {
      for (const PdPixel& pixel : pixels) {
        const int place =
            static_cast<int>(x * native.blockPattern.blockDimension.width + pixel.nativeX);
        const int value =
            static_cast<int>(init.blackLevel) + codes(pixel.left, place, static_cast<int>(y));
        const size_t position = pixelPosition(x, y, pixel);
        frame.at(position) = static_cast<uint8_t>(value);
        if (wide) frame.at(position + 1) = static_cast<uint8_t>(value >> 8);
      }
    }
  }
}

void SparseCamera::exposeShifted(int shift) {
  expose(
      [shift](bool left, int x, int blockRow) { return Texture(left ? x : x + shift, blockRow); });
}

}  // namespace test

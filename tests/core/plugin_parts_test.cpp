// Parts of the plug-in that can't be seen from outside.
#include <gtest/gtest.h>

#include "afpdlibelements.h"
#include "fake_flow.h"
#include "orvopdlibinterface_internal.h"

using afpdlibelements::tessarinePDLibType;
using test::LogCapture;

namespace {

PDLibInitParam LcrInit(uint32_t format, uint32_t width) {
  PDLibInitParam init{};
  PDLibSensorNativeInfo& sensor = init.nativePatternInfo;
  sensor.blockPattern.blockDimension = {16, 32};
  sensor.blockPattern.horizontalPDOffset = 24;
  sensor.blockPattern.verticalPDOffset = 8;
  sensor.currentImageWidth = width;
  sensor.currentImageHeight = 3000;
  sensor.lcrBlockPattern.lineCount = 99;
  PDLibLcrBufferData& buffer = init.bufferDataInfo.lcrBufferData;
  buffer.bufferFormat = static_cast<PDAFBufferDataFormat>(format);
  buffer.isp2BufferWidth = 11;
  buffer.imageOverlap = 12;
  buffer.isp2BufferStride = 13;
  buffer.isp2ImageOffset = 14;
  return init;
}

struct StrideCase {
  uint32_t format;
  uint32_t width;
  uint32_t formatAfter;
  uint32_t stride;
};

TEST(LcrConfigure, DerivesFormatAndStride) {
  const LogCapture log;
  const StrideCase cases[] = {
      {1, 4000, 1, 5008},  // 5000 up to the next multiple of 16
      {2, 4000, 2, 8000},
      {2, 4001, 2, 8016},
      {7, 4000, 1, 5008},
      {0, 4032, 1, 5040},
      {0xffffffffu, 1, 1, 16},
      {1, 0, 1, 0},
      {1, 13, 1, 16},  // 16.25 counts as 16
      {2, 0xffffffffu, 2, 0xfffffff0u},
  };
  const tessarinePDLibType tuning{};
  for (const StrideCase& c : cases) {
    PDLibInitParam init = LcrInit(c.format, c.width);
    EXPECT_EQ(PDLibLCRConfigure(&init, &tuning), kPDLibSuccess);
    const PDLibLcrBufferData& buffer = init.bufferDataInfo.lcrBufferData;
    EXPECT_EQ(buffer.bufferFormat, c.formatAfter) << c.format;
    EXPECT_EQ(buffer.isp1BufferStride, c.stride) << c.format << " " << c.width;
    EXPECT_EQ(buffer.isp1BufferWidth, c.width);
    EXPECT_EQ(buffer.ispBufferHeight, 3000u);
    EXPECT_EQ(buffer.isp2BufferWidth, 0u);
    EXPECT_EQ(buffer.imageOverlap, 0u);
    EXPECT_EQ(buffer.isp2BufferStride, 13u);
    EXPECT_EQ(buffer.isp2ImageOffset, 14u);
  }
}

TEST(LcrConfigure, CarriesTheBlockWithoutLines) {
  PDLibInitParam init = LcrInit(1, 4000);
  const tessarinePDLibType tuning{};
  PDLibLCRConfigure(&init, &tuning);
  for (const PDLibLcrBlockPattern* pattern :
       {&init.nativePatternInfo.lcrBlockPattern,
        &init.bufferDataInfo.lcrBufferData.isp1BlockPattern}) {
    EXPECT_EQ(pattern->lineCount, 0);
    EXPECT_EQ(pattern->horizontalPDOffset, 24u);
    EXPECT_EQ(pattern->verticalPDOffset, 8u);
    EXPECT_EQ(pattern->blockDimension.width, 16u);
    EXPECT_EQ(pattern->blockDimension.height, 32u);
  }
}

TEST(LcrConfigure, LeavesARecordWithoutBlockAlone) {
  const LogCapture log;
  const tessarinePDLibType tuning{};
  PDLibInitParam init = LcrInit(7, 4000);
  init.nativePatternInfo.blockPattern.blockDimension = {16, 0};
  EXPECT_EQ(PDLibLCRConfigure(&init, &tuning), kPDLibFailed);
  EXPECT_EQ(init.bufferDataInfo.lcrBufferData.bufferFormat, 7u);
  EXPECT_EQ(init.nativePatternInfo.lcrBlockPattern.lineCount, 99);
  EXPECT_EQ(log.texts().back(), "Invalid sensor pattern dimensions width=16, height=0");
  EXPECT_EQ(PDLibLCRConfigure(nullptr, &tuning), kPDLibInvalidPointer);
  EXPECT_EQ(PDLibLCRConfigure(&init, nullptr), kPDLibInvalidPointer);
}

}  // namespace

// Parts of the plug-in that can't be seen from outside.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <numeric>

#include "afpdlibelements.h"
#include "fake_flow.h"
#include "orvopdlibinterface_internal.h"
#include "support/temp_folder.h"

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

TEST(LcrConfigure, DerivesFormatStrideAndBlock) {
  const LogCapture log;
  const std::tuple<uint32_t, uint32_t, uint32_t, uint32_t> cases[] = {
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
  for (const auto& [format, width, formatAfter, stride] : cases) {
    PDLibInitParam init = LcrInit(format, width);
    EXPECT_EQ(PDLibLCRConfigure(&init, &tuning), kPDLibSuccess);
    PDLibLcrBufferData& buffer = init.bufferDataInfo.lcrBufferData;
    EXPECT_EQ(buffer.bufferFormat, formatAfter) << format;
    EXPECT_EQ(buffer.isp1BufferStride, stride) << format << " " << width;
    EXPECT_EQ(buffer.isp1BufferWidth, width);
    EXPECT_EQ(buffer.ispBufferHeight, 3000u);
    EXPECT_EQ(buffer.isp2BufferWidth, 0u);
    EXPECT_EQ(buffer.imageOverlap, 0u);
    EXPECT_EQ(buffer.isp2BufferStride, 13u);
    EXPECT_EQ(buffer.isp2ImageOffset, 14u);
    for (const auto* pattern :
         {&init.nativePatternInfo.lcrBlockPattern, &buffer.isp1BlockPattern}) {
      EXPECT_EQ(pattern->lineCount, 0);  // the block without its lines
      EXPECT_EQ(pattern->horizontalPDOffset, 24u);
      EXPECT_EQ(pattern->verticalPDOffset, 8u);
      EXPECT_EQ(pattern->blockDimension.width, 16u);
      EXPECT_EQ(pattern->blockDimension.height, 32u);
    }
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

class LearntDataFile : public testing::Test {
 protected:
  LearntDataFile() {
    std::filesystem::create_directories(file_.parent_path());
    Orvo::Host::SetRootFolder(folder_.path().string());
    std::iota(data_.begin(), data_.end(), uint8_t{1});
  }
  ~LearntDataFile() override { Orvo::Host::SetRootFolder(""); }
  std::vector<uint8_t> content() const {
    std::ifstream file(file_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  const LogCapture log_{1};
  const test::TempFolder folder_;
  const std::filesystem::path file_ = folder_.path() / "var/cache/camera/pdlibdata3.bin";
  std::vector<uint8_t> data_ = std::vector<uint8_t>(kAdaptiveDataSize);
};

TEST_F(LearntDataFile, HoldsTheBytesAndNothingElse) {
  std::ofstream(file_) << std::string(5000, 'x');
  EXPECT_EQ(PDLibStoreAdaptiveData(data_.data(), data_.size(), 3), kPDLibSuccess);
  EXPECT_EQ(content(), data_);
  std::vector<uint8_t> loaded(kAdaptiveDataSize);
  EXPECT_EQ(PDLibLoadAdaptiveData(loaded.data(), loaded.size(), 3), kPDLibSuccess);
  EXPECT_EQ(loaded, data_);
  EXPECT_EQ(log_.texts(),
            std::vector<std::string>(2, "pFilePath is /var/cache/camera/pdlibdata3.bin"));
}

TEST_F(LearntDataFile, ShortFileCountsAsNone) {
  for (const size_t bytes : {size_t{0}, size_t{3}, size_t{kAdaptiveDataSize} - 1}) {
    std::ofstream(file_) << std::string(bytes, 'x');
    std::vector<uint8_t> loaded(kAdaptiveDataSize);
    EXPECT_EQ(PDLibLoadAdaptiveData(loaded.data(), loaded.size(), 3), kPDLibFailed);
    EXPECT_EQ(log_.texts().back(),
              "The adaptive k data file holds " + std::to_string(bytes) + " of 960 bytes");
  }
}

TEST_F(LearntDataFile, FailuresAreReported) {
  EXPECT_EQ(PDLibLoadAdaptiveData(data_.data(), data_.size(), 4), kPDLibFailed);
  EXPECT_EQ(log_.texts().back(), "Failed to open the adaptive k data file");
  std::filesystem::create_directory(file_);  // can't be opened for writing
  EXPECT_EQ(PDLibStoreAdaptiveData(data_.data(), data_.size(), 3), kPDLibFailed);
  EXPECT_EQ(log_.texts().back(), "Failed to open the adaptive k data file");
  // Opens, but takes no byte.
  std::filesystem::remove(file_);
  std::filesystem::create_symlink("/dev/full", file_);
  EXPECT_EQ(PDLibStoreAdaptiveData(data_.data(), data_.size(), 3), kPDLibFailed);
  EXPECT_EQ(log_.texts().back(), "Failed to write the adaptive k data file");
}

}  // namespace

// From one run of a camera to the next, through the plug-in and its file.
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "system/plugin.h"

namespace {

using test::Camera;

class AdaptiveFile : public test::Plugin {
 protected:
  // Opens the camera with the learning on, shows it some frames and closes it.
  void Run(uint32_t cameraId) {
    Camera camera(cameraId);
    camera.tuning.adaptiveK.enable = 1;
    camera.tuning.adaptiveK.filterSize = 3;
    VekPDLib* lib = open(cameraId);
    ASSERT_NE(lib, nullptr);
    ASSERT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(process(lib, camera), kPDLibSuccess);
    close(cameraId);
  }

  std::vector<int16_t> Read(uint32_t cameraId) const {
    std::ifstream file(dataFile(cameraId), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<int16_t> values(bytes.size() / 2);
    std::memcpy(values.data(), bytes.data(), values.size() * 2);
    return values;
  }
};

TEST_F(AdaptiveFile, BeginsWithTheCalibration) {
  Run(3);
  EXPECT_EQ(Read(3), std::vector<int16_t>(480, 1));  // 1024 with ten fractional bits
}

TEST_F(AdaptiveFile, ComesBackBitForBit) {
  std::vector<int16_t> values;
  for (int i = 0; i < 480; ++i) values.push_back(static_cast<int16_t>(i * 137 - 32768 + 1));
  std::ofstream(dataFile(3), std::ios::binary)
      .write(reinterpret_cast<const char*>(values.data()), 960);
  Run(3);
  EXPECT_EQ(Read(3), values);
  Run(4);  // another camera has its own
  EXPECT_EQ(Read(3), values);
  EXPECT_EQ(Read(4), std::vector<int16_t>(480, 1));
}

TEST_F(AdaptiveFile, WhatIsNoFileIsSurvivedAndNamed) {
  std::filesystem::create_directory(dataFile(3));
  Run(3);
  EXPECT_TRUE(wasLogged("Failed to open the adaptive k data file"));
  EXPECT_TRUE(std::filesystem::is_directory(dataFile(3)));
}

TEST_F(AdaptiveFile, AShortFileCountsAsNone) {
  std::ofstream(dataFile(3), std::ios::binary).write("\7\0\7\0\7", 5);
  Run(3);
  EXPECT_TRUE(wasLogged("The adaptive k data file holds 5 of 960 bytes"));
  EXPECT_EQ(Read(3), std::vector<int16_t>(480, 1));
}

}  // namespace

// The code of docs/integration.md, as it stands there.
#include "integration_example.h"

#include <gtest/gtest.h>

#include "plugin.h"

namespace {

TEST(IntegrationExample, OpensMeasuresAndCloses) {
  const uint64_t liveBefore = Orvo::Host::Allocations().live;
  const test::TempFolder folder;
  Orvo::Host::SetRootFolder(folder.path().string());
  PDLibCallbacks callbacks{};
  ASSERT_FALSE(LoadPDLibrary("no such library", callbacks));
  ASSERT_TRUE(LoadPDLibrary(PDLIB_LIBRARY, callbacks));

  const test::Camera camera(0);
  VekPDLib* lib = OpenCamera(callbacks, camera.createParams);
  ASSERT_NE(lib, nullptr);
  const PDLibParam param = camera.inputs().param;
  PDLibOutputData output{};
  for (int frame = 0; frame < 2; ++frame) {
    // The ROI ends at three quarters of the image.
    EXPECT_TRUE(MeasureLines(lib, param, test::Camera::kHeight * 3 / 4, output));
    EXPECT_EQ(output.processingResult, 1u);
    EXPECT_GT(output.defocusInfo[0].confidence, 500u);
    EXPECT_TRUE(MeasureLines(lib, param, test::Camera::kHeight, output));
    EXPECT_GT(output.defocusInfo[0].confidence, 500u);
  }
  // Too early: the ROI's windows are not complete.
  EXPECT_TRUE(MeasureLines(lib, param, test::Camera::kHeight / 2, output));
  EXPECT_EQ(output.processingResult, 1u);
  EXPECT_EQ(output.defocusInfo[0].confidence, 0u);
  CloseCamera(lib, param.cameraInfo);
  Orvo::Host::SetRootFolder("");
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore);
}

}  // namespace

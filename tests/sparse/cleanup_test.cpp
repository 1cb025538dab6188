// What a row of windows goes through between parsing and correlation, and a vector between
// correlation and result.
#include <gtest/gtest.h>

#include "sparse/pdlib_sparse_wrapper.h"
#include "sparse_context.h"

using test::ConfiguredContext;
using test::SparseCamera;

namespace {

using Samples = std::vector<uint16_t>;

// One window over all of 20 by 16 blocks, one pixel a sample, without smoothing.
struct PlainCamera : SparseCamera {
  PlainCamera() : SparseCamera(20, 16) {
    setPixels(test::FourColumns(1));
    setRoi(0, 0, 1, 1);
    setWindows(1, 1, 1);
    tuning.correlation.searchRange = {-16, 16};
    tuning.preProcess.boxFilterLength = 0;
    tuning.preProcess.antiAliasFilterThreshold = 1023;
  }
};

struct Cleaned {
  Samples left, right;
};

Cleaned Clean(const SparseCamera& camera, uint32_t rows) {
  const auto context = ConfiguredContext(camera);
  context->subsampleRatio = 1.0f;
  pdaf_window_process_optimized(context.get(), 0, 1);
  const ptrdiff_t count = 20 * context->unique_num_L_pixel * static_cast<ptrdiff_t>(rows);
  return {Samples(context->leftSamples.begin(), context->leftSamples.begin() + count),
          Samples(context->rightSamples.begin(), context->rightSamples.begin() + count)};
}

TEST(CleanUp, DarkerSideIsRaisedToTheOther) {
  const struct {
    int left, right;
    uint16_t leftAfter, rightAfter;
  } cases[] = {
      {100, 300, 300, 300}, {300, 100, 300, 300}, {200, 200, 200, 200},
      {100, 150, 150, 150}, {99, 100, 99, 100},  // 258.58 is cut to 258, and 99.77 to 99
  };
  for (const auto& c : cases) {
    PlainCamera camera;
    camera.expose([&c](bool left, int, int) { return left ? c.left : c.right; });
    const Cleaned cleaned = Clean(camera, 2);
    EXPECT_EQ(cleaned.left, Samples(160, c.leftAfter)) << c.left;
    EXPECT_EQ(cleaned.right, Samples(160, c.rightAfter)) << c.right;
  }
}

TEST(CleanUp, OutliersAreHeldNearTheirNeighbours) {
  PlainCamera camera;
  camera.tuning.preProcess.antiAliasFilterThreshold = 100;
  camera.expose([](bool, int x, int) { return x % 16 == 9 ? 700 : 200; });  // 3rd of each block
  const Cleaned cleaned = Clean(camera, 1);
  for (const Samples& samples : {cleaned.left, cleaned.right}) {
    EXPECT_EQ(samples[2], 200 * (1024 + 100) / 1024);
    EXPECT_EQ(samples[3], 450 * (1024 - 100) / 1024);  // its neighbours were 700 and 200
    EXPECT_EQ(samples[4], 200);
    EXPECT_EQ(samples[5], 450 * (1024 - 100) / 1024);
  }
}

TEST(CleanUp, UnevenColumnsAreMovedToEvenPlaces) {
  PlainCamera camera;
  camera.setPixels(
      {{0, 0, true, 0, 0}, {0, 1, false, 0, 1}, {4, 0, true, 4, 0}, {4, 1, false, 4, 1}});
  camera.expose([](bool, int x, int) { return x; });
  const Samples samples = Clean(camera, 1).right;
  for (uint32_t block = 5; block < 15; ++block) {
    // 85 / 256 of the way from 4 to the 16 of the next block
    EXPECT_EQ(samples[2 * block], 16 * block);
    EXPECT_EQ(samples[2 * block + 1],
              ((256 - 85) * (16 * block + 4) + 85 * (16 * block + 16)) >> 8);
  }
}

TEST(CleanUp, BinningAveragesRowsByGain) {
  const struct {
    float gain;
    uint16_t first;  // mean of the first rows of 100, 110, 120, ...
  } cases[] = {{2, 100 + 0},      {4.9f, 100 + 5},    {8, 100 + 5 * 3},
               {16, 100 + 5 * 7}, {64, 100 + 5 * 15}, {63.9f, 100 + 5 * 7}};
  for (const auto& c : cases) {
    // Three sets by falling gain, with the counts around the gain of the case.
    PlainCamera camera;
    camera.addExtension("verticalBinningControl");
    auto& sets = camera.preProcess().filterTrigger.filterSet;
    const bool high = c.gain >= 8;
    const float starts[] = {high ? 64.0f : 8.0f, high ? 16.0f : 4.0f, 0};
    const int counts[] = {high ? 16 : 4, high ? 8 : 2, high ? 4 : 1};
    for (int i = 0; i < 3; ++i) {
      sets[i].AECTrigger.gain_start = starts[i];
      sets[i].verticalMode = counts[i];
    }
    camera.param.gain = c.gain;
    camera.expose([](bool, int, int row) { return 100 + 10 * row; });
    EXPECT_EQ(Clean(camera, 1).left[7], c.first) << c.gain;
  }
}

TEST(Result, VectorIsBiasedBeforeTheFit) {
  PlainCamera camera;
  camera.tuning.postProcess.biasVectorStrength = 1.0f;
  const auto context = ConfiguredContext(camera);
  context->temporalWeight = 1.0f;
  for (int32_t& sad : context->centerGrid[0].sad) sad = 4096;
  calculate_pd_and_conf(context.get(), context->output.defocusInfo, 0);
  // Shifts of 16, 12, ... -16: their squares, the smallest at 0.
  for (int k = 0; k < 9; ++k) {
    EXPECT_EQ(context->centerGrid[0].sad[static_cast<size_t>(k)], 16 * (k - 4) * (k - 4));
  }
  EXPECT_EQ(context->output.defocusInfo[0].phaseDiff, 0.0f);
}

TEST(Result, LowestOfEqualMinimaCounts) {
  PlainCamera camera;
  const auto context = ConfiguredContext(camera);
  context->temporalWeight = 1.0f;
  const int32_t sad[] = {90, 80, 10, 80, 90, 80, 10, 80, 90};
  std::copy_n(sad, 9, context->centerGrid[0].sad.data());
  calculate_pd_and_conf(context.get(), context->output.defocusInfo, 0);
  EXPECT_EQ(context->output.defocusInfo[0].phaseDiff, 8.0f);  // -(2 - 4) samples of 4 pixels
}

TEST(Result, OneConfidentWindowOfTheGridIsEnough) {
  for (const int textured : {0, 1, 2}) {
    SparseCamera camera;
    camera.setWindows(2, 1, 1);
    camera.tuning.postProcess.enableGridOverlap = 0;
    camera.expose([textured](bool, int x, int row) {
      const bool inWindow = textured == (x < 480 ? 0 : 1);
      return inWindow ? test::Texture(x, row) : 400;
    });
    const auto context = ConfiguredContext(camera);
    pd_process_center_window(context.get(), 384, &context->output);
    EXPECT_EQ(context->output.processingResult,
              textured < 2 ? kResultStarted : kResultLowConfidence)
        << textured;
  }
}

}  // namespace

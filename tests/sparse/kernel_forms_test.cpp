// Whole frames with every form of the kernels: the results are those of the scalar forms, bit by
// bit.
#include <gtest/gtest.h>

#include <random>

#include "kernels/kernel_table.h"
#include "support/flow_run.h"

using FlowRun = test::SparseRun;
using test::FourColumns;
using test::SparseCamera;

namespace {

struct Setting {
  const char* name;
  void (*change)(SparseCamera&);
};

void Binning(SparseCamera& camera, int count) {
  for (auto& set : camera.preProcess().filterTrigger.filterSet) set.verticalMode = count;
}

const Setting kSettings[] = {
    {"plain", [](SparseCamera&) {}},
    {"one byte a pixel",
     [](SparseCamera& c) {
       c.init.bufferDataInfo.bufferFormat = kBufferFormat0;
       c.init.blackLevel = 3;
     }},
    {"one pixel a sample", [](SparseCamera& c) { c.setPixels(FourColumns(1)); }},
    {"four pixels a sample", [](SparseCamera& c) { c.setPixels(FourColumns(4)); }},
    {"two processors", [](SparseCamera& c) { c.addSecondProcessor(23, 48); }},
    {"uneven columns",
     [](SparseCamera& c) {
       c.setPixels(
           {{1, 0, true, 1, 0}, {1, 1, false, 1, 1}, {6, 0, true, 6, 0}, {6, 1, false, 6, 1}});
     }},
    {"long search range",
     [](SparseCamera& c) {
       c.tuning.correlation.searchRange = {-100, 60};
     }},
    {"short search range",
     [](SparseCamera& c) {
       c.tuning.correlation.searchRange = {-12, 16};
     }},
    {"one-sided range",
     [](SparseCamera& c) {
       c.tuning.correlation.searchRange = {-90, -20};
     }},
    {"smoothing of 4, binning of 4",
     [](SparseCamera& c) {
       c.preProcess().boxFilterLength = 4;
       Binning(c, 4);
     }},
    {"binning of 16", [](SparseCamera& c) { Binning(c, 16); }},
    {"saturated",
     [](SparseCamera& c) { std::fill_n(c.calibration.Left_GainMap, kGainMapEntries, 65535); }},
};

void NoisyFrame(SparseCamera& camera, uint32_t seed) {
  std::mt19937 random(seed);
  const int range = camera.init.bufferDataInfo.bufferFormat == kBufferUnpacked16 ? 65000 : 250;
  camera.expose([&](bool left, int x, int row) {
    const int code = test::Texture(left ? x : x + 8, row) * (range / 1000 + 1) / 4;
    const int noisy = code + static_cast<int>(random() % 64) - 32;
    return std::clamp(noisy, 0, range);
  });
}

PDLibOutputData Measure(const Setting& setting, std::initializer_list<const char*> extensions) {
  FlowRun run;
  run.camera.tuning.enablePeripheralWindows = 1;
  run.camera.tuning.correlation.defocusConfidenceThreshold = 1023;
  setting.change(run.camera);
  for (const char* name : extensions) run.camera.addExtension(name);
  EXPECT_EQ(run.init(), kPDStatusOk) << setting.name;
  for (uint32_t frame = 0; frame < 2; ++frame) {
    NoisyFrame(run.camera, frame);
    EXPECT_EQ(run.frame(), kPDStatusOk) << setting.name;
  }
  EXPECT_GT(run.result(0).confidence, 0u) << setting.name;
  return run.output;
}

TEST(KernelForms, FramesGiveTheSameBits) {
  test::LogCapture log;
  const std::initializer_list<const char*> kSwitches[] = {
      {},
      {"EnableOptimizedSparseParsing", "verticalBinningControl"},
      {"EnableSparsePDAFIIRFilter"}};
  for (const Setting& setting : kSettings) {
    for (const auto& switches : kSwitches) {
      ASSERT_TRUE(pdlib::SelectKernels("scalar"));
      const PDLibOutputData scalar = Measure(setting, switches);
      for (const auto* form = pdlib::AvailableKernels(); *form != nullptr; ++form) {
        ASSERT_TRUE(pdlib::SelectKernels((*form)->name));
        EXPECT_TRUE(test::SameResults(scalar, Measure(setting, switches)))
            << (*form)->name << ", " << setting.name;
      }
    }
  }
  pdlib::SelectKernels("best");
}

}  // namespace

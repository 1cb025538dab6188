// What every flow with one context does alike: calls of a frame, windows, memory, learning, input
// that it refuses. A new flow adds its camera to the list, and to `Kind` what it does its own way.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>

#include "support/flow_run.h"

using test::DualCamera;
using test::FailedAt;
using test::FlowRun;
using test::LiveAllocations;
using test::LogCapture;
using test::SameResults;
using test::SparseCamera;

namespace {

template <class Camera>
struct Kind;

template <>
struct Kind<SparseCamera> {
  // All that Init and a frame can allocate: flips of all maps, LCR.
  static void askForEverything(SparseCamera& camera) {
    camera.tuning.preProcess.sparseProcessingMode = afpdlibelements::tessarineSparsePDProcMode(1);
    camera.tuning.correlation.lcrSearchRange = {-8, 8};
  }
  // Statuses of Init without its allocations: the context, the bias of LCR, the bias.
  static std::vector<int> initWithoutMemory() { return {1, 3, 3}; }
  static const char* initLine(size_t allocation) {
    return allocation == 0 ? "Out of memory" : "set init info error";
  }
  static constexpr char kConfigureFailed[] = "config pd context info failed";
  static std::vector<std::string> linesWithoutMemory() {
    return {"Out of memory",
            "mem allocation error\n",
            "mem allocation failed\n",
            "mem allocation error for Center window\n",
            "mem allocation error for Center window SAD sum vectors\n",
            "mem allocation error for Center window LC SAD sum vectors\n",
            "mem allocation error for Center window RC SAD sum vectors\n",
            "mem allocation error for center window\n",
            "mem allocation error for peripheral window\n",
            "Memory allocation failed"};
  }
  static constexpr bool kTriesAgain = true;   // a window whose memory was missing
  static constexpr bool kNeedsTuning = true;  // or else it has a fallback
  static constexpr bool kRoiTypeRebuilds = false;
  static constexpr bool kHandsOutTuning = true;
  // Rows of pixels stand at y = 0, 1, 8 and 9 of a block, columns at x = 1, 5, 9 and 13.
  static constexpr int64_t kUnreadBytes = 6 * 1920 + 2 * 2;
};

template <>
struct Kind<DualCamera> {
  static void askForEverything(DualCamera&) {}
  // The context, two dense maps, two flips of both and of the table, the bias.
  static std::vector<int> initWithoutMemory() { return {3, 2, 2, 2, 2, 2, 2, 2, 2, 3}; }
  static const char* initLine(size_t) { return "Out of memory"; }
  static constexpr char kConfigureFailed[] = "Set dpd context param failed";
  static std::vector<std::string> linesWithoutMemory() {
    return {"pCenterCorrelationGrids NULL",
            "Center correlation grids mem allocation fail",
            "pCenterPostProcessGrids NULL",
            "Center post process grid mem allocation fail",
            "Peripheral_window allocation error",
            "Peripheral mem allocation error",
            "p_dpd_grid_common NULL",
            "mem allocation error"};
  }
  static constexpr bool kTriesAgain = false;
  static constexpr bool kNeedsTuning = false;
  static constexpr bool kRoiTypeRebuilds = true;
  static constexpr bool kHandsOutTuning = false;
  static constexpr int64_t kUnreadBytes = 0;
};

template <class Camera>
class Flow : public testing::Test {
 protected:
  using Run = FlowRun<Camera>;
  using K = Kind<Camera>;

  // The ROI has the middle half of the lines and columns; the filter over time remembers.
  static void prepare(Run& run) {
    run.camera.setRoi(0.25F, 0.25F, 0.75F, 0.75F);
    run.camera.tuning.postProcess.temporalFilterStaticWeight = 0.25F;
    run.camera.tuning.enablePeripheralWindows = 1;
  }
  static void start(Run& run, int shift = 0) {
    prepare(run);
    run.camera.exposeShifted(shift);
    ASSERT_EQ(run.init(), kPDStatusOk);
  }
  static void startWithEverything(Run& run) {
    prepare(run);
    run.camera.native().orientation = kOrientationMirrorAndFlip;
    K::askForEverything(run.camera);
  }
  static uint32_t sureResults(const Run& run) {
    const auto& infos = run.output.defocusInfo;
    return static_cast<uint32_t>(
        std::count_if(std::begin(infos), std::end(infos),
                      [](const PDLibDefocusInfo& info) { return info.confidence != 0; }));
  }

  const uint64_t live_ = LiveAllocations();
};

using Cameras = testing::Types<SparseCamera, DualCamera>;
TYPED_TEST_SUITE(Flow, Cameras);

// ---- Calls of a frame

// From the last line of the ROI on, and before its first one, all of it is measured at once.
TYPED_TEST(Flow, FirstCallMeasuresTheCentre) {
  for (const auto& [part, inTwentyFourths] :
       {std::pair{"end", 18u}, {"beyond", 20u}, {"start", 6u}, {"above", 1u}}) {
    LogCapture log(1);
    FlowRun<TypeParam> whole, run;
    for (auto* each : {&whole, &run}) {
      each->camera.param.lensPosition = 5;
      this->start(*each, 4);
    }
    ASSERT_EQ(whole.frame(), kPDStatusOk);
    const uint32_t lines = run.camera.imageHeight() * inTwentyFourths / 24;
    std::memset(static_cast<void*>(&run.output), 0x5A, sizeof run.output);
    ASSERT_EQ(run.call(lines), kPDStatusOk);
    EXPECT_TRUE(SameResults(run.output, whole.output)) << part;
    EXPECT_EQ(this->sureResults(run), 10u) << part;
    EXPECT_EQ(run.output.processingResult, kResultStarted);
    EXPECT_EQ(run.output.horizontalWindowCount, 3u);
    EXPECT_EQ(run.output.verticalWindowCount, 3u);
    const auto* map = reinterpret_cast<const uint8_t*>(&run.output.depthMap);
    EXPECT_EQ(std::count(map, map + sizeof run.output.depthMap, 0x5A),
              static_cast<ptrdiff_t>(sizeof run.output.depthMap));
    EXPECT_EQ(log.count("Warning: written PD buffer ratio negative -0.416667, number of written PD "
                        "lines " +
                        std::to_string(lines)),
              inTwentyFourths == 1 ? 1 : 0);
    run.camera.exposeShifted(-4);  // too late for this frame, as is the lens
    run.camera.param.lensPosition = 9;
    for (const uint32_t later : {run.camera.imageHeight() - 1, run.camera.imageHeight()}) {
      ASSERT_EQ(run.call(later), kPDStatusOk);
      EXPECT_TRUE(SameResults(run.output, whole.output)) << part << later;
      EXPECT_NE(log.texts().back().find("cur_lens_pos 5 "), std::string::npos) << part << later;
    }
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_FALSE(SameResults(run.output, whole.output)) << part;
  }
}

TYPED_TEST(Flow, CallInsideTheRoiUsesUpTheFrame) {
  for (const auto& [start, end] : {std::pair{0u, 1u}, {0u, 7u}, {7u, 8u}}) {
    FlowRun<TypeParam> run;
    this->start(run);
    const uint32_t height = run.camera.imageHeight();
    ASSERT_EQ(run.call(height / 4 + start * height / 16 + end), kPDStatusOk);
    for (const uint32_t lines : {height * 3 / 4, height}) {
      ASSERT_EQ(run.call(lines), kPDStatusOk);
      EXPECT_EQ(this->sureResults(run), 0u) << start << end;
      EXPECT_EQ(run.output.processingResult, kResultStarted);
    }
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(this->sureResults(run), 10u);
  }
}

// The record holds that many results, and none for their sum, which decides all the same.
TYPED_TEST(Flow, AsManyWindowsAsTheRecordHolds) {
  for (const float threshold : {0.0F, 1024.0F}) {
    FlowRun<TypeParam> run;
    run.camera.tuning.correlation.defocusConfidenceThreshold = threshold;
    run.camera.setWindows(20, 10);
    this->start(run, 4);
    run.output.isPeripheralValid = 0x55;
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(run.output.processingResult, threshold == 0 ? kResultStarted : kResultLowConfidence);
    EXPECT_EQ(run.output.isPeripheralValid, threshold == 0 ? 0 : 1);
    EXPECT_EQ(run.output.horizontalWindowCount * run.output.verticalWindowCount, kMaxWindows);
  }
}

// ---- Changes of the window

TYPED_TEST(Flow, ChangedWindowRebuildsAndForgets) {
  const struct {
    const char* what;
    void (*change)(PDLibParam&);
    bool rebuilds;
  } cases[] = {
      {"nothing", [](PDLibParam&) {}, false},
      {"gain", [](PDLibParam& p) { p.gain = 1.5F; }, false},
      {"start x", [](PDLibParam& p) { p.windowConfig.window.startX = 0.3F; }, true},
      {"start y", [](PDLibParam& p) { p.windowConfig.window.startY = std::nextafter(0.25F, 1.F); },
       true},
      {"end x", [](PDLibParam& p) { p.windowConfig.window.endX = 0.7F; }, true},
      {"end y", [](PDLibParam& p) { p.windowConfig.window.endY = 0.8F; }, true},
      {"columns", [](PDLibParam& p) { p.windowConfig.horizontalWindowCount = 1; }, true},
      {"rows", [](PDLibParam& p) { p.windowConfig.verticalWindowCount = 5; }, true},
      {"type", [](PDLibParam& p) { p.windowConfig.roiType = kRoiLearning; },
       TestFixture::K::kRoiTypeRebuilds},
  };
  for (const auto& c : cases) {
    FlowRun<TypeParam> fresh, changed;
    for (auto* run : {&fresh, &changed}) this->start(*run, 4);
    ASSERT_EQ(changed.frame(), kPDStatusOk);
    const uint64_t live = LiveAllocations();
    for (auto* run : {&fresh, &changed}) {
      c.change(run->camera.param);
      run->camera.exposeShifted(-4);
    }
    ASSERT_EQ(changed.frame(), kPDStatusOk);
    EXPECT_LE(c.rebuilds ? 0 : LiveAllocations(), live) << c.what;
    ASSERT_EQ(fresh.frame(), kPDStatusOk);
    EXPECT_EQ(SameResults(changed.output, fresh.output), c.rebuilds) << c.what;
  }
}

TYPED_TEST(Flow, NothingIsAllocatedWithoutAChange) {
  for (uint32_t roiType : {0u, 2u, 3u, 5u}) {
    FlowRun<TypeParam> run;
    this->startWithEverything(run);
    run.camera.tuning.correlation.defocusConfidenceThreshold = 1024;
    run.camera.tuning.skipControl = {4, 15};
    run.camera.setWindows(3, 2, roiType);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    const auto before = Orvo::Host::Allocations();
    for (int i = 0; i < 10; ++i) {
      run.camera.param.lensPosition = i / 6;
      ASSERT_EQ(run.call(60), kPDStatusOk);
      ASSERT_EQ(run.frame(), kPDStatusOk);
    }
    const auto after = Orvo::Host::Allocations();
    EXPECT_EQ(after.allocations, before.allocations) << roiType;
    EXPECT_EQ(after.releases, before.releases) << roiType;
  }
}

// ---- Memory

TYPED_TEST(Flow, WindowChangeAndSecondInitReleaseWhatTheyReplace) {
  {
    FlowRun<TypeParam> run;
    this->start(run);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    const uint64_t configured = LiveAllocations();
    run.camera.setWindows(5, 5);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_GE(LiveAllocations(), configured);
    run.camera.setWindows(3, 3);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(LiveAllocations(), configured);
    ASSERT_EQ(run.init(), kPDStatusOk);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(LiveAllocations(), configured);
  }
  EXPECT_EQ(LiveAllocations(), this->live_);
}

TYPED_TEST(Flow, EachAllocationOfInitMayFail) {
  LogCapture log;
  std::vector<int> statuses;
  for (;;) {
    FlowRun<TypeParam> run;
    const uint64_t created = LiveAllocations();
    this->startWithEverything(run);
    log.restart();
    int status;
    {
      const FailedAt failed(static_cast<int64_t>(statuses.size()));
      status = run.init();
    }
    if (status == kPDStatusOk) break;
    EXPECT_TRUE(log.has(TestFixture::K::initLine(statuses.size())));
    statuses.push_back(status);
    EXPECT_EQ(LiveAllocations(), created);
    EXPECT_EQ(run.frame(), kPDStatusFlowFailed);
    const void* data = nullptr;
    int size = 7;
    EXPECT_EQ(run.flow->GetAdaptiveData(&data, &size), kPDStatusBadInput);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(run.flow->DeInit(), kPDStatusBadInput);
    ASSERT_EQ(run.init(), kPDStatusOk);  // a second try works
    EXPECT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(run.flow->DeInit(), kPDStatusOk);
    EXPECT_EQ(run.flow->DeInit(), kPDStatusBadInput);
    EXPECT_EQ(LiveAllocations(), created);
  }
  EXPECT_EQ(statuses, TestFixture::K::initWithoutMemory());
  EXPECT_EQ(LiveAllocations(), this->live_);
}

TYPED_TEST(Flow, EachAllocationOfAWindowMayFail) {
  std::set<std::string> missing;  // lines that no failure has had yet
  for (const std::string& line : TestFixture::K::linesWithoutMemory()) missing.insert(line);
  for (bool isFirstWindow : {true, false}) {
    for (int64_t index = 0;; ++index) {
      LogCapture log;
      FlowRun<TypeParam> run, fresh;
      for (auto* each : {&run, &fresh}) {
        this->startWithEverything(*each);
        ASSERT_EQ(each->init(), kPDStatusOk);
      }
      if (!isFirstWindow) {
        ASSERT_EQ(run.frame(), kPDStatusOk);
        run.camera.setWindows(2, 1);
      }
      int status;
      {
        const FailedAt failed(index);
        status = run.frame();
      }
      if (status == kPDStatusOk) break;
      EXPECT_EQ(status, kPDStatusFlowFailed);
      EXPECT_TRUE(log.has(TestFixture::K::kConfigureFailed)) << index;
      EXPECT_GE(log.texts().size(), 2u) << index;  // and what was missing
      for (const std::string& line : log.texts()) missing.erase(line);
      if (index % 2 == 0) continue;  // ends here, with what it has
      EXPECT_EQ(run.frame(), TestFixture::K::kTriesAgain ? kPDStatusOk : kPDStatusFlowFailed);
      run.camera.setWindows(5, 5);
      fresh.camera.setWindows(5, 5);
      ASSERT_EQ(run.frame(), kPDStatusOk);
      ASSERT_EQ(fresh.frame(), kPDStatusOk);
      EXPECT_TRUE(SameResults(run.output, fresh.output)) << index;
    }
  }
  EXPECT_EQ(missing, std::set<std::string>());
  EXPECT_EQ(LiveAllocations(), this->live_);
}

// ---- Learning

// Once in each frame, in the call that closes it, and not from every type of ROI.
TYPED_TEST(Flow, LearningSeesAFrameOnce) {
  for (const auto& [roiType, enable, frames] :
       {std::tuple{0u, 1, 2}, std::tuple{2u, 1, 2}, std::tuple{1u, 1, 0}, std::tuple{0u, 0, 0}}) {
    LogCapture log(3);
    FlowRun<TypeParam> run;
    run.camera.tuning.adaptiveK.enable = enable;
    run.camera.param.lensPosition = 321;
    run.camera.setWindows(3, 3, roiType);
    this->start(run);
    const uint32_t height = run.camera.imageHeight();
    for (uint32_t lines : {height / 4, height * 3 / 4, height, height})
      ASSERT_EQ(run.call(lines), kPDStatusOk);
    EXPECT_EQ(log.count("ADAPTK: S106 - Frame at lens position 321, sensitivity 0.500000"), frames)
        << roiType;
    EXPECT_FALSE(log.has("ADAPTK: S107 - Reset"));
    run.camera.setWindows(2, 2, roiType);
    ASSERT_EQ(run.frame(), kPDStatusOk);
    EXPECT_EQ(log.count("ADAPTK: S107 - Reset"), enable);
    const void* data = nullptr;
    int size = -1;
    ASSERT_EQ(run.flow->GetAdaptiveData(&data, &size), kPDStatusOk);
    EXPECT_EQ(size, enable == 1 ? kAdaptiveDataSize : 0);
    ASSERT_EQ(run.flow->DeInit(), kPDStatusOk);
    EXPECT_EQ(log.count("ADAPTK: S108 - Deinit"), enable);
  }
}

// ---- Bad input

TYPED_TEST(Flow, RefusesNull) {
  LogCapture log;
  FlowRun<TypeParam> run;
  int size = 7;
  const void* data = nullptr;
  EXPECT_EQ(run.frame(), kPDStatusBadInput);  // before Init
  EXPECT_EQ(run.flow->DeInit(), kPDStatusBadInput);
  EXPECT_EQ(run.flow->GetAdaptiveData(&data, &size), kPDStatusBadInput);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(run.flow->SetAdaptiveData("", 0), kPDStatusBadInput);
  EXPECT_EQ(run.flow->Init(nullptr, &run.camera.tuning), kPDStatusBadInput);
  run.camera.init.calibration = nullptr;
  EXPECT_EQ(run.init(), kPDStatusBadInput);
  EXPECT_EQ(run.frame(), kPDStatusFlowFailed);  // after an Init that failed
  EXPECT_EQ(log.count("null pointer"), 7);
  run.camera.init.calibration = &run.camera.calibration;
  EXPECT_EQ(run.flow->Init(&run.camera.init, nullptr),
            TestFixture::K::kNeedsTuning ? kPDStatusBadInput : kPDStatusOk);

  ASSERT_EQ(run.init(), kPDStatusOk);
  EXPECT_EQ(run.flow->Process(nullptr, 1, &run.output), kPDStatusBadInput);
  EXPECT_EQ(run.flow->Process(&run.camera.param, 1, nullptr), kPDStatusBadInput);
  EXPECT_EQ(run.flow->GetAdaptiveData(nullptr, &size), kPDStatusBadInput);
  EXPECT_EQ(run.flow->GetAdaptiveData(&data, nullptr), kPDStatusBadInput);
  EXPECT_EQ(run.flow->SetAdaptiveData(nullptr, 960), kPDStatusBadInput);
  EXPECT_EQ(run.flow->SetAdaptiveData(&size, -1), kPDStatusOk);
  void* tuning = nullptr;
  EXPECT_EQ(run.flow->GetTuningData(&tuning), kPDStatusOk);
  EXPECT_EQ(tuning != nullptr, TestFixture::K::kHandsOutTuning);
  EXPECT_EQ(run.frame(), kPDStatusOk);
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TYPED_TEST(Flow, CallsThatCanNotBeMeasuredLeaveNoTrace) {
  const struct {
    const char* what;
    void (*change)(PDLibParam&);
  } cases[] = {
      {"no buffer", [](PDLibParam& p) { p.PDBuffer = nullptr; }},
      {"empty buffer", [](PDLibParam& p) { p.PDBufferSize = 0; }},
      {"negative size", [](PDLibParam& p) { p.PDBufferSize = -1; }},
      {"buffer ends in the last PD pixel", [](PDLibParam& p) { p.PDBufferSize -= 1; }},
      {"start outside", [](PDLibParam& p) { p.windowConfig.window.startY = -0.001F; }},
      {"end outside", [](PDLibParam& p) { p.windowConfig.window.endY = 1.001F; }},
      {"inverted", [](PDLibParam& p) { p.windowConfig.window.startX = 0.76F; }},
      {"inverted in y", [](PDLibParam& p) { p.windowConfig.window.startY = 0.76F; }},
      {"not a number", [](PDLibParam& p) { p.windowConfig.window.startX = kNaN; }},
      {"infinite", [](PDLibParam& p) { p.windowConfig.window.endX = kInfinity; }},
      {"no columns", [](PDLibParam& p) { p.windowConfig.horizontalWindowCount = 0; }},
      {"no rows", [](PDLibParam& p) { p.windowConfig.verticalWindowCount = 0; }},
      {"more windows than results", [](PDLibParam& p) { p.windowConfig.verticalWindowCount = 67; }},
      {"counts whose product wraps",
       [](PDLibParam& p) {
         p.windowConfig.horizontalWindowCount = p.windowConfig.verticalWindowCount = 65536;
       }},
  };
  FlowRun<TypeParam> run, undisturbed;
  for (auto* each : {&run, &undisturbed}) {
    this->start(*each);
    each->camera.param.PDBufferSize -= TestFixture::K::kUnreadBytes;  // just large enough
  }
  const PDLibParam good = run.camera.param;
  for (const auto& c : cases) {
    LogCapture log;
    run.camera.param = good;
    c.change(run.camera.param);
    EXPECT_EQ(run.frame(), kPDStatusBadInput) << c.what;
    EXPECT_EQ(log.texts().size(), 1u) << c.what;
    run.camera.param = good;
    ASSERT_EQ(run.frame(), kPDStatusOk) << c.what;
    ASSERT_EQ(undisturbed.frame(), kPDStatusOk);
    EXPECT_TRUE(SameResults(run.output, undisturbed.output)) << c.what;
  }
}

}  // namespace

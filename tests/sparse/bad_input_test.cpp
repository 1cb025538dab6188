// What a broken camera stack may hand in: a status and a line, and never an access outside a
// buffer.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/flow_run.h"

using FlowRun = test::SparseRun;
using test::LogCapture;
using test::SparseCamera;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(BadInput, SmallestBufferAndLargestGridThatFit) {
  LogCapture log;  // cells without blocks have no signal
  FlowRun run;
  // Rows of pixels stand at y = 0, 1, 8 and 9 of a block, columns at x = 1, 5, 9 and 13.
  run.camera.frame.resize((23 * 16 + 9) * 1920 + (59 * 16 + 13 + 1) * 2);
  run.camera.frame.shrink_to_fit();
  run.camera.param.PDBuffer = run.camera.frame.data();
  run.camera.param.PDBufferSize = static_cast<int64_t>(run.camera.frame.size());
  run.camera.setRoi(0, 0, 1, 1);
  run.camera.setWindows(20, 10, 1);
  ASSERT_EQ(run.init(), kPDStatusOk);
  EXPECT_EQ(run.frame(), kPDStatusOk);
  run.camera.setWindows(199, 1);
  EXPECT_EQ(run.frame(), kPDStatusOk);
  run.camera.setWindows(1, 199);
  EXPECT_EQ(run.frame(), kPDStatusOk);
  run.camera.setRoi(0.5f, 1, 0.5f, 1);
  EXPECT_EQ(run.frame(), kPDStatusOk);
}

TEST(BadInput, SensorsThatCanNotBe) {
  const struct {
    const char* what;
    void (*change)(PDLibSensorNativeInfo&, PDLibDataBufferInfo&);
  } cases[] = {
      {"block of no width", [](auto& n, auto&) { n.blockPattern.blockDimension.width = 0; }},
      {"block of no height", [](auto& n, auto&) { n.blockPattern.blockDimension.height = 0; }},
      {"buffer block of 0", [](auto&, auto& b) { b.isp1BlockPattern.blockDimension.width = 0; }},
      {"no blocks across", [](auto& n, auto&) { n.horizontalBlockCount = 0; }},
      {"no blocks down", [](auto& n, auto&) { n.verticalBlockCount = 0; }},
      {"blocks without end", [](auto& n, auto&) { n.horizontalBlockCount = 0xffffffff; }},
      {"more blocks than the buffer has", [](auto& n, auto&) { n.verticalBlockCount = 25; }},
      {"no image", [](auto& n, auto&) { n.currentImageHeight = 0; }},
      {"huge PD area",
       [](auto& n, auto&) {
         n.blockPattern.blockDimension = {65535, 65535};
       }},
      {"no stride", [](auto&, auto& b) { b.isp1BufferStride = 0; }},
      {"huge stride", [](auto&, auto& b) { b.isp1BufferStride = 0xffffffff; }},
      {"no lines", [](auto&, auto& b) { b.ispBufferHeight = 0; }},
      {"offset behind the buffer",
       [](auto&, auto& b) {
         b.sensorType = kSensorSparseInFrame;
         b.isp1BlockPattern.verticalPDOffset = 50;
       }},
      {"second processor without a block", [](auto&, auto& b) { b.imageOverlap = 32; }},
      {"orientation", [](auto& n, auto&) { n.orientation = PDAFOrientation(4); }},
      {"crop", [](auto& n, auto&) { n.cropRegion.width = 0; }},
  };
  for (const auto& c : cases) {
    LogCapture log;
    FlowRun run;
    c.change(run.camera.init.nativePatternInfo, run.camera.init.bufferDataInfo);
    EXPECT_EQ(run.init(), kPDStatusFlowFailed) << c.what;
    EXPECT_GE(log.texts().size(), 2u) << c.what;  // the reason, then the summary
    EXPECT_EQ(log.texts().back(), "set init info error") << c.what;
  }
}

// Overwrites words of a record with values that nobody expects.
class Vandal {
 public:
  explicit Vandal(uint32_t seed) : random_(seed) {}

  template <class Record>
  void damage(Record* record, int words) {
    constexpr size_t kWords = sizeof(Record) / sizeof(uint32_t);
    auto* bytes = reinterpret_cast<unsigned char*>(record);
    for (int i = 0; i < words; ++i) {
      const uint32_t value = next();
      std::memcpy(bytes + random_() % kWords * sizeof(value), &value, sizeof(value));
    }
  }
  uint32_t pick(uint32_t limit) { return static_cast<uint32_t>(random_()) % limit; }

 private:
  uint32_t next() {
    // At the end NaN, both infinities, 1, -1, 0.5, 2^23 and the largest number as they are stored.
    static constexpr uint32_t kAbsurd[] = {
        0,          1,          2,          3,          7,          16,
        17,         255,        32767,      65535,      65536,      0x7fffffff,
        0x80000000, 0xffffffff, 0xfffffff0, 0x7fc00000, 0x7f800000, 0xff800000,
        0x3f800000, 0xbf800000, 0x3f000000, 0x4b000000, 0x7f7fffff};
    return pick(3) == 0 ? static_cast<uint32_t>(random_()) : kAbsurd[pick(std::size(kAbsurd))];
  }
  std::mt19937 random_;
};

// Geometry is hit more often than the rest of the init record, most of which is pixels.
void DamageInit(Vandal& vandal, PDLibInitParam* init) {
  PDLibSensorNativeInfo& native = init->nativePatternInfo;
  PDLibDataBufferInfo& buffer = init->bufferDataInfo;
  switch (vandal.pick(6)) {
    case 0: vandal.damage(&native, 3); break;
    case 1: vandal.damage(&buffer, 3); break;
    case 2: vandal.damage(&native.blockPattern.blockDimension, 1); break;
    case 3: vandal.damage(&buffer.isp1BlockPattern.pixelCoordinate[vandal.pick(16)], 1); break;
    case 4: {
      const size_t start = offsetof(PDLibDataBufferInfo, isp1BufferWidth);
      uint32_t words[9];
      std::memcpy(words, reinterpret_cast<char*>(&buffer) + start, sizeof(words));
      vandal.damage(&words, 2);
      std::memcpy(reinterpret_cast<char*>(&buffer) + start, words, sizeof(words));
      break;
    }
    default: vandal.damage(&native.horizontalBlockCount, 1);
  }
}

void DamageTuning(Vandal& vandal, afpdlibelements::tessarinePDLibType* tuning) {
  switch (vandal.pick(5)) {
    case 0: vandal.damage(&tuning->preProcess, 4); break;
    case 1: vandal.damage(&tuning->correlation, 2); break;
    case 2: vandal.damage(&tuning->postProcess, 3); break;
    case 3: vandal.damage(&tuning->skipControl, 1); break;
    default: vandal.damage(&tuning->singleWindowProcessingLevel, 1);
  }
}

TEST(BadInput, DamagedRecordsNeverDoHarm) {
  LogCapture log;
  const uint64_t live = Orvo::Host::Allocations().live;
  int measured = 0;
  for (uint32_t seed = 0; seed < 600; ++seed) {
    Vandal vandal(seed);
    FlowRun run;
    run.camera.setBlockCounts(12, 6);
    run.camera.tuning.correlation.searchRange = {-16, 16};
    run.camera.tuning.enablePeripheralWindows = static_cast<int32_t>(vandal.pick(2));
    run.camera.exposeShifted(4);
    const uint32_t targets = 1 + vandal.pick(15);
    if ((targets & 1) != 0) DamageInit(vandal, &run.camera.init);
    if ((targets & 2) != 0) DamageTuning(vandal, &run.camera.tuning);
    if ((targets & 4) != 0) vandal.damage(&run.camera.calibration, 30);
    if (run.init() != kPDStatusOk) continue;
    for (int i = 0; i < 3; ++i) {
      if ((targets & 8) != 0) {
        vandal.damage(&run.camera.param.windowConfig, 1);
        run.camera.param.gain = kNaN;
        run.camera.param.fps = -kInf;
        run.camera.param.lensPosition = std::numeric_limits<int32_t>::min();
      }
      measured += run.call(i == 0 ? vandal.pick(200) : 96) == kPDStatusOk;
    }
  }
  EXPECT_GT(measured, 300);  // not everything is refused at the door
  EXPECT_EQ(Orvo::Host::Allocations().live, live);
}

}  // namespace

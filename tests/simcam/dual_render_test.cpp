// What is rendered of a dual-PD sensor: bytes, shift, exposures, noise and shading, each against a
// definition of its own.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "small_dual_sensor.h"
#include "small_sensor.h"
#include "window_samples.h"

namespace {

using namespace simcam;

constexpr double kPi = 3.14159265358979;
constexpr NoiseSettings kNoNoise{0, 0};

std::vector<uint8_t> Render(const SensorDescription& sensor, const Scene& scene, double phase,
                            const NoiseSettings& noise = kNoNoise, double shading = 0,
                            uint64_t seed = 1) {
  FrameRenderer renderer(sensor, scene, {0.7, 1.0, 0.3}, noise, shading, test::AllBlocks(sensor));
  std::vector<uint8_t> buffer;
  renderer.Render(phase, seed, buffer);
  return buffer;
}

// Sample n of a line, by the definition of each packing.
int SampleAt(const std::string& packing, const uint8_t* line, size_t n) {
  if (packing == "bytes") return line[n];
  if (packing == "words") return line[2 * n] + 256 * line[2 * n + 1];
  const uint8_t* group = line + n / 4 * 5;
  return group[n % 4] * 4 + (group[4] >> (2 * (n % 4))) % 4;
}

// Light that grows along both axes tells each sample's place by its code; a phase difference tells
// the views apart.
TEST(DualLayout, PutsEverySampleInItsPlace) {
  struct Case {
    const char* packing;
    int depth, stride, lineBytes;
    bool isSecondFirst;
    Orientation orientation;
  };
  for (const Case& c : {Case{"words", 12, 1300, 1280, false, Orientation::kDefault},
                        Case{"words", 10, 1280, 1280, true, Orientation::kMirror},
                        Case{"packed-10", 10, 816, 800, false, Orientation::kFlip},
                        Case{"packed-10", 10, 800, 800, true, Orientation::kMirrorAndFlip},
                        Case{"bytes", 8, 640, 640, true, Orientation::kDefault},
                        Case{"bytes", 8, 641, 640, false, Orientation::kMirror}}) {
    SensorDescription sensor = test::DualSensor(
        R"({"black_level": 10, "white_level": 250, "pixel_depth": )" + std::to_string(c.depth) +
        R"(, "dual": {"packing": ")" + c.packing + R"(", "stride": )" + std::to_string(c.stride) +
        R"(, "order": ")" + (c.isSecondFirst ? "right-first" : "left-first") + "\"}}");
    sensor.orientation = c.orientation;
    constexpr double kPhase = 16;
    const test::FunctionScene ramp([](int x, int y) { return 0.1 + 0.001 * x + 0.002 * y; });
    const std::vector<uint8_t> buffer = Render(sensor, ramp, kPhase);
    ASSERT_EQ(buffer.size(), static_cast<size_t>(48 * c.stride));
    for (int row = 0; row < 48; ++row) {
      const uint8_t* line = buffer.data() + row * c.stride;
      for (int n = 0; n < 640; ++n) {
        const int site = n / 2;
        const double x = sensor.IsMirrored() ? 639 - (2 * site + 0.5) : 2 * site + 0.5;
        const double y = sensor.IsFlipped() ? 95 - (2 * row + 0.5) : 2 * row + 0.5;
        const bool isLeft = (n % 2 == 0) != c.isSecondFirst;
        const double light = 0.1 + 0.001 * (x + (isLeft ? 8 : -8)) + 0.002 * y;
        ASSERT_NEAR(SampleAt(c.packing, line, static_cast<size_t>(n)), 10 + 240 * light, 0.6)
            << c.packing << ": sample " << n << " of line " << row;
      }
      for (int byte = c.lineBytes; byte < c.stride; ++byte) ASSERT_EQ(line[byte], 0);
    }
  }
}

// The component of a wave of `period` pixels in samples that stand `step` pixels apart.
std::complex<double> Component(const double* row, int count, double step, double period) {
  std::complex<double> sum = 0;
  for (int i = 0; i < count; ++i) sum += row[i] * std::polar(1.0, -2 * kPi * step * i / period);
  return sum * (2.0 / count);
}

// A sine wave's phase tells the shift between the views, its height the blur.
TEST(DualShift, IsTheTruePhaseDifference) {
  struct Case {
    const char* patch;
    double phase, expected;  // of the left wave against the right one, in the frame
    double step = 2;
  };
  const char* const kVertical = R"({"image": [96, 640], "dual": {"axis": "vertical"}})";
  const Case cases[] = {
      {"{}", 0, 0},
      {"{}", -7.25, -7.25},
      {R"({"orientation": "mirror"})", 5.5, -5.5},
      {R"({"orientation": "mirror-and-flip", "dual": {"order": "right-first"}})", 5, -5},
      // A module whose views stand 1.5 pixels further apart than the phase difference, and one
      // that says so in a map: 1 + 0.1 * 0.5 where u is 0.1, at the middle line 0.4 * v more.
      {R"({"pd_offset_correction": -1.5})", 3, 4.5},
      {R"({"dual": {"offset": {"middle": 1, "right": 0.5}}})", 3, 4.05},
      {R"({"dual": {"offset": {"middle": 1, "bottom": 0.4}}})", -3, -2 + 0.4 * (2 * 20 / 48.0 - 1)},
      // Of two exposures the long one is compared.
      {R"({"dual": {"exposure_ratio": 8}})", 4, 4, 4},
      {kVertical, 6, 6},
      {kVertical, -2.5, -2.5},
  };
  for (const Case& c : cases) {
    const SensorDescription sensor = test::DualSensor(c.patch);
    constexpr double kPeriod = 64;
    const bool isVertical = sensor.HasVerticalViews();
    const test::FunctionScene wave([=](int x, int y) {
      return 0.5 + 0.4 * std::sin(2 * kPi * (isVertical ? y : x) / kPeriod);
    });
    FrameRenderer renderer(sensor, wave, {0.7, 1.0, 0.3}, kNoNoise, 0.2, test::AllBlocks(sensor));
    std::vector<uint8_t> buffer;
    renderer.Render(c.phase, 1, buffer);
    // One period, sites 160 to 191.
    const BlockArea area = isVertical ? BlockArea{20, 160, 21, 192} : BlockArea{160, 20, 192, 21};
    const WindowSamples samples = ReadSamples(sensor, renderer.LensShading(), buffer, area);
    ASSERT_EQ(samples.rows, 1);
    ASSERT_EQ(samples.columns, 64 / c.step);
    EXPECT_EQ(sensor.SampleStepPx(), c.step);
    const auto left = Component(samples.left.data(), samples.columns, c.step, kPeriod);
    const auto right = Component(samples.right.data(), samples.columns, c.step, kPeriod);
    EXPECT_NEAR(std::arg(left / right) / (2 * kPi) * kPeriod, c.expected, 0.02) << c.patch;
    // A site gathers light over its two pixels.
    const double variance = 0.7 * 0.7 + 4.0 / 12 + 0.09 * c.phase * c.phase;
    const double height = 0.4 * 3300 * std::exp(-2 * kPi * kPi * variance / (kPeriod * kPeriod));
    EXPECT_NEAR(std::abs(left), height, 0.005 * height) << c.patch;
  }
}

TEST(DualHdr, ExposesOddColumnsShorter) {
  const SensorDescription sensor = test::DualSensor(R"({"dual": {"exposure_ratio": 4}})");
  const std::vector<uint8_t> buffer = Render(sensor, *MakeFlatScene(0.5f), 0);
  for (size_t n = 0; n < 640; ++n)
    ASSERT_NEAR(SampleAt("words", buffer.data(), n), 200 + 1650.0 / (n / 2 % 2 == 0 ? 1 : 4), 1);
}

// What one sample lacks of the light the other one has: their noise is opposite by that share, and
// as large as ever.
TEST(DualNoise, IsSharedBetweenTheSamplesOfASite) {
  struct Case {
    double split;
    std::optional<double> asked;  // in place of the description's
  };
  for (const Case& c : {Case{0, {}}, Case{0.4, {}}, Case{1, {}}, Case{0.2, 0.7}}) {
    const SensorDescription sensor =
        test::DualSensor(R"({"noise": {"split": )" + std::to_string(c.split) + "}}");
    const std::vector<uint8_t> buffer = Render(sensor, *MakeFlatScene(0.5f), 0, {0.5, 10, c.asked});
    constexpr int kCount = 320 * 48;
    double products = 0, squares = 0;
    for (int site = 0; site < kCount; ++site) {
      const uint8_t* at = buffer.data() + 4 * site;
      const double left = SampleAt("words", at, 0) - 1850;
      const double right = SampleAt("words", at, 1) - 1850;
      products += left * right;
      squares += (left * left + right * right) / 2;
    }
    const double lightNoise = 0.5 * 1650;  // codes^2; the readout's 100 and the rounding's 1/12 are
    const double variance = lightNoise + 100 + 1.0 / 12;  // each sample's own
    const double error = 5 * variance * std::sqrt(2.0 / kCount);
    EXPECT_NEAR(squares / kCount, variance, error) << c.split;
    EXPECT_NEAR(products / kCount, -c.asked.value_or(c.split) * lightNoise, error) << c.split;
  }
}

// The gain of a map as the flows read it: between two entries along the line, of the nearest row
// across it. 1024 stands for one.
double GainAt(const uint16_t* map, int width, double along, int row) {
  const double at = along * (width - 1);
  const int entry = std::min(static_cast<int>(at), width - 2);
  const uint16_t* line = map + row * width;
  return (line[entry] + (at - entry) * (line[entry + 1] - line[entry])) / 1024;
}

// On a mirrored sensor the names of the maps are exchanged, the maps themselves lie as ever.
TEST(DualShading, IsUndoneByTheCalibration) {
  for (const char* orientation : {"default", "mirror"}) {
    const SensorDescription sensor =
        test::DualSensor(R"({"orientation": ")" + std::string(orientation) + "\"}");
    const _pdaf_cal_param_t calibration = MakeCalibration(sensor, Shading(sensor, 0.35));
    const std::vector<uint8_t> buffer = Render(sensor, *MakeFlatScene(0.5f), 0, kNoNoise, 0.35);
    const bool isMirrored = sensor.IsMirrored();
    double darkest = 1650;
    for (int mapRow = 0; mapRow < 13; ++mapRow) {
      const int row = static_cast<int>(std::lround(mapRow * 47 / 12.0));
      for (int site = 0; site < 320; ++site) {
        const double along = (isMirrored ? 319 - site : site) / 319.0;
        for (int view = 0; view < 2; ++view) {
          const uint16_t* map =
              (view == 0) != isMirrored ? calibration.Left_GainMap : calibration.Right_GainMap;
          const double signal =
              SampleAt("words", buffer.data() + 1280 * row, static_cast<size_t>(2 * site + view)) -
              200;
          darkest = std::min(darkest, signal);
          ASSERT_NEAR(signal * GainAt(map, 17, along, mapRow), 1650, 0.01 * 1650)
              << orientation << " " << site << ", " << row;
        }
      }
    }
    EXPECT_LT(darkest, 0.7 * 1650);
  }
}

// The mean of four entries, which the flows take for the windows between them, is the offset there.
TEST(DualOffsetMap, HoldsWhatTheViewsStandApart) {
  const SensorDescription sensor =
      test::DualSensor(R"({"dual": {"offset": {"middle": 1.5, "right": 0.5, "bottom": -0.3}}})");
  const _pdaf_cal_param_t calibration = MakeCalibration(sensor, Shading(sensor, 0));
  const PDLibOffsetMap& map = calibration.PD_OffsetMap;
  ASSERT_NE(map.isAvailable, 0);
  ASSERT_EQ(map.width * 10 + map.height, 86);
  const auto at = [&](int column, int row) {
    return static_cast<double>(map.map[row * 8 + column] + map.map[row * 8 + column + 1] +
                               map.map[row * 8 + 8 + column] + map.map[row * 8 + 9 + column]) /
           4;
  };
  // Between fractions 3/8 and 4/8 across, 2/6 and 3/6 down: u -1/8, v -1/6.
  EXPECT_NEAR(at(3, 2), 1.5 - 0.5 / 8 + 0.3 / 6, 1e-6);
  EXPECT_NEAR(at(0, 4), 1.5 - 0.5 * 7 / 8 - 0.3 / 2, 1e-6);
  EXPECT_EQ(MakeCalibration(test::DualSensor(), Shading(sensor, 0)).PD_OffsetMap.isAvailable, 0);
}

}  // namespace

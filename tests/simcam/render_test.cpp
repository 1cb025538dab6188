// What is rendered is what was asked for: shift, blur, place, exposures, shading and noise, each
// against a definition of its own.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "small_sensor.h"
#include "window_samples.h"

namespace {

using namespace simcam;

constexpr double kPi = 3.14159265358979;
constexpr NoiseSettings kNoNoise{0, 0};

std::vector<uint8_t> Render(const SensorDescription& sensor, const Scene& scene, double phase,
                            const NoiseSettings& noise = kNoNoise, double shading = 0,
                            uint64_t seed = 1, std::optional<BlockArea> area = {}) {
  FrameRenderer renderer(sensor, scene, {0.7, 1.0, 0.3}, noise, shading,
                         area.value_or(test::AllBlocks(sensor)));
  std::vector<uint8_t> buffer;
  renderer.Render(phase, seed, buffer);
  return buffer;
}

int CodeAt(const std::vector<uint8_t>& buffer, size_t byte) {
  return buffer[byte] | (buffer[byte + 1] << 8);
}

// Sample n of a line, by the definition of each packing.
int SampleAt(const std::string& packing, const uint8_t* line, size_t n) {
  if (packing == "bytes") return line[n];
  if (packing == "words") return line[2 * n] + 256 * line[2 * n + 1];
  const uint8_t* group = line + n / 4 * 5;
  return group[n % 4] * 4 + (group[4] >> (2 * (n % 4))) % 4;
}

// The component of a wave of `period` pixels in samples that stand `step` pixels apart.
std::complex<double> Component(const double* row, int count, double step, double period) {
  std::complex<double> sum = 0;
  for (int i = 0; i < count; ++i) sum += row[i] * std::polar(1.0, -2 * kPi * step * i / period);
  return sum * (2.0 / count);
}

// A sine wave's phase tells the shift between the views, its height the blur. On a mirrored sensor
// the views change sides in the frame.
TEST(Shift, IsTheTruePhaseDifference) {
  struct Case {
    const char* sensor;
    const char* patch;
    double phase, expected;  // of the left wave against the right one, in the frame
    double step = 2;
  };
  const char* const kSparse = test::kSmallSensor;
  const char* const kDual = test::kSmallDualSensor;
  const char* const kVertical = R"({"image": [96, 640], "dual": {"axis": "vertical"}})";
  const Case cases[] = {
      {kSparse, "{}", 0, 0, 8},
      {kSparse, "{}", 0.25, 0.25, 8},
      {kSparse, "{}", -1, -1, 8},
      {kSparse, "{}", 20, 20, 8},
      {kSparse, R"({"orientation": "mirror"})", 3.7, -3.7, 8},
      {kSparse, R"({"orientation": "flip"})", -7.3, -7.3, 8},
      {kSparse, R"({"orientation": "mirror-and-flip"})", -26.5, 26.5, 8},
      {kDual, "{}", 0, 0},
      {kDual, "{}", -7.25, -7.25},
      {kDual, R"({"orientation": "mirror"})", 5.5, -5.5},
      {kDual, R"({"orientation": "mirror-and-flip", "dual": {"order": "right-first"}})", 5, -5},
      // A module whose views stand 1.5 pixels further apart than the phase difference, and one
      // that says so in a map: 1 + 0.1 * 0.5 where u is 0.1, at the middle line 0.4 * v more.
      {kDual, R"({"pd_offset_correction": -1.5})", 3, 4.5},
      {kDual, R"({"dual": {"offset": {"middle": 1, "right": 0.5}}})", 3, 4.05},
      {kDual, R"({"dual": {"offset": {"middle": 1, "bottom": 0.4}}})", -3,
       -2 + 0.4 * (2 * 20 / 48.0 - 1)},
      // Of two exposures the long one is compared.
      {kDual, R"({"dual": {"exposure_ratio": 8}})", 4, 4, 4},
      {kDual, kVertical, 6, 6},
      {kDual, kVertical, -2.5, -2.5},
  };
  for (const Case& c : cases) {
    const SensorDescription sensor = test::Sensor(c.sensor, c.patch);
    constexpr double kPeriod = 64;
    const bool isVertical = sensor.HasVerticalViews();
    const test::FunctionScene wave([=](int x, int y) {
      return 0.5 + 0.4 * std::sin(2 * kPi * (isVertical ? y : x) / kPeriod);
    });
    const std::vector<uint8_t> buffer = Render(sensor, wave, c.phase, kNoNoise, 0.2);
    // Nine periods, or the one of sites 160 to 191.
    const BlockArea area = !sensor.IsDual() ? BlockArea{1, 10, 37, 11}
                           : isVertical     ? BlockArea{20, 160, 21, 192}
                                            : BlockArea{160, 20, 192, 21};
    const WindowSamples samples = ReadSamples(sensor, Shading(sensor, 0.2), buffer, area);
    const int count = static_cast<int>((sensor.IsDual() ? 1 : 9) * kPeriod / c.step);
    ASSERT_EQ(samples.columns, count);
    EXPECT_EQ(sensor.SampleStepPx(), c.step);
    const auto left = Component(samples.left.data(), count, c.step, kPeriod);
    const auto right = Component(samples.right.data(), count, c.step, kPeriod);
    EXPECT_NEAR(std::arg(left / right) / (2 * kPi) * kPeriod, c.expected, 0.01) << c.patch;
    // A pixel gathers light over its width, a site over its two.
    const double gathered = (sensor.IsDual() ? 4 : 1) / 12.0;
    const double variance = 0.7 * 0.7 + gathered + 0.09 * c.phase * c.phase;
    const double height = 0.4 * (sensor.whiteLevel - sensor.blackLevel) *
                          std::exp(-2 * kPi * kPi * variance / (kPeriod * kPeriod));
    EXPECT_NEAR(std::abs(left), height, 0.004 * height) << c.patch;
  }
}

// Light that grows along an axis keeps its value under blur: the code tells the place.
TEST(SparseLayout, TwoProcessorsHoldTheFrameLineBesideLine) {
  const SensorDescription sensor = test::SmallSensor();
  for (bool isAlongX : {true, false}) {
    const test::FunctionScene ramp([=](int x, int y) { return 0.1 + 0.001 * (isAlongX ? x : y); });
    const std::vector<uint8_t> buffer = Render(sensor, ramp, 0);
    ASSERT_EQ(buffer.size(), 480u * (672 + 680));
    int found = 0;
    for (int y = 0; y < 480; ++y) {
      for (int column = 0; column < 336 + 336; ++column) {
        const bool isSecond = column >= 336;
        const int x = isSecond ? 304 + column - 336 : column;
        const size_t byte =
            static_cast<size_t>(y * (672 + 680) + (isSecond ? 672 + 2 * (x - 304) : 2 * x));
        const int inBlockX = (x - 8) % 16;
        const int inBlockY = (y - 4) % 16;
        const bool isPd = x >= 8 && y >= 4 && x < 8 + 39 * 16 && y < 4 + 29 * 16 &&
                          (inBlockX == 3 || inBlockX == 11) && (inBlockY == 2 || inBlockY == 3);
        if (!isPd) {
          ASSERT_EQ(CodeAt(buffer, byte), 0) << x << ", " << y;
          continue;
        }
        ++found;
        const double light = (CodeAt(buffer, byte) - 1000) / 15000.0;
        ASSERT_NEAR((light - 0.1) / 0.001, isAlongX ? x : y, 0.1);
      }
    }
    EXPECT_EQ(found, (39 + 2) * 29 * 4);  // two columns of blocks are seen by both
  }
}

TEST(SparseLayout, PackedPixelsAreFoundByTheirRank) {
  const SensorDescription sensor = LoadSensor("s16-mirror-flip");
  // Listed first of its type, the left pixel at (14, 12) takes the place of the first pixel of
  // buffer type 1; the block (100, 50) begins 400 pixels into line 200.
  const auto firstOf = [](const std::vector<PatternPixel>& pixels, int type) {
    return std::find_if(pixels.begin(), pixels.end(),
                        [=](const PatternPixel& pixel) { return pixel.type == type; });
  };
  const auto first = firstOf(sensor.buffer.first.pixels, 1);
  const auto native = firstOf(sensor.native.pixels, 0);
  const size_t byte =
      static_cast<size_t>((200 + first->y) * sensor.buffer.firstStride + 2 * (400 + first->x));
  const double step = 1000.0 / (sensor.whiteLevel - sensor.blackLevel);  // one code, pixels
  // Light beyond 1 is cut off by the depth of 10 bits: the ramp must stay below.
  const test::FunctionScene ramp([](int x, int) { return 0.1 + 0.0002 * x; });
  const auto buffer = Render(sensor, ramp, 0, kNoNoise, 0, 1, BlockArea{98, 48, 102, 52});
  const double light = (CodeAt(buffer, byte) - sensor.blackLevel) * step / 1000;
  const int frameX = sensor.native.offsetX + 100 * 16 + native->x;
  EXPECT_NEAR((light - 0.1) / 0.0002, 4000 - 1 - frameX, 5 * step);
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

// What one sample of a site lacks of the light the other one has: their noise is opposite by that
// share, and as large as ever.
TEST(Noise, HasTheVarianceAndTheShareAskedFor) {
  struct Case {
    const char* sensor;
    const char* patch;
    double light;
    NoiseSettings noise;
    double split;
  };
  const char* const kSparse = test::kSmallSensor;
  const char* const kDual = test::kSmallDualSensor;
  for (const Case& c : {Case{kSparse, "{}", 0.5, {0, 4}, 0},
                        {kSparse, "{}", 0.5, {0.05, 1.5}, 0},
                        {kSparse, "{}", 0.2, {1.5, 12}, 0},
                        {kDual, R"({"noise": {"split": 0}})", 0.5, {0.5, 10}, 0},
                        {kDual, R"({"noise": {"split": 0.4}})", 0.5, {0.5, 10}, 0.4},
                        {kDual, R"({"noise": {"split": 1}})", 0.5, {0.5, 10}, 1},
                        {kDual, R"({"noise": {"split": 0.2}})", 0.5, {0.5, 10, 0.7}, 0.7}}) {
    const SensorDescription sensor = test::Sensor(c.sensor, c.patch);
    const double signal = c.light * (sensor.whiteLevel - sensor.blackLevel);
    const auto scene = MakeFlatScene(static_cast<float>(c.light));
    double sum = 0, squares = 0, products = 0;
    int count = 0;
    for (uint64_t seed = 0; seed < 20; ++seed) {
      const WindowSamples samples =
          ReadSamples(sensor, Shading(sensor, 0), Render(sensor, *scene, 0, c.noise, 0, seed),
                      test::AllBlocks(sensor));
      for (size_t i = 0; i < samples.left.size(); ++i) {
        const double left = samples.left[i] - signal;
        const double right = samples.right[i] - signal;
        sum += left;
        squares += (left * left + right * right) / 2;
        products += left * right;
        ++count;
      }
    }
    const double lightNoise =
        c.noise.variancePerCode * signal;  // codes^2; readout's and rounding's are
    const double variance =
        lightNoise + c.noise.readNoise * c.noise.readNoise + 1.0 / 12;  // a sample's own
    EXPECT_NEAR(sum / count, 0, 5 * std::sqrt(variance / count)) << c.patch;
    // The spread of a variance over n values is its own size times sqrt(2 / n).
    const double error = 5 * variance * std::sqrt(2.0 / count);
    EXPECT_NEAR(squares / count, variance, error) << c.patch;
    EXPECT_NEAR(products / count, -c.split * lightNoise, error) << c.patch;
  }
}

TEST(Noise, DependsOnSeedAndPlaceAlone) {
  const SensorDescription sensor = test::SmallSensor();
  const auto scene = MakeScene("mixed", 640, 480, 3);
  const auto render = [&](uint64_t seed, const BlockArea& area) {
    return Render(sensor, *scene, 2, {1, 3}, 0.3, seed, area);
  };
  const auto all = render(7, test::AllBlocks(sensor));
  const auto some = render(7, {10, 10, 20, 20});
  EXPECT_EQ(all, render(7, test::AllBlocks(sensor)));
  EXPECT_NE(all, render(8, test::AllBlocks(sensor)));
  int compared = 0;
  for (size_t byte = 0; byte < some.size(); ++byte) {
    if (some[byte] == 0) continue;
    ASSERT_EQ(some[byte], all[byte]);
    ++compared;
  }
  EXPECT_GT(compared, 10 * 10 * 4);
}

TEST(DualHdr, ExposesOddColumnsShorter) {
  const SensorDescription sensor = test::DualSensor(R"({"dual": {"exposure_ratio": 4}})");
  const std::vector<uint8_t> buffer = Render(sensor, *MakeFlatScene(0.5f), 0);
  for (size_t n = 0; n < 640; ++n)
    ASSERT_NEAR(SampleAt("words", buffer.data(), n), 200 + 1650.0 / (n / 2 % 2 == 0 ? 1 : 4), 1);
}

// The gain of a map whose corners stand at 0 and 1, in its own unit.
double GainAt(const uint16_t* map, int width, int height, double x, double y) {
  const double mx = x * (width - 1);
  const double my = y * (height - 1);
  const int ix = std::min(static_cast<int>(mx), width - 2);
  const int iy = std::min(static_cast<int>(my), height - 2);
  const auto along = [&](int row) {
    const uint16_t* at = map + row * width + ix;
    return at[0] + (mx - ix) * (at[1] - at[0]);
  };
  return along(iy) + (my - iy) * (along(iy + 1) - along(iy));
}

// On a mirrored sensor, and in the first version, the names of the maps are exchanged; the maps lie
// as ever. One gain serves a block, across which the shading changes by up to 1.5 %.
TEST(Shading, IsUndoneByTheCalibration) {
  struct Case {
    const char* sensor;
    const char* patch;
    bool isExchanged;
    double unit, darkest, error;
  };
  for (const Case& c :
       {Case{test::kSmallSensor, R"({"calibration": {"version": 4}})", false, 256, 0.9, 0.015},
        {test::kSmallSensor, R"({"calibration": {"version": 1}})", true, 256, 0.9, 0.015},
        {test::kSmallDualSensor, "{}", false, 1024, 0.7, 0.01},
        {test::kSmallDualSensor, R"({"orientation": "mirror"})", true, 1024, 0.7, 0.01}}) {
    const SensorDescription sensor = test::Sensor(c.sensor, c.patch);
    const std::vector<uint8_t> buffer = Render(sensor, *MakeFlatScene(0.5f), 0, kNoNoise, 0.35);
    const auto calibration = MakeCalibration(sensor, Shading(sensor, 0.35));
    const WindowSamples samples =
        ReadSamples(sensor, Shading(sensor, 0), buffer, test::AllBlocks(sensor));
    const double light = (sensor.whiteLevel - sensor.blackLevel) / 2.0;
    const int perBlock = sensor.IsDual() ? 1 : 2;
    double darkest = light;
    for (int row = 0; row < samples.rows; ++row) {
      for (int column = 0; column < samples.columns; ++column) {
        const double x = column / perBlock / (samples.columns / perBlock - 1.0);
        for (const bool isLeft : {true, false}) {
          const auto& view = isLeft ? samples.left : samples.right;
          const double signal = view[static_cast<size_t>(row * samples.columns + column)];
          darkest = std::min(darkest, signal);
          const double gain =
              GainAt(isLeft != c.isExchanged ? calibration.Left_GainMap : calibration.Right_GainMap,
                     sensor.calibration.gainMapWidth, sensor.calibration.gainMapHeight,
                     sensor.IsMirrored() ? 1 - x : x, row / (samples.rows - 1.0));
          ASSERT_NEAR(signal * gain / c.unit, light, c.error * light)
              << c.patch << " " << column << ", " << row;
        }
      }
    }
    EXPECT_LT(darkest, c.darkest * light);
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

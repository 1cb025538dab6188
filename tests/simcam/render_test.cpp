// What is rendered is what was asked for: shift, blur, place, shading and noise, each against a
// definition of its own.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "small_sensor.h"
#include "support/temp_folder.h"
#include "window_samples.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace {

using namespace simcam;

constexpr double kPi = 3.14159265358979;
constexpr NoiseSettings kNoNoise{0, 0};

int CodeAt(const std::vector<uint8_t>& buffer, size_t byte) {
  return buffer[byte] | (buffer[byte + 1] << 8);
}

// The component of `period` pixels in a row of samples that stand 8 pixels apart.
std::complex<double> Component(const double* row, int count, double period) {
  std::complex<double> sum = 0;
  for (int i = 0; i < count; ++i) sum += row[i] * std::polar(1.0, -2 * kPi * 8 * i / period);
  return sum * (2.0 / count);
}

struct ShiftCase {
  double phase;
  Orientation orientation;
};

class RenderedShift : public testing::TestWithParam<ShiftCase> {};

// A sine wave's phase tells the shift between the views, its height the blur. On a mirrored sensor
// the views change sides in the frame.
TEST_P(RenderedShift, IsTheTruePhaseDifference) {
  SensorDescription sensor = test::SmallSensor();
  sensor.orientation = GetParam().orientation;
  const double phase = GetParam().phase;
  constexpr double kPeriod = 64;  // nine periods in 72 samples
  const test::FunctionScene wave(
      [](int x, int) { return 0.5 + 0.4 * std::sin(2 * kPi * x / kPeriod); });
  const OpticsSettings optics{0.7, 1.0, 0.3};
  FrameRenderer renderer(sensor, wave, optics, kNoNoise, 0.2, test::AllBlocks(sensor));
  std::vector<uint8_t> buffer;
  renderer.Render(phase, 1, buffer);

  const WindowSamples samples =
      ReadSamples(sensor, renderer.LensShading(), buffer, {1, 10, 37, 12});
  const auto left = Component(samples.left.data(), 72, kPeriod);
  const auto right = Component(samples.right.data(), 72, kPeriod);
  // The left view shows at x what the scene has at x + phase / 2: its wave is ahead.
  const double ahead = std::arg(left / right) / (2 * kPi) * kPeriod;
  const double expected = sensor.IsMirrored() ? -phase : phase;
  EXPECT_NEAR(ahead, expected, 0.01);

  const double variance = 0.7 * 0.7 + 1.0 / 12 + 0.09 * phase * phase;
  const double height = 0.4 * 15000 * std::exp(-2 * kPi * kPi * variance / (kPeriod * kPeriod));
  EXPECT_NEAR(std::abs(left), height, 0.004 * height);
}

INSTANTIATE_TEST_SUITE_P(
    All, RenderedShift,
    testing::Values(ShiftCase{0, Orientation::kDefault}, ShiftCase{0.25, Orientation::kDefault},
                    ShiftCase{-1, Orientation::kDefault}, ShiftCase{3.7, Orientation::kMirror},
                    ShiftCase{-7.3, Orientation::kFlip}, ShiftCase{20, Orientation::kDefault},
                    ShiftCase{-26.5, Orientation::kMirrorAndFlip}));

// Light that grows along an axis keeps its value under blur: the code tells the place.
class PlaceCodes : public testing::Test {
 protected:
  std::vector<uint8_t> Render(const SensorDescription& sensor, bool isAlongX) {
    const test::FunctionScene ramp([=](int x, int y) { return 0.1 + 0.001 * (isAlongX ? x : y); });
    FrameRenderer renderer(sensor, ramp, {}, kNoNoise, 0, test::AllBlocks(sensor));
    std::vector<uint8_t> buffer;
    renderer.Render(0, 1, buffer);
    return buffer;
  }
  static double PlaceOf(const SensorDescription& sensor, int code) {
    const double range = sensor.whiteLevel - sensor.blackLevel;
    return ((code - sensor.blackLevel) / range - 0.1) / 0.001;
  }
};

TEST_F(PlaceCodes, TwoProcessorsHoldTheFrameLineBesideLine) {
  const SensorDescription sensor = test::SmallSensor();
  for (bool isAlongX : {true, false}) {
    const std::vector<uint8_t> buffer = Render(sensor, isAlongX);
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
        ASSERT_NEAR(PlaceOf(sensor, CodeAt(buffer, byte)), isAlongX ? x : y, 0.1);
      }
    }
    EXPECT_EQ(found, (39 + 2) * 29 * 4);  // two columns of blocks are seen by both
  }
}

TEST_F(PlaceCodes, PackedPixelsAreFoundByTheirRank) {
  const SensorDescription sensor = LoadSensor("s16-mirror-flip");
  // Listed first of its type, the left pixel at (14, 12) takes the place of the first pixel of
  // buffer type 1; the block (100, 50) begins 400 pixels into line 200.
  const PatternPixel* first = nullptr;
  for (const PatternPixel& pixel : sensor.buffer.first.pixels)
    if (pixel.type == 1 && first == nullptr) first = &pixel;
  const PatternPixel* native = nullptr;
  for (const PatternPixel& pixel : sensor.native.pixels)
    if (pixel.type == 0 && native == nullptr) native = &pixel;
  const size_t byte =
      static_cast<size_t>((200 + first->y) * sensor.buffer.firstStride + 2 * (400 + first->x));
  const double step = 1000.0 / (sensor.whiteLevel - sensor.blackLevel);  // one code, pixels
  // Light beyond 1 is cut off by the depth of 10 bits: the ramp must stay below.
  const test::FunctionScene ramp([](int x, int) { return 0.1 + 0.0002 * x; });
  FrameRenderer renderer(sensor, ramp, {}, kNoNoise, 0, {98, 48, 102, 52});
  std::vector<uint8_t> buffer;
  renderer.Render(0, 1, buffer);
  const double light = (CodeAt(buffer, byte) - sensor.blackLevel) /
                       static_cast<double>(sensor.whiteLevel - sensor.blackLevel);
  const int frameX = sensor.native.offsetX + 100 * 16 + native->x;
  EXPECT_NEAR((light - 0.1) / 0.0002, 4000 - 1 - frameX, 5 * step);
}

TEST(Noise, HasTheVarianceAskedFor) {
  struct Case {
    double light, perCode, read;
  };
  for (const Case& c : {Case{0.5, 0, 4}, Case{0.5, 0.05, 1.5}, Case{0.2, 1.5, 12}}) {
    const SensorDescription sensor = test::SmallSensor();
    FrameRenderer renderer(sensor, *MakeFlatScene(static_cast<float>(c.light)), {},
                           {c.perCode, c.read}, 0, test::AllBlocks(sensor));
    double sum = 0;
    double squares = 0;
    int count = 0;
    for (uint64_t seed = 0; seed < 20; ++seed) {
      std::vector<uint8_t> buffer;
      renderer.Render(0, seed, buffer);
      const WindowSamples samples =
          ReadSamples(sensor, renderer.LensShading(), buffer, test::AllBlocks(sensor));
      for (double value : samples.left) {
        sum += value;
        squares += value * value;
        ++count;
      }
    }
    const double mean = sum / count;
    const double signal = c.light * 15000;
    const double variance = c.perCode * signal + c.read * c.read + 1.0 / 12;  // and rounding
    EXPECT_NEAR(mean, signal, 5 * std::sqrt(variance / count));
    // The spread of a variance over n values is its own size times sqrt(2 / n).
    EXPECT_NEAR(squares / count - mean * mean, variance, 5 * variance * std::sqrt(2.0 / count));
  }
}

TEST(Noise, DependsOnSeedAndPlaceAlone) {
  const SensorDescription sensor = test::SmallSensor();
  const auto scene = MakeScene("mixed", 640, 480, 3);
  FrameRenderer whole(sensor, *scene, {}, {1, 3}, 0.3, test::AllBlocks(sensor));
  FrameRenderer part(sensor, *scene, {}, {1, 3}, 0.3, {10, 10, 20, 20});
  std::vector<uint8_t> all;
  std::vector<uint8_t> again;
  std::vector<uint8_t> other;
  std::vector<uint8_t> some;
  whole.Render(2, 7, all);
  whole.Render(2, 7, again);
  whole.Render(2, 8, other);
  part.Render(2, 7, some);
  EXPECT_EQ(all, again);
  EXPECT_NE(all, other);
  int compared = 0;
  for (size_t byte = 0; byte < some.size(); ++byte) {
    if (some[byte] == 0) continue;
    ASSERT_EQ(some[byte], all[byte]);
    ++compared;
  }
  EXPECT_GT(compared, 10 * 10 * 4);
}

// A picture of 64 x 16, dark on its left half, fills a square by its middle: 16 of its columns.
TEST(Photograph, FillsTheImage) {
  const test::TempFolder folder;
  const std::string path = (folder.path() / "half.png").string();
  std::vector<unsigned char> pixels(64 * 16, 0);
  for (size_t i = 0; i < pixels.size(); ++i)
    if (i % 64 >= 32) pixels[i] = 255;
  ASSERT_NE(stbi_write_png(path.c_str(), 64, 16, 1, pixels.data(), 64), 0);
  const Image image = MakeScene(path, 64, 64, 1)->Render({-8, 0, 72, 64});
  for (int x : {0, 8, 36}) EXPECT_EQ(image.Row(30)[x], 0) << x;
  for (int x : {40, 60, 79}) EXPECT_FLOAT_EQ(image.Row(30)[x], 1) << x;
}

// Gain of the map at a block, the map's corners standing in the corner blocks.
double MapGain(const uint16_t* map, const CalibrationLayout& layout, double x, double y) {
  const double mx = x * (layout.gainMapWidth - 1);
  const double my = y * (layout.gainMapHeight - 1);
  const int ix = std::min(static_cast<int>(mx), layout.gainMapWidth - 2);
  const int iy = std::min(static_cast<int>(my), layout.gainMapHeight - 2);
  const auto at = [&](int column, int row) { return map[row * layout.gainMapWidth + column]; };
  const double top = at(ix, iy) + (mx - ix) * (at(ix + 1, iy) - at(ix, iy));
  const double bottom = at(ix, iy + 1) + (mx - ix) * (at(ix + 1, iy + 1) - at(ix, iy + 1));
  return (top + (my - iy) * (bottom - top)) / 256;
}

TEST(Shading, IsUndoneByTheCalibration) {
  for (int version : {4, 1}) {
    SensorDescription sensor = test::SmallSensor();
    sensor.calibration.version = version;
    FrameRenderer renderer(sensor, *MakeFlatScene(0.5f), {}, kNoNoise, 0.35,
                           test::AllBlocks(sensor));
    std::vector<uint8_t> buffer;
    renderer.Render(0, 1, buffer);
    const auto calibration = MakeCalibration(sensor, renderer.LensShading());
    const uint16_t* leftMap = version == 4 ? calibration.Left_GainMap : calibration.Right_GainMap;
    int darkest = 16383;
    for (int blockY = 0; blockY < 29; ++blockY) {
      for (int blockX = 0; blockX < 20; ++blockX) {  // those of the first processor
        const size_t byte =
            static_cast<size_t>((4 + 16 * blockY + 2) * (672 + 680) + 2 * (8 + 16 * blockX + 3));
        const double signal = CodeAt(buffer, byte) - sensor.blackLevel;
        darkest = std::min(darkest, static_cast<int>(signal));
        const double gain = MapGain(leftMap, sensor.calibration, blockX / 38.0, blockY / 28.0);
        // One gain serves a block, across which the shading changes by up to 1.5 %.
        ASSERT_NEAR(signal * gain, 7500, 0.01 * 7500) << blockX << ", " << blockY;
      }
    }
    EXPECT_LT(darkest, 7500 * 0.9);
  }
}

}  // namespace

// Widening of gain maps.
#include "line_inputs.h"
#include "support/log_capture.h"

namespace {

using dense_test::Guarded;
using dense_test::Random;
using Map = std::vector<uint16_t>;

struct Size {
  int width;
  int height;
};

// Through memory that ends with the map.
Map Upsampled(const Map& map, Size from, Size to) {
  const Guarded<uint16_t> in(map.size());
  std::copy(map.begin(), map.end(), in.begin());
  const Guarded<uint16_t> out(static_cast<size_t>(to.width) * static_cast<size_t>(to.height));
  EXPECT_EQ(
      dpd_GainMapUpsample(in.data(), from.width, from.height, out.data(), to.width, to.height), 0);
  return out.values();
}

TEST(GainMap, WidensInOneDirection) {
  EXPECT_EQ(Upsampled({100, 200}, {2, 1}, {5, 1}), (Map{100, 125, 150, 175, 200}));
  EXPECT_EQ(Upsampled({100, 200}, {1, 2}, {1, 5}), (Map{100, 125, 150, 175, 200}));
  // Thirds, rounded: 16.67 and 23.33.
  EXPECT_EQ(Upsampled({10, 20, 30}, {3, 1}, {4, 1}), (Map{10, 17, 23, 30}));
  // Halves go up.
  EXPECT_EQ(Upsampled({0, 1}, {2, 1}, {3, 1}), (Map{0, 1, 1}));
  // Rows stay apart, the next row's first entry has no part in a row's last.
  EXPECT_EQ(Upsampled({0, 10, 60000, 65535}, {2, 2}, {3, 2}), (Map{0, 5, 10, 60000, 62768, 65535}));
  EXPECT_EQ(Upsampled({0, 10, 60000, 65535}, {2, 2}, {2, 3}),
            (Map{0, 10, 30000, 32773, 60000, 65535}));
  // One column or row repeats.
  EXPECT_EQ(Upsampled({7, 9}, {1, 2}, {3, 2}), (Map{7, 7, 7, 9, 9, 9}));
}

// Corners on corners in every size, at the map's very end too.
TEST(GainMap, EndsStayWhatTheyAre) {
  Random random(3);
  for (int small : {2, 3, 13, 17, 64, 1000}) {
    Map map(static_cast<size_t>(small));
    for (uint16_t& entry : map) entry = static_cast<uint16_t>(random.Next());
    for (int wide : {small + 1, small + 2, 2 * small, 2000, 4033}) {
      for (bool rows : {true, false}) {
        const Map out =
            rows ? Upsampled(map, {1, small}, {1, wide}) : Upsampled(map, {small, 1}, {wide, 1});
        EXPECT_EQ(out.front(), map.front()) << small << " to " << wide;
        EXPECT_EQ(out.back(), map.back()) << small << " to " << wide;
      }
    }
  }
}

TEST(GainMap, OtherCombinationsAreRefused) {
  const std::string message = "Error, please check gainm parameter settings";
  const Size sizes[][2] = {{{4, 3}, {4, 3}},  {{4, 3}, {5, 4}},  {{4, 3}, {3, 3}}, {{4, 3}, {4, 2}},
                           {{4, 3}, {5, 2}},  {{4, 3}, {0, 0}},  {{0, 3}, {4, 3}}, {{4, 0}, {4, 1}},
                           {{-1, 3}, {4, 3}}, {{4, -1}, {5, -1}}};
  const uint16_t in[12] = {};
  for (const auto& [from, to] : sizes) {
    test::LogCapture log;
    uint16_t out = 7;
    EXPECT_EQ(dpd_GainMapUpsample(in, from.width, from.height, &out, to.width, to.height), 1);
    EXPECT_EQ(log.texts(), std::vector<std::string>{message});
    EXPECT_EQ(out, 7);
    EXPECT_EQ(
        dpd_DenseGainmapCreate(to.width, to.height, &out, &out, from.width, from.height, in, in),
        1);
  }
}

TEST(GainMap, DenseMapsComeFromTheirOwn) {
  const uint16_t left[] = {10, 30};
  const uint16_t right[] = {500, 100};
  uint16_t leftOut[3];
  uint16_t rightOut[3];
  EXPECT_EQ(dpd_DenseGainmapCreate(3, 1, leftOut, rightOut, 2, 1, left, right), 0);
  EXPECT_EQ(Map(leftOut, leftOut + 3), (Map{10, 20, 30}));
  EXPECT_EQ(Map(rightOut, rightOut + 3), (Map{500, 300, 100}));
}

}  // namespace

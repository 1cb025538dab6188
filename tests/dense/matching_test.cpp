// From curves to phase differences and confidences: results that can be redone by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "dense/pdlib_dpd_wrapper.h"

namespace {

using Curve = std::vector<int64_t>;

struct Match {
  int confidence;
  float integerPd;
  float pd;
  int low;
  int high;
};

struct MatchCase {
  const char* name;
  int near;
  int far;
  Curve raw;
  Curve filtered;  // empty: as the raw one
  int width;
  float rangeFactor;
  Match expected;
  float hardwarePd;
};

// Five shifts from -2 to 2, unless said otherwise. Confidence = 1024 - 1024 * minimum * length /
// sum.
const MatchCase kMatches[] = {
    {"even", -2, 2, {4, 2, 0, 2, 4}, {}, 4, 0.5f, {1024, 0, 0, 0, 0}, 0},
    // (3 - 5) / (2 * 8 - 4) = -1/6; 1024 - 5120 / 26; up to 3.
    {"askew", -2, 2, {8, 3, 1, 5, 9}, {}, 4, 2, {828, 0, -1 / 6.0f, -1, 0}, -1 / 6.0f},
    // The fit is on the filtered curve: (3 - 1) / (2 * 4 - 0) = 1/4.
    {"filtered", -2, 2, {8, 3, 1, 5, 9}, {0, 3, 0, 1, 0}, 4, 0, {828, 0, 0.25f, 0, 0}, 0.25f},
    // Not fitted on an end: 1024 - 3072 / 9 in the last three, the hardware's without near.
    {"falling", -2, 2, {9, 7, 5, 3, 1}, {}, 2, 0, {683, 2, 2, 2, 2}, 4},
    {"rising", -2, 2, {1, 3, 5, 7, 9}, {}, 2, 0, {683, -2, -2, -2, -2}, 0},
    {"rising, wider than the curve", -2, 2, {1, 3, 5, 7, 9}, {}, 99, 0, {820, -2, -2, -2, -2}, 0},
    {"zeros", -2, 2, {0, 0, 0, 0, 0}, {}, 4, 0.1f, {0, -2, -2, -2, 2}, 0},
    {"sum of one", -2, 2, {0, 0, 0, 0, 1}, {}, 4, 0, {1024, -2, -2, -2, 1}, 0},
    {"constant", -2, 2, {6, 6, 6, 6, 6}, {}, 4, 0, {0, -2, -2, -2, 2}, 0},
    {"two minima", -2, 2, {5, 1, 5, 1, 5}, {}, 2, 0, {745, -1, -1, -1, 1}, -1},
    // Parabola without a vertex: the hardware's result is the index alone.
    {"line", -2, 2, {5, 1, 5, 6, 7}, {9, 6, 3, 0, 0}, 2, 0, {745, -1, -1, -1, -1}, 1},
    // 2 * (5 + 4) - 4 * 1 = 14, (5 - 4) / 14; three entries 5, 1, 4 of 10.
    {"near above far",
     2,
     -2,
     {9, 5, 1, 4, 9},
     {},
     2,
     0,
     {717, 4, 2 + 2 + 1 / 14.0f, 0, 0},
     2 + 1 / 14.0f + 2},
    {"far off", -5, -2, {8, 2, 4, 8}, {}, 3, 1, {586, -4, 1 + 0.25f + 2, -1, 0}, 1 + 0.25f - 5},
    {"window of one", -2, 2, {8, 3, 1, 5, 9}, {}, 0, 0, {0, 0, -1 / 6.0f, 0, 0}, -1 / 6.0f},
    {"no window", -2, 2, {4, 2, 0, 2, 4}, {}, -4, 0, {0, 0, 0, 0, 0}, 0},
    {"one shift", 3, 3, {7}, {}, 4, 0, {0, 3, -3, -3, -3}, 0},
    // (1 + 0.5) * 10 = 15 reaches both neighbours.
    {"range", 0, 4, {30, 15, 10, 15, 16}, {}, 4, 0.5f, {429, 2, -2, -3, -1}, 2},
};

TEST(Matching, CurvesByHand) {
  for (const MatchCase& c : kMatches) {
    const Curve& filtered = c.filtered.empty() ? c.raw : c.filtered;
    for (bool hardware : {false, true}) {
      const auto match = hardware ? dpd_HW_FindMatching : dpd_FindMatching;
      float integerPd = NAN;
      float pd = NAN;
      int64_t min = -1;
      int64_t max = -1;
      int low = 99;
      int high = 99;
      const int confidence = match(c.raw.data(), filtered.data(), c.near, c.far, c.width,
                                   &integerPd, &pd, &min, &max, c.rangeFactor, &low, &high);
      const std::string name = std::string(c.name) + (hardware ? ", hardware" : "");
      EXPECT_EQ(confidence, c.expected.confidence) << name;
      EXPECT_EQ(integerPd, c.expected.integerPd) << name;
      EXPECT_FLOAT_EQ(pd, hardware ? c.hardwarePd : c.expected.pd) << name;
      EXPECT_EQ(low, c.expected.low) << name;
      EXPECT_EQ(high, c.expected.high) << name;
      EXPECT_EQ(min, *std::min_element(c.raw.begin(), c.raw.end())) << name;
      EXPECT_EQ(max, *std::max_element(c.raw.begin(), c.raw.end())) << name;
    }
  }
}

// A window of `width` around the minimum, moved inward at the ends: 1024 entries but for the
// minimum of 512, so that the confidence tells the window's length.
TEST(Matching, WindowsAtTheEnds) {
  const struct {
    int width;
    size_t best;
    int length;
  } cases[] = {{8, 0, 9},  {8, 3, 9},  {8, 4, 9}, {8, 5, 9},  {8, 16, 9},  {8, 17, 9}, {8, 20, 9},
               {9, 0, 10}, {9, 3, 10}, {9, 4, 9}, {9, 16, 9}, {9, 17, 10}, {9, 20, 10}};
  for (const auto& c : cases) {
    Curve curve(21, 1024);
    curve[c.best] = 512;
    float unused;
    int64_t extreme;
    int range;
    const int confidence = dpd_FindMatching(curve.data(), curve.data(), -10, 10, c.width, &unused,
                                            &unused, &extreme, &extreme, 0, &range, &range);
    EXPECT_EQ(confidence, 1024 - 1024 * 512 * c.length / (1024 * (c.length - 1) + 512))
        << c.width << ", " << c.best;
  }
}

TEST(Matching, Ranges) {
  const struct {
    Curve curve;
    int count;
    float factor;
    int low;
    int high;
    int index;
  } cases[] = {
      {{9, 4, 2, 4, 9}, 5, 1, 1, 3, 2},
      {{9, 4, 2, 4, 9}, 5, 0.99f, 2, 2, 2},
      {{2, 9, 1, 9, 2}, 5, 1, 0, 4, 2},  // entries between may lie above
      {{5, 5, 5}, 3, 0, 0, 2, 0},
      {{3, 1}, 1, 9, 0, 0, 0},
      {{3, 1}, 0, 0, 0, 0, 0},  // entry 0 is there in any case
      {{3, 1}, -4, 0, 0, 0, 0},
      {{4, 2, 4}, 3, -1, -1, -1, 1},               // nothing is at most 0
      {{(1 << 24) + 1}, 1, 0, -1, -1, 0},          // single precision falls short of it
      {{1, int64_t{1} << 62}, 2, 1e30f, 0, 1, 0},  // past 64 bits
  };
  for (const auto& c : cases) {
    int low = 99;
    int high = 99;
    int index = 99;
    EXPECT_EQ(dpd_compute_out_range(c.curve.data(), c.count, c.factor, &low, &high, &index), 0);
    EXPECT_EQ(low, c.low) << c.curve[0] << ", " << c.factor;
    EXPECT_EQ(high, c.high) << c.curve[0] << ", " << c.factor;
    EXPECT_EQ(index, c.index);
  }
}

struct RepeatCase {
  const char* name;
  Curve curve;
  int32_t maxReversals;
  float change;
  float tolerance;
  float score;
};

TEST(RepeatPattern, Scores) {
  const Curve zigzag = {10, 20, 10, 20, 10, 20, 10, 20};
  const RepeatCase cases[] = {
      // Turns at 1 to 6: 5 distances of 1 against 8/6.
      {"regular", zigzag, 10, 0.1f, 0.3f, 0.5f},
      {"full score", zigzag, 3, 0.1f, 0.3f, 1},
      {"out of tolerance", zigzag, 10, 0.1f, 0.2f, 0},
      {"steps count as flat", zigzag, 10, 1.1f, 0.3f, 0},
      // Turns at 1 and 5, distance 4 against 8/2.
      {"two turns", {1, 9, 8, 7, 6, 5, 9, 10}, 4, 0.01f, 0, 0.25f},
      {"flat steps between", {10, 20, 20, 10, 10, 20, 20, 10}, 10, 0.1f, 0.3f, 0.2f},
      {"one deviates", {10, 20, 10, 20, 30, 40, 50, 40, 50, 40}, 10, 0.1f, 0.9f, 0},
      // Turns at 2, 3 and 6: the distance of 1 is too short, that of 3 is 9/3.
      {"one is short", {10, 20, 30, 20, 30, 40, 50, 40, 30}, 10, 0.1f, 0.5f, 0},
      {"one turn", {9, 5, 1, 5, 9}, 10, 0.1f, 1, 0},
      {"monotone", {1, 2, 3, 4}, 10, 0.1f, 1, 0},
      // From 0 every step goes up, even to 0.
      {"zeros", {0, 0, 0, 0}, 10, 0.1f, 1, 0},
      {"from zero", {0, 5, 0, 5, 0}, 4, 0.1f, 1, 0.5f},
      {"no maximum", zigzag, 0, 0.1f, 0.3f, 1},
      {"no maximum, one turn", {9, 5, 1, 5, 9}, 0, 0.1f, 1, 0},
      {"negative maximum, no turn", {1, 2, 3}, -4, 0.1f, 1, 0.25f},
      {"one entry", {5}, 4, 0.1f, 1, 0},
      {"one entry, negative maximum", {5}, -4, 0.1f, 1, 0.25f},
      {"no entry", {}, -1, 0.1f, 1, 1},
      {"not a number", zigzag, 10, NAN, NAN, 0.5f},
  };
  for (const RepeatCase& c : cases) {
    const PDLibRepeatPatternDetect config = {1, c.maxReversals, c.change, c.tolerance, 0};
    const auto count = static_cast<uint16_t>(c.curve.size());
    EXPECT_EQ(dpd_repeat_patten_detect(c.curve.data(), count, &config), c.score) << c.name;
  }
  EXPECT_EQ(dpd_repeat_patten_detect(zigzag.data(), 8, nullptr), 0);
}

// A reversal at every step of the longest curve.
TEST(RepeatPattern, LongestCurve) {
  Curve curve;
  for (int i = 0; i < 65535; ++i) curve.push_back(i % 2 == 0 ? 1 : 2);
  const PDLibRepeatPatternDetect config = {1, 100000, 0.1f, 0.01f, 0};
  // Steps 1 to 65533 turn.
  EXPECT_EQ(dpd_repeat_patten_detect(curve.data(), 65535, &config), 65532 / 100000.0f);
}

TEST(Conditioning, BiasIsQ12) {
  const struct {
    int64_t sad;
    uint16_t bias;
    int64_t expected;
  } cases[] = {
      {1000, 4096, 1000},
      {1000, 2048, 500},
      {3, 2048, 1},
      {-3, 2048, -2},  // toward minus infinity
      {int64_t{1} << 45, 65535, (int64_t{65535} << 45) / 4096},
      {int64_t{1} << 62, 4, 0},  // modulo 2^64
      {7, 0, 0},
  };
  for (const auto& c : cases) {
    int64_t sad[] = {c.sad, 77};
    const uint16_t bias[] = {c.bias, 0};
    dpd_sad_bias(sad, bias, 1);
    EXPECT_EQ(sad[0], c.expected) << c.sad << " * " << c.bias;
    EXPECT_EQ(sad[1], 77);
    dpd_sad_bias(sad, bias, -1);
    EXPECT_EQ(sad[0], c.expected);
  }
}

TEST(Conditioning, FilterOverTime) {
  const struct {
    int64_t sad;
    int64_t filtered;
    float weight;
    int64_t expected;
  } cases[] = {
      {100, 900, 1, 100},
      {100, 900, 0, 900},
      {101, 903, 0.25f, 677 + 25},  // 677.25 and 25.25, each cut
      {100, 900, 2, 200},           // no negative memory
      {100, 900, -1, 1800 - 100},
      {(1 << 24) + 1, 0, 1, 1 << 24},           // single precision
      {INT64_MAX, 0, 3, INT64_MAX},             // limited
      {INT64_MAX, INT64_MAX, 0.5f, INT64_MIN},  // 2^62 + 2^62, modulo 2^64
      {100, 900, NAN, 0},
  };
  for (const auto& c : cases) {
    int64_t filtered[] = {c.filtered, 77};
    const int64_t sad[] = {c.sad, 1};
    dpd_sad_temporal_filter(sad, filtered, c.weight, 1);
    EXPECT_EQ(filtered[0], c.expected) << c.sad << ", " << c.filtered << ", " << c.weight;
    EXPECT_EQ(filtered[1], 77);
  }
}

TEST(HardwareSums, AddCurves) {
  Curve total = {1, 2, 3};
  const Curve a = {10, 20, 30};
  const Curve b = {100, int64_t{1} << 40, 300};
  int count = 2;
  int parts = 2;
  void* curves[] = {const_cast<int64_t*>(a.data()), const_cast<int64_t*>(b.data()), nullptr};
  EXPECT_EQ(dpd_HW_SumGridSADs(total.data(), &parts, &count, curves), 0);
  EXPECT_EQ(total, (Curve{111, 22 + (int64_t{1} << 40), 3}));
  parts = 3;  // stops at the null curve
  EXPECT_EQ(dpd_HW_SumGridSADs(total.data(), &parts, &count, curves), 1);
  EXPECT_EQ(dpd_HW_SumGridSADs(nullptr, &parts, &count, curves), 1);
  EXPECT_EQ(dpd_HW_SumGridSADs(total.data(), nullptr, &count, curves), 1);
  EXPECT_EQ(dpd_HW_SumGridSADs(total.data(), &parts, &count, nullptr), 1);
  EXPECT_EQ(dpd_HW_SumSADCoeff(total.data(), nullptr, &count), 1);
  EXPECT_EQ(dpd_HW_SumSADCoeff(nullptr, a.data(), &count), 1);
  EXPECT_EQ(dpd_HW_SumSADCoeff(total.data(), a.data(), nullptr), 1);
}

}  // namespace

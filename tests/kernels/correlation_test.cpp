#include <algorithm>
#include <numeric>

#include "kernel_inputs.h"
#include "kernels/pd_core_correlation.h"
#include "support/log_capture.h"

namespace {

using kernel_test::Content;
using kernel_test::Random;
using kernel_test::Samples;

TEST(NormShift, IsTheLeastThatReachesTheRows) {
  const std::tuple<uint16_t, int> cases[] = {{0, 0},      {1, 0},      {2, 1},      {3, 2},
                                             {4, 2},      {5, 3},      {8, 3},      {9, 4},
                                             {16384, 14}, {32768, 15}, {32769, 16}, {65535, 16}};
  for (const auto& [rows, shift] : cases) EXPECT_EQ(norm_shift(rows), shift) << rows;
}

// The definition, in 64 bits.
std::vector<int> NaiveSad(const Samples& left, const Samples& right, int rows, int width,
                          int stride, int shiftOffset, int sadLen) {
  const int shift = norm_shift(static_cast<uint16_t>(rows));
  std::vector<int> sads;
  for (int k = 0; k < sadLen; ++k) {
    int64_t total = 0;
    for (int row = 0; row < rows; ++row) {
      int64_t sum = 0;
      for (int i = 0; i < std::max(width - sadLen, 0) + 1; ++i) {
        const int l = left.data()[row * stride + i + k + (shiftOffset < 0 ? -shiftOffset : 0)];
        const int r = right.data()[row * stride + i + (shiftOffset > 0 ? shiftOffset : 0)];
        sum += l > r ? l - r : r - l;
      }
      total += sadLen <= 24 ? sum : sum >> shift;
    }
    sads.push_back(static_cast<int>(sadLen <= 24 ? total >> shift : total));
  }
  return sads;
}

TEST(Sad, FollowsItsDefinition) {
  Random random(1);
  const Samples left(9 * 60 + 50, random, Content::kTenBit);
  const Samples right(9 * 60 + 50, random, Content::kTenBit);
  for (int sadLen : {1, 7, 8, 16, 17, 24, 25, 33}) {
    for (int rows : {1, 2, 5, 9}) {
      for (int shiftOffset : {-11, 0, 6}) {
        std::vector<int> sads(static_cast<size_t>(sadLen));
        pd_core_sad(left.data(), right.data(), static_cast<int16_t>(rows), 50, 60, sads.data(),
                    static_cast<int16_t>(shiftOffset), static_cast<int16_t>(sadLen));
        EXPECT_EQ(sads, NaiveSad(left, right, rows, 50, 60, shiftOffset, sadLen)) << sadLen;
      }
    }
  }
}

TEST(Sad, WithoutRowsOrOutput) {
  const Samples image(8);
  int sads[3] = {7, 7, 7};
  pd_core_sad(image.data(), image.data(), 1, 8, 8, nullptr, 0, 3);
  pd_core_sad(image.data(), image.data(), 1, 8, 8, sads, 0, 0);
  EXPECT_EQ(sads[0], 7);
  pd_core_sad(image.data(), image.data(), -1, 8, 8, sads, 0, 2);
  EXPECT_EQ(sads[0], 0);
  EXPECT_EQ(sads[1], 0);
  EXPECT_EQ(sads[2], 7);
}

TEST(SadBias, MultipliesInQ12) {
  const struct {
    int sad;
    unsigned short bias;
    int biased;
  } cases[] = {
      {1000, 4096, 1000},
      {1000, 2048, 500},
      {1000, 0, 0},
      {-1, 4096, -1},
      {-3, 2048, -2},  // -1.5 rounds down
      {0x7fffffff, 4096, 0x7fffffff},
      {1 << 30, 65535, -262144},  // 65535 * 2^18 less 4 * 2^32
  };
  for (const auto& c : cases) {
    int sad = c.sad;
    pd_core_sad_bias(&sad, &c.bias, 1);
    EXPECT_EQ(sad, c.biased) << c.sad << " * " << c.bias;
  }
}

TEST(SadTemporalFilter, TruncatesEachPartOnItsOwn) {
  const struct {
    int state;
    int fresh;
    float weight;
    int filtered;
  } cases[] = {
      {100, 10, 0.25f, 77},  // 75 + 2
      {3, 3, 0.5f, 2},       // 1 + 1
      {-3, 3, 0.5f, 0},      // -1 + 1
      {123, 456, 1.0f, 456}, {123, 456, 0.0f, 123},
      {1000, 10, 1.5f, 15},  {0, 16777217, 1.0f, 16777216},  // single precision
  };
  for (const auto& c : cases) {
    int state = c.state;
    pd_core_sad_temporal_filter(&c.fresh, &state, c.weight, 1);
    EXPECT_EQ(state, c.filtered) << c.state << " and " << c.fresh << " at " << c.weight;
  }
}

TEST(PhaseDifference, FitsAParabolaInsideAndCountsWholeSamplesAtTheEdges) {
  const struct {
    std::vector<int> sad;
    int16_t offset;
    int16_t minimum;
    float phase;     // in units
    float hardware;  // the same with the opposite sign of the offset
  } cases[] = {
      // (5 - 3) / (2 * 8 - 4) = 1/6 beyond the minimum
      {{5, 1, 3}, 1, 1, -1.0f / 6, -(1.0f / 6 + 2)},
      {{9, 5, 1, 5, 9}, 0, 2, -2, -2},
      {{9, 5, 1, 5, 9}, 4, 2, 2, -6},
      {{1, 5, 9}, 2, 0, 2, -2},
      {{9, 5, 1}, 1, 2, -1, -3},
      {{4, 4, 4}, -1, 1, -2, 0},
      {{3}, 1, 0, 1, -1},
  };
  for (const auto& c : cases) {
    constexpr int16_t kUnit = 4;
    float phase = 0;
    pd_core_pd(c.sad.data(), static_cast<int16_t>(c.sad.size()), c.offset, c.minimum, kUnit,
               &phase);
    EXPECT_FLOAT_EQ(phase, c.phase * kUnit);
    pd_core_pd_hw(c.sad.data(), static_cast<int16_t>(c.sad.size()), c.offset, c.minimum, kUnit,
                  &phase);
    EXPECT_FLOAT_EQ(phase, c.hardware * kUnit);
  }
}

TEST(PhaseDifference, OfNothingIsZero) {
  float phase = 5;
  pd_core_pd(nullptr, 3, 1, 1, 4, &phase);
  EXPECT_EQ(phase, 0);
  const int sad = 1;
  pd_core_pd(&sad, 1, 0, 0, 4, nullptr);
  phase = 5;
  pd_core_pd_hw(&sad, 0, 0, 0, 4, &phase);
  EXPECT_EQ(phase, 0);
}

struct ConfidenceCase {
  std::vector<int> sad;
  int16_t minimum;
  int16_t halfWidth;
  int16_t scale;
  int confidence;
};

const ConfidenceCase kConfidences[] = {
    {{100, 50, 100}, 1, 1, 140, 409},  // (1 - 150/250) * 1024
    {{100, 50, 100}, 1, 1, 70, 204},
    {{100, 50, 100}, 1, 1, -140, 0},
    {{100, 0, 100}, 1, 1, 140, 1023},  // 1024, limited
    {{100, 100, 100}, 1, 1, 140, 0},   // flat
    {{0, 0, 0}, 1, 1, 140, 0},
    {{100, 200, 100}, 1, 1, 140, 0},  // no minimum
    // The range keeps its five entries at the edges: (1 - 5 * 10/150) * 1024.
    {{10, 20, 30, 40, 50, 600}, 0, 2, 140, 682},
    {{600, 50, 40, 30, 20, 10}, 5, 2, 140, 682},
    {{600, 50, 40, 30, 10, 20}, 4, 2, 140, 682},
    {{600, 50, 40, 10, 30, 20}, 3, 2, 140, 682},
    {{10, 20, 30, 40, 50}, 2, 100, 140, 0},  // the whole vector, 1 - 5 * 30/150
    {{10, 20, 30, 40, 50}, 0, 100, 140, 682},
    {{10, 20, 30, 40, 50}, -7, 2, 140, 682},  // outside counts as the edge
    {{50, 40, 30, 20, 10}, 99, 2, 140, 682},
    {{10, 20, 30, 40, 50}, 2, -1, 140, 0},
    {{100, 50, 100}, 1, 0, 140, 0},  // alone: 1 - 50/50
};

TEST(Confidence, MeasuresTheDepthOfTheMinimum) {
  for (const ConfidenceCase& c : kConfidences) {
    const int16_t length = static_cast<int16_t>(c.sad.size());
    const std::vector<long> wide(c.sad.begin(), c.sad.end());
    unsigned short confidence = 7;
    pd_core_conf(c.sad.data(), length, c.minimum, c.halfWidth, c.scale, 0, &confidence);
    EXPECT_EQ(confidence, c.confidence);
    confidence = 7;
    pd_core_conf(wide.data(), length, c.minimum, c.halfWidth, c.scale, &confidence);
    EXPECT_EQ(confidence, c.confidence) << "64-bit vector";
  }
}

TEST(Confidence, OfAFlatImageIsZeroAndLogged) {
  const int sad[] = {100, 40, 100};  // mean 80
  for (const int16_t level : std::initializer_list<int16_t>{-5, 0, 79, 80, 81, 32767}) {
    const test::LogCapture log(level == 81 ? 2 : 0);
    unsigned short confidence = 7;
    pd_core_conf(sad, 3, 1, 1, 140, level, &confidence);
    EXPECT_EQ(confidence, level <= 80 ? 512 : 0) << level;  // (1 - 120/240) * 1024
    if (level != 81) continue;
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{"min_mean_sad_level = 81 sad_len=3",
                                        "sad_sum = 240 min_mean_sad_level = 81 sad_len=3"}));
  }
}

}  // namespace

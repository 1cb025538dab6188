// Runs every form of every kernel on the same input and prints one digest per form, then one of the
// whole correlation in the best form, floating-point results included. All lines of all builds must
// agree: whatever the form, the compiler, the optimisation level and the processor.
#include <cstdarg>
#include <vector>

#include "base/pdlib_log.h"
#include "kernels/kernel_table.h"
#include "kernels/pd_core_correlation.h"
#include "kernels/pd_core_filters.h"
#include "parse_pattern.h"
#include "support/digest.h"

namespace {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint32_t Next() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state_ >> 33);
  }
  uint32_t Below(uint32_t limit) { return Next() % limit; }

 private:
  uint64_t state_;
};

using test::Digest;
using Image = std::vector<uint16_t>;

Image MakeImage(uint64_t seed, int count, uint32_t range) {
  Random random(seed);
  Image image(static_cast<size_t>(count));
  for (uint16_t& sample : image) sample = static_cast<uint16_t>(random.Below(range));
  return image;
}

std::vector<int> Sad(uint32_t range, int rows, int sadLen, int shiftOffset) {
  constexpr int kStride = 260;
  const int count = 40 * kStride + 300;
  const Image left = MakeImage(1, count, range);
  const Image right = MakeImage(2, count, range);
  std::vector<int> sads(static_cast<size_t>(sadLen));
  pd_core_sad(left.data(), right.data(), static_cast<int16_t>(rows), 251, kStride, sads.data(),
              static_cast<int16_t>(shiftOffset), static_cast<int16_t>(sadLen));
  return sads;
}

constexpr uint32_t kRanges[] = {1024, 4000, 65536};

void DigestSads(Digest& digest) {
  for (uint32_t range : kRanges) {
    for (int sadLen : {1, 5, 8, 16, 24, 25, 41, 70, 251, 260}) {
      for (int rows : {1, 28, 33}) digest.AddAll(Sad(range, rows, sadLen, sadLen / 2 - 3));
    }
  }
}

template <class Filter>
void DigestFilter(Digest& digest, Filter filter) {
  for (uint32_t range : kRanges) {
    for (int rows : {1, 16, 37}) {
      for (int cols : {5, 64, 151}) {
        Image image = MakeImage(static_cast<uint64_t>(rows + cols), rows * cols, range);
        filter(image.data(), rows, cols);
        digest.AddAll(image);
      }
    }
  }
}

void DigestFilters(Digest& digest) {
  for (uint32_t gain : {200u, 256u, 333u, 70000u}) {
    DigestFilter(digest, [=](auto... image) { pd_core_gain(image..., gain, 9); });
  }
  for (int threshold : {0, 77, 1024}) {
    DigestFilter(digest, [=](auto... image) { pd_core_bpc(image..., threshold); });
  }
  DigestFilter(digest, [](auto... image) { pd_core_resample(image..., 1, 90); });
  DigestFilter(digest, [](auto... image) { pd_core_resample(image..., -1, 300); });
  for (auto box : {pd_core_box1x2, pd_core_box1x4, pd_core_box2x1, pd_core_box4x1, pd_core_box8x1,
                   pd_core_box16x1, pd_core_iir}) {
    DigestFilter(digest, box);
  }
}

void DigestParsers(Digest& digest, int pairs, int blocks, uint32_t range) {
  Random random(static_cast<uint64_t>(pairs));
  const uint32_t step = static_cast<uint32_t>(pairs) * 4;
  const size_t count = static_cast<size_t>(pairs * blocks);
  kernel_test::ParsePattern pattern{{}, {}, {}, {}, {}, blocks, step};
  for (int i = 0; i < pairs; ++i) {
    pattern.leftOffset.push_back(random.Below(step));
    pattern.rightOffset.push_back(random.Below(step));
    pattern.leftLast.push_back(i % 2 == 1 || i + 1 == pairs);
    pattern.gainIndex.push_back(static_cast<uint16_t>(random.Below(3)));
  }
  pattern.rightLast = pattern.leftLast;
  const Image line = MakeImage(3, static_cast<int>(step) * blocks, range);
  Image gain = MakeImage(4, static_cast<int>(count) + 3, 300);
  for (uint16_t& entry : gain) entry = static_cast<uint16_t>(entry + 200);

  Image outLeft(count), outRight(count), rawLeft(count), rawRight(count);
  pdlib::ParseSink sink = {outLeft.data(), outRight.data(), rawLeft.data(), rawRight.data(), 0, 0};
  const pdlib::ParseRow row = pattern.Row(line.data(), gain.data(), gain.data() + 1);
  // Enough rows for sums that single precision no longer holds exactly.
  for (int repeat = 0; repeat < 40; ++repeat) {
    sink.left = outLeft.data();
    sink.right = outRight.data();
    sink.leftRaw = rawLeft.data();
    sink.rightRaw = rawRight.data();
    pdlib::Kernels().parseRow(row, sink);
    digest.Add(sink.leftSum);
    digest.Add(sink.rightSum);
  }
  for (const Image* image : {&outLeft, &outRight, &rawLeft, &rawRight}) digest.AddAll(*image);

  float leftSum = 0;
  float rightSum = 0;
  pdlib::Kernels().parseRowOptimized(kernel_test::Optimized(row, gain.data(), gain.data() + 2),
                                     outLeft.data(), outRight.data(), &leftSum, &rightSum);
  digest.Add(leftSum);
  digest.Add(rightSum);
  digest.AddAll(outLeft);
  digest.AddAll(outRight);
}

void DigestFill(Digest& digest, void (*fill)(const pdlib::DenseFill&), int bytesPerPair) {
  constexpr int kSites = 230;
  const size_t lineBytes = static_cast<size_t>(bytesPerPair) * kSites / 2;
  const Image frame = MakeImage(6, static_cast<int>(lineBytes) * 8, 65536);
  const Image gain = MakeImage(7, kSites, 65536);
  Image left(kSites), right(kSites);
  for (int log2Bin = 0; log2Bin <= 4; ++log2Bin) {
    for (const int8_t shift : {int8_t{-3}, int8_t{0}, int8_t{6}, int8_t{16}, int8_t{33}}) {
      for (int sites : {2, 14, 50, kSites}) {
        fill({reinterpret_cast<const uint8_t*>(frame.data()), lineBytes, 0, sites, log2Bin, 40000,
              shift, gain.data(), gain.data(), left.data(), right.data()});
        digest.AddAll(left);
        digest.AddAll(right);
      }
    }
  }
}

void DigestLines(Digest& digest) {
  constexpr int kLength = 500;
  const float a[] = {1.0f, -1.8732f, 0.8837f};
  for (const float middle : {0.0f, 0.11f}) {
    const float b[] = {0.0582f, middle, -0.0582f};
    for (uint32_t range : kRanges) {
      const Image left = MakeImage(8, kLength, range);
      const Image right = MakeImage(9, kLength, range);
      Image leftOut(kLength), rightOut(kLength), alone(kLength);
      pdlib::Kernels().filterLines({left.data(), right.data(), leftOut.data(), rightOut.data()},
                                   kLength, a, b);
      pdlib::Kernels().filterLine(right.data(), alone.data(), kLength, a, b);
      std::vector<int32_t> sads(70);
      pdlib::Kernels().lineSad(leftOut.data(), rightOut.data(), 400, 70, sads.data());
      for (const Image* image : {&leftOut, &rightOut, &alone}) digest.AddAll(*image);
      digest.AddAll(sads);
    }
  }
}

void DigestDense(Digest& digest) {
  DigestFill(digest, pdlib::Kernels().fillBytes, 4);
  DigestFill(digest, pdlib::Kernels().fillPacked, 5);
  DigestFill(digest, pdlib::Kernels().fillWords, 8);
  DigestLines(digest);
}

void DigestForm(Digest& digest) {
  DigestSads(digest);
  DigestFilters(digest);
  for (uint32_t range : kRanges) {
    for (int pairs : {2, 7, 8, 32}) DigestParsers(digest, pairs, 75, range);
  }
  DigestDense(digest);
}

// From vector to phase difference and confidence.
void DigestMeasurement(Digest& digest) {
  for (uint32_t range : kRanges) {
    for (const int16_t sadLen : {int16_t{8}, int16_t{24}, int16_t{33}}) {
      std::vector<int> fresh = Sad(range, 28, sadLen, sadLen / 2);
      std::vector<int> state = Sad(range, 27, sadLen, 0);
      const Image bias = MakeImage(5, sadLen, 8192);
      pd_core_sad_bias(fresh.data(), bias.data(), sadLen);
      pd_core_sad_temporal_filter(fresh.data(), state.data(), 0.37f, sadLen);
      digest.AddAll(state);
      const std::vector<long> wide(state.begin(), state.end());
      for (int16_t minimum = 0; minimum < sadLen; ++minimum) {
        float phase[2] = {};
        unsigned short confidence[2] = {};
        pd_core_pd(state.data(), sadLen, 5, minimum, 4, &phase[0]);
        pd_core_pd_hw(state.data(), sadLen, 5, minimum, 7, &phase[1]);
        pd_core_conf(state.data(), sadLen, minimum, 6, 133, 50, &confidence[0]);
        pd_core_conf(wide.data(), sadLen, minimum, 4, 90, &confidence[1]);
        digest.Add(phase[0]);
        digest.Add(phase[1]);
        digest.Add(confidence[0]);
        digest.Add(confidence[1]);
      }
    }
  }
}

}  // namespace

void DigestKernels() {
  for (auto form = pdlib::AvailableKernels(); *form != nullptr; ++form) {
    pdlib::SelectKernels((*form)->name);
    Digest digest;
    DigestForm(digest);
    digest.Print((*form)->name);
  }
  pdlib::SelectKernels("best");
  Digest overall;
  DigestForm(overall);
  DigestMeasurement(overall);
  overall.Print("overall");
}

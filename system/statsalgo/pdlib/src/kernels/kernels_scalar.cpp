#include "kernels/kernels_scalar.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "kernels/kernel_forms.h"
#include "kernels/pd_core_correlation.h"

namespace pdlib {
namespace scalar {
namespace {

uint32_t RowSad(const uint16_t* left, const uint16_t* right, int positions) {
  uint32_t sum = 0;
  for (int i = 0; i < positions; ++i) sum += static_cast<uint32_t>(std::abs(left[i] - right[i]));
  return sum;
}

uint16_t LimitTo16(uint64_t value) {
  return static_cast<uint16_t>(std::min<uint64_t>(value, 65535));
}

// One pixel of a line of 8-bit or 16-bit pixels.
uint32_t ReadPixel(const uint8_t* line, int bytesPerPixel, size_t index) {
  if (bytesPerPixel == 1) return line[index];
  uint16_t pixel;
  std::memcpy(&pixel, line + 2 * index, sizeof pixel);
  return pixel;
}

uint32_t AboveBlack(uint32_t pixel, uint32_t blackLevel) {
  return pixel > blackLevel ? pixel - blackLevel : 0;
}

// One polarity of the parser: where its samples go and what has been added up on the way.
class Channel {
 public:
  Channel(uint16_t* samples, uint16_t* raw, float sum) : samples_(samples), raw_(raw), sum_(sum) {}

  void StartBlock() { folded_ = 0; }

  void Add(uint16_t value, bool endsSample) {
    sum_ += static_cast<float>(value);
    if (raw_ != nullptr) *raw_++ = value;
    folded_ = static_cast<uint16_t>(folded_ + value);
    if (!endsSample) return;
    *samples_++ = folded_;
    folded_ = 0;
  }

  uint16_t* samples() const { return samples_; }
  uint16_t* raw() const { return raw_; }
  float sum() const { return sum_; }

 private:
  uint16_t* samples_;
  uint16_t* raw_;
  float sum_;
  uint16_t folded_ = 0;
};

// A second-order band-pass filter with its zero at 32768.
class BandPass {
 public:
  explicit BandPass(uint16_t first) : s1_(-kInput * first), s2_(s1_) {}

  uint16_t Next(uint16_t sample) {
    const float x = sample;
    const float y = std::fma(kInput, x, s1_);
    s1_ = std::fma(kPole1, y, s2_);
    s2_ = std::fma(-kPole2, y, -kInput * x);
    const double rounded = std::round(static_cast<double>(y));
    return static_cast<uint16_t>(static_cast<int>(std::clamp(rounded, -32768.0, 32767.0)) + 32768);
  }

 private:
  static constexpr float kInput = 0.1122f;
  static constexpr float kPole1 = 1.7581f;
  static constexpr float kPole2 = 0.7756f;
  float s1_;
  float s2_;
};

}  // namespace

void Sad(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width, int16_t stride,
         int32_t* out, int16_t shiftOffset, int16_t sadLen) {
  const int positions = std::max(width - sadLen, 0) + 1;
  const int shift = norm_shift(static_cast<uint16_t>(std::max<int16_t>(rows, 0)));
  const bool shiftsEachRow = sadLen > kSadTotalMaxShifts;
  right += std::max<int>(shiftOffset, 0);
  left += std::max<int>(-shiftOffset, 0);
  for (int k = 0; k < sadLen; ++k) {
    uint32_t total = 0;
    for (ptrdiff_t row = 0; row < rows; ++row) {
      const uint32_t sum = RowSad(left + row * stride + k, right + row * stride, positions);
      total += shiftsEachRow ? sum >> shift : sum;
    }
    if (!shiftsEachRow) total = std::min<uint32_t>(total >> shift, 0x7fffffff);
    out[k] = static_cast<int32_t>(total);
  }
}

void Gain(uint16_t* samples, int rows, int cols, uint32_t gain, int shift) {
  const int grouped = cols / 4 * 4;
  for (int row = 0; row < rows; ++row, samples += cols) {
    for (int c = 0; c < cols; ++c) {
      const uint64_t product = static_cast<uint64_t>(samples[c]) * gain;
      samples[c] = static_cast<uint16_t>(product >> (c < grouped ? 8 : shift));
    }
  }
}

void Bpc(uint16_t* samples, int rows, int cols, int threshold) {
  const uint32_t band = static_cast<uint32_t>(std::clamp(threshold, 0, 1024));
  const uint32_t low = 1024 - band;
  const uint32_t high = 1024 + band;
  for (int row = 0; row < rows; ++row, samples += cols) {
    uint32_t before = samples[0];
    for (int c = 1; c < cols - 1; ++c) {
      const uint32_t sample = samples[c];
      const uint32_t mean = (before + samples[c + 1]) / 2;
      const uint32_t least = mean * low >> 10;
      const uint32_t most = static_cast<uint16_t>(mean * high >> 10);
      before = sample;
      samples[c] = static_cast<uint16_t>(least > sample ? least : std::min(sample, most));
    }
  }
}

void Box1x2(uint16_t* samples, int rows, int cols) {
  for (int row = 0; row < rows; ++row, samples += cols) {
    for (int c = cols - 1; c >= 1; --c) {
      samples[c] = static_cast<uint16_t>((samples[c - 1] + samples[c]) / 2);
    }
  }
}

void Box1x4(uint16_t* samples, int rows, int cols) {
  const int bodyEnd = 3 + std::max(cols - 3, 0) / 8 * 8;
  for (int row = 0; row < rows; ++row, samples += cols) {
    for (int c = cols - 1; c >= 3; --c) {
      const uint32_t sum = samples[c - 3] + samples[c - 2] + samples[c - 1] + samples[c];
      samples[c] = static_cast<uint16_t>((c < bodyEnd ? sum & 0xffff : sum) >> 2);
    }
  }
}

void BoxNx1(uint16_t* samples, int rows, int cols, int log2Taps) {
  const int taps = 1 << log2Taps;
  for (int row = 0; row + taps <= rows; ++row, samples += cols) {
    for (int c = 0; c < cols; ++c) {
      uint32_t sum = 0;
      for (ptrdiff_t tap = 0; tap < taps; ++tap) sum += samples[c + tap * cols];
      samples[c] = static_cast<uint16_t>(sum >> log2Taps);
    }
  }
}

void Iir(uint16_t* samples, int rows, int cols) {
  for (int row = 0; row < rows; ++row, samples += cols) {
    BandPass filter(samples[0]);
    for (int c = 0; c < cols; ++c) samples[c] = filter.Next(samples[c]);
  }
}

void Parse(const ParseRow& row, ParseSink& sink) {
  Channel left(sink.left, sink.leftRaw, sink.leftSum);
  Channel right(sink.right, sink.rightRaw, sink.rightSum);
  const auto corrected = [&row](size_t pixelIndex, uint16_t gain) {
    const uint32_t pixel = ReadPixel(row.line, row.bytesPerPixel, pixelIndex);
    const uint64_t signal = AboveBlack(pixel, row.blackLevel);
    return LimitTo16(signal * gain >> row.shift);
  };
  for (size_t block = 0; block < static_cast<size_t>(std::max(row.blockCount, 0)); ++block) {
    const size_t pixelBase = block * row.blockStep;
    const size_t gainBase = block * row.gainStep;
    left.StartBlock();
    right.StartBlock();
    for (int i = 0; i < row.pairCount; ++i) {
      const size_t gain = gainBase + row.gainIndex[i];
      left.Add(corrected(pixelBase + row.leftOffset[i], row.leftGain[gain]), row.leftLast[i] != 0);
      right.Add(corrected(pixelBase + row.rightOffset[i], row.rightGain[gain]),
                row.rightLast[i] != 0);
    }
  }
  sink = {left.samples(), right.samples(), left.raw(), right.raw(), left.sum(), right.sum()};
}

void ParseOptimized(const OptimizedParseRow& row, uint16_t* left, uint16_t* right, float* leftSum,
                    float* rightSum) {
  const int count = std::max(row.blockCount, 0) * std::max(row.pairCount, 0);
  const auto correct = [&row, count](uint16_t* samples, const uint16_t* gains, float* sum) {
    const int grouped = count / 4 * 4;
    for (int i = 0; i < count; ++i) {
      const uint32_t product = AboveBlack(samples[i], row.blackLevel) * gains[i] >> 8;
      samples[i] = i < grouped ? static_cast<uint16_t>(product) : LimitTo16(product);
      *sum += static_cast<float>(samples[i]);
    }
  };
  int next = 0;
  for (int block = 0; block < row.blockCount; ++block) {
    const size_t base = static_cast<size_t>(block) * row.blockStep;
    for (int i = 0; i < row.pairCount; ++i, ++next) {
      left[next] =
          static_cast<uint16_t>(ReadPixel(row.line, row.bytesPerPixel, base + row.leftOffset[i]));
      right[next] =
          static_cast<uint16_t>(ReadPixel(row.line, row.bytesPerPixel, base + row.rightOffset[i]));
    }
  }
  correct(left, row.leftGain, leftSum);
  correct(right, row.rightGain, rightSum);
}

}  // namespace scalar

constinit const KernelTable kScalarKernels = {
    .name = "scalar",
    .sad = scalar::Sad,
    .gain = scalar::Gain,
    .bpc = scalar::Bpc,
    .box1x2 = scalar::Box1x2,
    .box1x4 = scalar::Box1x4,
    .boxNx1 = scalar::BoxNx1,
    .iir = scalar::Iir,
    .parseRow = scalar::Parse,
    .parseRowOptimized = scalar::ParseOptimized,
    .fillBytes = scalar::FillBytes,
    .fillPacked = scalar::FillPacked,
    .fillWords = scalar::FillWords,
    .filterLine = scalar::FilterLine,
    .filterLines = scalar::FilterLines,
    .lineSad = scalar::LineSad,
};

}  // namespace pdlib

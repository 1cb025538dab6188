// The parsers with vectors. Pixels are gathered one by one, some blocks at a time, into a chunk in
// the first-level cache; correction, folding and sums then run on whole vectors of it. V is the
// vector of samples.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "kernels/kernels_scalar.h"
#include "kernels/vectors.h"

namespace pdlib {
namespace {

constexpr int kChunkPixels = 1024;
// Vectors may be stored this far past the end of a chunk.
constexpr int kChunkSlack = 16;
using Chunk = uint16_t[kChunkPixels + kChunkSlack];

// Where the pixels of a row of blocks stand. Blocks are taken in groups whose pixels fill whole
// vectors.
class GatherTable {
 public:
  static constexpr int kMaxCount = 128;

  // Block b's pixel i, i < count <= kMaxCount, stands at index[i] + b * blockStep.
  template <class Index>
  GatherTable(const Index* index, int count, size_t blockStep)
      : count_(count), block_step_(blockStep), group_blocks_(8 / std::gcd(count, 8)) {
    size_t* entry = index_;
    for (int block = 0; block < group_blocks_; ++block) {
      for (int i = 0; i < count; ++i) {
        *entry++ = index[i] + static_cast<size_t>(block) * blockStep;
      }
    }
  }

  // The pixels of `blocks` blocks, block after block.
  void Gather(const uint8_t* pixels, int bytesPerPixel, int blocks, uint16_t* out) const {
    if (bytesPerPixel == 1) {
      GatherAs<uint8_t>(pixels, blocks, out);
    } else {
      GatherAs<uint16_t>(pixels, blocks, out);
    }
  }

 private:
  template <class Pixel>
  void GatherAs(const uint8_t* pixels, int blocks, uint16_t* out) const {
    const size_t groupStep = static_cast<size_t>(group_blocks_) * block_step_ * sizeof(Pixel);
    const int groupCount = group_blocks_ * count_;
    const int groups = blocks / group_blocks_;
    for (int i = 0; i < groupCount; i += 8) {
      GatherVectors<Pixel>(pixels, groupStep, groups, index_ + i, out + i, groupCount);
    }
    pixels += static_cast<size_t>(groups) * groupStep;
    out += ptrdiff_t{groups} * groupCount;
    for (int i = 0; i < blocks % group_blocks_ * count_; ++i) {
      out[i] = LoadAt<Pixel>(pixels, index_[i]);
    }
  }

  // One vector of each group: the eight places stay in registers on the way over the groups.
  template <class Pixel>
  static void GatherVectors(const uint8_t* pixels, size_t groupStep, int groups,
                            const size_t* index, uint16_t* out, ptrdiff_t outStep) {
    size_t at[8];
    std::copy_n(index, 8, at);
    for (int group = 0; group < groups; ++group, pixels += groupStep, out += outStep) {
      U16x8::Gather<Pixel>(pixels, at).Store(out);
    }
  }

  int count_;
  size_t block_step_;
  int group_blocks_;
  size_t index_[kMaxCount * 8];
};

// A sum in single precision over integers is exact, in whatever order, as long as it stays below
// 2^24.
constexpr uint32_t kExactSums = 1u << 24;

inline bool StaysExact(float sum, uint32_t total) {
  if (!(sum >= 0 && sum <= static_cast<float>(kExactSums))) return false;
  return total <= kExactSums - static_cast<uint32_t>(sum);
}

// Adds samples to the running sums as one addition after the other gives them. Chunk by chunk: at
// most kChunkPixels.
template <class V>
void AddToSums(const uint16_t* left, const uint16_t* right, int count, float* leftSum,
               float* rightSum) {
  const int whole = count / V::kLanes * V::kLanes;
  uint32_t leftTotal = SumSamples<V>(left, whole);
  uint32_t rightTotal = SumSamples<V>(right, whole);
  for (int i = whole; i < count; ++i) {
    leftTotal += left[i];
    rightTotal += right[i];
  }
  if (StaysExact(*leftSum, leftTotal) && StaysExact(*rightSum, rightTotal)) {
    *leftSum += static_cast<float>(leftTotal);
    *rightSum += static_cast<float>(rightTotal);
    return;
  }
  float l = *leftSum;
  float r = *rightSum;
  for (int i = 0; i < count; ++i) {
    l += static_cast<float>(left[i]);
    r += static_cast<float>(right[i]);
  }
  *leftSum = l;
  *rightSum = r;
}

inline uint16_t BlackLevel16(uint32_t blackLevel) {
  return static_cast<uint16_t>(std::min<uint32_t>(blackLevel, 65535));
}

// The number of pixels in each sample if it is the same in all of them and a power of two, else 0.
inline int PixelsPerSample(const uint8_t* last, int count) {
  int run = 1;
  while (run <= count && last[run - 1] == 0) ++run;
  const int insideRun = run - 1;
  if (run > count || (run & insideRun) != 0 || (count & insideRun) != 0) return 0;
  for (int i = 0; i < count; ++i) {
    const bool endsRun = (i & insideRun) == insideRun;
    if ((last[i] != 0) != endsRun) return 0;
  }
  return run;
}

// One polarity of a row of blocks on its way through the parser.
template <class V>
class ParsedChannel {
 public:
  ParsedChannel(const ParseRow& row, const uint32_t* offset, const uint8_t* last,
                const uint16_t* gain)
      : row_(row),
        last_(last),
        gain_(gain),
        pixels_at_(offset, row.pairCount, row.blockStep),
        gains_at_(row.gainIndex, row.pairCount, row.gainStep),
        black_(V::Splat(BlackLevel16(row.blackLevel))),
        pixels_per_sample_(PixelsPerSample(last, row.pairCount)),
        one_gain_(std::all_of(row.gainIndex, row.gainIndex + row.pairCount,
                              [&row](uint16_t index) { return index == row.gainIndex[0]; })) {}

  const uint16_t* values() const { return values_; }

  // Gathers and corrects the pixels of some blocks.
  void Read(int firstBlock, int blocks) {
    const size_t first = static_cast<size_t>(firstBlock);
    const int count = blocks * row_.pairCount;
    const uint8_t* line =
        row_.line + first * row_.blockStep * static_cast<size_t>(row_.bytesPerPixel);
    ReadGains(gain_ + first * row_.gainStep, blocks);
    pixels_at_.Gather(line, row_.bytesPerPixel, blocks, values_);
    V::Splat(0).Store(values_ + count);
    V::Splat(0).Store(gains_ + count);
    for (int i = 0; i < count; i += V::kLanes) {
      const V signal = SubtractLimited(V::Load(values_ + i), black_);
      MultiplyShiftLimited(signal, V::Load(gains_ + i), row_.shift).Store(values_ + i);
    }
  }

  // Adds the pixels of each sample together; what was read is used up. Gives the end of `samples`.
  uint16_t* Fold(int blocks, uint16_t* samples) {
    if (pixels_per_sample_ == 0) return FoldByFlags(blocks, samples);
    int count = blocks * row_.pairCount;
    for (int run = pixels_per_sample_; run > 1; run /= 2, count /= 2) {
      V::Splat(0).Store(values_ + count);
      for (int i = 0; 2 * i < count; i += V::kLanes) {
        AddPairs(V::Load(values_ + 2 * i), V::Load(values_ + 2 * i + V::kLanes)).Store(values_ + i);
      }
    }
    return std::copy_n(values_, count, samples);
  }

 private:
  void ReadGains(const uint16_t* gain, int blocks) {
    if (!one_gain_) {
      gains_at_.Gather(reinterpret_cast<const uint8_t*>(gain), 2, blocks, gains_);
      return;
    }
    gain += row_.gainIndex[0];
    for (int block = 0; block < blocks; ++block, gain += row_.gainStep) {
      uint16_t* out = gains_ + block * row_.pairCount;
      for (int i = 0; i < row_.pairCount; i += 8) U16x8::Splat(*gain).Store(out + i);
    }
  }

  uint16_t* FoldByFlags(int blocks, uint16_t* samples) const {
    const uint16_t* value = values_;
    for (int block = 0; block < blocks; ++block) {
      uint16_t folded = 0;
      for (int i = 0; i < row_.pairCount; ++i) {
        folded = static_cast<uint16_t>(folded + *value++);
        if (last_[i] == 0) continue;
        *samples++ = folded;
        folded = 0;
      }
    }
    return samples;
  }

  const ParseRow& row_;
  const uint8_t* last_;
  const uint16_t* gain_;
  GatherTable pixels_at_;
  GatherTable gains_at_;
  V black_;
  int pixels_per_sample_;
  bool one_gain_;
  alignas(64) Chunk values_;
  alignas(64) Chunk gains_;
};

template <class V>
void ParseByVectors(const ParseRow& row, ParseSink& sink) {
  if (row.pairCount < 1) return;
  if (row.pairCount > GatherTable::kMaxCount) return scalar::Parse(row, sink);
  ParsedChannel<V> left(row, row.leftOffset, row.leftLast, row.leftGain);
  ParsedChannel<V> right(row, row.rightOffset, row.rightLast, row.rightGain);
  const int chunkBlocks = kChunkPixels / row.pairCount;
  for (int first = 0; first < row.blockCount; first += chunkBlocks) {
    const int blocks = std::min(row.blockCount - first, chunkBlocks);
    const int count = blocks * row.pairCount;
    left.Read(first, blocks);
    right.Read(first, blocks);
    AddToSums<V>(left.values(), right.values(), count, &sink.leftSum, &sink.rightSum);
    if (sink.leftRaw != nullptr) sink.leftRaw = std::copy_n(left.values(), count, sink.leftRaw);
    if (sink.rightRaw != nullptr) sink.rightRaw = std::copy_n(right.values(), count, sink.rightRaw);
    sink.left = left.Fold(blocks, sink.left);
    sink.right = right.Fold(blocks, sink.right);
  }
}

// max(sample, black) - black, times the gain of each, shifted by 8: cut to 16 bits in groups of
// four, limited in what remains.
template <class V>
void CorrectSamples(uint16_t* samples, const uint16_t* gains, int count, uint32_t blackLevel) {
  const uint16_t black = BlackLevel16(blackLevel);
  const V blacks = V::Splat(black);
  int i = 0;
  for (; i + V::kLanes <= count; i += V::kLanes) {
    const V signal = SubtractLimited(V::Load(samples + i), blacks);
    MultiplyShift(signal, V::Load(gains + i), 8).Store(samples + i);
  }
  const int grouped = count / 4 * 4;
  for (; i < count; ++i) {
    const uint32_t signal = static_cast<uint32_t>(std::max(samples[i] - black, 0));
    const uint32_t corrected = signal * gains[i] >> 8;
    samples[i] = static_cast<uint16_t>(i < grouped ? corrected : std::min(corrected, 65535u));
  }
}

template <class V>
void ParseOptimizedByVectors(const OptimizedParseRow& row, uint16_t* left, uint16_t* right,
                             float* leftSum, float* rightSum) {
  if (row.blockCount < 1 || row.pairCount < 1) return;
  if (row.pairCount > GatherTable::kMaxCount) {
    return scalar::ParseOptimized(row, left, right, leftSum, rightSum);
  }
  const int count = row.blockCount * row.pairCount;
  GatherTable(row.leftOffset, row.pairCount, row.blockStep)
      .Gather(row.line, row.bytesPerPixel, row.blockCount, left);
  GatherTable(row.rightOffset, row.pairCount, row.blockStep)
      .Gather(row.line, row.bytesPerPixel, row.blockCount, right);
  CorrectSamples<V>(left, row.leftGain, count, row.blackLevel);
  CorrectSamples<V>(right, row.rightGain, count, row.blackLevel);
  for (int i = 0; i < count; i += kChunkPixels) {
    AddToSums<V>(left + i, right + i, std::min(count - i, kChunkPixels), leftSum, rightSum);
  }
}

}  // namespace
}  // namespace pdlib

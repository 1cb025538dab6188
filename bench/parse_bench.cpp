#include <memory>

#include "bench.h"
#include "kernels/kernel_table.h"

namespace pdlib_bench {
namespace {

constexpr int kBlocks = 75;
constexpr uint32_t kBlockSize = 16;
constexpr uint32_t kLinePixels = 4000;

// One row of blocks of 16 x 16 pixels with 8 pairs over 4 columns, two pixels to a sample, in a
// whole line of the image.
struct Scene {
  std::vector<uint16_t> pixels = RandomSamples(size_t{kBlockSize} * kLinePixels, 10);
  std::vector<uint32_t> left, right;
  std::vector<uint8_t> last;
  std::vector<uint16_t> gainIndex;
  std::vector<uint16_t> gain;
  std::vector<uint16_t> outLeft, outRight, rawLeft, rawRight;

  Scene(int pairs, bool oneGainPerBlock) {
    const uint32_t columns = static_cast<uint32_t>(pairs) / 2;
    for (uint32_t i = 0; i < static_cast<uint32_t>(pairs); ++i) {
      const uint32_t x = i / 2 * (kBlockSize / columns);
      const uint32_t y = i % 2 * 8 + i / 2 % 2 * 4;
      left.push_back(y * kLinePixels + x);
      right.push_back((y + 1) * kLinePixels + x + 1);
      last.push_back(i % 2 == 1);
      gainIndex.push_back(static_cast<uint16_t>(oneGainPerBlock ? 0 : i / 2 % 2));
    }
    const size_t count = static_cast<size_t>(pairs) * kBlocks;
    gain.assign(count + 2, 290);
    for (auto* samples : {&outLeft, &outRight, &rawLeft, &rawRight}) samples->resize(count);
  }

  const uint8_t* line() const { return reinterpret_cast<const uint8_t*>(pixels.data()); }
};

void RegisterParseRow(int pairs, bool oneGainPerBlock, const char* variant) {
  auto scene = std::make_shared<Scene>(pairs, oneGainPerBlock);
  const pdlib::ParseRow row = {scene->line(),
                               2,
                               kBlocks,
                               kBlockSize,
                               pairs,
                               scene->left.data(),
                               scene->right.data(),
                               scene->last.data(),
                               scene->last.data(),
                               scene->gainIndex.data(),
                               scene->gain.data(),
                               scene->gain.data(),
                               oneGainPerBlock ? 1u : 2u,
                               64,
                               8};
  const std::string sizes =
      "blocks:" + std::to_string(kBlocks) + "/pairs:" + std::to_string(pairs) + variant;
  RegisterForms("parse_row", sizes, int64_t{kBlocks} * pairs, [=] {
    pdlib::ParseSink sink = {scene->outLeft.data(), scene->outRight.data(), nullptr, nullptr, 0, 0};
    pdlib::Kernels().parseRow(row, sink);
    benchmark::DoNotOptimize(sink);
  });
}

void RegisterParseRowOptimized(int pairs) {
  auto scene = std::make_shared<Scene>(pairs, true);
  const pdlib::OptimizedParseRow row = {scene->line(),
                                        2,
                                        kBlocks,
                                        kBlockSize,
                                        pairs,
                                        scene->left.data(),
                                        scene->right.data(),
                                        scene->gain.data(),
                                        scene->gain.data(),
                                        64};
  const std::string sizes = "blocks:" + std::to_string(kBlocks) + "/pairs:" + std::to_string(pairs);
  RegisterForms("parse_row_optimized", sizes, int64_t{kBlocks} * pairs, [=] {
    float leftSum = 0;
    float rightSum = 0;
    pdlib::Kernels().parseRowOptimized(row, scene->outLeft.data(), scene->outRight.data(), &leftSum,
                                       &rightSum);
    benchmark::DoNotOptimize(leftSum);
    benchmark::DoNotOptimize(rightSum);
  });
}

}  // namespace

void RegisterParsers() {
  RegisterParseRow(8, true, "");
  RegisterParseRow(8, false, "/gains:2");
  RegisterParseRow(32, true, "");
  RegisterParseRowOptimized(8);
  RegisterParseRowOptimized(32);
}

}  // namespace pdlib_bench

#include <memory>

#include "bench.h"
#include "kernels/pd_core_correlation.h"

namespace pdlib_bench {
namespace {

struct SadSize {
  int16_t rows;
  int16_t width;
  int16_t shifts;
};

// The reference sizes, then one window of a centre region of 30 % of 4000 x 3000 pixels in 3 x 3
// windows with overlap.
constexpr SadSize kSizes[] = {{32, 800, 32}, {32, 800, 8}, {32, 800, 24}, {28, 150, 25}};

}  // namespace

void RegisterSad() {
  for (const SadSize& size : kSizes) {
    const size_t count = static_cast<size_t>(size.rows) * static_cast<size_t>(size.width);
    const auto left = RandomSamples(count + 1, 12);
    const auto right = RandomSamples(count, 12);
    auto out = std::make_shared<std::vector<int>>(static_cast<size_t>(size.shifts));
    const std::string sizes = "rows:" + std::to_string(size.rows) +
                              "/width:" + std::to_string(size.width) +
                              "/shifts:" + std::to_string(size.shifts);
    const int64_t items = int64_t{size.rows} * (size.width - size.shifts + 1) * size.shifts;
    RegisterForms("pd_core_sad", sizes, items, [=] {
      pd_core_sad(left.data() + 1, right.data(), size.rows, size.width, size.width, out->data(), 0,
                  size.shifts);
    });
  }
}

}  // namespace pdlib_bench

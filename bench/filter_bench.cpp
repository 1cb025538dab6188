#include <memory>

#include "bench.h"
#include "kernels/pd_core_filters.h"

namespace pdlib_bench {
namespace {

using Filter = void (*)(uint16_t* samples, int rows, int cols);

struct FilterCase {
  const char* name;
  Filter run;
};

// Weak enough that an image keeps its character over many runs.
const FilterCase kFilters[] = {
    {"pd_core_gain", [](uint16_t* s, int rows, int cols) { pd_core_gain(s, rows, cols, 257, 8); }},
    {"pd_core_bpc", [](uint16_t* s, int rows, int cols) { pd_core_bpc(s, rows, cols, 512); }},
    {"pd_core_box1x2", pd_core_box1x2},
    {"pd_core_box1x4", pd_core_box1x4},
    {"pd_core_box2x1", pd_core_box2x1},
    {"pd_core_box4x1", pd_core_box4x1},
    {"pd_core_box8x1", pd_core_box8x1},
    {"pd_core_box16x1", pd_core_box16x1},
    {"pd_core_iir", pd_core_iir},
};

struct ImageSize {
  int rows;
  int width;
};
constexpr ImageSize kSizes[] = {{32, 800}, {28, 300}};

}  // namespace

void RegisterFilters() {
  for (const FilterCase& filter : kFilters) {
    for (const ImageSize& size : kSizes) {
      const size_t count = static_cast<size_t>(size.rows) * static_cast<size_t>(size.width);
      auto image = std::make_shared<std::vector<uint16_t>>(RandomSamples(count, 12));
      const std::string sizes =
          "rows:" + std::to_string(size.rows) + "/width:" + std::to_string(size.width);
      RegisterForms(filter.name, sizes, static_cast<int64_t>(count),
                    [=] { filter.run(image->data(), size.rows, size.width); });
    }
  }
}

}  // namespace pdlib_bench

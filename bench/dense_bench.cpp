// The line pipeline of the dense flows.
#include <cstring>
#include <memory>

#include "bench.h"
#include "dense/pdlib_dpd_utils.h"
#include "kernels/kernel_table.h"

namespace pdlib_bench {
namespace {

// A line of a 4000 pixel wide dual-PD image, of which sixteen stay in the second-level cache, and
// of a centre region of it, of which four stay in the first-level one.
constexpr int kSites = 4000;
constexpr int kCenterSites = 1000;

constexpr dpd_filter_t kFilter = {{1.0f, -1.8732f, 0.8837f}, {0.0582f, 0.0f, -0.0582f}};

// One more row of the table of ratios: `run` under the name of a form, on the best kernels.
void RegisterBeside(const std::string& subject, const std::string& form, const std::string& sizes,
                    int64_t items, std::function<void()> run) {
  const std::string name = subject + "/" + form + "/" + sizes;
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    for (auto unused : state) {
      run();
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * items);
  });
}

struct Packing {
  const char* subject;
  dpd_fill_t* fill;
  size_t siteBytesTwice;
  uint8_t depth;
};

const Packing kPackings[] = {
    {"dpd_fill_10bpp_unpacked", dpd_line_fill_buffer_with_gain_bin_10bpp_unpacked, 8, 10},
    {"dpd_fill_10bpp_packed", dpd_line_fill_buffer_with_gain_bin_10bpp_packed, 5, 10},
    {"dpd_fill_8bpp_unpacked", dpd_line_fill_buffer_with_gain_bin_8bpp_unpacked, 4, 8},
};

// A frame starts at a page, as the buffers of a camera do.
constexpr size_t kPageSamples = 2048;
const uint8_t* StartOfPage(const std::vector<uint16_t>& memory) {
  const size_t beyond = reinterpret_cast<uintptr_t>(memory.data()) / 2 % kPageSamples;
  return reinterpret_cast<const uint8_t*>(memory.data() + (kPageSamples - beyond));
}

struct FillBuffers {
  std::vector<uint16_t> frame;  // and a page
  std::vector<uint16_t> copy;
  std::vector<uint16_t> gain;
  std::vector<uint16_t> left;
  std::vector<uint16_t> right;
};

void RegisterFill(const Packing& packing, int bin, int sites) {
  const size_t count = static_cast<size_t>(sites);
  const size_t lineBytes = packing.siteBytesTwice * count / 2;
  const size_t bytes = lineBytes * static_cast<size_t>(bin);
  const auto buffers = std::make_shared<FillBuffers>(
      FillBuffers{RandomSamples(bytes / 2 + kPageSamples, 10), RandomSamples(bytes / 2, 10),
                  RandomSamples(count, 12), RandomSamples(count, 10), RandomSamples(count, 10)});
  dpd_input_line_request_t request = {};
  request.end_x = static_cast<uint16_t>(sites);
  request.pd_width = static_cast<uint16_t>(sites);
  request.line_stride = static_cast<uint16_t>(lineBytes);
  request.bin_lines = static_cast<uint16_t>(bin);
  request.pixel_depth = packing.depth;
  request.pixel_clamp = 0xffff;
  const std::string sizes = "bin:" + std::to_string(bin) + "/sites:" + std::to_string(sites);
  RegisterForms(packing.subject, sizes, sites, [=] {
    packing.fill(StartOfPage(buffers->frame), buffers->left.data(), buffers->right.data(), &request,
                 buffers->gain.data(), buffers->gain.data());
  });
  RegisterBeside(packing.subject, "copy_of_input", sizes, sites,
                 [=] { std::memcpy(buffers->copy.data(), StartOfPage(buffers->frame), bytes); });
}

void RegisterLineFilter() {
  const auto left = std::make_shared<std::vector<uint16_t>>(RandomSamples(kSites, 14));
  const auto right = std::make_shared<std::vector<uint16_t>>(RandomSamples(kSites, 13));
  const auto out = std::make_shared<std::vector<uint16_t>>(2 * kSites);
  const std::string sizes = "lines:2/sites:" + std::to_string(kSites);
  RegisterForms("dpd_line_IIR_optimized", sizes, 2 * kSites, [=] {
    dpd_line_IIR_optimized(left->data(), right->data(), out->data(), out->data() + kSites,
                           kFilter.a, kFilter.b, kSites);
  });
  RegisterBeside("dpd_line_IIR_optimized", "one_by_one", sizes, 2 * kSites, [=] {
    dpd_2nd_iir_float(left->data(), out->data(), kSites, kFilter.a, kFilter.b);
    dpd_2nd_iir_float(right->data(), out->data() + kSites, kSites, kFilter.a, kFilter.b);
  });
}

// The time grows with shifts and samples, and with nothing else.
void RegisterLineSad(int length, int shifts) {
  const auto left = RandomSamples(4200, 16);
  const auto right = RandomSamples(4200, 16);
  const auto sads = std::make_shared<std::vector<int>>(static_cast<size_t>(shifts));
  const std::string sizes =
      "samples:" + std::to_string(length) + "/shifts:" + std::to_string(shifts);
  RegisterForms("dpd_line_sad", sizes, int64_t{length} * shifts, [=] {
    int index = 0;
    int value = 0;
    dpd_line_sad_optimized(left.data() + 1, right.data(), length + shifts - 1, -shifts / 2,
                           shifts - 1 - shifts / 2, &index, &value, sads->data());
  });
}

}  // namespace

void RegisterDenseLines() {
  for (const Packing& packing : kPackings) {
    for (int bin : {1, 4, 16}) RegisterFill(packing, bin, kSites);
    RegisterFill(packing, 4, kCenterSites);
  }
  RegisterLineFilter();
  for (int shifts : {8, 16, 24, 32, 33, 64}) RegisterLineSad(1000, shifts);
  for (int length : {250, 500, 2000, 4000}) RegisterLineSad(length, 24);
}

}  // namespace pdlib_bench

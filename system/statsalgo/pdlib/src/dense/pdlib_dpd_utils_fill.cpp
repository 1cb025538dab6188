#include "dense/pdlib_dpd_utils_fill.h"

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstring>

#include "base/pdlib_log.h"
#include "kernels/kernel_table.h"

namespace {

constexpr uint8_t log2_of(int bin) {
  return bin == 1 ? 0 : static_cast<uint8_t>(1 + log2_of(bin / 2));
}

// The clamp of a single sample times the bin, in 16 bits.
constexpr uint16_t bin_cap(uint16_t pixel_clamp, int log2_bin) {
  return static_cast<uint16_t>(pixel_clamp << log2_bin);
}

int stretch_length(uint16_t start, uint16_t end) {
  return std::max(end - start, 0);
}

bool has_lines(const uint8_t* source, uint16_t stride) {
  if (source != nullptr) return true;
  const auto line = [stride](int k) { return static_cast<uintptr_t>(stride) * k; };
  PDLIB_ERROR("ERROR!!! INVALID 2PD line buffer pointers!!!! %" PRIxPTR " %" PRIxPTR " %" PRIxPTR
              " %" PRIxPTR,
              line(0), line(1), line(2), line(3));
  return false;
}

// ---- Horizontal

// The last site of an odd stretch comes as a pair, whose second result lands behind the line. Its
// gain may lie behind the map, and is then the last one once more.
void fill_last_packed(pdlib::DenseFill fill, int pd_width) {
  const int last = fill.sites - 1;
  const int second = fill.firstSite + fill.sites < pd_width ? last + 1 : last;
  const uint16_t left_gain[] = {fill.leftGain[last], fill.leftGain[second]};
  const uint16_t right_gain[] = {fill.rightGain[last], fill.rightGain[second]};
  fill.firstSite += last;
  fill.sites = 2;
  fill.left += last;
  fill.right += last;
  fill.leftGain = left_gain;
  fill.rightGain = right_gain;
  pdlib::Kernels().fillPacked(fill);
}

void fill_packed(pdlib::DenseFill fill, int pd_width) {
  if (fill.sites % 2 != 0) fill_last_packed(fill, pd_width);
  fill.sites -= fill.sites % 2;
  if (fill.sites > 0) pdlib::Kernels().fillPacked(fill);
}

enum class Packing { kBytes, kPacked10, kWords };

template <Packing kPacking, int kBin>
int8_t fill_line(const uint8_t* source, uint16_t* left, uint16_t* right,
                 const dpd_input_line_request_t* request, const uint16_t* left_gain,
                 const uint16_t* right_gain) {
  constexpr uint8_t kLog2Bin = log2_of(kBin);
  const int8_t shift = dpd_get_final_right_shift_bits(request, kLog2Bin);
  const int sites = stretch_length(request->start_x, request->end_x);
  if (sites == 0 || !has_lines(source, request->line_stride)) return shift;
  const bool limits = kPacking != Packing::kBytes;
  const uint16_t cap = limits ? bin_cap(request->pixel_clamp, kLog2Bin) : uint16_t{0xffff};
  const pdlib::DenseFill fill = {.source = source,
                                 .lineStride = request->line_stride,
                                 .firstSite = request->start_x,
                                 .sites = sites,
                                 .log2Bin = kLog2Bin,
                                 .cap = cap,
                                 .shift = shift,
                                 .leftGain = left_gain,
                                 .rightGain = right_gain,
                                 .left = left,
                                 .right = right};
  switch (kPacking) {
    case Packing::kBytes: pdlib::Kernels().fillBytes(fill); break;
    case Packing::kPacked10: fill_packed(fill, request->pd_width); break;
    case Packing::kWords: pdlib::Kernels().fillWords(fill); break;
  }
  return shift;
}

// ---- Vertical

// Rows of a PD block that are taken, by their place in the block.
struct TakenRows {
  uint32_t row[4];
  int count;
};

// In the order of the frame. A block of one row is taken whole.
TakenRows taken_rows(const dpd_input_line_request_t& request) {
  TakenRows taken = {};
  if (request.block_height <= 1) {
    taken.count = static_cast<int>(request.block_height);
    return taken;
  }
  const bool mirrored = request.flip_vertical == 1;
  const uint32_t flags = std::min<uint32_t>(request.block_height, 4);
  for (uint32_t i = 0; i < flags; ++i) {
    const uint32_t flag = mirrored ? flags - 1 - i : i;
    if (request.row_has_pair[flag] == 0) continue;
    taken.row[taken.count++] = mirrored ? request.block_height - 1 - flag : flag;
  }
  return taken;
}

uint16_t word_at(const uint8_t* row, int index) {
  uint16_t word;
  std::memcpy(&word, row + sizeof word * index, sizeof word);
  return word;
}

// Every `step`-th word of a row, `count` of them.
uint16_t sum_of_words(const uint8_t* row, int count, int step) {
  uint32_t sum = 0;
  for (int i = 0; i < count; ++i) sum += word_at(row, i * step);
  return static_cast<uint16_t>(sum);
}

// Where the results of a column go. The upper sample has the first gain map, whichever line the
// flip sends it to.
class ColumnSink {
 public:
  ColumnSink(uint16_t* left, uint16_t* right, const dpd_input_line_request_t& request, int log2_bin,
             const uint16_t* upper_gain, const uint16_t* lower_gain)
      : upper_(request.flip_vertical != 0 ? right : left),
        lower_(request.flip_vertical != 0 ? left : right),
        upper_gain_(upper_gain),
        lower_gain_(lower_gain),
        gain_step_(request.gain_map_width),
        cap_(bin_cap(request.pixel_clamp, log2_bin)),
        shift_(dpd_get_final_right_shift_bits(&request, static_cast<uint8_t>(log2_bin))) {}

  void Store(int n, uint16_t upper, uint16_t lower) {
    const size_t gain = gain_step_ * n;
    upper_[n] = Corrected(upper, upper_gain_[gain]);
    lower_[n] = Corrected(lower, lower_gain_[gain]);
  }
  int8_t shift() const { return shift_; }

 private:
  uint16_t Corrected(uint16_t sum, uint16_t gain) const {
    return static_cast<uint16_t>(uint32_t{std::min(sum, cap_)} * gain >> (shift_ & 31));
  }

  uint16_t* upper_;
  uint16_t* lower_;
  const uint16_t* upper_gain_;
  const uint16_t* lower_gain_;
  size_t gain_step_;
  uint16_t cap_;
  int8_t shift_;
};

// An output a taken row: the even words are the upper samples, the odd ones the lower.
template <int kBin>
void fill_from_rows(const uint8_t* source, const dpd_input_line_request_t& request, int outputs,
                    ColumnSink& sink) {
  const TakenRows taken = taken_rows(request);
  if (taken.count == 0) return;
  size_t block_row = 0;
  for (int n = 0, i = 0; n < outputs; ++n) {
    const uint8_t* row = source + (block_row + taken.row[i]) * request.line_stride;
    sink.Store(n, sum_of_words(row, kBin, 2), sum_of_words(row + 2, kBin, 2));
    if (++i < taken.count) continue;
    i = 0;
    block_row += request.block_height;
  }
}

// An output two rows: the first has the upper samples, the second the lower.
template <int kBin>
void fill_from_row_pairs(const uint8_t* source, const dpd_input_line_request_t& request,
                         int outputs, ColumnSink& sink) {
  const size_t pairs = size_t{request.block_height} * outputs / 2;
  const int filled = static_cast<int>(std::min<size_t>(pairs, outputs));
  for (int n = 0; n < filled; ++n) {
    const uint8_t* upper = source + size_t{2} * n * request.line_stride;
    const uint8_t* lower = upper + request.line_stride;
    sink.Store(n, sum_of_words(upper, 2 * kBin, 1), sum_of_words(lower, 2 * kBin, 1));
  }
}

enum class Arrangement { kRows, kRowPairs };

template <Arrangement kArrangement, int kBin>
int8_t fill_column(const uint8_t* source, uint16_t* left, uint16_t* right,
                   const dpd_input_line_request_t* request, const uint16_t* left_gain,
                   const uint16_t* right_gain) {
  ColumnSink sink(left, right, *request, log2_of(kBin), left_gain, right_gain);
  const int outputs = stretch_length(request->start_y, request->end_y);
  if (outputs == 0 || !has_lines(source, request->line_stride)) return sink.shift();
  constexpr auto kFill =
      kArrangement == Arrangement::kRowPairs ? fill_from_row_pairs<kBin> : fill_from_rows<kBin>;
  kFill(source, *request, outputs, sink);
  return sink.shift();
}

}  // namespace

int8_t dpd_get_final_right_shift_bits(const dpd_input_line_request_t* request, uint8_t log2_bin) {
  return static_cast<int8_t>(log2_bin - 4 + request->pixel_depth);
}

// ---- Members of the family by name

dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_10bpp_unpacked =
    fill_line<Packing::kWords, 1>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_10bpp_unpacked =
    fill_line<Packing::kWords, 2>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_10bpp_unpacked =
    fill_line<Packing::kWords, 4>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_10bpp_unpacked =
    fill_line<Packing::kWords, 8>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_10bpp_unpacked =
    fill_line<Packing::kWords, 16>;

dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_10bpp_packed =
    fill_line<Packing::kPacked10, 1>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_10bpp_packed =
    fill_line<Packing::kPacked10, 2>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_10bpp_packed =
    fill_line<Packing::kPacked10, 4>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_10bpp_packed =
    fill_line<Packing::kPacked10, 8>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_10bpp_packed =
    fill_line<Packing::kPacked10, 16>;

dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_1_8bpp_unpacked =
    fill_line<Packing::kBytes, 1>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_2_8bpp_unpacked =
    fill_line<Packing::kBytes, 2>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_4_8bpp_unpacked =
    fill_line<Packing::kBytes, 4>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8_8bpp_unpacked =
    fill_line<Packing::kBytes, 8>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_16_8bpp_unpacked =
    fill_line<Packing::kBytes, 16>;

dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin1 =
    fill_column<Arrangement::kRows, 1>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin2 =
    fill_column<Arrangement::kRows, 2>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin4 =
    fill_column<Arrangement::kRows, 4>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin8 =
    fill_column<Arrangement::kRows, 8>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_skip_bin16 =
    fill_column<Arrangement::kRows, 16>;

dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin1 =
    fill_column<Arrangement::kRowPairs, 1>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin2 =
    fill_column<Arrangement::kRowPairs, 2>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin4 =
    fill_column<Arrangement::kRowPairs, 4>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin8 =
    fill_column<Arrangement::kRowPairs, 8>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical_bin2_bin16 =
    fill_column<Arrangement::kRowPairs, 16>;

// ---- Dispatch by bin

namespace {

// Members of a family for bins of 1 to 16.
using fill_family_t = dpd_fill_t* const[5];

template <Packing kPacking>
constexpr fill_family_t kLineFills = {fill_line<kPacking, 1>, fill_line<kPacking, 2>,
                                      fill_line<kPacking, 4>, fill_line<kPacking, 8>,
                                      fill_line<kPacking, 16>};

template <Arrangement kArrangement>
constexpr fill_family_t kColumnFills = {fill_column<kArrangement, 1>, fill_column<kArrangement, 2>,
                                        fill_column<kArrangement, 4>, fill_column<kArrangement, 8>,
                                        fill_column<kArrangement, 16>};

// Null for a bin that there is no routine for.
dpd_fill_t* fill_for_bin(const fill_family_t& family, int bin_lines) {
  for (int log2_bin = 0; log2_bin < 5; ++log2_bin) {
    if (1 << log2_bin == bin_lines) return family[log2_bin];
  }
  return nullptr;
}

template <Packing kPacking>
int8_t fill_binned_line(const uint8_t* source, uint16_t* left, uint16_t* right,
                        const dpd_input_line_request_t* request, const uint16_t* left_gain,
                        const uint16_t* right_gain) {
  dpd_fill_t* fill = fill_for_bin(kLineFills<kPacking>, request->bin_lines);
  if (fill != nullptr) return fill(source, left, right, request, left_gain, right_gain);
  PDLIB_ERROR("ERROR of Lines!!!!");
  return 0;
}

int8_t fill_binned_column(const uint8_t* source, uint16_t* left, uint16_t* right,
                          const dpd_input_line_request_t* request, const uint16_t* left_gain,
                          const uint16_t* right_gain) {
  const bool paired_by_rows = request->block_type[0] > 3;
  const fill_family_t& family =
      paired_by_rows ? kColumnFills<Arrangement::kRowPairs> : kColumnFills<Arrangement::kRows>;
  dpd_fill_t* fill = fill_for_bin(family, request->bin_lines);
  if (fill != nullptr) return fill(source, left, right, request, left_gain, right_gain);
  PDLIB_ERROR("Number of binned lines %d is not compatible", request->bin_lines);
  return 0;
}

}  // namespace

dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_10bpp_unpacked =
    fill_binned_line<Packing::kWords>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_10bpp_packed =
    fill_binned_line<Packing::kPacked10>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_bin_8bpp_unpacked =
    fill_binned_line<Packing::kBytes>;
dpd_fill_t* const dpd_line_fill_buffer_with_gain_unpacked_vertical = fill_binned_column;

#include "dense/pdlib_dpd_utils.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/numeric.h"

namespace {

int line_length(const dpd_input_line_request_t& request) {
  return std::max(request.end_x - request.start_x, 0);
}

// Where a position of the PD image lies in one direction of the dense gain map: the nearest entry.
size_t gain_position(int position, int image_size, int map_size) {
  const float step = static_cast<float>(map_size - 1) / static_cast<float>(image_size - 1);
  const double nearest = std::floor(static_cast<double>(position) * step + 0.5);
  return static_cast<size_t>(pdlib::Clamp(pdlib::ToInt32(nearest), 0, std::max(map_size - 1, 0)));
}

// The routine for a horizontal line of this buffer type; null where nothing is filled.
dpd_fill_t* line_fill(uint32_t buffer_type) {
  switch (buffer_type) {
    case kDpdBuffer8Bits: return dpd_line_fill_buffer_with_gain_bin_8bpp_unpacked;
    case kDpdBuffer10BitsPacked: return dpd_line_fill_buffer_with_gain_bin_10bpp_packed;
    case kDpdBuffer10BitsUnpacked: return dpd_line_fill_buffer_with_gain_bin_10bpp_unpacked;
    default: return nullptr;
  }
}

// Fills line `start_y`, in HDR with one exposure moved to its front. `line_distance` is bytes from
// one line of the frame to the next.
void fill_line(dpd_line_arg_t* line_arg, size_t line_distance) {
  const dpd_input_line_request_t& request = line_arg->request;
  const dpd_grid_common_t& common = *line_arg->p_dpd_grid_common;
  dpd_fill_t* fill = line_fill(request.buffer_type);
  if (fill != nullptr) {
    const size_t gain_row =
        gain_position(request.start_y, request.pd_height, common.gain_map_height);
    const size_t gain = request.start_x + gain_row * common.gain_map_width;
    fill(line_arg->p_pd_buffer + line_distance * request.start_y, line_arg->p_left_line,
         line_arg->p_right_line, &request, common.p_left_gain + gain, common.p_right_gain + gain);
  }
  if (request.hdr_mode == 1) {
    dpd_line_fill_buffer_hdr(line_arg->p_left_line, line_arg->p_right_line, &request);
  }
}

void fill_column(dpd_line_arg_t* line_arg) {
  const dpd_input_line_request_t& request = line_arg->request;
  const dpd_grid_common_t& common = *line_arg->p_dpd_grid_common;
  const size_t row = size_t{request.start_y} * request.block_height;
  const size_t byte_in_row = size_t{request.start_x} * request.block_width * sizeof(uint16_t);
  const size_t gain_column =
      gain_position(request.start_x, request.pd_width, common.gain_map_width);
  const size_t gain = gain_column + size_t{request.start_y} * common.gain_map_width;
  dpd_line_fill_buffer_with_gain_unpacked_vertical(
      line_arg->p_pd_buffer + row * request.line_stride + byte_in_row, line_arg->p_left_line,
      line_arg->p_right_line, &request, common.p_left_gain + gain, common.p_right_gain + gain);
}

void filter_lines(dpd_line_arg_t* line_arg, int length) {
  dpd_line_IIR_optimized(line_arg->p_left_line, line_arg->p_right_line, line_arg->p_left_filtered,
                         line_arg->p_right_filtered, line_arg->p_filter->a, line_arg->p_filter->b,
                         length);
}

void keep_every_second(uint16_t* line, int length) {
  for (int i = 0; i < length; i += 2) line[i / 2] = line[i];
  const int kept = (length + 1) / 2;
  std::fill(line + kept, line + length, uint16_t{0});
}

}  // namespace

int dpd_core_parse_and_preprocess(dpd_line_arg_t* line_arg) {
  const dpd_input_line_request_t& request = line_arg->request;
  fill_line(line_arg, request.line_stride);
  filter_lines(line_arg, line_length(request) >> (request.hdr_mode == 1 ? 1 : 0));
  return 0;
}

int dpd_core_parse_and_preprocess_vertical(dpd_line_arg_t* line_arg) {
  dpd_input_line_request_t& request = line_arg->request;
  request.gain_map_width = line_arg->p_dpd_grid_common->gain_map_width;
  if (request.buffer_type == kDpdBuffer10BitsUnpacked) fill_column(line_arg);
  filter_lines(line_arg, request.end_y - request.start_y);
  return 0;
}

int dpd_core_line_preprocess(dpd_line_arg_t* line_arg) {
  const dpd_input_line_request_t& request = line_arg->request;
  const bool halved = request.buffer_type == kDpdBuffer8Bits;
  fill_line(line_arg, halved ? request.line_stride / 2 : request.line_stride);
  return 0;
}

void dpd_core_line_interleave_gmout(const dpd_line_arg_t* line_arg, uint16_t* out, int row) {
  constexpr int kToTenBits = 6;
  const int sites = line_arg->request.end_x >> (line_arg->request.hdr_mode == 1 ? 1 : 0);
  out += ptrdiff_t{2} * sites * row;
  for (int i = 0; i < sites; ++i) {
    *out++ = static_cast<uint16_t>(line_arg->p_left_line[i] >> kToTenBits);
    *out++ = static_cast<uint16_t>(line_arg->p_right_line[i] >> kToTenBits);
  }
}

void dpd_line_fill_buffer_hdr(uint16_t* left, uint16_t* right,
                              const dpd_input_line_request_t* request) {
  keep_every_second(left, line_length(*request));
  keep_every_second(right, line_length(*request));
}

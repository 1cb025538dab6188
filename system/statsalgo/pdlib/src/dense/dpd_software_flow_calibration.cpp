#include "dense/dpd_software_flow_calibration.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/pdlib_log.h"
#include "dense/pdlib_dpd_utils.h"
#include "frame/pdlib_utils_calibration.h"
#include "frame/pdlib_utils_map.h"

namespace {

// The calibrated maps that a direction uses, first the one of the first sample.
struct GainMaps {
  uint16_t* first;
  uint16_t* second;
};

GainMaps gain_maps(dpd_context_t* context) {
  _pdaf_cal_param_t& calibration = context->calibration;
  if (context->isVertical) return {calibration.Down_GainMap, calibration.Up_GainMap};
  GainMaps maps = {calibration.Left_GainMap, calibration.Right_GainMap};
  if (context->isMirrored) std::swap(maps.first, maps.second);
  return maps;
}

int16_t* dcc_map(dpd_context_t* context) {
  return context->isVertical ? context->calibration.DCC_map_vertical : context->calibration.DCC_map;
}

bool is_full_dcc_map(const PDLibDccParam& size) {
  return size.MapWidth == kDccColumns && size.MapHeight == kDccRows;
}

// A crop so near to the whole image that it isn't one counts as none.
bool is_cropped(const MapCrop& crop) {
  const auto within = [](float value, float low, float high) {
    return value >= low && value <= high;
  };
  return within(crop.x, 0.0F, 0.99F) && within(crop.y, 0.0F, 0.99F) &&
         within(crop.w, 0.01F, 0.99F) && within(crop.h, 0.01F, 0.99F) && crop.x + crop.w <= 1.0F &&
         crop.y + crop.h <= 1.0F;
}

template <class Entry, size_t kEntries>
void crop_map(Entry (&map)[kEntries], int width, int height, const MapCrop& crop) {
  Entry cropped[kEntries] = {};
  imcrop_bilinear(map, width, height, crop, cropped, width, height);
  std::copy_n(cropped, width * height, map);
}

void crop_dcc_map(dpd_context_t* context) {
  const PDLibDccParam& size = context->calibration.DCC_param;
  if (size.MapWidth < 2 || size.MapHeight < 2) return;
  if (uint32_t{size.MapWidth} * size.MapHeight > uint32_t{kDccMapEntries}) {
    PDLIB_ERROR("pdaf cal: DCC map of %u by %u entries, expected %d at most", size.MapWidth,
                size.MapHeight, kDccMapEntries);
    return;
  }
  auto& map =
      context->isVertical ? context->calibration.DCC_map_vertical : context->calibration.DCC_map;
  crop_map(map, size.MapWidth, size.MapHeight, context->sensor.crop);
}

void crop_maps(dpd_context_t* context) {
  _pdaf_cal_param_t& calibration = context->calibration;
  if (!is_cropped(context->sensor.crop)) {
    PDLIB_INFO("No crop GMap, DCC Map");
    return;
  }
  PDLIB_INFO("Crop GMap, DCC Map");
  auto& first = context->isVertical ? calibration.Up_GainMap : calibration.Left_GainMap;
  auto& second = context->isVertical ? calibration.Down_GainMap : calibration.Right_GainMap;
  for (auto* map : {&first, &second})
    crop_map(*map, calibration.MapWidth, calibration.MapHeight, context->sensor.crop);
  crop_dcc_map(context);
}

// Both dense maps have the width of the frame's sites in the direction of the lines, and the size
// of the calibrated map across them.
int make_dense_gains(dpd_context_t* context) {
  const _pdaf_cal_param_t& calibration = context->calibration;
  const dpd_line_config_t& line = context->line;
  context->denseGainWidth = context->isVertical ? calibration.MapWidth : line.pd_width;
  context->denseGainHeight = context->isVertical ? line.pd_height : calibration.MapHeight;
  const size_t entries = size_t{context->denseGainWidth} * context->denseGainHeight;
  if (!context->leftDenseGain.allocate(entries) || !context->rightDenseGain.allocate(entries)) {
    PDLIB_ERROR("Out of memory");
    return 1;
  }
  const GainMaps maps = gain_maps(context);
  return dpd_DenseGainmapCreate(context->denseGainWidth, context->denseGainHeight,
                                context->leftDenseGain.data(), context->rightDenseGain.data(),
                                calibration.MapWidth, calibration.MapHeight, maps.first,
                                maps.second);
}

int flip_maps(dpd_context_t* context, bool isFlipped, int (*flipGains)(uint16_t*, int, int),
              int (*flipDcc)(int16_t*, int, int)) {
  if (!isFlipped) return 0;
  for (auto* map : {&context->leftDenseGain, &context->rightDenseGain}) {
    if (flipGains(map->data(), context->denseGainWidth, context->denseGainHeight) != 0) return 1;
  }
  if (!is_full_dcc_map(context->calibration.DCC_param)) return 0;
  return flipDcc(dcc_map(context), kDccColumns, kDccRows);
}

// The middle of a stretch as a fraction of the image.
double relative_middle(int start, int end, int size) {
  return static_cast<double>(start + (end - start) / 2) / size;
}

int16_t without_fraction(int value, uint16_t fractionBits) {
  constexpr uint16_t kMaxShift = 30;
  return static_cast<int16_t>(fractionBits > kMaxShift ? 0 : value / (1 << fractionBits));
}

// A map that the record doesn't hold as a whole can't be flipped.
bool flip_offset_map(dpd_context_t* context) {
  PDLibOffsetMap& offset = context->calibration.PD_OffsetMap;
  const bool isWhole = uint32_t{offset.width} * offset.height <= uint32_t{kDccMapEntries};
  if (context->sensor.mirror &&
      (!isWhole || fliplr_float(offset.map, offset.width, offset.height) != 0)) {
    PDLIB_ERROR("pd offset map left/right flip error");
    return false;
  }
  if (context->sensor.flip &&
      (!isWhole || flipud_float(offset.map, offset.width, offset.height) != 0)) {
    PDLIB_ERROR("pd offset map up/down flip error");
    return false;
  }
  return true;
}

bool is_offset_map_usable(const _pdaf_cal_param_t& calibration) {
  const PDLibOffsetMap& offset = calibration.PD_OffsetMap;
  const PDLibDccParam& dcc = calibration.DCC_param;
  if (offset.width == dcc.MapWidth && offset.height == dcc.MapHeight) return true;
  PDLIB_ERROR("inconsistency between PDOffsetMap(%dx%d) and DccMap(%dx%d)", offset.width,
              offset.height, dcc.MapWidth, dcc.MapHeight);
  return false;
}

}  // namespace

int InitDPDCalibration(dpd_context_t* context, const _pdaf_cal_param_t& calibration) {
  context->calibration = calibration;
  if (!has_usable_gain_maps(calibration)) return 1;
  crop_maps(context);
  if (make_dense_gains(context) != 0) return 1;
  const dpd_sensor_logic_t& sensor = context->sensor;
  if (flip_maps(context, sensor.mirror, fliplr_uint16, fliplr_int16) != 0 ||
      flip_maps(context, sensor.flip, flipud_uint16, flipud_int16) != 0) {
    PDLIB_ERROR("Out of memory");
    return 1;
  }
  return 0;
}

int16_t DPDInterpolateKValue(const dpd_context_t& context, int start_x, int end_x, int start_y,
                             int end_y, int width, int height) {
  const _pdaf_cal_param_t& calibration = context.calibration;
  const int16_t* map = context.isVertical ? calibration.DCC_map_vertical : calibration.DCC_map;
  const uint16_t fractionBits = calibration.DCC_param.Q_factor;
  if (!is_full_dcc_map(calibration.DCC_param)) return without_fraction(map[0], fractionBits);
  const int column = first_map_line(relative_middle(start_x, end_x, width), kDccColumns);
  const int row = first_map_line(relative_middle(start_y, end_y, height), kDccRows);
  const int16_t* upper = map + row * kDccColumns + column;
  const int16_t* lower = upper + kDccColumns;
  const int sum = std::abs(upper[0]) + std::abs(upper[1]) + std::abs(lower[0]) + std::abs(lower[1]);
  return without_fraction(sum >> 2, fractionBits);
}

float InterpolateOffset(dpd_context_t* context, int start_x, int end_x, int start_y, int end_y,
                        int width, int height) {
  if (!context->hasOffsetMap) return 0.0F;
  if (width == 0 || height == 0) {
    PDLIB_ERROR("params error, ROIWidth(%d) and ROIHeight(%d) should not be zero ", width, height);
    return 0.0F;
  }
  if (!is_offset_map_usable(context->calibration) || !flip_offset_map(context)) return 0.0F;
  const PDLibOffsetMap& offset = context->calibration.PD_OffsetMap;
  const int column = first_map_line(relative_middle(start_x, end_x, width), offset.width);
  const int row = first_map_line(relative_middle(start_y, end_y, height), offset.height);
  const int64_t upper = int64_t{row} * offset.width + column;
  const int64_t lower = upper + offset.width;
  if (lower + 1 >= kDccMapEntries) return 0.0F;
  const float* map = offset.map;
  return (map[upper] + map[upper + 1] + map[lower] + map[lower + 1]) * 0.25F;
}

float refineOffset(const dpd_offset_ratios_t& table, float offset, int32_t lens) {
  const int count = table.PdOffsetRatios;
  if (!table.enabled || count < 2) return offset;
  if (lens < table.pd_offset_lens[0] || lens >= table.pd_offset_lens[count - 1]) return offset;
  int i = count - 2;
  while (table.pd_offset_lens[i] > lens) --i;  // ends at 0 at the latest
  const int64_t from = table.pd_offset_lens[i];
  const int64_t to = table.pd_offset_lens[i + 1];
  const float ratio = table.pd_offset_ratio[i];
  const float next = table.pd_offset_ratio[i + 1];
  if (ratio == next || from == to) return offset;
  // A whole-number quotient: 0 inside an interval, so that the ratio goes by steps. Intended.
  const float position = static_cast<float>((lens - from) / (to - from));
  return offset * (ratio + (next - ratio) * position);
}

#include "sparse/pdlib_sparse_utils_calibration.h"

#include <algorithm>
#include <cstring>

#include "base/pdlib_log.h"
#include "frame/pdlib_utils_calibration.h"
#include "frame/pdlib_utils_map.h"

using pdlib::OwnedArray;

namespace {

constexpr uint16_t kDefaultDccQ = 10;
constexpr uint16_t kMaxDccQ = 30;
constexpr uint16_t kVersionDccQ6 = 1 << 10;
constexpr uint16_t kVersionGainAsNamed = 0xFC;  // bits 2 to 7

struct MapSize {
  int width;
  int height;
  size_t entries() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};

void log_dcc_q_format(const _pdaf_cal_param_t& calibration) {
  const uint16_t fractionBits = calibration.DCC_param.Q_factor;
  if ((calibration.VersionNum & kVersionDccQ6) != 0) {
    PDLIB_INFO("pdaf cal: 10th bit of version number set high. using dcc_q_format=6");
  } else if (fractionBits > kMaxDccQ) {
    PDLIB_ERROR("pdaf cal: DCC Q factor %u exceeds %u, using %u", fractionBits, kMaxDccQ,
                kDefaultDccQ);
  }
}

bool has_full_dcc_table(const _pdaf_cal_param_t& calibration) {
  return calibration.DCC_param.MapWidth == kDccColumns &&
         calibration.DCC_param.MapHeight == kDccRows;
}

bool is_cropped_mode(const sensor_logic_t& sensor) {
  const float* fraction = sensor.cropFraction;
  const auto within_unit = [](float value) { return value >= 0.0F && value <= 1.0F; };
  return fraction[2] > 0.0F && fraction[3] > 0.0F && (fraction[2] < 1.0F || fraction[3] < 1.0F) &&
         within_unit(fraction[0]) && within_unit(fraction[1]);
}

MapCrop mode_crop(const sensor_logic_t& sensor) {
  const float* fraction = sensor.cropFraction;
  return {fraction[0], fraction[1], fraction[2], fraction[3]};
}

// The calibrated map as the sensor mode sees it, in `out` (kGainMapEntries).
void crop_gain_map(const sensor_logic_t& sensor, const uint16_t* map, MapSize size, uint16_t* out) {
  if (is_cropped_mode(sensor)) {
    imcrop_bilinear(map, size.width, size.height, mode_crop(sensor), out, size.width, size.height);
  } else {
    std::copy_n(map, size.entries(), out);
  }
}

int mirror_gain_map(const sensor_logic_t& sensor, OwnedArray<uint16_t>* map, MapSize size) {
  if (sensor.mirror && fliplr_uint16(map->data(), size.width, size.height) != 0) return 1;
  if (sensor.flip && flipud_uint16(map->data(), size.width, size.height) != 0) return 1;
  return 0;
}

// Entries that the parser can ask for: a block's rows of gains may reach past the map's own when
// blocks aren't square.
size_t addressed_gain_entries(const pdaf_context_t& context, MapSize map) {
  const uint16_t last = *std::max_element(context.gainIndex, context.gainIndex + context.pairCount);
  const size_t lastBlock =
      (context.sensor.horizontalBlockCount - 1) * static_cast<size_t>(context.gainMapStepBlock) +
      (context.sensor.verticalBlockCount - 1) * static_cast<size_t>(context.gainMapStepRow);
  return std::max(map.entries(), lastBlock + last + 1);
}

// One gain per sampling point of the blocks; entries past the map repeat its last.
int expand_gain_map(const pdaf_context_t& context, const uint16_t* source, MapSize sourceSize,
                    MapSize size, OwnedArray<uint16_t>* out) {
  if (!out->allocate(addressed_gain_entries(context, size))) return 1;
  imresize_bilinear_optimized(source, sourceSize.width, sourceSize.height, out->data(), size.width,
                              size.height);
  std::fill(out->begin() + size.entries(), out->end(), (*out)[size.entries() - 1]);
  return 0;
}

// One gain per PD pixel, in the order in which the optimised parser gathers.
int gather_gain_map(const pdaf_context_t& context, const OwnedArray<uint16_t>& expanded,
                    MapSize size, OwnedArray<uint16_t>* out) {
  if (!out->allocate(size.entries())) return 1;
  uint16_t* gain = out->data();
  for (uint32_t y = 0; y < context.sensor.verticalBlockCount; ++y) {
    for (uint32_t x = 0; x < context.sensor.horizontalBlockCount; ++x) {
      const size_t block = static_cast<size_t>(x) * context.gainMapStepBlock +
                           static_cast<size_t>(y) * context.gainMapStepRow;
      for (int i = 0; i < context.pairCount; ++i) *gain++ = expanded[block + context.gainIndex[i]];
    }
  }
  return 0;
}

int make_gain_map(pdaf_context_t* context, const uint16_t* calibrated, OwnedArray<uint16_t>* out) {
  const sensor_logic_t& sensor = context->sensor;
  const MapSize sourceSize = {context->calibration.MapWidth, context->calibration.MapHeight};
  uint16_t source[kGainMapEntries];
  crop_gain_map(sensor, calibrated, sourceSize, source);

  const MapSize blockSize = {static_cast<int>(sensor.horizontalBlockCount * context->gainStepX),
                             static_cast<int>(sensor.verticalBlockCount * context->gainStepY)};
  MapSize size = blockSize;
  OwnedArray<uint16_t> expanded;
  if (expand_gain_map(*context, source, sourceSize, blockSize, &expanded) != 0) return 1;
  if (context->optimizedParsing) {
    size = {static_cast<int>(sensor.horizontalBlockCount) * context->pairCount,
            static_cast<int>(sensor.verticalBlockCount)};
    if (gather_gain_map(*context, expanded, size, out) != 0) return 1;
  } else {
    out->swap(expanded);
  }
  context->gainWidth = static_cast<uint32_t>(size.width);
  context->gainHeight = static_cast<uint32_t>(size.height);
  return mirror_gain_map(sensor, out, size);
}

// The map of the lines between the PD pixels: a gain per column of the image and row of blocks.
int make_center_gain_map(pdaf_context_t* context) {
  const sensor_logic_t& sensor = context->sensor;
  const MapSize sourceSize = {context->calibration.MapWidth, context->calibration.MapHeight};
  const MapSize size = {static_cast<int>(sensor.horizontalBlockCount * sensor.blockWidth),
                        static_cast<int>(sensor.verticalBlockCount)};
  uint16_t source[kGainMapEntries];
  crop_gain_map(sensor, context->calibration.Center_GainMap, sourceSize, source);
  if (!context->centerGain.allocate(size.entries())) return 1;
  imresize_bilinear_optimized(source, sourceSize.width, sourceSize.height,
                              context->centerGain.data(), size.width, size.height);
  context->centerGainWidth = static_cast<uint32_t>(size.width);
  context->centerGainHeight = static_cast<uint32_t>(size.height);
  context->lcrFirstFrame = true;
  return mirror_gain_map(sensor, &context->centerGain, size);
}

int make_dcc_map(pdaf_context_t* context) {
  const sensor_logic_t& sensor = context->sensor;
  const int16_t* calibrated = context->calibration.DCC_map;
  std::copy_n(calibrated, kDccMapEntries, context->dccMap);
  if (!has_full_dcc_table(context->calibration)) return 0;
  if (is_cropped_mode(sensor)) {
    imcrop_bilinear(calibrated, kDccColumns, kDccRows, mode_crop(sensor), context->dccMap,
                    kDccColumns, kDccRows);
  }
  if (sensor.mirror && fliplr_int16(context->dccMap, kDccColumns, kDccRows) != 0) return 1;
  if (sensor.flip && flipud_int16(context->dccMap, kDccColumns, kDccRows) != 0) return 1;
  return 0;
}

}  // namespace

uint16_t dcc_q_format(const _pdaf_cal_param_t& calibration) {
  const uint16_t fractionBits = calibration.DCC_param.Q_factor;
  if ((calibration.VersionNum & kVersionDccQ6) != 0) return 6;
  return fractionBits == 0 || fractionBits > kMaxDccQ ? kDefaultDccQ : fractionBits;
}

int pdaf_calibration_init(pdaf_context_t* context) {
  const _pdaf_cal_param_t& calibration = context->calibration;
  log_dcc_q_format(calibration);
  context->dcc_q_format = dcc_q_format(calibration);
  PDLIB_INFO("pdaf cal: version number %d", calibration.VersionNum & 0xFF);
  if (!has_usable_gain_maps(calibration)) return 1;

  const bool asNamed = (calibration.VersionNum & kVersionGainAsNamed) != 0;
  const uint16_t* left = asNamed ? calibration.Left_GainMap : calibration.Right_GainMap;
  const uint16_t* right = asNamed ? calibration.Right_GainMap : calibration.Left_GainMap;
  const bool made = make_gain_map(context, left, &context->leftGain) == 0 &&
                    make_gain_map(context, right, &context->rightGain) == 0 &&
                    (!context->lcrEnabled || make_center_gain_map(context) == 0) &&
                    make_dcc_map(context) == 0;
  if (made) return 0;
  PDLIB_ERROR("Out of memory");
  return 1;
}

int16_t interpolate_dcc(const pdaf_context_t& context, uint32_t x0, uint32_t x1, uint32_t y0,
                        uint32_t y1) {
  const sensor_logic_t& sensor = context.sensor;
  if (sensor.horizontalBlockCount == 0 || sensor.verticalBlockCount == 0) {
    PDLIB_ERROR("block x or block y is 0");
    return 0;
  }
  if (!has_full_dcc_table(context.calibration)) return context.dccMap[0];
  const uint32_t centerX = x0 + ((x1 - x0) >> 1);
  const uint32_t centerY = y0 + ((y1 - y0) >> 1);
  return dcc_lookup(context.dccMap, static_cast<double>(centerX) / sensor.horizontalBlockCount,
                    static_cast<double>(centerY) / sensor.verticalBlockCount);
}

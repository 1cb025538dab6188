#include "dense/dpd_software_flow_init.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "dense/dpd_software_flow_calibration.h"
#include "frame/pdlib_flow.h"
#include "frame/pdlib_utils_calibration.h"
#include "frame/pdlib_utils_curve.h"
#include "frame/pdlib_utils_extension.h"

using afpdlibelements::tessarinePDLibType;
using pdlib::SaturateTo;
using pdlib::ToInt32;
using statsglobalelements::statsExtensionParamType;

namespace {

constexpr uint8_t kDefaultStep = 2;  // full-resolution pixels a site
constexpr uint32_t kDefaultBlockWidth = 2;
constexpr uint32_t kDefaultBlockHeight = 1;
constexpr uint16_t kLineInterval = 8;
constexpr float kFlatFieldThreshold = 0.2F;

// ---- Tuning

// What runs when the tuning has no search range. The range is not symmetric, and that is intended.
tessarinePDLibType fallback_tuning() {
  tessarinePDLibType tuning = {};
  tuning.preProcess.HDR.longThreshold = 450;
  constexpr float kGainStart[] = {8.0F, 4.0F, 1.0F};
  constexpr int32_t kVerticalMode[] = {8, 4, 4};
  for (int set = 0; set < 3; ++set) {
    auto& filter = tuning.preProcess.filterTrigger.filterSet[set];
    filter.AECTrigger.gain_start = kGainStart[set];
    filter.verticalMode = kVerticalMode[set];
    filter.horizontalMode = 1;
  }
  tuning.correlation.defocusConfidenceThreshold = 150.0F;
  tuning.correlation.PDRangeControl = 0.1F;
  tuning.correlation.searchRange = {-32, 16};
  tuning.postProcess.temporalFilterStaticWeight = 1.0F;
  tuning.postProcess.temporalFilterDynamicWeight = 1.0F;
  tuning.postProcess.enableGridOverlap = 1;
  tuning.postProcess.confIntegralWidth = 32;
  auto& adaptive = tuning.adaptiveK;
  adaptive.timeoutFrameCntThres = 32;
  adaptive.filterSize = 3;
  adaptive.state0StableCntThres = 3;
  adaptive.state1StableCntThres = 6;
  adaptive.minimumLensPosDelta = 100;
  adaptive.state0ConfThres = 200;
  adaptive.state1ConfThres = 450;
  adaptive.state0PhaseDiffThres = 6.0F;
  adaptive.state1PhaseDiffThres = 1.0F;
  adaptive.tolNearTargetUpperBound = adaptive.tolFarTargetUpperBound = 1.9F;
  adaptive.tolNearTargetLowerBound = adaptive.tolFarTargetLowerBound = 0.4F;
  tuning.enablePeripheralWindows = 1;
  using Mode = decltype(tuning.PeripheralProcessing.processingMode);
  tuning.singleWindowProcessingLevel.processingMode = static_cast<Mode>(2);
  tuning.singleWindowProcessingLevel.dynamicLevel = 100;
  tuning.PeripheralProcessing.processingMode = static_cast<Mode>(1);
  tuning.PeripheralProcessing.dynamicLevel = 100;
  return tuning;
}

bool has_search_range(const tessarinePDLibType* tuning) {
  return tuning != nullptr &&
         (tuning->correlation.searchRange.from != 0 || tuning->correlation.searchRange.to != 0);
}

void read_repeat_pattern(const statsExtensionParamType& entry, PDLibRepeatPatternDetect* out) {
  constexpr uint32_t kValues = 4;
  if (entry.dataCount < kValues) {
    PDLIB_ERROR("SADRepeatPatternPrevent has %u values, expected %u", entry.dataCount, kValues);
    return;
  }
  out->repeatPatternMaxRevCnt = ToInt32(entry.data[0]);
  out->repeatPatternChangeThr = entry.data[1];
  out->repeatPatternRevDisTol = entry.data[2];
  out->repeatPatternConfThr = entry.data[3];
  out->enabled = 1;
}

// Pairs of ratio and lens position. False ends the scan of the extensions.
bool read_offset_ratios(const statsExtensionParamType& entry, dpd_offset_ratios_t* out) {
  constexpr uint32_t kMaxPairs = 9;
  if (entry.dataCount % 2 != 0) {
    PDLIB_ERROR("error: pd offset ratio params incorrect");
    return false;
  }
  const uint32_t pairs = entry.dataCount / 2;
  if (pairs > kMaxPairs) {
    PDLIB_ERROR("error: too many pd offset ratios");
    return false;
  }
  for (uint32_t i = 0; i < pairs; ++i) {
    out->pd_offset_ratio[i] = entry.data[2 * i];
    out->pd_offset_lens[i] = ToInt32(entry.data[2 * i + 1]);
  }
  out->PdOffsetRatios = static_cast<int32_t>(pairs);
  out->enabled = true;
  return true;
}

void read_vertical_layout(const statsExtensionParamType& entry, dpd_vertical_layout_t* out) {
  const uint32_t count = std::min(entry.dataCount, 4U);
  for (uint32_t i = 0; i < count; ++i)
    out->VerticalLayoutExt[i] = static_cast<uint16_t>(ToInt32(entry.data[i]));
  out->enabled = true;
}

void read_extensions(dpd_context_t* context) {
  const tessarinePDLibType& tuning = context->tuning;
  if (tuning.extensionParam == nullptr) return;
  for (uint32_t i = 0; i < tuning.extensionParamCount; ++i) {
    const statsExtensionParamType& entry = tuning.extensionParam[i];
    if (is_extension(entry, "PdOffsetRatios") && !read_offset_ratios(entry, &context->offsetRatios))
      return;
    if (is_extension(entry, "VerticalLayoutExt"))
      read_vertical_layout(entry, &context->verticalLayout);
  }
}

// ---- Geometry

// A downscale factor as whole pixels a site.
uint8_t step_of(float factor) {
  return factor > 0.0F ? static_cast<uint8_t>(ToInt32(factor)) : kDefaultStep;
}

void store_block_type(dpd_context_t* context, uint64_t position, uint32_t type) {
  if (position < kMaxPatternPixels) context->block_type[position] = type;
}

// Each pixel's type counts twice: by its rank, and where it lies in the block.
void set_block(dpd_context_t* context) {
  const PDLibBlockPattern& pattern = context->bufferDataInfo.isp1BlockPattern;
  context->hasBlock = pattern.pixelCount != 0;
  context->block_width = kDefaultBlockWidth;
  context->block_height = kDefaultBlockHeight;
  if (!context->hasBlock) return;
  const PDLibBlockDimension& size = pattern.blockDimension;
  if (size.width == 0 && size.height == 0) {
    PDLIB_INFO("Dimension for 2PD flow is 0x0, reset back to default 2x1");
  } else {
    context->block_width = size.width;
    context->block_height = size.height;
  }
  const int count = pdlib::Clamp(pattern.pixelCount, 0, kMaxPatternPixels);
  for (int i = 0; i < count; ++i) {
    const PDLibPixelCoordinate& pixel = pattern.pixelCoordinate[i];
    store_block_type(context, static_cast<uint64_t>(i), pixel.type);
    store_block_type(context, pixel.x + uint64_t{pixel.y} * context->block_width, pixel.type);
  }
}

// A flow without vertical pixels measures horizontally instead.
void choose_direction(dpd_context_t* context) {
  if (!context->isVertical || !context->hasBlock) return;
  const PDLibBlockPattern& pattern = context->bufferDataInfo.isp1BlockPattern;
  const PDLibPixelCoordinate* pixels = pattern.pixelCoordinate;
  const int count = pdlib::Clamp(pattern.pixelCount, 0, kMaxPatternPixels);
  context->isVertical = std::any_of(pixels, pixels + count, [](const PDLibPixelCoordinate& pixel) {
    return pixel.type >= kShieldVertical2;
  });
  if (context->isVertical) {
    PDLIB_INFO("Vertical Flow Enabled");
  } else {
    PDLIB_INFO("No vertical pixel exist, return horizontal result");
  }
}

// What the vertical fill may read past the last row: in blocks one sample wide the binned pairs of
// the last column overlap the row's end.
constexpr uint64_t kVerticalOverlapBytes = 32;

// Bytes of one line of the frame, as far as it is read.
uint64_t line_bytes(const dpd_context_t& context) {
  const uint64_t width = context.line.pd_width;
  if (context.isVertical && context.line.buffer_type != kDpdBuffer10BitsUnpacked) return 0;
  if (context.isVertical) return width * context.block_width * sizeof(uint16_t);
  switch (context.line.buffer_type) {
    case kDpdBuffer10BitsUnpacked: return width * 2 * sizeof(uint16_t);
    case kDpdBuffer10BitsPacked: return (width * 5 + 1) / 2;
    case kDpdBuffer8Bits: return width * 2;
    default: return 0;
  }
}

// Bytes from the frame's start to the end of the last sample that any line can ask for. In
// horizontal frames the last line is never read, which makes up for the packed pair that a stretch
// of odd length touches past its end.
uint64_t required_bytes(const dpd_context_t& context) {
  const dpd_line_config_t& line = context.line;
  const uint64_t rows = uint64_t{line.pd_height} * (context.isVertical ? context.block_height : 1);
  const uint64_t bytes = line.line_stride * (rows - 1) + line_bytes(context);
  if (!context.isVertical || line_bytes(context) == 0) return bytes;
  return bytes + (context.block_width < 2 ? kVerticalOverlapBytes : 0) +
         (context.verticalLayout.enabled ? context.verticalLayout.VerticalLayoutExt[0] * 2U : 0U);
}

// False for a frame that has no sites or more than 16 bits can address.
bool set_line_config(dpd_context_t* context) {
  const PDLibDataBufferInfo& buffer = context->bufferDataInfo;
  if (context->block_width == 0 || context->block_height == 0) {
    PDLIB_ERROR("Invalid PD block of %u x %u", context->block_width, context->block_height);
    return false;
  }
  const uint32_t width = buffer.isp1BufferWidth / context->block_width;
  const uint32_t height = buffer.ispBufferHeight / context->block_height;
  constexpr uint32_t kMax = std::numeric_limits<uint16_t>::max();
  if (width == 0 || height == 0 || width > kMax || height > kMax ||
      buffer.isp1BufferStride > kMax) {
    PDLIB_ERROR("Invalid PD frame of %u x %u sites with %u bytes a line, expected 1 to %u", width,
                height, buffer.isp1BufferStride, kMax);
    return false;
  }
  context->line.pd_width = static_cast<uint16_t>(width);
  context->line.pd_height = static_cast<uint16_t>(height);
  context->line.line_stride = static_cast<uint16_t>(buffer.isp1BufferStride);
  return true;
}

// Lines may not overlap.
bool is_stride_usable(const dpd_context_t& context) {
  if (context.line.line_stride >= line_bytes(context)) return true;
  PDLIB_ERROR("Invalid PD stride of %u bytes, %u sites a line need %llu", context.line.line_stride,
              context.line.pd_width, static_cast<unsigned long long>(line_bytes(context)));
  return false;
}

// Formats beyond the known ones leave the type as it is: bytes.
void set_buffer_type(dpd_context_t* context) {
  constexpr uint32_t kTypes[] = {kDpdBuffer8Bits, kDpdBuffer10BitsPacked, kDpdBuffer10BitsUnpacked,
                                 kDpdBufferNotFilled};
  const uint32_t format = context->bufferDataInfo.bufferFormat;
  if (format < std::size(kTypes)) context->line.buffer_type = kTypes[format];
}

// ---- Correlation

// The additions of a half are cut toward zero, so that a negative limit lies one shift nearer to
// zero than its quotient: intended.
int8_t limit_of(float quotient) {
  return SaturateTo<int8_t>(static_cast<double>(quotient) + 0.5);
}

void set_limits(dpd_context_t* context) {
  dpd_sad_request_t& request = context->sadRequest;
  if (context->isVertical) {
    const auto& range = context->tuning.correlationVertical.searchRange;
    const float factor = context->sensor.verticalDownscaleFactor;
    request.near_limit = limit_of(static_cast<float>(range.from) / factor);
    request.far_limit = limit_of(static_cast<float>(range.to) / factor);
  } else {
    const auto& range = context->tuning.correlation.searchRange;
    request.near_limit = limit_of(static_cast<float>(range.from / context->horizontalStep));
    request.far_limit = limit_of(static_cast<float>(range.to / context->horizontalStep));
  }
  request.sad_count = static_cast<uint16_t>(computed_shifts(request));
}

void warn_of_narrow_range(const dpd_context_t& context) {
  const auto& range = context.tuning.correlation.searchRange;
  const int width = context.tuning.postProcess.confIntegralWidth;
  if (int64_t{range.to} - range.from >= width) return;
  PDLIB_ERROR(
      "error: PD search range is smaller than required for reliable confidence estimation. ");
  PDLIB_ERROR("Increase PD search range |far-near| to at least %d", width);
}

// Interleaved exposures halve the sites of a line. Curves keep their length.
void halve_for_hdr(dpd_sad_request_t* request) {
  request->near_limit = static_cast<int8_t>(request->near_limit >> 1);
  request->far_limit = static_cast<int8_t>(request->far_limit >> 1);
  request->sad_step = static_cast<uint8_t>((request->sad_step & 0x7F) * 2);
}

bool set_correlation(dpd_context_t* context) {
  const auto& range = context->tuning.correlation.searchRange;
  if (range.from >= range.to) {
    PDLIB_ERROR("FAIL near_lim is greater than far_lim.");
    return false;
  }
  const uint8_t step = context->isVertical ? context->verticalStep : context->horizontalStep;
  if (context->horizontalStep == 0 || step == 0) {
    PDLIB_ERROR("Invalid downscale factors %f x %f, expected 1 to 255",
                static_cast<double>(context->sensor.horizontalDownscaleFactor),
                static_cast<double>(context->sensor.verticalDownscaleFactor));
    return false;
  }
  set_limits(context);
  warn_of_narrow_range(*context);
  context->sadRequest.sad_step = step;
  context->sadRequest.horizontal_interval = 4;
  context->sadRequest.vertical_interval = kLineInterval;
  if (context->line.hdr_mode == 1) halve_for_hdr(&context->sadRequest);
  SetDPDFilter(context);
  return true;
}

// The table counts in horizontal steps, in vertical mode and in HDR as well: intended.
bool build_bias(dpd_context_t* context) {
  const float tuned = context->tuning.postProcess.biasVectorStrength;
  const float strength = tuned > 0.0F ? std::min(tuned, 1.0F) : 0.0F;
  const int step = context->horizontalStep;
  return build_bias_vector(&context->bias, context->sadRequest.sad_count,
                           step * context->sadRequest.far_limit, step, strength);
}

void copy_init_record(dpd_context_t* context, const PDLibInitParam& init) {
  context->macroDac = init.macroDac;
  context->infinityDac = init.infinityDac;
  context->actuatorSensitivity = init.actuatorSensitivity;
  context->blackLevel = init.blackLevel;
  context->pixelOrderType = init.pixelOrderType;
  context->nativePatternInfo = init.nativePatternInfo;
  context->bufferDataInfo = init.bufferDataInfo;
  context->line.pixel_depth = honoured_pixel_depth(init.pixelDepth);
  context->line.hdr_mode = init.isHdrModeEnabled == 1 ? 1 : 0;
  context->line.pixel_clamp = 1023;
}

}  // namespace

int InitDPDSensorInfo(dpd_context_t* context, const PDLibSensorNativeInfo& native) {
  dpd_sensor_logic_t& sensor = context->sensor;
  sensor.imageWidth = native.currentImageWidth;
  sensor.imageHeight = native.currentImageHeight;
  sensor.crop = {0.0F, 0.0F, 1.0F, 1.0F};
  const PDLibCropRegion& crop = native.cropRegion;
  if (crop.width != 0 && crop.height != 0) {
    // A missing original size gives infinite or undefined fractions, which nothing later takes for
    // a crop.
    const float width = static_cast<float>(native.originalImageWidth);
    const float height = static_cast<float>(native.originalImageHeight);
    sensor.crop = {static_cast<float>(crop.x) / width, static_cast<float>(crop.y) / height,
                   static_cast<float>(crop.width) / width,
                   static_cast<float>(crop.height) / height};
  }
  sensor.horizontalDownscaleFactor = native.horizontalDownscaleFactor;
  sensor.verticalDownscaleFactor = native.verticalDownscaleFactor;
  sensor.pdOffset = honoured_pd_offset(native.PDOffsetCorrection);
  return read_orientation(native.orientation, &sensor.mirror, &sensor.flip) ? 0 : 1;
}

int InitDPDParamTuning(dpd_context_t* context, const tessarinePDLibType* tuning) {
  context->testThreshold = kFlatFieldThreshold;
  if (has_search_range(tuning)) {
    context->tuning = *tuning;
    const statsExtensionParamType* entries = tuning->extensionParam;
    for (uint32_t i = 0; entries != nullptr && i < tuning->extensionParamCount; ++i) {
      if (is_extension(entries[i], "SADRepeatPatternPrevent"))
        read_repeat_pattern(entries[i], &context->repeatPattern);
    }
  } else {
    PDLIB_ERROR("Tuning is invalid");
    context->tuning = fallback_tuning();
  }
  constexpr uint32_t kLeftFirst = 1;
  constexpr uint32_t kRightFirst = 2;
  context->isMirrored = context->sensor.mirror ? context->pixelOrderType == kLeftFirst
                                               : context->pixelOrderType == kRightFirst;
  if (context->isMirrored) {
    auto& range = context->tuning.correlation.searchRange;
    const auto negated = [](int32_t shift) { return ToInt32(-static_cast<double>(shift)); };
    range = {negated(range.to), negated(range.from)};
  }
  return 0;
}

void SetDPDFilter(dpd_context_t* context) {
  for (dpd_filter_t& filter : context->filters) {
    filter = {{1.0F, -1.8732F, 0.8837F}, {0.0582F, 0.0F, -0.0582F}};
  }
}

int InitDPDContext(dpd_context_t* context, const PDLibInitParam& init,
                   const tessarinePDLibType* tuning) {
  if (InitDPDSensorInfo(context, init.nativePatternInfo) != 0) return kPDStatusBadInput;
  copy_init_record(context, init);
  context->horizontalStep = step_of(context->sensor.horizontalDownscaleFactor);
  context->verticalStep = step_of(context->sensor.verticalDownscaleFactor);
  InitDPDParamTuning(context, tuning);
  set_block(context);
  choose_direction(context);
  set_buffer_type(context);
  if (!set_line_config(context) || !is_stride_usable(*context) || !set_correlation(context))
    return kPDStatusBadInput;
  if (InitDPDCalibration(context, *init.calibration) != 0) return kPDStatusBadInput;
  context->hasOffsetMap = context->calibration.PD_OffsetMap.isAvailable != 0;
  if (!build_bias(context)) {
    PDLIB_ERROR("Out of memory");
    return kPDStatusFlowFailed;
  }
  adaptive_k_dpd_init(
      &context->adaptiveK, &context->tuning.adaptiveK,
      context->isVertical ? context->calibration.DCC_map_vertical : context->calibration.DCC_map,
      context->calibration.DCC_param.Q_factor, static_cast<int>(context->sensor.imageWidth),
      static_cast<int>(context->sensor.imageHeight));
  context->status = kDpdGridsWanted;
  read_extensions(context);
  context->requiredBufferBytes = required_bytes(*context);
  return kPDStatusOk;
}

#include "sparse/pdlib_sparse_utils_init.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_switches.h"
#include "frame/pdlib_utils_calibration.h"
#include "frame/pdlib_utils_curve.h"
#include "frame/pdlib_utils_extension.h"
#include "sparse/pdlib_sparse_lcr.h"
#include "sparse/pdlib_sparse_utils_pattern.h"
#include "sparse/pdlib_sparse_utils_validate.h"

using afpdlibelements::tessarinePDLibType;
using pdlib::Clamp;
using pdlib::SaturateTo;
using pdlib::ToInt32;
using statsglobalelements::statsExtensionParamType;

namespace {

// Wider search ranges than any sensor's travel are refused, so that vectors stay small.
constexpr int kMaxSearchShift = 8192;  // pixels

bool crop_is_valid(const PDLibCropRegion& crop, int64_t frameWidth, int64_t frameHeight) {
  return crop.width > 0 && crop.height > 0 && crop.width <= frameWidth &&
         crop.height <= frameHeight && crop.x >= 0 && crop.y >= 0 && crop.x < frameWidth &&
         crop.y < frameHeight;
}

// `caller` names the step in the log.
int validate_crop(const PDLibSensorNativeInfo& native, const char* caller) {
  const bool haveOriginal = native.originalImageWidth != 0 && native.originalImageHeight != 0;
  const uint32_t width = haveOriginal ? native.originalImageWidth : native.currentImageWidth;
  const uint32_t height = haveOriginal ? native.originalImageHeight : native.currentImageHeight;
  if (crop_is_valid(native.cropRegion, width, height)) return 0;
  PDLIB_ERROR("%s: pdaf init failed due to invalid crop region input\n", caller);
  if (width == 0 || height == 0) {
    PDLIB_ERROR("%s: pdaf init failed due to invalid ori image dimension\n", caller);
  }
  return 1;
}

// What runs when the tuning has no search range. The range is not symmetric, and that is intended.
tessarinePDLibType fallback_tuning() {
  tessarinePDLibType tuning = {};
  tuning.preProcess.boxFilterLength = 2;
  tuning.preProcess.antiAliasFilterThreshold = 100;
  tuning.preProcess.lcrMaxBinningNum = 4;
  constexpr float kGainStart[] = {1.0F, 4.0F, 16.0F};
  for (int i = 0; i < 3; ++i) {
    tuning.preProcess.lcrFilterTrigger.filterSet[i].AECTrigger.gain_start = kGainStart[i];
    tuning.preProcess.lcrFilterTrigger.filterSet[i].boxFilterLength = 2;
  }
  tuning.correlation.minimumConfidenceLevel = 250.0F;
  tuning.correlation.defocusConfidenceThreshold = 250.0F;
  tuning.correlation.searchRange = {-48, 16};
  tuning.correlation.lcrSearchRange = {-8, 8};
  tuning.postProcess.biasVectorStrength = 0.1F;
  tuning.postProcess.temporalFilterStaticWeight = 0.5F;
  tuning.postProcess.temporalFilterDynamicWeight = 1.0F;
  tuning.postProcess.enableGridOverlap = 1;
  tuning.postProcess.confIntegralWidth = 24;
  // A tuning without levels would parse nothing; the fallback parses all that the ROI's size
  // allows.
  tuning.singleWindowProcessingLevel.dynamicLevel = 100;
  tuning.singleWindowProcessingLevel.staticLevel = 100;
  tuning.skipControl.staticFrameCountThres = 8;
  tuning.skipControl.maxFrameRate = 30;
  return tuning;
}

void apply_extension(pdaf_context_t* context, const statsExtensionParamType& entry) {
  const auto is = [&entry](const char* known) { return is_extension(entry, known); };
  const float* value = extension_value(entry);
  if (value == nullptr) return;
  if (is("skipLCRInMonitorAndSmallPD")) context->skipLCRInMonitorAndSmallPD = ToInt32(*value);
  if (is("skipLCRPDThreshold")) context->skipLCRPDThreshold = *value;
  if (is("verticalBinningControl")) context->verticalBinningControl = ToInt32(*value);
  if (is("EnableOptimizedSparseParsing")) context->optimizedParsing = ToInt32(*value) != 0;
  if (is("EnableSparsePDAFIIRFilter")) context->iirEnabled = static_cast<uint8_t>(ToInt32(*value));
  if (is("minimumMeanSADLevel")) context->minMeanSADLevel = SaturateTo<int16_t>(*value);
  if (is("OverlapSumByColumns")) context->overlapSumByColumns = ToInt32(*value) == 1;
  if (is("LCRParsingMode")) context->LCRParsingMode = ToInt32(*value);
  if (is("xCFA_factor")) {
    context->xCFA_factor = *value;
    PDLIB_INFO("xCFA_factor %f", static_cast<double>(*value));
  }
}

void apply_extensions(pdaf_context_t* context, const tessarinePDLibType& tuning) {
  if (tuning.extensionParam == nullptr) return;
  for (uint32_t i = 0; i < tuning.extensionParamCount; ++i)
    apply_extension(context, tuning.extensionParam[i]);
}

bool is_range_usable(const char* what, const afpdlibelements::tessarinePDRange& range) {
  const auto usable = [](int32_t shift) {
    return shift >= -kMaxSearchShift && shift <= kMaxSearchShift;
  };
  if (usable(range.from) && usable(range.to)) return true;
  PDLIB_ERROR("%s %d to %d exceeds %d pixels", what, range.from, range.to, kMaxSearchShift);
  return false;
}

// Pixels per sample: the block over its samples, over the tuned factor.
int16_t pixels_per_sample(const pdaf_context_t& context) {
  const int16_t unit = static_cast<int16_t>(context.sensor.blockWidth / context.unique_num_L_pixel);
  return static_cast<int16_t>(
      Clamp(ToInt32(static_cast<float>(unit) / context.xCFA_factor), 1, 32));
}

void warn_of_narrow_range(const pdaf_context_t& context, const char* caller) {
  const auto& range = context.tuning.correlation.searchRange;
  const int width = context.tuning.postProcess.confIntegralWidth;
  if (width <= range.to - range.from) return;
  PDLIB_ERROR(
      "\n%s: error: PD search range is smaller than required for reliable confidence estimation. ",
      caller);
  PDLIB_ERROR("Increase PD search range |far - near| to at least %d\n", width);
}

void set_correlation_info(pdaf_context_t* context) {
  const tessarinePDLibType& tuning = context->tuning;
  const auto& range = tuning.correlation.searchRange;
  context->pd_unit = pixels_per_sample(*context);
  context->shift_offset = static_cast<int16_t>(range.to / context->pd_unit);
  context->shift_end = static_cast<int16_t>(range.from / context->pd_unit);
  context->sad_len = static_cast<int16_t>(context->shift_offset - context->shift_end + 1);
  context->confHalfWidth = static_cast<int16_t>(Clamp(
      tuning.postProcess.confIntegralWidth / context->pd_unit, -kMaxSearchShift, kMaxSearchShift));
  context->confScale = SaturateTo<int16_t>(tuning.correlation.minimumConfidenceLevel);
  context->bpcThreshold = Clamp(tuning.preProcess.antiAliasFilterThreshold, 0, 1023);
  context->biasStrength = std::fmin(std::fmax(tuning.postProcess.biasVectorStrength, 0.0F), 1.0F);
  context->temporalWeight = tuning.postProcess.temporalFilterStaticWeight;
  context->lcrBiasStrength = 0.1F;
}

// Uneven columns are evened out by moving every second sample toward its farther neighbour.
void set_resampling(pdaf_context_t* context) {
  context->resampleDirection = 0;
  context->resampleWeight = 256;
  const uint32_t* column = context->uniqueColumn;
  if (context->unique_num_L_pixel < 2) return;
  const uint32_t third =
      context->unique_num_L_pixel == 2 ? column[0] + context->sensor.blockWidth : column[2];
  const uint32_t a = column[1] - column[0];
  const uint32_t b = third - column[1];
  if (a < b) {
    context->resampleDirection = 1;
    context->resampleWeight = static_cast<int>((a << 8) / b);
  } else if (a > b) {
    context->resampleDirection = -1;
    context->resampleWeight = static_cast<int>(b * 256 / a);
  }
}

// LCR shares the context's memory and bias, its lines are measured by the LCR kernels.
int init_lcr(pdaf_context_t* context) {
  context->lcrEnabled =
      PDLIB_LCR_DISABLE == 0 && context->tuning.preProcess.sparseProcessingMode == 1;
  if (!context->lcrEnabled) return 0;
  const auto& range = context->tuning.correlation.lcrSearchRange;
  if (!is_range_usable("LCR search range", range)) return 1;
  context->lcrShiftTo = static_cast<int16_t>(range.to);
  context->lcrShiftFrom = static_cast<int16_t>(range.from);
  context->lcr_sad_len = static_cast<int16_t>(std::abs(range.to - range.from) + 1);
  if (!build_bias_vector(&context->lcrBiasVector, context->lcr_sad_len,
                         context->pd_unit * context->lcrShiftTo, context->pd_unit,
                         context->lcrBiasStrength)) {
    return 1;
  }
  pdaf_lcr_calculate_parse_info(context);
  return 0;
}

// The optimised parser needs columns of 1, 2 or 4 pixels, one processor and no LCR.
void decide_optimized_parsing(pdaf_context_t* context) {
  if (!context->optimizedParsing) return;
  const uint32_t pairs = static_cast<uint32_t>(context->pairCount);
  const uint32_t samples = context->unique_num_L_pixel;
  const bool mergeable = pairs == samples || pairs == 2 * samples || pairs == 4 * samples;
  context->optimizedParsing =
      mergeable && context->bufferDataInfo.imageOverlap == 0 && !context->lcrEnabled;
  if (context->optimizedParsing) context->parsingMergeFactor = pairs / samples;
}

void copy_init_record(pdaf_context_t* context, const PDLibInitParam& init) {
  context->actuatorSensitivity = init.actuatorSensitivity;
  context->blackLevel = init.blackLevel;
  context->pixelDepth = honoured_pixel_depth(init.pixelDepth);
  context->nativePatternInfo = init.nativePatternInfo;
  context->bufferDataInfo = init.bufferDataInfo;
}

}  // namespace

int init_sensor_info(sensor_logic_t* sensor, const PDLibSensorNativeInfo& native) {
  sensor->pdOffset = honoured_pd_offset(native.PDOffsetCorrection);
  int result = validate_crop(native, __func__);

  const PDLibBlockPattern& pattern = native.blockPattern;
  const PDLibCropRegion& crop = native.cropRegion;
  const float originalWidth = static_cast<float>(native.originalImageWidth);
  const float originalHeight = static_cast<float>(native.originalImageHeight);
  sensor->imageWidth = native.currentImageWidth;
  sensor->imageHeight = native.currentImageHeight;
  sensor->horizontalBlockCount = native.horizontalBlockCount;
  sensor->verticalBlockCount = native.verticalBlockCount;
  sensor->cropX = crop.x;
  sensor->cropY = crop.y;
  sensor->cropWidth = crop.width;
  sensor->cropHeight = crop.height;
  // A missing original size gives infinite or undefined fractions, which no later step takes for a
  // crop.
  sensor->cropFraction[0] = static_cast<float>(crop.x) / originalWidth;
  sensor->cropFraction[1] = static_cast<float>(crop.y) / originalHeight;
  sensor->cropFraction[2] = static_cast<float>(crop.width) / originalWidth;
  sensor->cropFraction[3] = static_cast<float>(crop.height) / originalHeight;
  sensor->pixelCount = pattern.pixelCount;
  for (int i = 0; i < Clamp(pattern.pixelCount, 0, kMaxNativePixels); ++i) {
    sensor->pixels[i].x = pattern.pixelCoordinate[i].x;
    sensor->pixels[i].y = pattern.pixelCoordinate[i].y;
    sensor->pixels[i].type = pattern.pixelCoordinate[i].type;
  }
  sensor->horizontalPDOffset = pattern.horizontalPDOffset;
  sensor->verticalPDOffset = pattern.verticalPDOffset;
  sensor->blockWidth = pattern.blockDimension.width;
  sensor->blockHeight = pattern.blockDimension.height;
  if (!read_orientation(native.orientation, &sensor->mirror, &sensor->flip)) result = 1;
  return result;
}

int pdaf_param_init_tuning(pdaf_context_t* context, const tessarinePDLibType& tuning) {
  context->skipLCRInMonitorAndSmallPD = 0;
  context->skipLCRPDThreshold = 1.0F;
  context->xCFA_factor = 1.0F;
  context->optimizedParsing = false;
  context->iirEnabled = 0;
  if (context->testMode) {
    constexpr float kFlatFieldLimits[4] = {0.05F, 0.05F, 1.0F, 0.2F};
    std::memcpy(context->testCriteria, kFlatFieldLimits, sizeof(kFlatFieldLimits));
  }
  if (tuning.correlation.searchRange.from == 0 && tuning.correlation.searchRange.to == 0) {
    PDLIB_ERROR("Tuning is invalid\n");
    context->tuning = fallback_tuning();
    return 0;
  }
  context->tuning = tuning;
  apply_extensions(context, tuning);
  return 0;
}

int set_pd_context_init_info(pdaf_context_t* context, const PDLibInitParam& init,
                             const tessarinePDLibType& tuning) {
  if (init_sensor_info(&context->sensor, init.nativePatternInfo) != 0) return 1;
  copy_init_record(context, init);
  pdaf_param_init_tuning(context, tuning);
  const auto& range = context->tuning.correlation.searchRange;
  if (range.from >= range.to) return 1;
  if (!is_range_usable("Search range", range)) return 1;
  if (validate_sensor_description(context->nativePatternInfo, context->bufferDataInfo) != 0)
    return 1;
  if (calculate_pd_pixel_offset(context) != 0) return 1;
  if (context->unique_num_L_pixel == 0) {
    PDLIB_ERROR("ERROR unique_num_L_pixel cannot be 0");
    return 1;
  }
  set_correlation_info(context);
  warn_of_narrow_range(*context, __func__);
  if (validate_tables(context) != 0) return 1;
  context->frameIndex = 0;
  set_resampling(context);
  if (init_lcr(context) != 0) return 1;
  decide_optimized_parsing(context);
  const bool built = build_bias_vector(&context->biasVector, context->sad_len,
                                       context->pd_unit * context->shift_offset, context->pd_unit,
                                       context->biasStrength);
  return built ? 0 : 1;
}

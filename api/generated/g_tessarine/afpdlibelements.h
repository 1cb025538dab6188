// The tuning schema of the PD library.
// Its module is "tessarinePDLib", version 9.0.0.
//
// Every scalar is 32 bits wide. The order of the fields is the order in the tuning file. Spellings
// such as `enabldHardwarePDModule` and `widhtOfRegion` are the schema's own. An enumeration's
// values are known by number: each flow gives them its own effect.
#pragma once

#include <cstdint>
#include <tuple>

#include "globalelements.h"
#include "parameterexport.h"
#include "statsglobalelements.h"
#include "tuningfields.h"

namespace afpdlibelements {

using globalelements::trigger_pt_type_aec;
using statsglobalelements::statsExtensionParamType;
using tuning::ArrayField;
using tuning::EnumField;
using tuning::Field;
using tuning::FieldKind;

// Axes that are processed: 0 horizontal, 1 vertical, 2 both. Values 0 to 2.
enum tessarinePDAxisControl : uint32_t {};
// How a processing level forms the ratio of parsed rows. Values 0 to 5.
enum tessarinePDProcessingMode : uint32_t {};
// Raw type of the LCR path. Values 0 to 2.
enum tessarineLCRRawType : uint32_t {};
// Binning mode of the LCR path. Values 0 to 2.
enum tessarineLCRBinningMode : uint32_t {};
// Channel of the LCR path. Values 0 to 1.
enum tessarineLCRChannel : uint32_t {};
// Which exposure channel is used. Values 0 to 2.
enum tessarineHDRChannelSelection : uint32_t {};
// 0: PD pixels alone; 1: LCR beside them. Values 0 to 1.
enum tessarineSparsePDProcMode : uint32_t {};

}  // namespace afpdlibelements

namespace tuning {

template <>
struct EnumTraits<afpdlibelements::tessarinePDAxisControl> {
  static constexpr const char* kName = "tessarinePDAxisControl";
  static constexpr uint32_t kLast = 2;
};
template <>
struct EnumTraits<afpdlibelements::tessarinePDProcessingMode> {
  static constexpr const char* kName = "tessarinePDProcessingMode";
  static constexpr uint32_t kLast = 5;
};
template <>
struct EnumTraits<afpdlibelements::tessarineLCRRawType> {
  static constexpr const char* kName = "tessarineLCRRawType";
  static constexpr uint32_t kLast = 2;
};
template <>
struct EnumTraits<afpdlibelements::tessarineLCRBinningMode> {
  static constexpr const char* kName = "tessarineLCRBinningMode";
  static constexpr uint32_t kLast = 2;
};
template <>
struct EnumTraits<afpdlibelements::tessarineLCRChannel> {
  static constexpr const char* kName = "tessarineLCRChannel";
  static constexpr uint32_t kLast = 1;
};
template <>
struct EnumTraits<afpdlibelements::tessarineHDRChannelSelection> {
  static constexpr const char* kName = "tessarineHDRChannelSelection";
  static constexpr uint32_t kLast = 2;
};
template <>
struct EnumTraits<afpdlibelements::tessarineSparsePDProcMode> {
  static constexpr const char* kName = "tessarineSparsePDProcMode";
  static constexpr uint32_t kLast = 1;
};

}  // namespace tuning

namespace afpdlibelements {

// Channel choice for HDR input.
struct tessarineTuningHDRCfg {
  tessarineHDRChannelSelection channelSelection;  // which exposure channel is used
  int32_t longThreshold;                          // threshold on the long exposure
};

inline constexpr auto kFields_tessarineTuningHDRCfg =
    std::tuple{EnumField{"channelSelection", &tessarineTuningHDRCfg::channelSelection},
               Field{"longThreshold", FieldKind::kInt32, &tessarineTuningHDRCfg::longThreshold}};
TUNING_RECORD(tessarineTuningHDRCfg)

// Filter settings of one AEC region.
struct tessarinePDLIBPreprocessingFilterSettings {
  trigger_pt_type_aec AECTrigger;    // the region in which this set applies
  int32_t verticalMode;              // vertical binning count: 1, 2, 4, 8, 16
  int32_t horizontalMode;            // horizontal filter mode
  int32_t boxFilterLength;           // samples
  int32_t antiAliasFilterThreshold;  // band around the neighbours, 1/1024
};

inline constexpr auto kFields_tessarinePDLIBPreprocessingFilterSettings =
    std::tuple{Field{"AECTrigger", FieldKind::kStructure,
                     &tessarinePDLIBPreprocessingFilterSettings::AECTrigger},
               Field{"verticalMode", FieldKind::kInt32,
                     &tessarinePDLIBPreprocessingFilterSettings::verticalMode},
               Field{"horizontalMode", FieldKind::kInt32,
                     &tessarinePDLIBPreprocessingFilterSettings::horizontalMode},
               Field{"boxFilterLength", FieldKind::kInt32,
                     &tessarinePDLIBPreprocessingFilterSettings::boxFilterLength},
               Field{"antiAliasFilterThreshold", FieldKind::kInt32,
                     &tessarinePDLIBPreprocessingFilterSettings::antiAliasFilterThreshold}};
TUNING_RECORD(tessarinePDLIBPreprocessingFilterSettings)

// Filter settings by AEC trigger.
struct tessarineDPDFilterTrigger {
  tessarinePDLIBPreprocessingFilterSettings filterSet[3];  // by falling gain
};

inline constexpr auto kFields_tessarineDPDFilterTrigger =
    std::tuple{Field{"filterSet", FieldKind::kStructure, &tessarineDPDFilterTrigger::filterSet}};
TUNING_RECORD(tessarineDPDFilterTrigger)

// The same for the LCR path.
struct tessarineLCRFilterTrigger {
  tessarinePDLIBPreprocessingFilterSettings filterSet[3];  // by falling gain
};

inline constexpr auto kFields_tessarineLCRFilterTrigger =
    std::tuple{Field{"filterSet", FieldKind::kStructure, &tessarineLCRFilterTrigger::filterSet}};
TUNING_RECORD(tessarineLCRFilterTrigger)

// Pre-processing of one PD axis.
struct tessarineTuningPreProcess {
  tessarineSparsePDProcMode sparseProcessingMode;  // 1: LCR beside the PD pixels
  tessarineTuningHDRCfg HDR;                       // channel choice for HDR input
  int32_t boxFilterLength;                         // horizontal smoothing: 0 off, 2 or 4 samples
  int32_t antiAliasFilterThreshold;                // outlier band around the neighbours, 1/1024
  int32_t saturationThreshold;                     // pixel saturation threshold
  tessarineDPDFilterTrigger filterTrigger;         // filter settings by AEC trigger
  tessarineLCRFilterTrigger lcrFilterTrigger;      // the same for the LCR path
  tessarineLCRChannel lcrChannel;                  // channel of the LCR path
  tessarineLCRBinningMode lcrBinningMode;          // binning mode of the LCR path
  tessarineLCRRawType lcrRawType;                  // raw type of the LCR path
  int32_t lcrMaxBinningNum;                        // largest binning count of the LCR path
  int32_t lcrChannelSeparated;                     // LCR channels come separated
};

inline constexpr auto kFields_tessarineTuningPreProcess = std::tuple{
    EnumField{"sparseProcessingMode", &tessarineTuningPreProcess::sparseProcessingMode},
    Field{"HDR", FieldKind::kStructure, &tessarineTuningPreProcess::HDR},
    Field{"boxFilterLength", FieldKind::kInt32, &tessarineTuningPreProcess::boxFilterLength},
    Field{"antiAliasFilterThreshold", FieldKind::kInt32,
          &tessarineTuningPreProcess::antiAliasFilterThreshold},
    Field{"saturationThreshold", FieldKind::kInt32,
          &tessarineTuningPreProcess::saturationThreshold},
    Field{"filterTrigger", FieldKind::kStructure, &tessarineTuningPreProcess::filterTrigger},
    Field{"lcrFilterTrigger", FieldKind::kStructure, &tessarineTuningPreProcess::lcrFilterTrigger},
    EnumField{"lcrChannel", &tessarineTuningPreProcess::lcrChannel},
    EnumField{"lcrBinningMode", &tessarineTuningPreProcess::lcrBinningMode},
    EnumField{"lcrRawType", &tessarineTuningPreProcess::lcrRawType},
    Field{"lcrMaxBinningNum", FieldKind::kInt32, &tessarineTuningPreProcess::lcrMaxBinningNum},
    Field{"lcrChannelSeparated", FieldKind::kBoolean,
          &tessarineTuningPreProcess::lcrChannelSeparated}};
TUNING_RECORD(tessarineTuningPreProcess)

// A range of shifts, pixels.
struct tessarinePDRange {
  int32_t from;  // lower end
  int32_t to;    // upper end
};

inline constexpr auto kFields_tessarinePDRange =
    std::tuple{Field{"from", FieldKind::kInt32, &tessarinePDRange::from},
               Field{"to", FieldKind::kInt32, &tessarinePDRange::to}};
TUNING_RECORD(tessarinePDRange)

// Correlation of one PD axis.
struct tessarineTuningCorrelation {
  float minimumConfidenceLevel;      // scale of the confidence; 140 is neutral
  float defocusConfidenceThreshold;  // a confidence above it counts as found
  float PDRangeControl;              // control of the PD search range
  tessarinePDRange searchRange;      // pixels
  tessarinePDRange lcrSearchRange;   // pixels
};

inline constexpr auto kFields_tessarineTuningCorrelation = std::tuple{
    Field{"minimumConfidenceLevel", FieldKind::kFloat,
          &tessarineTuningCorrelation::minimumConfidenceLevel},
    Field{"defocusConfidenceThreshold", FieldKind::kFloat,
          &tessarineTuningCorrelation::defocusConfidenceThreshold},
    Field{"PDRangeControl", FieldKind::kFloat, &tessarineTuningCorrelation::PDRangeControl},
    Field{"searchRange", FieldKind::kStructure, &tessarineTuningCorrelation::searchRange},
    Field{"lcrSearchRange", FieldKind::kStructure, &tessarineTuningCorrelation::lcrSearchRange}};
TUNING_RECORD(tessarineTuningCorrelation)

// Temporal weights of one AEC region.
struct tessarinePDLIBPostprocessingTemporalFilterSetting {
  trigger_pt_type_aec AECTrigger;  // the region in which this set applies
  float dynamicWeight;             // while the scene moves
  float staticWeight;              // while the scene is static
};

inline constexpr auto kFields_tessarinePDLIBPostprocessingTemporalFilterSetting =
    std::tuple{Field{"AECTrigger", FieldKind::kStructure,
                     &tessarinePDLIBPostprocessingTemporalFilterSetting::AECTrigger},
               Field{"dynamicWeight", FieldKind::kFloat,
                     &tessarinePDLIBPostprocessingTemporalFilterSetting::dynamicWeight},
               Field{"staticWeight", FieldKind::kFloat,
                     &tessarinePDLIBPostprocessingTemporalFilterSetting::staticWeight}};
TUNING_RECORD(tessarinePDLIBPostprocessingTemporalFilterSetting)

// Temporal weights by AEC trigger.
struct tessarineTemporalFilterTrigger {
  tessarinePDLIBPostprocessingTemporalFilterSetting temporalFilterSet[3];  // by falling gain
};

inline constexpr auto kFields_tessarineTemporalFilterTrigger =
    std::tuple{Field{"temporalFilterSet", FieldKind::kStructure,
                     &tessarineTemporalFilterTrigger::temporalFilterSet}};
TUNING_RECORD(tessarineTemporalFilterTrigger)

// Post-processing of one PD axis.
struct tessarineTuningPostProcess {
  float biasVectorStrength;           // 0 to 1: how much small shifts are favoured
  float temporalFilterStaticWeight;   // weight of the new frame while the lens stands, 0 to 1
  float temporalFilterDynamicWeight;  // weight of the new frame while the lens moves, 0 to 1
  tessarineTemporalFilterTrigger temporalFilterTrigger;  // the same weights by AEC trigger
  int32_t enableGridOverlap;                             // non-zero lets grid windows overlap
  int32_t confIntegralWidth;  // half width of the confidence integral, pixels
};

inline constexpr auto kFields_tessarineTuningPostProcess = std::tuple{
    Field{"biasVectorStrength", FieldKind::kFloat, &tessarineTuningPostProcess::biasVectorStrength},
    Field{"temporalFilterStaticWeight", FieldKind::kFloat,
          &tessarineTuningPostProcess::temporalFilterStaticWeight},
    Field{"temporalFilterDynamicWeight", FieldKind::kFloat,
          &tessarineTuningPostProcess::temporalFilterDynamicWeight},
    Field{"temporalFilterTrigger", FieldKind::kStructure,
          &tessarineTuningPostProcess::temporalFilterTrigger},
    Field{"enableGridOverlap", FieldKind::kInt32, &tessarineTuningPostProcess::enableGridOverlap},
    Field{"confIntegralWidth", FieldKind::kInt32, &tessarineTuningPostProcess::confIntegralWidth}};
TUNING_RECORD(tessarineTuningPostProcess)

// Online adaptation of the conversion coefficient.
struct tessarineTuningAdaptiveK {
  int32_t enable;                 // 1 turns the adaptation on
  int32_t timeoutFrameCntThres;   // frames allowed for one measurement
  int32_t filterSize;             // entries of a history in the median
  int32_t state0StableCntThres;   // stable frames needed in state 0
  int32_t state1StableCntThres;   // stable frames needed in state 1
  int32_t minimumLensPosDelta;    // smallest lens travel that counts, actuator codes
  int32_t state0ConfThres;        // confidence threshold in state 0
  int32_t state1ConfThres;        // confidence threshold in state 1
  float state0PhaseDiffThres;     // smallest phase difference of a start, pixels
  float state1PhaseDiffThres;     // largest phase difference of an end, pixels
  float tolNearTargetUpperBound;  // upper tolerance at the near target, times the calibrated value
  float tolNearTargetLowerBound;  // lower tolerance at the near target
  float tolFarTargetUpperBound;   // upper tolerance at the far target
  float tolFarTargetLowerBound;   // lower tolerance at the far target
};

inline constexpr auto kFields_tessarineTuningAdaptiveK = std::tuple{
    Field{"enable", FieldKind::kInt32, &tessarineTuningAdaptiveK::enable},
    Field{"timeoutFrameCntThres", FieldKind::kInt32,
          &tessarineTuningAdaptiveK::timeoutFrameCntThres},
    Field{"filterSize", FieldKind::kInt32, &tessarineTuningAdaptiveK::filterSize},
    Field{"state0StableCntThres", FieldKind::kInt32,
          &tessarineTuningAdaptiveK::state0StableCntThres},
    Field{"state1StableCntThres", FieldKind::kInt32,
          &tessarineTuningAdaptiveK::state1StableCntThres},
    Field{"minimumLensPosDelta", FieldKind::kInt32, &tessarineTuningAdaptiveK::minimumLensPosDelta},
    Field{"state0ConfThres", FieldKind::kInt32, &tessarineTuningAdaptiveK::state0ConfThres},
    Field{"state1ConfThres", FieldKind::kInt32, &tessarineTuningAdaptiveK::state1ConfThres},
    Field{"state0PhaseDiffThres", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::state0PhaseDiffThres},
    Field{"state1PhaseDiffThres", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::state1PhaseDiffThres},
    Field{"tolNearTargetUpperBound", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::tolNearTargetUpperBound},
    Field{"tolNearTargetLowerBound", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::tolNearTargetLowerBound},
    Field{"tolFarTargetUpperBound", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::tolFarTargetUpperBound},
    Field{"tolFarTargetLowerBound", FieldKind::kFloat,
          &tessarineTuningAdaptiveK::tolFarTargetLowerBound}};
TUNING_RECORD(tessarineTuningAdaptiveK)

// How many of the block rows are parsed.
struct tessarineTuningProcessLevel {
  tessarinePDProcessingMode processingMode;  // how the level forms the ratio
  int32_t dynamicLevel;                      // percent, while the scene changes
  int32_t staticLevel;                       // percent, once it is still
};

inline constexpr auto kFields_tessarineTuningProcessLevel =
    std::tuple{EnumField{"processingMode", &tessarineTuningProcessLevel::processingMode},
               Field{"dynamicLevel", FieldKind::kInt32, &tessarineTuningProcessLevel::dynamicLevel},
               Field{"staticLevel", FieldKind::kInt32, &tessarineTuningProcessLevel::staticLevel}};
TUNING_RECORD(tessarineTuningProcessLevel)

// One point of a weight curve.
struct tessarineHVConfWeight {
  float weight;           // weight at this point
  int32_t confThreshold;  // confidence of this point
};

inline constexpr auto kFields_tessarineHVConfWeight =
    std::tuple{Field{"weight", FieldKind::kFloat, &tessarineHVConfWeight::weight},
               Field{"confThreshold", FieldKind::kInt32, &tessarineHVConfWeight::confThreshold}};
TUNING_RECORD(tessarineHVConfWeight)

// Choice and fusion of the two axes.
struct tessarineHVControl {
  tessarinePDAxisControl PDProcessingAxis;  // 0 horizontal, 1 vertical, 2 both
  uint32_t horizontalConfWeightTuningCount;
  uint32_t horizontalConfWeightTuningID;
  tessarineHVConfWeight*
      horizontalConfWeightTuning;  // weight of the horizontal result by confidence
  uint32_t verticalConfWeightTuningCount;
  uint32_t verticalConfWeightTuningID;
  tessarineHVConfWeight* verticalConfWeightTuning;  // weight of the vertical result by confidence
};

inline constexpr auto kFields_tessarineHVControl =
    std::tuple{EnumField{"PDProcessingAxis", &tessarineHVControl::PDProcessingAxis},
               ArrayField{"horizontalConfWeightTuning", FieldKind::kStructure,
                          &tessarineHVControl::horizontalConfWeightTuningCount,
                          &tessarineHVControl::horizontalConfWeightTuningID,
                          &tessarineHVControl::horizontalConfWeightTuning},
               ArrayField{"verticalConfWeightTuning", FieldKind::kStructure,
                          &tessarineHVControl::verticalConfWeightTuningCount,
                          &tessarineHVControl::verticalConfWeightTuningID,
                          &tessarineHVControl::verticalConfWeightTuning}};
TUNING_RECORD(tessarineHVControl)

// Frame skipping while the lens stands.
struct tessarineTuningSkipControl {
  int32_t staticFrameCountThres;  // calls without lens movement before skipping starts
  int32_t maxFrameRate;           // frames a second that are processed then
};

inline constexpr auto kFields_tessarineTuningSkipControl =
    std::tuple{Field{"staticFrameCountThres", FieldKind::kInt32,
                     &tessarineTuningSkipControl::staticFrameCountThres},
               Field{"maxFrameRate", FieldKind::kInt32, &tessarineTuningSkipControl::maxFrameRate}};
TUNING_RECORD(tessarineTuningSkipControl)

// Grid geometry of the hardware PD block.
struct tessarineTuningHardwareGeometry {
  int32_t enabldHardwarePDModule;  // non-zero turns the hardware PD block on
  int32_t enableOverlap;           // non-zero lets grids overlap
  int32_t numOfHoriGrids;          // grids across
  int32_t numOfVertGrids;          // grids down
  int32_t horiNumOfRGNInGridUnit;  // regions across in one grid unit
  int32_t vertNumOfRGNInGridUnit;  // regions down in one grid unit
  int32_t horiRegionOffset;        // horizontal offset of the first region
  int32_t vertRegionOffset;        // vertical offset of the first region
  int32_t widhtOfRegion;           // region width
  int32_t heightOfRegion;          // region height
  int32_t horiNumOfRegion;         // regions across
  int32_t vertNumOfRegion;         // regions down
};

inline constexpr auto kFields_tessarineTuningHardwareGeometry = std::tuple{
    Field{"enabldHardwarePDModule", FieldKind::kInt32,
          &tessarineTuningHardwareGeometry::enabldHardwarePDModule},
    Field{"enableOverlap", FieldKind::kInt32, &tessarineTuningHardwareGeometry::enableOverlap},
    Field{"numOfHoriGrids", FieldKind::kInt32, &tessarineTuningHardwareGeometry::numOfHoriGrids},
    Field{"numOfVertGrids", FieldKind::kInt32, &tessarineTuningHardwareGeometry::numOfVertGrids},
    Field{"horiNumOfRGNInGridUnit", FieldKind::kInt32,
          &tessarineTuningHardwareGeometry::horiNumOfRGNInGridUnit},
    Field{"vertNumOfRGNInGridUnit", FieldKind::kInt32,
          &tessarineTuningHardwareGeometry::vertNumOfRGNInGridUnit},
    Field{"horiRegionOffset", FieldKind::kInt32,
          &tessarineTuningHardwareGeometry::horiRegionOffset},
    Field{"vertRegionOffset", FieldKind::kInt32,
          &tessarineTuningHardwareGeometry::vertRegionOffset},
    Field{"widhtOfRegion", FieldKind::kInt32, &tessarineTuningHardwareGeometry::widhtOfRegion},
    Field{"heightOfRegion", FieldKind::kInt32, &tessarineTuningHardwareGeometry::heightOfRegion},
    Field{"horiNumOfRegion", FieldKind::kInt32, &tessarineTuningHardwareGeometry::horiNumOfRegion},
    Field{"vertNumOfRegion", FieldKind::kInt32, &tessarineTuningHardwareGeometry::vertNumOfRegion}};
TUNING_RECORD(tessarineTuningHardwareGeometry)

// Pixel extraction stage.
struct tessarinePDAFHardwarePixelExtractor {
  int32_t enable;        // non-zero turns the stage on
  int32_t outputWidth;   // output width
  int32_t outputHeight;  // output height
};

inline constexpr auto kFields_tessarinePDAFHardwarePixelExtractor = std::tuple{
    Field{"enable", FieldKind::kInt32, &tessarinePDAFHardwarePixelExtractor::enable},
    Field{"outputWidth", FieldKind::kInt32, &tessarinePDAFHardwarePixelExtractor::outputWidth},
    Field{"outputHeight", FieldKind::kInt32, &tessarinePDAFHardwarePixelExtractor::outputHeight}};
TUNING_RECORD(tessarinePDAFHardwarePixelExtractor)

// One entry of the line extraction stage.
struct tessarinePDAFHardwareLineExtractor {
  int32_t XOffset;   // horizontal offset
  int32_t YOffset;   // vertical offset
  int32_t HalfLine;  // the entry describes a half line
};

inline constexpr auto kFields_tessarinePDAFHardwareLineExtractor = std::tuple{
    Field{"XOffset", FieldKind::kInt32, &tessarinePDAFHardwareLineExtractor::XOffset},
    Field{"YOffset", FieldKind::kInt32, &tessarinePDAFHardwareLineExtractor::YOffset},
    Field{"HalfLine", FieldKind::kBoolean, &tessarinePDAFHardwareLineExtractor::HalfLine}};
TUNING_RECORD(tessarinePDAFHardwareLineExtractor)

// Pixel separation stage.
struct tessarinePDAFHardwarePixelSeparator {
  int32_t inputBlockWidth;    // input block width
  int32_t inputBlockHeight;   // input block height
  int32_t outputBlockWidth;   // output block width
  int32_t outputBlockHeight;  // output block height
  uint32_t L_mapCount;
  uint32_t L_mapID;
  int32_t* L_map;  // pixel map of the left image
  uint32_t R_mapCount;
  uint32_t R_mapID;
  int32_t* R_map;  // pixel map of the right image
};

inline constexpr auto kFields_tessarinePDAFHardwarePixelSeparator = std::tuple{
    Field{"inputBlockWidth", FieldKind::kInt32,
          &tessarinePDAFHardwarePixelSeparator::inputBlockWidth},
    Field{"inputBlockHeight", FieldKind::kInt32,
          &tessarinePDAFHardwarePixelSeparator::inputBlockHeight},
    Field{"outputBlockWidth", FieldKind::kInt32,
          &tessarinePDAFHardwarePixelSeparator::outputBlockWidth},
    Field{"outputBlockHeight", FieldKind::kInt32,
          &tessarinePDAFHardwarePixelSeparator::outputBlockHeight},
    ArrayField{"L_map", FieldKind::kInt32, &tessarinePDAFHardwarePixelSeparator::L_mapCount,
               &tessarinePDAFHardwarePixelSeparator::L_mapID,
               &tessarinePDAFHardwarePixelSeparator::L_map},
    ArrayField{"R_map", FieldKind::kInt32, &tessarinePDAFHardwarePixelSeparator::R_mapCount,
               &tessarinePDAFHardwarePixelSeparator::R_mapID,
               &tessarinePDAFHardwarePixelSeparator::R_map}};
TUNING_RECORD(tessarinePDAFHardwarePixelSeparator)

// One resampling instruction.
struct tessarinePDAFHardwareResamplerInstruction {
  uint32_t SCount;
  uint32_t SID;
  int32_t* S;  // integer table
  uint32_t OCount;
  uint32_t OID;
  float* O;  // float table
};

inline constexpr auto kFields_tessarinePDAFHardwareResamplerInstruction = std::tuple{
    ArrayField{"S", FieldKind::kInt32, &tessarinePDAFHardwareResamplerInstruction::SCount,
               &tessarinePDAFHardwareResamplerInstruction::SID,
               &tessarinePDAFHardwareResamplerInstruction::S},
    ArrayField{"O", FieldKind::kFloat, &tessarinePDAFHardwareResamplerInstruction::OCount,
               &tessarinePDAFHardwareResamplerInstruction::OID,
               &tessarinePDAFHardwareResamplerInstruction::O}};
TUNING_RECORD(tessarinePDAFHardwareResamplerInstruction)

// Resampling stage.
struct tessarinePDAFHardwareResampler {
  int32_t enable;             // non-zero turns the stage on
  int32_t inputBlockWidth;    // input block width
  int32_t inputBlockHeight;   // input block height
  int32_t outputBlockWidth;   // output block width
  int32_t outputBlockHeight;  // output block height
  uint32_t instructionsCount;
  uint32_t instructionsID;
  tessarinePDAFHardwareResamplerInstruction* instructions;  // the resampling instructions
};

inline constexpr auto kFields_tessarinePDAFHardwareResampler = std::tuple{
    Field{"enable", FieldKind::kInt32, &tessarinePDAFHardwareResampler::enable},
    Field{"inputBlockWidth", FieldKind::kInt32, &tessarinePDAFHardwareResampler::inputBlockWidth},
    Field{"inputBlockHeight", FieldKind::kInt32, &tessarinePDAFHardwareResampler::inputBlockHeight},
    Field{"outputBlockWidth", FieldKind::kInt32, &tessarinePDAFHardwareResampler::outputBlockWidth},
    Field{"outputBlockHeight", FieldKind::kInt32,
          &tessarinePDAFHardwareResampler::outputBlockHeight},
    ArrayField{"instructions", FieldKind::kStructure,
               &tessarinePDAFHardwareResampler::instructionsCount,
               &tessarinePDAFHardwareResampler::instructionsID,
               &tessarinePDAFHardwareResampler::instructions}};
TUNING_RECORD(tessarinePDAFHardwareResampler)

// A pattern of the hardware PD block.
struct tessarineTuningHardwarePattern {
  tessarinePDAFHardwarePixelExtractor pixelExtractor;  // pixel extraction stage
  uint32_t lineExtractorCount;
  uint32_t lineExtractorID;
  tessarinePDAFHardwareLineExtractor* lineExtractor;   // line extraction stage
  tessarinePDAFHardwarePixelSeparator pixelSeparator;  // pixel separation stage
  tessarinePDAFHardwareResampler resampler;            // resampling stage
  float gridWidthScaleRatio;                           // ratio of the grid width
  float gridHeightScaleRatio;                          // ratio of the grid height
};

inline constexpr auto kFields_tessarineTuningHardwarePattern = std::tuple{
    Field{"pixelExtractor", FieldKind::kStructure, &tessarineTuningHardwarePattern::pixelExtractor},
    ArrayField{"lineExtractor", FieldKind::kStructure,
               &tessarineTuningHardwarePattern::lineExtractorCount,
               &tessarineTuningHardwarePattern::lineExtractorID,
               &tessarineTuningHardwarePattern::lineExtractor},
    Field{"pixelSeparator", FieldKind::kStructure, &tessarineTuningHardwarePattern::pixelSeparator},
    Field{"resampler", FieldKind::kStructure, &tessarineTuningHardwarePattern::resampler},
    Field{"gridWidthScaleRatio", FieldKind::kFloat,
          &tessarineTuningHardwarePattern::gridWidthScaleRatio},
    Field{"gridHeightScaleRatio", FieldKind::kFloat,
          &tessarineTuningHardwarePattern::gridHeightScaleRatio}};
TUNING_RECORD(tessarineTuningHardwarePattern)

// Version of the tuning schema.
struct module_versionStruct {
  uint32_t reserved;  // not part of the file data; stays 0
  int32_t major_revision;
  int32_t minor_revision;
  int32_t incr_revision;
};

inline constexpr auto kFields_module_versionStruct =
    std::tuple{Field{"major_revision", FieldKind::kInt32, &module_versionStruct::major_revision},
               Field{"minor_revision", FieldKind::kInt32, &module_versionStruct::minor_revision},
               Field{"incr_revision", FieldKind::kInt32, &module_versionStruct::incr_revision}};
TUNING_RECORD(module_versionStruct)

// Free-text revision of the tuning data.
struct parameter_versionStruct {
  uint32_t reserved[2];  // not part of the file data; stay 0
  char* revision;        // read only
};

inline constexpr auto kFields_parameter_versionStruct =
    std::tuple{Field{"revision", FieldKind::kString, &parameter_versionStruct::revision}};
TUNING_RECORD(parameter_versionStruct)

// The root record. Read-only for all flows.
struct tessarinePDLibType {
  uint32_t SymbolTableID;  // symbol of the module that holds the record; not tuning data
  module_versionStruct module_version;             // version of the tuning schema
  parameter_versionStruct parameter_version;       // free-text revision of the tuning data
  tessarineTuningPreProcess preProcess;            // horizontal PD path
  tessarineTuningPreProcess preProcessVertical;    // vertical PD path
  tessarineTuningCorrelation correlation;          // horizontal PD path
  tessarineTuningCorrelation correlationVertical;  // vertical PD path
  tessarineTuningPostProcess postProcess;          // horizontal PD path
  tessarineTuningPostProcess postProcessVertical;  // vertical PD path
  tessarineTuningAdaptiveK adaptiveK;  // online adaptation of the conversion coefficient
  int32_t enablePeripheralWindows;     // non-zero turns the peripheral windows on
  tessarineTuningProcessLevel singleWindowProcessingLevel;          // centre windows, horizontal
  tessarineTuningProcessLevel singleWindowProcessingLevelVertical;  // the same, vertical
  tessarineTuningProcessLevel gridProcessingLevel;                  // grid of windows, horizontal
  tessarineTuningProcessLevel gridProcessingLevelVertical;          // the same, vertical
  tessarineTuningProcessLevel PeripheralProcessing;          // peripheral windows, horizontal
  tessarineTuningProcessLevel PeripheralProcessingVertical;  // the same, vertical
  tessarineHVControl HVControl;                              // choice and fusion of the two axes
  tessarineTuningSkipControl skipControl;                    // frame skipping
  tessarineTuningHardwareGeometry hardwareGeometry;  // grid geometry of the hardware PD block
  uint32_t hardwarePatternCount;
  uint32_t hardwarePatternID;
  tessarineTuningHardwarePattern* hardwarePattern;  // hardware pattern descriptions
  int32_t enableFocusMaps;                          // non-zero turns the focus map output on
  uint32_t extensionParamCount;
  uint32_t extensionParamID;
  statsExtensionParamType* extensionParam;  // named extension parameters

  // Only for a record that a tuning manager handed out: how often it was loaded or changed, and the
  // end of its use.
  PARAMETER_API uint32_t GetModified() const;
  PARAMETER_API void Release();
};

inline constexpr auto kFields_tessarinePDLibType = std::tuple{
    Field{"module_version", FieldKind::kStructure, &tessarinePDLibType::module_version},
    Field{"parameter_version", FieldKind::kStructure, &tessarinePDLibType::parameter_version},
    Field{"preProcess", FieldKind::kStructure, &tessarinePDLibType::preProcess},
    Field{"preProcessVertical", FieldKind::kStructure, &tessarinePDLibType::preProcessVertical},
    Field{"correlation", FieldKind::kStructure, &tessarinePDLibType::correlation},
    Field{"correlationVertical", FieldKind::kStructure, &tessarinePDLibType::correlationVertical},
    Field{"postProcess", FieldKind::kStructure, &tessarinePDLibType::postProcess},
    Field{"postProcessVertical", FieldKind::kStructure, &tessarinePDLibType::postProcessVertical},
    Field{"adaptiveK", FieldKind::kStructure, &tessarinePDLibType::adaptiveK},
    Field{"enablePeripheralWindows", FieldKind::kInt32,
          &tessarinePDLibType::enablePeripheralWindows},
    Field{"singleWindowProcessingLevel", FieldKind::kStructure,
          &tessarinePDLibType::singleWindowProcessingLevel},
    Field{"singleWindowProcessingLevelVertical", FieldKind::kStructure,
          &tessarinePDLibType::singleWindowProcessingLevelVertical},
    Field{"gridProcessingLevel", FieldKind::kStructure, &tessarinePDLibType::gridProcessingLevel},
    Field{"gridProcessingLevelVertical", FieldKind::kStructure,
          &tessarinePDLibType::gridProcessingLevelVertical},
    Field{"PeripheralProcessing", FieldKind::kStructure, &tessarinePDLibType::PeripheralProcessing},
    Field{"PeripheralProcessingVertical", FieldKind::kStructure,
          &tessarinePDLibType::PeripheralProcessingVertical},
    Field{"HVControl", FieldKind::kStructure, &tessarinePDLibType::HVControl},
    Field{"skipControl", FieldKind::kStructure, &tessarinePDLibType::skipControl},
    Field{"hardwareGeometry", FieldKind::kStructure, &tessarinePDLibType::hardwareGeometry},
    ArrayField{"hardwarePattern", FieldKind::kStructure, &tessarinePDLibType::hardwarePatternCount,
               &tessarinePDLibType::hardwarePatternID, &tessarinePDLibType::hardwarePattern},
    Field{"enableFocusMaps", FieldKind::kInt32, &tessarinePDLibType::enableFocusMaps},
    ArrayField{"extensionParam", FieldKind::kStructure, &tessarinePDLibType::extensionParamCount,
               &tessarinePDLibType::extensionParamID, &tessarinePDLibType::extensionParam}};
TUNING_RECORD(tessarinePDLibType)

static_assert(sizeof(tessarinePDLibType) == 1024 || sizeof(void*) != 8);

}  // namespace afpdlibelements

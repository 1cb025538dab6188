#include "library_records.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame_renderer.h"

namespace simcam {
namespace {

using afpdlibelements::tessarinePDProcessingMode;
using afpdlibelements::tessarineTuningProcessLevel;

// Order of the two samples of a site in the buffer.
constexpr auto kOrderLeftFirst = static_cast<PDAFPixelOrderType>(1);
constexpr auto kOrderRightFirst = static_cast<PDAFPixelOrderType>(2);

PDLibBlockPattern MakePattern(const Pattern& pattern) {
  PDLibBlockPattern record{};
  record.pixelCount = static_cast<int32_t>(pattern.pixels.size());
  for (size_t i = 0; i < pattern.pixels.size(); ++i) {
    const PatternPixel& pixel = pattern.pixels[i];
    record.pixelCoordinate[i] = {static_cast<uint32_t>(pixel.x), static_cast<uint32_t>(pixel.y),
                                 static_cast<PDAFPixelShieldInformation>(pixel.type)};
  }
  record.horizontalPDOffset = static_cast<uint32_t>(pattern.offsetX);
  record.verticalPDOffset = static_cast<uint32_t>(pattern.offsetY);
  record.blockDimension = {static_cast<uint32_t>(pattern.width),
                           static_cast<uint32_t>(pattern.height)};
  return record;
}

PDAFBufferDataFormat FormatOf(const SensorDescription& sensor) {
  return sensor.IsDual() ? static_cast<PDAFBufferDataFormat>(sensor.dual->packing)
                         : kBufferUnpacked16;
}

// A block of two samples. Left and right need no naming; upper and lower do.
PDLibBlockPattern MakeSitePattern(const SensorDescription& sensor) {
  Pattern pattern;
  pattern.width = 2;
  pattern.height = 1;
  if (sensor.HasVerticalViews())
    pattern.pixels = {{0, 0, kShieldVertical2}, {1, 0, kShieldVertical3}};
  return MakePattern(pattern);
}

PDLibSensorNativeInfo MakeNativeInfo(const SensorDescription& sensor) {
  PDLibSensorNativeInfo info{};
  info.blockPattern = sensor.IsDual() ? MakeSitePattern(sensor) : MakePattern(sensor.native);
  info.horizontalBlockCount = static_cast<uint32_t>(sensor.blocksAcross);
  info.verticalBlockCount = static_cast<uint32_t>(sensor.blocksDown);
  const uint32_t width = static_cast<uint32_t>(sensor.imageWidth);
  const uint32_t height = static_cast<uint32_t>(sensor.imageHeight);
  info.cropRegion = {0, 0, width, height};
  info.originalImageWidth = info.currentImageWidth = width;
  info.originalImageHeight = info.currentImageHeight = height;
  info.orientation = static_cast<PDAFOrientation>(sensor.orientation);
  info.bufferFormat = FormatOf(sensor);
  // What a shift by one site is worth.
  info.horizontalDownscaleFactor = static_cast<float>(sensor.IsDual() ? sensor.native.width : 1);
  info.verticalDownscaleFactor = static_cast<float>(sensor.IsDual() ? sensor.native.height : 1);
  info.PDOffsetCorrection = static_cast<float>(sensor.pdOffsetCorrection);
  return info;
}

PDLibDataBufferInfo MakeBufferInfo(const SensorDescription& sensor) {
  const BufferLayout& buffer = sensor.buffer;
  PDLibDataBufferInfo info{};
  info.isp1BlockPattern = sensor.IsDual() ? MakeSitePattern(sensor) : MakePattern(buffer.first);
  info.isp1BufferWidth = static_cast<uint32_t>(buffer.firstWidth);
  info.isp1BufferStride = static_cast<uint32_t>(buffer.firstStride);
  info.ispBufferHeight = static_cast<uint32_t>(buffer.height);
  info.bufferFormat = FormatOf(sensor);
  info.sensorType = static_cast<PDAFType>(sensor.sensorType);
  if (!sensor.HasTwoProcessors()) return info;
  Pattern second = buffer.second;
  second.pixels = buffer.first.pixels;
  info.isp2BlockPattern = MakePattern(second);
  info.isp2BufferWidth = static_cast<uint32_t>(buffer.secondWidth);
  info.isp2BufferStride = static_cast<uint32_t>(buffer.secondStride);
  info.imageOverlap = static_cast<uint32_t>(buffer.overlap);
  info.isp2ImageOffset = static_cast<uint32_t>(buffer.secondImageX);
  return info;
}

// Which choice stands in which field: `copy` takes each pair one way or the other.
template <class Choices, class Record, class Copy>
void MatchAdaptive(Choices& choices, Record& record, Copy copy) {
  copy(choices.isOn, record.enable);
  copy(choices.timeoutFrames, record.timeoutFrameCntThres);
  copy(choices.filterSize, record.filterSize);
  copy(choices.startFrames, record.state0StableCntThres);
  copy(choices.endFrames, record.state1StableCntThres);
  copy(choices.minimumTravel, record.minimumLensPosDelta);
  copy(choices.startConfidence, record.state0ConfThres);
  copy(choices.endConfidence, record.state1ConfThres);
  copy(choices.startPhasePx, record.state0PhaseDiffThres);
  copy(choices.endPhasePx, record.state1PhaseDiffThres);
  copy(choices.upperTolerance, record.tolFarTargetUpperBound);
  copy(choices.upperTolerance, record.tolNearTargetUpperBound);
  copy(choices.lowerTolerance, record.tolFarTargetLowerBound);
  copy(choices.lowerTolerance, record.tolNearTargetLowerBound);
}

template <class Choices, class Record, class Copy>
void Match(Choices& choices, Record& record, Copy copy) {
  copy(choices.boxFilterLength, record.preProcess.boxFilterLength);
  copy(choices.antiAliasFilterThreshold, record.preProcess.antiAliasFilterThreshold);
  copy(choices.rangeControl, record.correlation.PDRangeControl);
  copy(choices.minimumConfidenceLevel, record.correlation.minimumConfidenceLevel);
  copy(choices.defocusConfidenceThreshold, record.correlation.defocusConfidenceThreshold);
  copy(choices.searchFrom, record.correlation.searchRange.from);
  copy(choices.searchTo, record.correlation.searchRange.to);
  copy(choices.biasVectorStrength, record.postProcess.biasVectorStrength);
  copy(choices.staticWeight, record.postProcess.temporalFilterStaticWeight);
  copy(choices.dynamicWeight, record.postProcess.temporalFilterDynamicWeight);
  copy(choices.gridOverlap, record.postProcess.enableGridOverlap);
  copy(choices.confIntegralWidth, record.postProcess.confIntegralWidth);
  copy(choices.peripheralWindows, record.enablePeripheralWindows);
  copy(choices.processingMode, record.gridProcessingLevel.processingMode);
  copy(choices.staticFrameCount, record.skipControl.staticFrameCountThres);
  copy(choices.maxFrameRate, record.skipControl.maxFrameRate);
  MatchAdaptive(choices.adaptive, record.adaptiveK, copy);
}

// The first value of an extension that is on.
float ExtensionOf(const afpdlibelements::tessarinePDLibType& record, const char* name) {
  for (uint32_t i = 0; i < record.extensionParamCount; ++i) {
    const afpdlibelements::statsExtensionParamType& entry = record.extensionParam[i];
    if (entry.enableFlag == 1 && entry.dataCount > 0 && entry.Name != nullptr &&
        std::strcmp(entry.Name, name) == 0)
      return entry.data[0];
  }
  return 0;
}

constexpr const char* kBinning = "verticalBinningControl";
constexpr const char* kBandPass = "EnableSparsePDAFIIRFilter";
constexpr const char* kOptimizedParsing = "EnableOptimizedSparseParsing";
constexpr const char* kSumByColumns = "OverlapSumByColumns";

}  // namespace

TuningChoices ChoicesOf(const afpdlibelements::tessarinePDLibType& record) {
  TuningChoices choices;
  Match(choices, record, []<class Choice>(Choice& choice, const auto& field) {
    choice = static_cast<Choice>(field);
  });
  choices.verticalBinning = record.preProcess.filterTrigger.filterSet[0].verticalMode;
  choices.bandPass = ExtensionOf(record, kBandPass) != 0;
  choices.optimizedParsing = ExtensionOf(record, kOptimizedParsing) != 0;
  choices.overlapSumByColumns = ExtensionOf(record, kSumByColumns) != 0;
  return choices;
}

TuningRecord::TuningRecord(const TuningChoices& choices, bool areViewsVertical) {
  Match(choices, record_,
        []<class Field>(const auto& choice, Field& field) { field = static_cast<Field>(choice); });
  for (auto& set : record_.preProcess.filterTrigger.filterSet)
    set.verticalMode = choices.verticalBinning;
  record_.correlation.lcrSearchRange = {-8, 8};
  for (tessarineTuningProcessLevel* level :
       {&record_.singleWindowProcessingLevel, &record_.gridProcessingLevel,
        &record_.PeripheralProcessing})
    *level = {static_cast<tessarinePDProcessingMode>(choices.processingMode), 100, 100};

  AddExtension(kBinning, {choices.verticalBinning > 1 ? 1.0f : 0.0f});
  AddExtension(kBandPass, {choices.bandPass ? 1.0f : 0.0f});
  AddExtension(kOptimizedParsing, {choices.optimizedParsing ? 1.0f : 0.0f});
  AddExtension(kSumByColumns, {choices.overlapSumByColumns ? 1.0f : 0.0f});
  if (areViewsVertical) CompareVerticalViews();
  record_.extensionParamCount = static_cast<uint32_t>(extensions_.size());
  record_.extensionParam = extensions_.data();
}

void TuningRecord::CompareVerticalViews() {
  constexpr auto kBothAxes = static_cast<afpdlibelements::tessarinePDAxisControl>(2);
  record_.HVControl.PDProcessingAxis = kBothAxes;
  record_.HVControl.horizontalConfWeightTuningCount = 1;
  record_.HVControl.horizontalConfWeightTuning = &noWeight_;
  record_.HVControl.verticalConfWeightTuningCount = 1;
  record_.HVControl.verticalConfWeightTuning = &allWeight_;
  record_.preProcessVertical = record_.preProcess;
  record_.correlationVertical = record_.correlation;
  record_.postProcessVertical = record_.postProcess;
  AddExtension("HVSelection", {kHVFlowDPDHorizontal, kHVFlowDPDVertical});
}

void TuningRecord::AddExtension(const char* name, std::vector<float> values) {
  values_.push_back(std::make_unique<std::vector<float>>(std::move(values)));
  afpdlibelements::statsExtensionParamType extension{};
  extension.ID = static_cast<int32_t>(extensions_.size());
  extension.Name = const_cast<char*>(name);  // the record's type; no one writes through it
  extension.enableFlag = 1;
  extension.dataCount = static_cast<uint32_t>(values_.back()->size());
  extension.data = values_.back()->data();
  extensions_.push_back(extension);
}

PDLibInitParam MakeInitParam(const SensorDescription& sensor) {
  PDLibInitParam init{};
  init.nativePatternInfo = MakeNativeInfo(sensor);
  init.blackLevel = static_cast<uint32_t>(sensor.blackLevel);
  init.pixelDepth = static_cast<uint32_t>(sensor.pixelDepth);
  init.PDPixelOverflowThreshold = static_cast<uint32_t>(sensor.MaxCode());
  init.macroDac = static_cast<int16_t>(sensor.lens.travelTo);
  init.infinityDac = static_cast<int16_t>(sensor.lens.travelFrom);
  init.actuatorSensitivity = static_cast<float>(sensor.lens.micronsPerCode);
  init.defocusBitShift = static_cast<uint32_t>(sensor.FractionBits());
  init.defocusConfidenceThreshold = static_cast<int32_t>(sensor.tuning.defocusConfidenceThreshold);
  init.bufferDataInfo = MakeBufferInfo(sensor);
  if (sensor.IsDual()) {
    init.pixelOrderType = sensor.dual->isRightFirst ? kOrderRightFirst : kOrderLeftFirst;
    init.isHdrModeEnabled = sensor.IsHdr() ? 1 : 0;
  }
  init.disableLCR = 1;
  return init;
}

BlockArea BlocksOf(const SensorDescription& sensor, const PDLibWindow& window) {
  const Pattern& native = sensor.native;
  const auto block = [](double pixel, int offset, int size, int count) {
    return std::clamp(static_cast<int>(std::floor((pixel - offset) / size)), 0, count - 1);
  };
  const double width = sensor.imageWidth;
  const double height = sensor.imageHeight;
  return BlockArea{
      block(width * window.startX - 1, native.offsetX, native.width, sensor.blocksAcross),
      block(height * window.startY - 1, native.offsetY, native.height, sensor.blocksDown),
      block(width * window.endX + 1, native.offsetX, native.width, sensor.blocksAcross) + 1,
      block(height * window.endY + 1, native.offsetY, native.height, sensor.blocksDown) + 1};
}

}  // namespace simcam

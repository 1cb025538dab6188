#include "sparse/sparse_hv_flow.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "base/quick_sort.h"
#include "frame/pdlib_utils_extension.h"

using afpdlibelements::tessarineHVConfWeight;
using afpdlibelements::tessarineHVControl;
using afpdlibelements::tessarinePDLibType;
using pdlib::ToInt32;

namespace {

// Confidence above 1023 marks another kind of result, which then decides alone.
constexpr tessarineHVConfWeight kHorizontalWeights[] = {
    {0.1F, 100}, {0.8F, 400}, {1.0F, 1023}, {100.0F, 1024}};
constexpr tessarineHVConfWeight kVerticalWeights[] = {{0.0F, 100}, {0.5F, 500}, {0.8F, 800}};

// The kinds of sub-flow, horizontal and vertical. An entry counts with two values, no more.
std::pair<PDLibHVFlowType, PDLibHVFlowType> selected_sub_flows(const tessarinePDLibType& tuning) {
  std::pair selected = {kHVFlowHardwareDPD, kHVFlowDPDVertical};
  for (uint32_t i = 0; tuning.extensionParam != nullptr && i < tuning.extensionParamCount; ++i) {
    const auto& entry = tuning.extensionParam[i];
    if (!is_hv_selection(entry) || entry.dataCount != 2) continue;
    selected = {static_cast<PDLibHVFlowType>(ToInt32(entry.data[0])),
                static_cast<PDLibHVFlowType>(ToInt32(entry.data[1]))};
  }
  return selected;
}

// A copy of the tuned points, or of the default ones where the tuning has none.
bool copy_weights(const tessarineHVConfWeight* tuned, uint32_t tunedCount,
                  std::span<const tessarineHVConfWeight> defaults,
                  pdlib::OwnedArray<tessarineHVConfWeight>* copy) {
  const bool isTuned = tuned != nullptr && tunedCount != 0;
  const auto points = isTuned ? std::span(tuned, tunedCount) : defaults;
  if (!copy->allocate(points.size())) return false;
  std::copy(points.begin(), points.end(), copy->begin());
  return true;
}

int deinit_and_delete(IPDLIBFlow** flow) {
  if (*flow == nullptr) return kPDStatusOk;
  const int result = (*flow)->DeInit();
  delete *flow;
  *flow = nullptr;
  return result;
}

// `share` is the part of the vertical side.
float blend(float horizontal, float vertical, float share) {
  return std::fma(1.0F - share, horizontal, share * vertical);
}

// The lower end of the range stays the caller's: intended.
void blend_info(const PDLibDefocusInfo& horizontal, const PDLibDefocusInfo& vertical, float share,
                PDLibDefocusInfo* out) {
  out->phaseDiff = blend(horizontal.phaseDiff, vertical.phaseDiff, share);
  out->defocus = ToInt32(
      blend(static_cast<float>(horizontal.defocus), static_cast<float>(vertical.defocus), share));
  out->confidence = pdlib::ToUint32(blend(static_cast<float>(horizontal.confidence),
                                          static_cast<float>(vertical.confidence), share));
  out->rangeHigh = static_cast<int16_t>(ToInt32(blend(
      static_cast<float>(horizontal.rangeHigh), static_cast<float>(vertical.rangeHigh), share)));
}

// Without weight on either side the horizontal result stands.
float guarded_share(float horizontal, float vertical) {
  const float sum = horizontal + vertical;
  return vertical / (std::fabs(sum) < 0.01F ? vertical + 1.0F : sum);
}

}  // namespace

void SwatDataWeightConf(tessarineHVConfWeight* first, tessarineHVConfWeight* second) {
  if (first->confThreshold == second->confThreshold && second->weight > first->weight) return;
  std::swap(*first, *second);
}

void WeightConfSort(tessarineHVConfWeight* table, int low, int high) {
  pdlib::QuickSort(
      table, low, high, [](const tessarineHVConfWeight& point) { return point.confThreshold; },
      SwatDataWeightConf);
}

float HVWeightLookUp(tessarineHVConfWeight* table, uint32_t count, int confidence) {
  WeightConfSort(table, 0, static_cast<int>(count) - 1);
  if (table[0].confThreshold >= confidence) return table[0].weight;
  const tessarineHVConfWeight* end = table + count;
  if (end[-1].confThreshold <= confidence) return end[-1].weight;
  const tessarineHVConfWeight* above =
      std::find_if(table + 1, table + count, [confidence](const tessarineHVConfWeight& point) {
        return point.confThreshold > confidence;
      });
  const tessarineHVConfWeight& below = above[-1];
  const auto thresholds = [](int64_t a, int64_t b) { return static_cast<float>(a - b); };
  const float slope =
      (above->weight - below.weight) / thresholds(above->confThreshold, below.confThreshold);
  return std::fma(thresholds(confidence, below.confThreshold), slope, below.weight);
}

SparseHVFlow::~SparseHVFlow() {
  DeInit();
}

IPDLIBFlow* SparseHVFlow::CreateSubFlow(PDLibHVFlowType type) {
  return make_(type, driver_);
}

bool SparseHVFlow::CreateSubFlows(const tessarinePDLibType& tuning) {
  const auto [horizontal, vertical] = selected_sub_flows(tuning);
  horizontal_ = CreateSubFlow(horizontal);
  vertical_ = CreateSubFlow(vertical);
  if (horizontal_ != nullptr && vertical_ != nullptr) return true;
  PDLIB_ERROR("no sub-flow of type %u or %u: not part of this version, or out of memory",
              static_cast<unsigned>(horizontal), static_cast<unsigned>(vertical));
  return false;
}

bool SparseHVFlow::TakeWeights(const tessarineHVControl& control) {
  if (!copy_weights(control.horizontalConfWeightTuning, control.horizontalConfWeightTuningCount,
                    kHorizontalWeights, &horizontalWeights_)) {
    PDLIB_ERROR("HVControl Horizontal Conf Weight malloc error");
    return false;
  }
  if (!copy_weights(control.verticalConfWeightTuning, control.verticalConfWeightTuningCount,
                    kVerticalWeights, &verticalWeights_)) {
    PDLIB_ERROR("HVControl Vertical Conf Weight malloc error");
    return false;
  }
  return true;
}

int SparseHVFlow::Init(const PDLibInitParam* init, const tessarinePDLibType* tuning) {
  initFailed_ = true;
  if (init == nullptr || tuning == nullptr) {
    PDLIB_ERROR("null pointer");
    return kPDStatusBadInput;
  }
  DeInit();
  const bool isCreated = CreateSubFlows(*tuning);
  const bool isHorizontalReady = isCreated && horizontal_->Init(init, tuning) == kPDStatusOk;
  const bool isVerticalReady = isCreated && vertical_->Init(init, tuning) == kPDStatusOk;
  if (!TakeWeights(tuning->HVControl)) return kPDStatusNoMemory;
  if (!isHorizontalReady || !isVerticalReady) return kPDStatusFlowFailed;
  isReady_ = true;
  initFailed_ = false;
  return kPDStatusOk;
}

// Sorted at every look-up, and not once at Init: each sort may exchange points of equal threshold,
// so that which of them decides settles over the first look-ups only.
float SparseHVFlow::hWeightLookUp(int confidence) {
  return HVWeightLookUp(horizontalWeights_.data(), static_cast<uint32_t>(horizontalWeights_.size()),
                        confidence);
}

float SparseHVFlow::vWeightLookUp(int confidence) {
  return HVWeightLookUp(verticalWeights_.data(), static_cast<uint32_t>(verticalWeights_.size()),
                        confidence);
}

int SparseHVFlow::RefuseNull() const {
  PDLIB_ERROR("null pointer");
  return kPDStatusBadInput;
}

int SparseHVFlow::Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) {
  if (!isReady_ || param == nullptr || output == nullptr) {
    RefuseNull();
    return !isReady_ && initFailed_ ? kPDStatusFlowFailed : kPDStatusBadInput;
  }
  PDLibOutputData horizontal = {};
  PDLibOutputData vertical = {};
  const int horizontalResult = horizontal_->Process(param, lines, &horizontal);
  const int verticalResult = vertical_->Process(param, lines, &vertical);
  output->processingResult = horizontal.processingResult;
  output->horizontalWindowCount = horizontal.horizontalWindowCount;
  output->verticalWindowCount = horizontal.verticalWindowCount;
  // One word more than the counts: the rest of the depth map stays the caller's.
  output->depthMap.depthPhaseDiff[0] = horizontal.depthMap.depthPhaseDiff[0];
  output->isPeripheralValid = horizontal.isPeripheralValid;
  struct Weights {
    float horizontal;
    float vertical;
  };
  const auto weights = [this](const PDLibDefocusInfo& h, const PDLibDefocusInfo& v) {
    return Weights{hWeightLookUp(static_cast<int>(h.confidence)),
                   vWeightLookUp(static_cast<int>(v.confidence))};
  };
  for (uint32_t i = 0; i < kMaxWindows; ++i) {
    const auto [h, v] = weights(horizontal.defocusInfo[i], vertical.defocusInfo[i]);
    blend_info(horizontal.defocusInfo[i], vertical.defocusInfo[i], guarded_share(h, v),
               &output->defocusInfo[i]);
  }
  // Not guarded here, and that is intended: two weights of 0 give results of 0.
  for (uint32_t i = 0; i < kPeripheralWindows; ++i) {
    const auto [h, v] = weights(horizontal.peripheralInfo[i], vertical.peripheralInfo[i]);
    blend_info(horizontal.peripheralInfo[i], vertical.peripheralInfo[i], v / (h + v),
               &output->peripheralInfo[i]);
  }
  const bool failed = horizontalResult != kPDStatusOk || verticalResult != kPDStatusOk;
  return failed ? kPDStatusFlowFailed : kPDStatusOk;
}

int SparseHVFlow::DeInit() {
  const int horizontalResult = deinit_and_delete(&horizontal_);
  const int verticalResult = deinit_and_delete(&vertical_);
  horizontalWeights_.reset();
  verticalWeights_.reset();
  isReady_ = false;
  return horizontalResult != kPDStatusOk ? horizontalResult : verticalResult;
}

// Without a whole flow nothing was learnt: a session that failed leaves what is stored as it is.
int SparseHVFlow::GetAdaptiveData(const void** data, int* size) {
  if (isReady_) return horizontal_->GetAdaptiveData(data, size);
  if (size != nullptr) *size = 0;
  return RefuseNull();
}

int SparseHVFlow::SetAdaptiveData(const void* data, int size) {
  return isReady_ ? horizontal_->SetAdaptiveData(data, size) : RefuseNull();
}

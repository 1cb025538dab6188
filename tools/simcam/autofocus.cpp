#include "autofocus.h"

#include <algorithm>
#include <cmath>

namespace simcam {
namespace {

// The lens stands while the measured defocus stays below this many lens steps; once it stands, it
// leaves only for more than that.
constexpr double kArrivedSteps = 0.2;
constexpr double kLeaveSteps = 0.5;
// A search goes on by this many lens steps a frame.
constexpr double kSearchSteps = 10;

const PDLibDefocusInfo* MostCertain(const PDLibDefocusInfo* infos, uint32_t count) {
  return std::max_element(infos, infos + count,
                          [](const PDLibDefocusInfo& a, const PDLibDefocusInfo& b) {
                            return a.confidence < b.confidence;
                          });
}

// The result to go by: the whole ROI, else its most certain window, else the most certain one
// around it. Null if none is certain enough.
const PDLibDefocusInfo* Usable(const FrameResult& result, double threshold) {
  if (!result.isProcessed) return nullptr;
  const auto isCertain = [&](const PDLibDefocusInfo* info) { return info->confidence > threshold; };
  if (isCertain(&result.Roi())) return &result.Roi();
  const PDLibOutputData& output = result.output;
  const PDLibDefocusInfo* best =
      MostCertain(output.defocusInfo, output.horizontalWindowCount * output.verticalWindowCount);
  if (isCertain(best)) return best;
  if (output.isPeripheralValid == 0) return nullptr;
  best = MostCertain(output.peripheralInfo, kPeripheralWindows);
  return isCertain(best) ? best : nullptr;
}

}  // namespace

const char* ActionName(FocusAction action) {
  switch (action) {
    case FocusAction::kWait: return "wait";
    case FocusAction::kMove: return "move";
    case FocusAction::kSearch: return "search";
    case FocusAction::kHold: return "hold";
  }
  return "";
}

Autofocus::Decision Autofocus::Decide(const FrameResult& result, double lensCode, bool wasSettled) {
  if (!wasSettled) return {FocusAction::kWait, lensCode};
  const PDLibDefocusInfo* info = Usable(result, sensor_.tuning.defocusConfidenceThreshold);
  if (info == nullptr) return Search(lensCode);

  searchDirection_ = 0;
  const double defocus = info->defocus * sensor_.lens.codesPerDefocus;
  const double limit = (heldFrames_ > 0 ? kLeaveSteps : kArrivedSteps) * sensor_.lens.codesPerPx;
  if (std::abs(defocus) <= limit) {
    ++heldFrames_;
    return {FocusAction::kHold, lensCode};
  }
  heldFrames_ = 0;
  lastDefocus_ = defocus;
  return {FocusAction::kMove, lensCode + defocus};
}

// Through the travel, first the way of the last certain result or else the longer way, and back at
// its end.
Autofocus::Decision Autofocus::Search(double lensCode) {
  heldFrames_ = 0;
  const LensDescription& lens = sensor_.lens;
  if (searchDirection_ == 0) {
    const bool isUpLonger = lens.travelTo - lensCode > lensCode - lens.travelFrom;
    searchDirection_ = lastDefocus_ != 0 ? (lastDefocus_ > 0 ? 1 : -1) : (isUpLonger ? 1 : -1);
  }
  if (lensCode >= lens.travelTo) searchDirection_ = -1;
  if (lensCode <= lens.travelFrom) searchDirection_ = 1;
  return {FocusAction::kSearch, lensCode + searchDirection_ * kSearchSteps * lens.codesPerPx};
}

}  // namespace simcam

#include "dense/dpd_software_flow.h"

#include "base/pdlib_log.h"
#include "dense/dpd_software_flow_frame.h"
#include "dense/dpd_software_flow_grid.h"
#include "dense/dpd_software_flow_init.h"
#include "dense/pdlib_dpd_context.h"

template class ContextFlow<dpd_context_t>;

namespace {

// Without a tuning the flow's own fallback runs. Its flat-field test needs no window.
constexpr FlowTraits kTraits = {.outOfMemory = kPDStatusFlowFailed,
                                .needsTuning = false,
                                .testsConfiguredFrames = false,
                                .configureFailed = "Set dpd context param failed"};

}  // namespace

IPDLIBFlow* CreateDPDFlow() {
  return new (std::nothrow) DPDFlow(DPDFlow::Axis::kHorizontal);
}

IPDLIBFlow* CreateVerticalDPDFlow() {
  return new (std::nothrow) DPDFlow(DPDFlow::Axis::kVertical);
}

DPDFlow::DPDFlow(Axis axis) : ContextFlow(kTraits), axis_(axis) {}

int DPDFlow::SetUp(const PDLibInitParam& init, const afpdlibelements::tessarinePDLibType* tuning) {
  context_->isVertical = axis_ == Axis::kVertical;
  return InitDPDContext(context_, init, tuning);
}

int DPDFlow::Configure(const PDLibParam& param) {
  return SetDPDContextParamInfo(context_, param);
}

// The flat-field test of the raw samples.
void DPDFlow::Test(const PDLibParam&) {
  PDLIB_ERROR("this version has no test of dual-PD data");
}

void DPDFlow::TakeBuffers(const PDLibParam& param) {
  context_->pdBuffer = param.PDBuffer;
}

void DPDFlow::Measure(uint32_t lines) {
  DPDIncrementalProcessing(context_, lines);
}

// The default ROI is told by its whole, others by their first window.
const PDLibDefocusInfo& DPDFlow::ToldResult() const {
  const win_config_t& window = context_->window;
  const uint32_t whole = window.horizontalWindowCount * window.verticalWindowCount;
  const bool isWhole = context_->roiType == kRoiDefault && whole < kMaxWindows;
  return context_->output.defocusInfo[isWhole ? whole : 0];
}

#include "sparse/sparse_horizontal_flow.h"

#include <algorithm>
#include <limits>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "sparse/pdlib_sparse_context.h"
#include "sparse/pdlib_sparse_utils_calibration.h"
#include "sparse/pdlib_sparse_utils_check.h"
#include "sparse/pdlib_sparse_utils_init.h"
#include "sparse/pdlib_sparse_utils_window.h"
#include "sparse/pdlib_sparse_wrapper.h"

template class ContextFlow<pdaf_context_t>;

namespace {

constexpr FlowTraits kTraits = {.outOfMemory = kPDStatusNoMemory,
                                .needsTuning = true,
                                .testsConfiguredFrames = true,
                                .configureFailed = "config pd context info failed"};

// Pixels that serve both axes count by their horizontal polarity here.
void fold_shared_pixels(PDLibInitParam* init) {
  PDLibBlockPattern& native = init->nativePatternInfo.blockPattern;
  PDLibBlockPattern& buffer = init->bufferDataInfo.isp1BlockPattern;
  const int count = pdlib::Clamp(buffer.pixelCount, 0, kMaxPatternPixels);
  for (int i = 0; i < count; ++i) {
    PDAFPixelShieldInformation polarity = {};
    switch (buffer.pixelCoordinate[i].type) {
      case kShieldBoth4:
      case kShieldBoth6: polarity = kShieldHorizontal1; break;
      case kShieldBoth5:
      case kShieldBoth7: polarity = kShieldHorizontal0; break;
      default: continue;
    }
    buffer.pixelCoordinate[i].type = polarity;
    native.pixelCoordinate[i].type = polarity;
  }
}

}  // namespace

IPDLIBFlow* CreateSparseHorizontalFlow() {
  return new (std::nothrow) SparseHorizontalFlow();
}

SparseHorizontalFlow::SparseHorizontalFlow() : ContextFlow(kTraits) {}

int SparseHorizontalFlow::SetUp(const PDLibInitParam& init,
                                const afpdlibelements::tessarinePDLibType* tuning) {
  PDLibInitParam folded = init;
  fold_shared_pixels(&folded);
  if (set_pd_context_init_info(context_, folded, *tuning) != 0) {
    PDLIB_ERROR("set init info error");
    return kPDStatusFlowFailed;
  }
  context_->calibration = *init.calibration;
  // The context takes over the Q format with the first frame, too late for a blob that is set now.
  adaptive_k_pd_init(&context_->adaptiveK, &context_->tuning.adaptiveK,
                     context_->calibration.DCC_map, dcc_q_format(context_->calibration),
                     static_cast<int>(folded.nativePatternInfo.horizontalBlockCount),
                     static_cast<int>(folded.nativePatternInfo.verticalBlockCount));
  context_->status = kContextInitialised;
  return kPDStatusOk;
}

bool SparseHorizontalFlow::Skip(const FlowCall& call) {
  if (PdlibSkipControlProcess(context_, &call.param, call.lines) == 0) return false;
  context_->output = context_->lastOutput;
  return true;
}

// A repeated result doesn't stand for grids: those of a changed window may have failed.
bool SparseHorizontalFlow::FrameStarts() const {
  return ContextFlow::FrameStarts() || context_->status != kContextConfigured;
}

int SparseHorizontalFlow::Configure(const PDLibParam& param) {
  return configure_pd_context_info(context_, param);
}

void SparseHorizontalFlow::Test(const PDLibParam& param) {
  check_data(context_, &param);
}

void SparseHorizontalFlow::TakeBuffers(const PDLibParam& param) {
  context_->pdBuffer = param.PDBuffer;
  context_->lcrBuffer = param.lcrBuffer;
}

void SparseHorizontalFlow::Measure(uint32_t lines) {
  constexpr uint32_t kMaxLines = std::numeric_limits<uint16_t>::max();
  pd_incremental_processing(context_, static_cast<uint16_t>(std::min(lines, kMaxLines)));
}

// Skipped calls repeat it.
void SparseHorizontalFlow::Keep() {
  context_->lastOutput = context_->output;
}

int SparseHorizontalFlow::GetTuningData(void** tuning) {
  if (context_ == nullptr || tuning == nullptr) return RefuseNull();
  *tuning = &context_->tuning;
  return kPDStatusOk;
}

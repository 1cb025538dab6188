#include "dense/dpd_software_flow.h"

#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "dense/dpd_software_flow_frame.h"
#include "dense/dpd_software_flow_grid.h"
#include "dense/dpd_software_flow_init.h"
#include "dense/pdlib_dpd_context.h"
#include "diagnostics/xmlWriteParam.h"
#include "frame/pdlib_utils_result.h"
#include "frame/pdlib_utils_window.h"

template class ContextFlow<dpd_context_t>;

namespace {

// The flat-field test of the raw samples.
void CheckData2pd() {
  PDLIB_ERROR("this version has no test of dual-PD data");
}

// Once per frame, when its results are final: the thresholds of the estimators count frames.
void learn(dpd_context_t* context, bool frameIsOver) {
  if (!frameIsOver || context->adaptiveK.enable != 1 || !adaptive_k_serves(context->roiType))
    return;
  adaptive_k_process_frame(&context->adaptiveK, context->actuatorSensitivity, context->lensPosition,
                           &context->output);
}

// The default ROI is told by its whole, others by their first window.
const PDLibDefocusInfo& told_result(const dpd_context_t& context) {
  const uint32_t whole = context.window.horizontalWindowCount * context.window.verticalWindowCount;
  const bool isWhole = context.roiType == kRoiDefault && whole < kMaxWindows;
  return context.output.defocusInfo[isWhole ? whole : 0];
}

void close_call(dpd_context_t* context, bool frameIsOver, bool frameStarted) {
  if (frameIsOver) {
    context->output = {};
    ++context->frameIndex;
  }
  if (frameStarted) context->previousLensPosition = context->lensPosition;
}

}  // namespace

IPDLIBFlow* CreateDPDFlow() {
  return new (std::nothrow) DPDFlow(DPDFlow::Axis::kHorizontal);
}

IPDLIBFlow* CreateVerticalDPDFlow() {
  return new (std::nothrow) DPDFlow(DPDFlow::Axis::kVertical);
}

DPDFlow::DPDFlow(Axis axis) : axis_(axis) {}

DPDFlow::~DPDFlow() {
  if (context_ != nullptr) DeInit();
}

int DPDFlow::Init(const PDLibInitParam* init, const afpdlibelements::tessarinePDLibType* tuning) {
  initFailed_ = true;
  if (init == nullptr || init->calibration == nullptr) {
    PDLIB_ERROR("null pointer");
    return kPDStatusBadInput;
  }
  if (context_ != nullptr) DeInit();
  context_ = pdaf_create<dpd_context_t>();
  if (context_ == nullptr) {
    PDLIB_ERROR("Out of memory");
    return kPDStatusFlowFailed;
  }
  context_->isVertical = axis_ == Axis::kVertical;
  const int result = InitDPDContext(context_, *init, tuning);
  if (result != kPDStatusOk) {
    pdaf_destroy(context_);
    return result;
  }
  initFailed_ = false;
  return kPDStatusOk;
}

int DPDFlow::Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) {
  if (context_ == nullptr || param == nullptr || output == nullptr) return RefuseFrame();
  if (!is_window_usable(param->windowConfig) ||
      !is_buffer_usable(*param, context_->requiredBufferBytes))
    return kPDStatusBadInput;

  const bool frameIsOver = lines == context_->sensor.imageHeight;
  PDMetaOutput(context_->bufferDataInfo, param, frameIsOver);
  if (context_->testMode) {
    CheckData2pd();
    return kPDStatusOk;
  }
  const bool frameStarts = context_->output.processingResult == kResultNone;
  if (frameStarts && SetDPDContextParamInfo(context_, *param) != 0) {
    PDLIB_ERROR("Set dpd context param failed");
    return kPDStatusFlowFailed;
  }
  // The buffer is that of this call, whatever an earlier call of the frame had.
  context_->pdBuffer = param->PDBuffer;
  DPDIncrementalProcessing(context_, lines);
  learn(context_, frameIsOver);
  copy_results(context_->output, output);
  log_frame_result(context_->frameIndex, told_result(*context_), context_->actuatorSensitivity,
                   context_->lensPosition, context_->output);
  close_call(context_, frameIsOver, frameStarts);
  return kPDStatusOk;
}

int DPDFlow::DeInit() {
  if (context_ == nullptr) return RefuseNull();
  if (context_->adaptiveK.enable != 0) adaptive_k_deinit(&context_->adaptiveK);
  pdaf_destroy(context_);
  return kPDStatusOk;
}

#include "sparse/sparse_horizontal_flow.h"

#include <algorithm>
#include <limits>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "base/pdlib_switches.h"
#include "diagnostics/xmlWriteParam.h"
#include "frame/pdlib_utils_result.h"
#include "frame/pdlib_utils_window.h"
#include "sparse/pdlib_sparse_context.h"
#include "sparse/pdlib_sparse_utils_calibration.h"
#include "sparse/pdlib_sparse_utils_check.h"
#include "sparse/pdlib_sparse_utils_init.h"
#include "sparse/pdlib_sparse_utils_window.h"
#include "sparse/pdlib_sparse_wrapper.h"

template class ContextFlow<pdaf_context_t>;

namespace {

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

// Once per frame, when its results are final: the thresholds of the estimators count frames.
void learn(pdaf_context_t* context, bool frameIsOver) {
  if (!frameIsOver || context->adaptiveK.enable != 1 || !adaptive_k_serves(context->roiType))
    return;
  ADAPTK_DEBUG(context->adaptiveK.debug, "ADAPTK: S901 - Enter adaptive k ");
  adaptive_k_process_frame(&context->adaptiveK, context->actuatorSensitivity, context->lensPosition,
                           &context->output);
}

void report(const pdaf_context_t& context, int16_t lensPosition) {
  log_frame_result(context.frameIndex, context.output.defocusInfo[0], context.actuatorSensitivity,
                   lensPosition, context.output);
}

void close_call(pdaf_context_t* context, const PDLibParam& param, bool frameIsOver,
                bool frameStarted) {
  if (frameIsOver) {
    context->output = {};
    ++context->frameIndex;
  }
  if (frameStarted) context->previousLensPosition = static_cast<int16_t>(param.lensPosition);
  context->window.updated = 0;
}

// The buffers are those of this call, whatever an earlier call of the frame had.
void take_buffers(pdaf_context_t* context, const PDLibParam& param) {
  context->pdBuffer = param.PDBuffer;
  context->lcrBuffer = param.lcrBuffer;
}

}  // namespace

IPDLIBFlow* CreateSparseHorizontalFlow() {
  return new (std::nothrow) SparseHorizontalFlow();
}

SparseHorizontalFlow::SparseHorizontalFlow() = default;

SparseHorizontalFlow::~SparseHorizontalFlow() {
  if (context_ != nullptr) DeInit();
}

int SparseHorizontalFlow::Init(const PDLibInitParam* init,
                               const afpdlibelements::tessarinePDLibType* tuning) {
  if (init == nullptr || tuning == nullptr || init->calibration == nullptr) {
    PDLIB_ERROR("null pointer");
    initFailed_ = true;
    return kPDStatusBadInput;
  }
  if (context_ != nullptr) DeInit();
  initFailed_ = true;
  context_ = pdaf_create<pdaf_context_t>();
  if (context_ == nullptr) return kPDStatusNoMemory;
  PDLibInitParam folded = *init;
  fold_shared_pixels(&folded);
  context_->testMode = PDLIB_TEST_MODE != 0;
  if (set_pd_context_init_info(context_, folded, *tuning) != 0) {
    pdaf_destroy(context_);
    PDLIB_ERROR("set init info error");
    return kPDStatusFlowFailed;
  }
  context_->calibration = *init->calibration;
  // The context takes over the Q format with the first frame, too late for a blob that is set now.
  adaptive_k_pd_init(&context_->adaptiveK, &context_->tuning.adaptiveK,
                     context_->calibration.DCC_map, dcc_q_format(context_->calibration),
                     static_cast<int>(folded.nativePatternInfo.horizontalBlockCount),
                     static_cast<int>(folded.nativePatternInfo.verticalBlockCount));
  context_->status = kContextInitialised;
  initFailed_ = false;
  return kPDStatusOk;
}

int SparseHorizontalFlow::Process(const PDLibParam* param, uint32_t lines,
                                  PDLibOutputData* output) {
  if (context_ == nullptr || param == nullptr || output == nullptr) return RefuseFrame();
  if (!is_window_usable(param->windowConfig) ||
      !is_buffer_usable(*param, context_->requiredBufferBytes))
    return kPDStatusBadInput;

  const bool frameIsOver = lines == context_->sensor.imageHeight;
  PDMetaOutput(context_->bufferDataInfo, param, frameIsOver);

  if (PdlibSkipControlProcess(context_, param, lines) != 0) {
    context_->output = context_->lastOutput;
    copy_results(context_->output, output);
    report(*context_, static_cast<int16_t>(param->lensPosition));
    close_call(context_, *param, frameIsOver, false);
    return kPDStatusOk;
  }

  // A repeated result doesn't stand for grids: those of a changed window may have failed.
  const bool frameStarts =
      context_->output.processingResult == kResultNone || context_->status != kContextConfigured;
  if (frameStarts && configure_pd_context_info(context_, *param) != 0) {
    PDLIB_ERROR("config pd context info failed");
    return kPDStatusFlowFailed;
  }
  if (context_->testMode) {
    check_data(context_, param);
    return kPDStatusOk;
  }
  take_buffers(context_, *param);
  pd_incremental_processing(context_, static_cast<uint16_t>(std::min<uint32_t>(
                                          lines, std::numeric_limits<uint16_t>::max())));
  learn(context_, frameIsOver);
  context_->lastOutput = context_->output;
  copy_results(context_->output, output);
  report(*context_, context_->lensPosition);
  close_call(context_, *param, frameIsOver, frameStarts);
  return kPDStatusOk;
}

int SparseHorizontalFlow::DeInit() {
  if (context_ == nullptr) return RefuseNull();
  context_->status = kContextClosed;
  context_->leftGain.reset();
  context_->rightGain.reset();
  context_->centerGain.reset();
  set_pd_context_deinit(context_);
  if (context_->window.valid != 0) free_pdaf_grid_memory(context_);
  pdaf_destroy(context_);
  return kPDStatusOk;
}

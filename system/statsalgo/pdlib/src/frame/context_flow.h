// The skeleton of a frame: the list of steps that every flow with one context goes through at
// set-up, in each call of a frame and at the end. A flow brings its context and the steps that are
// its own; where it differs on purpose, it says so in its FlowTraits or overrides a step.
#pragma once

#include "adaptive/pdlib_adaptive_k.h"
#include "base/owned_array.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "base/pdlib_switches.h"
#include "diagnostics/xmlWriteParam.h"
#include "frame/pdlib_flow.h"
#include "frame/pdlib_utils_result.h"
#include "frame/pdlib_utils_window.h"

// What flows answer differently, as the camera stack knows it of each.
struct FlowTraits {
  int outOfMemory;              // status of Init without room for the context
  bool needsTuning;             // otherwise a null tuning runs the flow's own fallback
  bool testsConfiguredFrames;   // test mode looks at the configured windows, not at the whole frame
  const char* configureFailed;  // line for a frame whose windows could not be configured
};

// One call of a frame, checked.
struct FlowCall {
  const PDLibParam& param;
  uint32_t lines;  // of the image, already in the buffer
  bool endsFrame;  // all lines are there
};

// `Context` has these members, filled by the steps: `sensor.imageHeight`, `bufferDataInfo`,
// `requiredBufferBytes`, `actuatorSensitivity`, `testMode`, `roiType`, `lensPosition`,
// `previousLensPosition`, `output` (the running result of the frame), `frameIndex`, `adaptiveK` and
// `adaptiveData` (kAdaptiveDataSize bytes). A flow's header declares the instance for its context
// extern, since the context is incomplete there; its source instantiates it.
template <class Context>
class ContextFlow : public IPDLIBFlow {
 public:
  ContextFlow(const ContextFlow&) = delete;
  ContextFlow& operator=(const ContextFlow&) = delete;
  ~ContextFlow() override;

  int Init(const PDLibInitParam* init, const afpdlibelements::tessarinePDLibType* tuning) final;
  int Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) final;
  int DeInit() final;
  int GetAdaptiveData(const void** data, int* size) final;
  int SetAdaptiveData(const void* data, int size) final;

 protected:
  explicit ContextFlow(const FlowTraits& traits) : traits_(traits) {}

  // ---- Steps of a flow

  // Fills the fresh context; its status is that of Init.
  virtual int SetUp(const PDLibInitParam& init,
                    const afpdlibelements::tessarinePDLibType* tuning) = 0;
  // Whether this call does no work. The running result is then the one to repeat.
  virtual bool Skip(const FlowCall&) { return false; }
  // Whether this call is the first of its frame, which takes over the frame's parameters.
  virtual bool FrameStarts() const { return context_->output.processingResult == kResultNone; }
  // Takes the frame's parameters, and builds the grids of a changed window: 0, or a failure.
  virtual int Configure(const PDLibParam& param) = 0;
  // The flat-field test, which takes the place of measuring.
  virtual void Test(const PDLibParam& param) = 0;
  // The buffers are those of this call, whatever an earlier call of the frame had.
  virtual void TakeBuffers(const PDLibParam& param) = 0;
  // Adds to the running result what can be measured with `lines` lines.
  virtual void Measure(uint32_t lines) = 0;
  // After learning: keeps of the running result what later calls need.
  virtual void Keep() {}
  // The result that the closing line tells.
  virtual const PDLibDefocusInfo& ToldResult() const { return context_->output.defocusInfo[0]; }

  static int RefuseNull();

  Context* context_ = nullptr;

 private:
  bool IsCallUsable(const PDLibParam& param) const;
  void Learn(const FlowCall& call);
  // `lensPosition` is the one to report.
  void Answer(const FlowCall& call, int lensPosition, PDLibOutputData* output);

  const FlowTraits traits_;
  bool initFailed_ = false;
};

template <class Context>
ContextFlow<Context>::~ContextFlow() {
  if (context_ != nullptr) DeInit();
}

template <class Context>
int ContextFlow<Context>::RefuseNull() {
  PDLIB_ERROR("null pointer");
  return kPDStatusBadInput;
}

template <class Context>
int ContextFlow<Context>::Init(const PDLibInitParam* init,
                               const afpdlibelements::tessarinePDLibType* tuning) {
  initFailed_ = true;
  if (init == nullptr || init->calibration == nullptr) return RefuseNull();
  if (tuning == nullptr && traits_.needsTuning) return RefuseNull();
  if (context_ != nullptr) DeInit();
  context_ = pdaf_create<Context>();
  if (context_ == nullptr) {
    PDLIB_ERROR("Out of memory");
    return traits_.outOfMemory;
  }
  context_->testMode = PDLIB_TEST_MODE != 0;
  const int status = SetUp(*init, tuning);
  if (status != kPDStatusOk) {
    pdaf_destroy(context_);
    return status;
  }
  initFailed_ = false;
  return kPDStatusOk;
}

template <class Context>
int ContextFlow<Context>::Process(const PDLibParam* param, uint32_t lines,
                                  PDLibOutputData* output) {
  if (context_ == nullptr || param == nullptr || output == nullptr) {
    RefuseNull();
    // After a failed Init a frame fails, instead of counting as a misuse.
    return initFailed_ ? kPDStatusFlowFailed : kPDStatusBadInput;
  }
  if (!IsCallUsable(*param)) return kPDStatusBadInput;
  const FlowCall call = {*param, lines, lines == context_->sensor.imageHeight};
  PDMetaOutput(context_->bufferDataInfo, param, call.endsFrame);

  if (Skip(call)) {
    Answer(call, static_cast<decltype(context_->lensPosition)>(param->lensPosition), output);
    return kPDStatusOk;
  }
  if (context_->testMode && !traits_.testsConfiguredFrames) {
    Test(*param);
    return kPDStatusOk;
  }
  const bool frameStarts = FrameStarts();
  if (frameStarts && Configure(*param) != 0) {
    PDLIB_ERROR("%s", traits_.configureFailed);
    return kPDStatusFlowFailed;
  }
  if (context_->testMode) {
    Test(*param);
    return kPDStatusOk;
  }
  TakeBuffers(*param);
  Measure(lines);
  Learn(call);
  Keep();
  Answer(call, context_->lensPosition, output);
  if (frameStarts) context_->previousLensPosition = context_->lensPosition;
  return kPDStatusOk;
}

template <class Context>
bool ContextFlow<Context>::IsCallUsable(const PDLibParam& param) const {
  return is_window_usable(param.windowConfig) &&
         is_buffer_usable(param, context_->requiredBufferBytes);
}

// Once per frame, when its results are final: the thresholds of the estimators count frames.
template <class Context>
void ContextFlow<Context>::Learn(const FlowCall& call) {
  if (!call.endsFrame || context_->adaptiveK.enable != 1 || !adaptive_k_serves(context_->roiType))
    return;
  ADAPTK_DEBUG(context_->adaptiveK.debug, "ADAPTK: S901 - Enter adaptive k ");
  adaptive_k_process_frame(&context_->adaptiveK, context_->actuatorSensitivity,
                           context_->lensPosition, &context_->output);
}

template <class Context>
void ContextFlow<Context>::Answer(const FlowCall& call, int lensPosition, PDLibOutputData* output) {
  copy_results(context_->output, output);
  log_frame_result(context_->frameIndex, ToldResult(), context_->actuatorSensitivity, lensPosition,
                   context_->output);
  if (!call.endsFrame) return;
  context_->output = {};
  ++context_->frameIndex;
}

template <class Context>
int ContextFlow<Context>::DeInit() {
  if (context_ == nullptr) return RefuseNull();
  if (context_->adaptiveK.enable != 0) adaptive_k_deinit(&context_->adaptiveK);
  pdaf_destroy(context_);
  return kPDStatusOk;
}

template <class Context>
int ContextFlow<Context>::GetAdaptiveData(const void** data, int* size) {
  if (context_ == nullptr || data == nullptr || size == nullptr) {
    if (size != nullptr) *size = 0;
    return RefuseNull();
  }
  adaptive_k_hand_out(context_->adaptiveK, context_->adaptiveData, data, size);
  return kPDStatusOk;
}

template <class Context>
int ContextFlow<Context>::SetAdaptiveData(const void* data, int size) {
  if (context_ == nullptr || data == nullptr) return RefuseNull();
  adaptive_k_take_over(&context_->adaptiveK, context_->adaptiveData, data, size);
  return kPDStatusOk;
}

// What every flow that owns one context does the same way: it hands out the learnt coefficients and
// the tuning that the context holds.
#pragma once

#include "adaptive/pdlib_adaptive_k.h"
#include "base/pdlib_log.h"
#include "base/pdlib_status.h"
#include "frame/pdlib_flow.h"

// `Context` has the members `adaptiveK`, `adaptiveData` (kAdaptiveDataSize bytes) and `tuning`. A
// flow's header declares the instance for its context extern, since the context is incomplete
// there; its source instantiates it.
template <class Context>
class ContextFlow : public IPDLIBFlow {
 public:
  ContextFlow(const ContextFlow&) = delete;
  ContextFlow& operator=(const ContextFlow&) = delete;

  int GetAdaptiveData(const void** data, int* size) final;
  int SetAdaptiveData(const void* data, int size) final;
  int GetTuningData(void** tuning) final;

 protected:
  ContextFlow() = default;

  static int RefuseNull();
  // After a failed Init a frame fails, instead of counting as a misuse.
  int RefuseFrame() const;

  Context* context_ = nullptr;
  bool initFailed_ = false;
};

template <class Context>
int ContextFlow<Context>::RefuseNull() {
  PDLIB_ERROR("null pointer");
  return kPDStatusBadInput;
}

template <class Context>
int ContextFlow<Context>::RefuseFrame() const {
  RefuseNull();
  return initFailed_ ? kPDStatusFlowFailed : kPDStatusBadInput;
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

template <class Context>
int ContextFlow<Context>::GetTuningData(void** tuning) {
  if (context_ == nullptr || tuning == nullptr) return RefuseNull();
  *tuning = &context_->tuning;
  return kPDStatusOk;
}

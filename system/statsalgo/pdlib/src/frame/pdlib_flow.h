// The abstract flow: one way of turning PD data into windows of phase difference, defocus and
// confidence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "base/pdlib_common.h"
#include "base/pdlib_status.h"
#include "orvo/memory.h"

// Life cycle: Init once, Process once or more per frame, DeInit, destruction. One thread at a time.
// The order of the operations is the order of the table that the camera stack's builds agree on.
class IPDLIBFlow {
 public:
  virtual int Init(const PDLibInitParam* init,
                   const afpdlibelements::tessarinePDLibType* tuning) = 0;
  // One call of a frame. `lines` PD lines are in the buffer; the image height closes the frame.
  virtual int Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) = 0;
  virtual int DeInit() = 0;
  virtual ~IPDLIBFlow() = default;
  // Hands out the learnt-coefficient blob, which stays the flow's, and its size.
  virtual int GetAdaptiveData(const void** data, int* size) = 0;
  virtual int SetAdaptiveData(const void* data, int size) = 0;
  // Hands out the flow's copy of the tuning; a flow without one writes nothing.
  virtual int GetTuningData(void** /*tuning*/) { return kPDStatusOk; }

  // Flows live on the platform's heap; null when there is no memory.
  static void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return OrvoCalloc(size);
  }
  static void operator delete(void* flow) noexcept { OrvoFree(flow); }
  static void operator delete(void* flow, const std::nothrow_t&) noexcept { OrvoFree(flow); }
};

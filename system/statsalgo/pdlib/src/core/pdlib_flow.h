// The abstract flow: one way of turning PD data into windows of phase difference, defocus and
// confidence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "orvo/memory.h"
#include "pdlib_common.h"

class LogicalDriver;

// Status of the core and of the flows.
inline constexpr int kPDStatusOk = 0;
inline constexpr int kPDStatusNoMemory = 1;  // out of memory or a failed allocation
inline constexpr int kPDStatusBadInput = 2;  // a null pointer, a bad size, an invalid configuration
inline constexpr int kPDStatusFlowFailed = 3;

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

// Each gives a new flow, or null: no memory, or a flow that this version doesn't have.
IPDLIBFlow* CreateDPDFlow();
// The same flow on upper and lower samples: a part of the flow that fuses two axes.
IPDLIBFlow* CreateVerticalDPDFlow();
IPDLIBFlow* CreateSparseHorizontalFlow();
IPDLIBFlow* CreateSparseVerticalFlow();
IPDLIBFlow* CreateFullDiagonalFlow();
IPDLIBFlow* CreateSparseHVFlow(LogicalDriver* driver);
IPDLIBFlow* CreateHardwareDPDFlow(LogicalDriver* driver);
IPDLIBFlow* CreateSparseHardwareFlow(LogicalDriver* driver);
IPDLIBFlow* CreateHardwareLCRFlow(LogicalDriver* driver);

// The flow of a type; null for a value outside 0 to 7.
IPDLIBFlow* CreatePDLibFlow(PDFlowType type, LogicalDriver* driver);

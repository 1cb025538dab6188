// The software flow for sensors with sparse left and right PD pixels.
//
// Init builds the tables from the sensor description; the first frame of a window builds its grids;
// every further frame parses, cleans and correlates the PD pixels of its windows. A frame may
// arrive in several calls with a growing number of lines: the centre grid runs at the first of
// them, the peripheral windows follow when the centre found nothing, and the call with as many
// lines as the image is high closes the frame.
#pragma once

#include "frame/context_flow.h"

struct pdaf_context_t;
extern template class ContextFlow<pdaf_context_t>;

class SparseHorizontalFlow final : public ContextFlow<pdaf_context_t> {
 public:
  SparseHorizontalFlow();

  int GetTuningData(void** tuning) override;

 private:
  int SetUp(const PDLibInitParam& init, const afpdlibelements::tessarinePDLibType* tuning) override;
  bool Skip(const FlowCall& call) override;
  bool FrameStarts() const override;
  int Configure(const PDLibParam& param) override;
  void Test(const PDLibParam& param) override;
  void TakeBuffers(const PDLibParam& param) override;
  void Measure(uint32_t lines) override;
  void Keep() override;
};

// A new flow; null without memory.
IPDLIBFlow* CreateSparseHorizontalFlow();

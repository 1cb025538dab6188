// The software flow for dual-PD sensors, whose every site has a left and a right sample (in the
// vertical mode an upper and a lower one).
//
// Init takes the sensor, the tuning and the gain maps; the first frame of a window builds its
// grids; every further frame fills, filters and correlates some lines of each row of cells. A frame
// may arrive in several calls with a growing number of lines: the centre grid runs at the first of
// them, the peripheral windows follow when the centre found nothing, and the call with as many
// lines as the image is high closes the frame.
#pragma once

#include "frame/context_flow.h"

struct dpd_context_t;
extern template class ContextFlow<dpd_context_t>;

class DPDFlow final : public ContextFlow<dpd_context_t> {
 public:
  enum class Axis { kHorizontal, kVertical };

  explicit DPDFlow(Axis axis);

 private:
  int SetUp(const PDLibInitParam& init, const afpdlibelements::tessarinePDLibType* tuning) override;
  int Configure(const PDLibParam& param) override;
  void Test(const PDLibParam& param) override;
  void TakeBuffers(const PDLibParam& param) override;
  void Measure(uint32_t lines) override;
  const PDLibDefocusInfo& ToldResult() const override;

  const Axis axis_;
};

// A new flow; null without memory.
IPDLIBFlow* CreateDPDFlow();
// The same on upper and lower samples: a part of the flow that fuses two axes.
IPDLIBFlow* CreateVerticalDPDFlow();

// A sensor description in the PD library's own records.
#pragma once

#include <memory>
#include <vector>

#include "afpdlibelements.h"
#include "base/pdlib_common.h"
#include "sensor.h"

namespace simcam {

// The tuning record with all that its pointers need. Lives as long as the session that uses it.
class TuningRecord {
 public:
  // Vertical views are compared by the flow that blends both axes, with all weight on theirs.
  TuningRecord(const TuningChoices& choices, bool areViewsVertical);
  TuningRecord(const TuningRecord&) = delete;
  TuningRecord& operator=(const TuningRecord&) = delete;

  const afpdlibelements::tessarinePDLibType& Get() const { return record_; }

 private:
  void AddExtension(const char* name, std::vector<float> values);
  void CompareVerticalViews();

  afpdlibelements::tessarinePDLibType record_{};
  std::vector<std::unique_ptr<std::vector<float>>> values_;
  std::vector<afpdlibelements::statsExtensionParamType> extensions_;
  afpdlibelements::tessarineHVConfWeight noWeight_{0, 0};
  afpdlibelements::tessarineHVConfWeight allWeight_{1, 0};
};

// What a record chooses, as far as a sensor description has it.
TuningChoices ChoicesOf(const afpdlibelements::tessarinePDLibType& record);

// The session record of a sensor; calibration and tuning are left null.
PDLibInitParam MakeInitParam(const SensorDescription& sensor);

// The part of the PD area that a window touches, grown to whole blocks; `window` in fractions of
// the image.
struct BlockArea BlocksOf(const SensorDescription& sensor, const PDLibWindow& window);

}  // namespace simcam

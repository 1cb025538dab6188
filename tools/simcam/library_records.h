// A sensor description in the PD library's own records.
#pragma once

#include <memory>
#include <vector>

#include "afpdlibelements.h"
#include "core/pdlib_common.h"
#include "sensor.h"

namespace simcam {

// The tuning record with all that its pointers need. Lives as long as the session that uses it.
class TuningRecord {
 public:
  explicit TuningRecord(const TuningChoices& choices);
  TuningRecord(const TuningRecord&) = delete;
  TuningRecord& operator=(const TuningRecord&) = delete;

  const afpdlibelements::tessarinePDLibType& Get() const { return record_; }

 private:
  void AddExtension(const char* name, float value);

  afpdlibelements::tessarinePDLibType record_{};
  std::vector<std::unique_ptr<float>> values_;
  std::vector<afpdlibelements::statsExtensionParamType> extensions_;
};

// The session record of a sensor; calibration and tuning are left null.
PDLibInitParam MakeInitParam(const SensorDescription& sensor);

// The part of the PD area that a window touches, grown to whole blocks; `window` in fractions of
// the image.
struct BlockArea BlocksOf(const SensorDescription& sensor, const PDLibWindow& window);

}  // namespace simcam

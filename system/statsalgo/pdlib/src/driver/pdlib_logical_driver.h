// Turns logical settings into the description of the PD hardware block.
//
// The core creates one before the flow and keeps it longer than the flow. It has no lock: it is
// configured and read from the thread that uses the handle. In this version no flow configures it,
// so that it describes the block at rest.
#pragma once

#include "base/pdlib_common.h"
#include "driver/pdlib_hw_config.h"

class LogicalDriver {
 public:
  // The block switched off, set up for an image of 2016 by 756 with 16 by 12 regions of 112 by 56.
  LogicalDriver();

  PDHWConfigSensorType getPDHWSensorType() const { return sensorType_; }
  void setPDHWSensorType(PDHWConfigSensorType type) { sensorType_ = type; }

  void getPDHWConfig(PDHwConfig& config) const { config = config_; }

 private:
  PDHwConfig config_{};
  PDHWConfigSensorType sensorType_ = kHwSoftwareFlow;
};

// The records of the schema by their types: name and table of fields.
#pragma once

#include "afpdlibelements.h"

namespace tessarine {

template <class Record>
struct TableOf;

#define TESSARINE_RECORD(space, record)                       \
  template <>                                                 \
  struct TableOf<space::record> {                             \
    static constexpr const char* kName = #record;             \
    static constexpr auto& kFields = space::kFields_##record; \
  };
TESSARINE_RECORD(globalelements, trigger_pt_type_aec)
TESSARINE_RECORD(statsglobalelements, statsExtensionParamType)
TESSARINE_RECORD(afpdlibelements, tessarineTuningHDRCfg)
TESSARINE_RECORD(afpdlibelements, tessarinePDLIBPreprocessingFilterSettings)
TESSARINE_RECORD(afpdlibelements, tessarineDPDFilterTrigger)
TESSARINE_RECORD(afpdlibelements, tessarineLCRFilterTrigger)
TESSARINE_RECORD(afpdlibelements, tessarineTuningPreProcess)
TESSARINE_RECORD(afpdlibelements, tessarinePDRange)
TESSARINE_RECORD(afpdlibelements, tessarineTuningCorrelation)
TESSARINE_RECORD(afpdlibelements, tessarinePDLIBPostprocessingTemporalFilterSetting)
TESSARINE_RECORD(afpdlibelements, tessarineTemporalFilterTrigger)
TESSARINE_RECORD(afpdlibelements, tessarineTuningPostProcess)
TESSARINE_RECORD(afpdlibelements, tessarineTuningAdaptiveK)
TESSARINE_RECORD(afpdlibelements, tessarineTuningProcessLevel)
TESSARINE_RECORD(afpdlibelements, tessarineHVConfWeight)
TESSARINE_RECORD(afpdlibelements, tessarineHVControl)
TESSARINE_RECORD(afpdlibelements, tessarineTuningSkipControl)
TESSARINE_RECORD(afpdlibelements, tessarineTuningHardwareGeometry)
TESSARINE_RECORD(afpdlibelements, tessarinePDAFHardwarePixelExtractor)
TESSARINE_RECORD(afpdlibelements, tessarinePDAFHardwareLineExtractor)
TESSARINE_RECORD(afpdlibelements, tessarinePDAFHardwarePixelSeparator)
TESSARINE_RECORD(afpdlibelements, tessarinePDAFHardwareResamplerInstruction)
TESSARINE_RECORD(afpdlibelements, tessarinePDAFHardwareResampler)
TESSARINE_RECORD(afpdlibelements, tessarineTuningHardwarePattern)
TESSARINE_RECORD(afpdlibelements, module_versionStruct)
TESSARINE_RECORD(afpdlibelements, parameter_versionStruct)
TESSARINE_RECORD(afpdlibelements, tessarinePDLibType)
#undef TESSARINE_RECORD

}  // namespace tessarine

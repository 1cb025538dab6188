#include "lcr/pdlib_lcr_utils.h"

void pdaf_lcr_fill_native_pattern(PDLibLcrBlockPattern* pattern,
                                  const PDLibSensorNativeInfo* sensor,
                                  const afpdlibelements::tessarinePDLibType* /*tuning*/) {
  const PDLibBlockPattern& block = sensor->blockPattern;
  *pattern = PDLibLcrBlockPattern{};
  pattern->horizontalPDOffset = block.horizontalPDOffset;
  pattern->verticalPDOffset = block.verticalPDOffset;
  pattern->blockDimension = block.blockDimension;
}

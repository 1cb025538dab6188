#include "diagnostics/xmlWriteParam.h"

#include "base/pdlib_log.h"

namespace {

void NoteMissingDumps() {
  if (PDLIB_DUMP != 0) PDLIB_INFO("this version writes no dumps");
}

}  // namespace

void PDInitOutput(PDLibVersion /*version*/, const PDLibInitParam* /*init*/,
                  const afpdlibelements::tessarinePDLibType* /*tuning*/) {
  NoteMissingDumps();
}

void PDMetaOutput(const PDLibDataBufferInfo& /*bufferInfo*/, const PDLibParam* /*param*/,
                  int is_last_call) {
  if (is_last_call == 0) return;
  PDLIB_INFO("Dump Flag is %d", PDLIB_DUMP.load());
  NoteMissingDumps();
}

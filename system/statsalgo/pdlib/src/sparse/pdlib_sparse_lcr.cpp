#include "sparse/pdlib_sparse_lcr.h"

#include "base/pdlib_log.h"

void pdaf_lcr_calculate_parse_info(pdaf_context_t*) {
  PDLIB_INFO("LCR lines are not measured by this version, the results of the PD pixels stand");
}

void pdaf_lcr_process_center_window(pdaf_context_t*, PDLibOutputData*) {}

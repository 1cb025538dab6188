// Stands apart from the targets: it is no code to find ways through.
#include "small_manager.h"

uint64_t fuzz::NumberOf(const PdRecord* record) {
  return record == nullptr ? 0 : test::NumberOf(*record);
}

// One program for all digests: see digest_matrix.sh. What is compared is linked without the rest of
// the library: no log.
#include "base/pdlib_log.h"

PDLibSwitch PDLIB_LOG;
void pdlib::WriteLog(const LogSource&, const char*, ...) {}

void DigestKernels();
void DigestLearning();

int main() {
  DigestKernels();
  DigestLearning();
}

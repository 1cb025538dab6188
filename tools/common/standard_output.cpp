#include "common/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>

#include "common/exit_status.h"
#include "common/files.h"

namespace tool {
namespace {

// Empty if all is well so far. A failure of an earlier write has left no reason.
std::string OutputFault() {
  const bool hasFailed = std::ferror(stdout) != 0 || !std::cout.good();
  errno = 0;
  const bool isFlushed = std::cout.flush().good() && std::fflush(stdout) == 0;
  if (isFlushed && !hasFailed) return "";
  const std::string reason = errno == 0 ? "" : ": " + std::generic_category().message(errno);
  return "standard output: can't be written" + reason;
}

}  // namespace

void OpenStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) != -1 || errno != EBADF) continue;
    // It gets the lowest number that is free, which is this one.
    if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream) return;
  }
}

void FlushOutput() {
  if (const std::string fault = OutputFault(); !fault.empty()) throw FileError(fault);
}

int CloseOutput(const char* program, int status) {
  std::string fault = OutputFault();
  // Some file systems tell of a full disk here.
  if (fault.empty() && std::fclose(stdout) != 0)
    fault = "standard output: can't be written: " + std::generic_category().message(errno);
  if (fault.empty()) return status;
  std::fprintf(stderr, "%s: %s\n", program, fault.c_str());
  return kBadFile;
}

}  // namespace tool

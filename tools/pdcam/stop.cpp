#include "stop.h"

#include <signal.h>

#include <atomic>

namespace pdcam {
namespace {

std::atomic<int> stopSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free);  // a handler sets it

}  // namespace

void CatchStopSignals() {
  struct sigaction action {};
  action.sa_handler = [](int signal) { stopSignal = signal; };
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    // What is printed to a pipe that nobody reads comes in several parts: each brings a signal.
    action.sa_flags = SA_RESTART | (signal == SIGPIPE ? 0 : static_cast<int>(SA_RESETHAND));
    struct sigaction before {};
    // What the caller had ignored (nohup) stays ignored.
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      sigaction(signal, &action, nullptr);
  }
}

bool IsStopWanted() {
  return stopSignal != 0;
}

void TakeStopForDone() {
  stopSignal = 0;
}

void ThrowIfStopped() {
  if (IsStopWanted()) throw Stopped();
}

void EndBySignal() {
  if (!IsStopWanted()) return;
  signal(stopSignal, SIG_DFL);
  raise(stopSignal);
}

}  // namespace pdcam

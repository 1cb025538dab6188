// Ctrl-C and its kin. The program ends by way of its destructors, so that it leaves nothing behind.
#pragma once

namespace pdcam {

// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE only ask for the end; a second one (but for
// SIGPIPE) ends at once.
void CatchStopSignals();

bool IsStopWanted();
// The stop was what the program waited for: it ends as one that is done.
void TakeStopForDone();

// Thrown through the work that a signal breaks off.
struct Stopped {};
void ThrowIfStopped();

// Ends the program by the signal that asked for it, so that the caller sees which one it was.
// Returns if there was none.
void EndBySignal();

}  // namespace pdcam

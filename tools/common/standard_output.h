// Standard output that is not lost without a word.
#pragma once

namespace tool {

// Call it first: takes the places of standard streams that are closed, so that no file that is
// opened later gets into one. Writing to such a stream fails.
void OpenStandardStreams();

// Writes out what standard output still holds. Throws FileError if that fails, or has failed.
void FlushOutput();

// Call it last: closes standard output and returns `status`, or, if not all could be written,
// tells so as `program` and returns kBadFile, whatever else the program found.
int CloseOutput(const char* program, int status);

}  // namespace tool

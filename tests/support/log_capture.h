// The log lines of a test.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "base/pdlib_switches.h"
#include "host/orvo_host.h"

namespace test {

// The text of a line behind its prefix.
inline std::string TextOf(const Orvo::Host::LogLine& line) {
  return line.text.substr(line.text.find("() ") + 3);
}

// Whether a part of a line of the log that is being captured reads so.
inline bool IsLogged(const std::string& text) {
  const auto lines = Orvo::Host::CapturedLog();
  return std::any_of(lines.begin(), lines.end(),
                     [&](const auto& line) { return line.text.find(text) != std::string::npos; });
}

// Captures the log of its life and puts the switches back.
class LogCapture {
 public:
  explicit LogCapture(int32_t level = 0) {
    PDLIB_LOG = level;
    Orvo::Host::StartLogCapture();
  }
  ~LogCapture() {
    Orvo::Host::StopLogCapture();
    PDLIB_LOG = 0;
    PDLIB_PROFILING = 0;
    PDLIB_TEST_MODE = 0;
    PDLIB_DUMP = 0;
    PDLIB_LCR_DISABLE = 0;
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> all;
    for (const auto& line : Orvo::Host::CapturedLog()) all.push_back(TextOf(line));
    return all;
  }
  bool has(const std::string& text) const { return count(text) > 0; }
  int64_t count(const std::string& text) const {
    const auto all = texts();
    return std::count(all.begin(), all.end(), text);
  }
  // Forgets the lines so far.
  void restart() { Orvo::Host::StartLogCapture(); }
};

}  // namespace test

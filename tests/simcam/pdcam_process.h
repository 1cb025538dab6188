// The program as users start it, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/program.h"
#include "support/temp_folder.h"

namespace test {

class PdcamProcess : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }

  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
  }
  static std::string ReadFile(const std::string& path) { return test::ReadFile(path); }

  // The text of a report: encoded pictures may spell anything.
  static std::string WithoutPictures(std::string report) {
    for (size_t at; (at = report.find("data:image")) != std::string::npos;)
      report.erase(at, report.find('"', at) - at);
    return report;
  }

  Outcome Run(const std::string& arguments) const {
    return RunProgram(PDCAM_PROGRAM, arguments, Path("errors"));
  }

  TempFolder folder_;
};

}  // namespace test

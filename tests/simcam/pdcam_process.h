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

  // A whole page, which fetches nothing from elsewhere. Encoded pictures may spell anything.
  static void ExpectReport(const std::string& path) {
    std::string report = ReadFile(path);
    for (size_t at; (at = report.find("data:image")) != std::string::npos;)
      report.erase(at, report.find('"', at) - at);
    EXPECT_NE(report.find("</html>"), std::string::npos);
    for (const char* outside : {"http:", "https:", "src=", "<script", "nan", "inf\""})
      EXPECT_EQ(report.find(outside), std::string::npos) << path << ": " << outside;
  }

  Outcome Run(const std::string& arguments) const {
    return RunProgram(PDCAM_PROGRAM, arguments, Path("errors"));
  }

  TempFolder folder_;
};

}  // namespace test

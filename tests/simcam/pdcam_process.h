// The program as users start it, in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>
#include <string>

#include "support/temp_folder.h"

namespace test {

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

class PdcamProcess : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }

  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
  }
  static std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

  // The text of a report: encoded pictures may spell anything.
  static std::string WithoutPictures(std::string report) {
    for (size_t at; (at = report.find("data:image")) != std::string::npos;)
      report.erase(at, report.find('"', at) - at);
    return report;
  }

  Outcome Run(const std::string& arguments) const {
    const std::string command = std::string(PDLIB_LAUNCHER) + " " + PDCAM_PROGRAM + " " +
                                arguments + " 2>" + Path("errors");
    FILE* pipe = popen(command.c_str(), "r");
    Outcome outcome{};
    char part[4096];
    for (size_t size; (size = fread(part, 1, sizeof(part), pipe)) > 0;)
      outcome.output.append(part, size);
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.errors = ReadFile(Path("errors"));
    return outcome;
  }

  TempFolder folder_;
};

}  // namespace test

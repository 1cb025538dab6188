// The program as users start it, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <fstream>

#include "support/program.h"
#include "support/temp_folder.h"

namespace test {

class Tool : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }
  Outcome Run(const std::string& arguments, const std::string& errors = "errors") const {
    return RunProgram(TESSARINE_PROGRAM, arguments, Path(errors));
  }

  const TempFolder folder_;
};

}  // namespace test

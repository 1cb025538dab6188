// The program as users start it, in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/program.h"
#include "support/temp_folder.h"

namespace test {

class PdcamProcess : public testing::Test {
 protected:
  // What programs make in the temporary folder must be gone in the end.
  PdcamProcess() {
    std::filesystem::create_directory(Path("tmp"));
    setenv("TMPDIR", Path("tmp").c_str(), 1);
  }
  void TearDown() override {
    const auto isEmpty = [this] { return std::filesystem::is_empty(Path("tmp")); };
    EXPECT_TRUE(Waits(isEmpty)) << "something is left in the temporary folder";
  }
  ~PdcamProcess() override {
    if (process_ > 0) kill(process_, SIGKILL);
    unsetenv("TMPDIR");
  }

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

  // What a run that ends well prints.
  nlohmann::json RunJson(const std::string& arguments) const {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    return nlohmann::json::parse(outcome.output);
  }

  struct Ending {
    std::string arguments;
    int status;
    std::string message;
  };
  // A run that couldn't do its work says why with its errors.
  void ExpectOutcomes(const std::vector<Ending>& cases) const {
    for (const Ending& c : cases) {
      const Outcome outcome = Run(c.arguments);
      EXPECT_EQ(outcome.status, c.status) << c.arguments << "\n" << outcome.errors;
      const std::string said = (c.status >= 2 ? "" : outcome.output) + outcome.errors;
      EXPECT_NE(said.find(c.message), std::string::npos) << c.arguments << "\n" << said;
    }
  }

  static void ExpectTexts(const std::string& page, const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
      EXPECT_NE(page.find(text), std::string::npos) << text << " is not in " << page;
  }

  // In the background; what it prints goes to files.
  void Start(const std::string& arguments) {
    const std::string command = std::string(PDLIB_LAUNCHER) + " " + PDCAM_PROGRAM + " " +
                                arguments + " >" + Path("table") + " 2>" + Path("said") +
                                " & echo $!";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_EQ(fscanf(pipe, "%d", &process_), 1);
    pclose(pipe);
  }

  static bool Waits(const std::function<bool()>& isThere) {
    constexpr int kTries = 1200;
    for (int i = 0; i < kTries && !isThere(); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return isThere();
  }

  TempFolder folder_;
  pid_t process_ = 0;
};

}  // namespace test

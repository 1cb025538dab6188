// A camera that runs on with its live link up, and a tool that changes its tuning.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <functional>
#include <thread>

#include "pdcam_process.h"

namespace {

using test::Outcome;

class PdcamLink : public test::PdcamProcess {
 protected:
  ~PdcamLink() override {
    if (process_ > 0) kill(process_, SIGKILL);
  }

  Outcome Tessarine(const std::string& arguments) const {
    return test::RunProgram(TESSARINE_PROGRAM, arguments, Path("tool-errors"));
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
  std::string Table() const { return ReadFile(Path("table")); }

  static bool Waits(const std::function<bool()>& isThere) {
    constexpr int kTries = 1200;
    for (int i = 0; i < kTries && !isThere(); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return isThere();
  }
  // The port that the camera names; "" if it names none in time.
  std::string Port() const {
    const std::string front = "live link on port ";
    std::string said;
    Waits([&] {
      said = ReadFile(Path("said"));
      return said.find(front) != std::string::npos && said.find('\n') != std::string::npos;
    });
    const size_t at = said.find(front);
    return at == std::string::npos ? "" : said.substr(at + front.size(), 5);
  }

  pid_t process_ = 0;
};

TEST_F(PdcamLink, ShowsAChangedValueInTheNextFrames) {
  const std::string file = Path("tuning.bin");
  ASSERT_EQ(Tessarine("compile " TESSARINE_TUNING " -o " + file).status, 0);
  Start("focus --link --tuning " + file + " --no-peripheral --roi 0.42 0.42 0.58 0.58");
  const std::string port = Port();
  ASSERT_NE(port, "") << ReadFile(Path("said"));
  ASSERT_TRUE(Waits([&] { return Table().find(" hold") != std::string::npos; })) << Table();

  // Nothing is certain enough now.
  const Outcome set = Tessarine(
      "link --port " + port +
      " set 'Default|Sensor.1' tessarinePDLib correlation.defocusConfidenceThreshold=1023");
  ASSERT_EQ(set.status, 0) << set.errors;
  ASSERT_TRUE(Waits([&] { return Table().find(" search") != std::string::npos; })) << Table();
  const size_t change = Table().find("(new tuning)");
  ASSERT_NE(change, std::string::npos) << Table();
  EXPECT_EQ(Table().rfind(" search", Table().rfind('\n', change)), std::string::npos);

  // What the stack does and finds: 30 frames a second, exposed for 0.3 of their time, at gain 1.
  const std::string controls = Tessarine("link --port " + port + " controls").output;
  EXPECT_GT(std::atoi(controls.substr(0, 2) == "1=" ? &controls[2] : "0"), 0) << controls;
  EXPECT_NE(controls.find("\n3=30.000000\n"), std::string::npos) << controls;
  EXPECT_EQ(Tessarine("link --port " + port + " triggers").output, "1=1.000000\n2=10.000000\n");

  kill(process_, SIGTERM);
  EXPECT_TRUE(Waits([&] { return Table().find("px from it at the end") != std::string::npos; }));
}

TEST_F(PdcamLink, GoesWithOneRunAndAFile) {
  const struct {
    const char* arguments;
    const char* message;
  } cases[] = {{"focus --link", "--tuning"},
               {"focus --link --tuning x --cameras 2", "--link"},
               {"focus --link --tuning x --runs 3", "--link"}};
  for (const auto& c : cases) {
    const Outcome outcome = Run(c.arguments);
    EXPECT_EQ(outcome.status, 2) << c.arguments;
    EXPECT_NE(outcome.errors.find(c.message), std::string::npos) << outcome.errors;
  }
}

}  // namespace

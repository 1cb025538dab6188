// A camera that runs on with its live link up, and a tool that changes its tuning.
#include "pdcam_process.h"

namespace {

using test::Outcome;

class PdcamLink : public test::PdcamProcess {
 protected:
  Outcome Tessarine(const std::string& arguments) const {
    return test::RunProgram(TESSARINE_PROGRAM, arguments, Path("tool-errors"));
  }
  std::string Table() const { return ReadFile(Path("table")); }
  // The link of the camera, as its hint has it; "" if it says nothing in time.
  std::string Link() const {
    std::string said;
    Waits([&] {
      said = ReadFile(Path("said"));
      return said.find(" info'") != std::string::npos;
    });
    const size_t at = said.find("link --port ");
    return at == std::string::npos ? "" : said.substr(at, said.find(" info'") - at);
  }
};

TEST_F(PdcamLink, ShowsWhatChangedValuesMakeOfTheNextFrames) {
  const std::string file = Path("tuning.bin");
  // The library refuses a search range of so many pixels.
  std::string source = ReadFile(TESSARINE_TUNING);
  const std::string range = "\"searchRange\": {\"from\": -44,";
  source.replace(source.find(range), range.size(), "\"searchRange\": {\"from\": -40000,");
  Write("tuning.json", source);
  ASSERT_EQ(Tessarine("compile " + Path("tuning.json") + " -o " + file).status, 0);
  Start("focus --link --tuning " + file + " --no-peripheral --roi 0.42 0.42 0.58 0.58");
  const std::string link = Link();
  ASSERT_NE(link, "") << ReadFile(Path("said"));
  const auto set = [&](const std::string& value) {
    const Outcome outcome =
        Tessarine(link + " set 'Default|Sensor.1' tessarinePDLib correlation." + value);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
  };
  ASSERT_TRUE(Waits([&] { return Table().find("(failed)") != std::string::npos; })) << Table();
  EXPECT_NE(ReadFile(Path("said")).find("refuses"), std::string::npos);
  set("searchRange.from=-44");
  ASSERT_TRUE(Waits([&] { return Table().find(" hold") != std::string::npos; })) << Table();

  // Nothing is certain enough now.
  const size_t held = Table().find(" hold");
  set("defocusConfidenceThreshold=1023");
  ASSERT_TRUE(Waits([&] { return Table().find(" search", held) != std::string::npos; })) << Table();
  const size_t change = Table().find("(new tuning)", held);
  ASSERT_NE(change, std::string::npos) << Table();
  EXPECT_GT(Table().find(" search", held), Table().rfind('\n', change));

  // What the stack does and finds: 30 frames a second, exposed for 0.3 of their time, at gain 1.
  const std::string controls = Tessarine(link + " controls").output;
  EXPECT_GT(std::atoi(controls.substr(0, 2) == "1=" ? &controls[2] : "0"), 0) << controls;
  EXPECT_NE(controls.find("\n3=30.000000\n"), std::string::npos) << controls;
  EXPECT_EQ(Tessarine(link + " triggers").output, "1=1.000000\n2=10.000000\n");

  kill(process_, SIGTERM);
  EXPECT_TRUE(Waits([&] { return Table().find("px from it at the end") != std::string::npos; }));
}

TEST_F(PdcamLink, GoesWithOneRunAndAFile) {
  ExpectOutcomes({{"focus --link", 2, "--tuning"},
                  {"focus --link --tuning x --cameras 2", 2, "--link"},
                  {"focus --link --tuning x --runs 3", 2, "--link"}});
}

}  // namespace
